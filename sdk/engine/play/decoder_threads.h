// How many threads a video decoder uses, and for what.
//
//   slices  the parts of one frame at once: no delay; idle where a frame has one part
//   frames  several frames at once: every thread but the first delays the output by one frame
//
// Small streams get one thread. Other files and the like are decoded with frame threads, since
// nobody waits for a frame. Other live streams get slice threads while one core is fast enough for
// their size, and then as few frame threads as are. Decoders whose threads never delay anything
// always get several.
//
// Thread: chooseDecoderThreads any; tuneDecoderThreads before the decoder gets its caps.
// Ownership: tuneDecoderThreads leaves a probe on the decoder's sink pad, which lives as long.
// Failure: none; an element without such properties stays as it is.

#pragma once

#include <gst/gst.h>

#include <string_view>

namespace NimboEngine {

struct CodedVideo {
  std::string_view type;  // caps name, like "video/x-h264"
  int width = 0;          // pixels; 0 when unknown
  int height = 0;
  double framesPerSecond = 0;  // 0 when unknown
  bool live = true;
};

struct DecoderThreads {
  int count = 1;
  bool frames = false;  // frame threads, not slice threads

  bool operator==(const DecoderThreads&) const = default;
};

// `cores` is how many the machine has.
DecoderThreads chooseDecoderThreads(const CodedVideo& video, int cores);

// Has `decoder` choose its threads whenever it gets caps: then their size is known, and the decoder
// opens with what was chosen.
void tuneDecoderThreads(GstElement* decoder, bool live);

}  // namespace NimboEngine
