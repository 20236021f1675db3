// A media file as camera: its video, and its audio if it has any, in real time and in a loop. Every
// file that GStreamer decodes can be used. Frames are rotated as the orientation tag says, and
// deinterlaced.
//
// Thread, ownership: see Source.
// Failure: a file that is missing, not a media file, or lacks the requested video ends the source.

#pragma once

#include <memory>
#include <string>

#include "capture/media_sink.h"
#include "gst/source.h"

namespace NimboEngine {

class FileSource : public Source {
 public:
  // `path` is absolute or relative to the process's working directory.
  FileSource(std::string path, SourceOutputs outputs);

  Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override;
  bool rewind(Pipeline& pipeline) override;
  int64_t progress() const override;

 private:
  struct Decoded;

  const std::string path_;
  const SourceOutputs outputs_;
};

}  // namespace NimboEngine
