// Feeds a consumer with noisy frames and with silence, in real time, like capture.
//
// Thread: the consumer is called on two threads of the feeder's.
// Ownership: the consumer is given; destruction waits until no call is running.

#pragma once

#include <atomic>
#include <thread>

#include "media/frame_consumer.h"

namespace NimboEngine::test {

class MediaFeeder {
 public:
  MediaFeeder(FrameConsumer& consumer, const VideoFormat& video, const AudioFormat& audio);
  ~MediaFeeder();
  MediaFeeder(const MediaFeeder&) = delete;
  MediaFeeder& operator=(const MediaFeeder&) = delete;

 private:
  void feedVideo(const VideoFormat& format);
  void feedAudio(const AudioFormat& format);

  FrameConsumer& consumer_;
  std::atomic<bool> stopping_{false};
  std::thread video_;
  std::thread audio_;
};

}  // namespace NimboEngine::test
