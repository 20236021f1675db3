// The interface between capture and all consumers of captured media.

#pragma once

#include <gst/gst.h>
#include <gst/video/video.h>

#include <cstdint>

namespace NimboEngine {

// The format of captured frames, which have the form of media/frame_form.h.
struct VideoFormat {
  int width = 0;
  int height = 0;
  int fps = 0;
  bool operator==(const VideoFormat&) const = default;
};

// The origin of a captured frame.
enum class FrameOrigin { kCamera, kScreen };

// The format of captured audio: interleaved 16-bit samples in native byte order.
struct AudioFormat {
  int rate = 48000;  // Hz
  int channels = 2;
  bool operator==(const AudioFormat&) const = default;
};

// Takes captured media. `time` is the reading of GStreamer's system clock (monotonic, ns) at which
// the media was captured, and the buffer's presentation time; both streams share that clock.
//
// Thread: onVideoFrame on the video tick thread, onAudioChunk on the audio tick thread; neither may
//   block: a consumer that falls behind must drop media itself.
// Ownership: the buffer is lent; a consumer that keeps it takes its own reference, and then treats
//   it as read-only.
class FrameConsumer {
 public:
  virtual void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) = 0;
  virtual void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) = 0;

 protected:
  ~FrameConsumer() = default;
};

}  // namespace NimboEngine
