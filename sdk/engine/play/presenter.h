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
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <thread>

#include "base/mutex.h"
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
  bool isFull(Media media) const NIMBO_REQUIRES(mutex_);
  void loop();
  void dropLate(Time now) NIMBO_REQUIRES(mutex_);
  Time moment(Media media) const NIMBO_REQUIRES(mutex_);
  std::optional<Media> next() const NIMBO_REQUIRES(mutex_);
  void present(Media media, Item item, Time now);
  Item take(Media media) NIMBO_REQUIRES(mutex_);
  Queue& of(Media media) NIMBO_REQUIRES(mutex_) { return queues_[static_cast<std::size_t>(media)]; }
  const Queue& of(Media media) const NIMBO_REQUIRES(mutex_) {
    return queues_[static_cast<std::size_t>(media)];
  }

  const Sinks sinks_;
  PresentationClock clock_;
  AudioAligner aligner_;  // used on the presenter's thread only

  mutable Mutex mutex_;
  ConditionVariable changed_;
  ConditionVariable space_;
  std::array<Queue, 2> queues_ NIMBO_GUARDED_BY(mutex_);
  bool live_ NIMBO_GUARDED_BY(mutex_) = true;
  bool closed_ NIMBO_GUARDED_BY(mutex_) = false;
  bool presenting_ NIMBO_GUARDED_BY(mutex_) = false;
  bool shownFirst_ NIMBO_GUARDED_BY(mutex_) = false;
  Time wakesAt_ NIMBO_GUARDED_BY(mutex_) =
      Time::max();  // when the presenter's thread wakes up by itself
  Duration videoError_ NIMBO_GUARDED_BY(mutex_){0};
  Duration audioError_ NIMBO_GUARDED_BY(mutex_){0};
  Time end_ NIMBO_GUARDED_BY(mutex_);  // of the presented media
  Counts counts_ NIMBO_GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace NimboEngine
