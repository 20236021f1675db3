// A media file as camera: its picture, and its sound when it has one, in real time and over and
// over. Anything that GStreamer decodes serves. The picture stands upright (orientation marks are
// followed) and unlaced.
//
// Thread, ownership: as Source says.
// Failure: a file that is missing, is none or has no picture where one is wanted ends the source.

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

  std::unique_ptr<Pipeline> build(Pipeline::Handler handler, std::string& error) override;
  bool rewind(Pipeline& pipeline) override;
  int64_t progress() const override;

 private:
  struct Decoded;

  const std::string path_;
  const SourceOutputs outputs_;
};

}  // namespace NimboEngine
