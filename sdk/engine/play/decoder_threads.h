// Chooses the number and the kind of a video decoder's threads.
//
//   slices  the parts of one frame at once: no delay; idle where a frame has one part
//   frames  several frames at once: every thread but the first delays the output by one frame
//
// Small streams get one thread. Other timed media are decoded with frame threads, since their delay
// does not matter. Other live streams get slice threads while one core is fast enough for their
// size, else as few frame threads as are enough. Decoders whose threads never add delay always get
// several.
//
// Thread: chooseDecoderThreads any; tuneDecoderThreads before the decoder gets its caps.
// Ownership: tuneDecoderThreads leaves a probe on the decoder's sink pad, for the lifetime of the
//   pad.
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

// `cores` is the machine's number of cores.
DecoderThreads chooseDecoderThreads(const CodedVideo& video, int cores);

// Makes `decoder` choose its threads whenever it gets caps: at that time the frame size is known,
// and the decoder opens with the choice.
void tuneDecoderThreads(GstElement* decoder, bool live);

}  // namespace NimboEngine
