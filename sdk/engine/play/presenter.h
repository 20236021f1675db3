// Holds decoded media until they are due and then presents them, in the order of their presentation
// times.
//
// A video frame is dropped if the next one is due as well, and so is audio that can no longer be
// played in time; both are counted. The first frame is presented at once, whatever its time stamp.
//
// Thread: push from the decoders' threads, one for each kind of media: it blocks while that kind's
//   queue is full. The sinks are called on the presenter's own thread. The rest from any other.
// Ownership: owns what is queued. Once close() has returned, no sink is running or will run, and
//   nothing blocks any more.
// Failure: none.

#pragma once

#include <gst/video/video.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "gst/gst_ptr.h"
#include "media/audio_aligner.h"
#include "play/presentation_clock.h"

namespace NimboEngine {

class Presenter {
 public:
  using Time = PresentationClock::Time;
  using Duration = PresentationClock::Duration;

  struct Sinks {
    std::function<void(GstBuffer*, const GstVideoInfo&)> onFrame;
    std::function<void(const AudioAligner::Piece&)> onAudio;
  };

  // Totals, and the last measurement.
  struct Counts {
    uint64_t lateFrames = 0;  // dropped
    uint64_t lateAudio = 0;   // chunks dropped
    std::chrono::milliseconds depth{0};
    std::chrono::milliseconds avOffset{0};  // audio less video; positive: audio is late
  };

  Presenter(const LatencySettings& latency, Sinks sinks);
  ~Presenter();
  Presenter(const Presenter&) = delete;
  Presenter& operator=(const Presenter&) = delete;

  void setLive(bool live);

  // `timestamp` is the running time in the stream, the same for both kinds of media.
  void pushVideo(GstPtr<GstBuffer> frame, const GstVideoInfo& info, Duration timestamp);
  // Interleaved samples in the format kPlayedAudio.
  void pushAudio(GstPtr<GstBuffer> samples, Duration timestamp);

  // Returns whether everything that was pushed has been presented.
  bool isDrained() const;

  Counts counts() const;
  std::chrono::milliseconds takeWorstDelay(Time now) { return clock_.takeWorstDelay(now); }

  void close();

 private:
  struct Item {
    GstPtr<GstBuffer> buffer;
    GstVideoInfo info;  // of video
    Duration timestamp;
  };
  struct Queue {
    std::deque<Item> items;
    gsize bytes = 0;
    bool waited = false;  // the last push had to
  };

  void push(Media media, Item item);
  bool isFull(Media media) const;
  void loop();
  void dropLate(Time now);
  Time moment(Media media) const;
  std::optional<Media> next() const;
  void present(Media media, Item item, Time now);
  Item take(Media media);
  Queue& of(Media media) { return queues_[static_cast<std::size_t>(media)]; }
  const Queue& of(Media media) const { return queues_[static_cast<std::size_t>(media)]; }

  const Sinks sinks_;
  PresentationClock clock_;
  AudioAligner aligner_;  // used on the presenter's thread only

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::condition_variable space_;
  std::array<Queue, 2> queues_;
  bool live_ = true;
  bool closed_ = false;
  bool presenting_ = false;
  bool shownFirst_ = false;
  Time wakesAt_ = Time::max();  // when the presenter's thread wakes up by itself
  Duration videoError_{0};
  Duration audioError_{0};
  Time end_;  // of the presented media
  Counts counts_;
  std::thread thread_;
};

}  // namespace NimboEngine
