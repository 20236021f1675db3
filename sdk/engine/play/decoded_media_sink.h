// The sink of a playback's pipeline: converts decoded frames and audio into the engine's output
// form, and presents them when they are due. The pipeline shares the sink: one that cannot be
// stopped any more keeps delivering into a closed sink, which is harmless.
//
// Thread: deliver on GStreamer's threads, video on one and audio on one; they block while the
//   presenter's queue is full. The handlers are called on the presenter's thread. close() on any
//   other.
// Ownership: the handlers belong to the sink; once close() has returned, none runs or will run.
// Failure: a frame that cannot be read is dropped.

#pragma once

#include <gst/gst.h>
#include <gst/video/video.h>

#include <atomic>
#include <functional>
#include <optional>

#include "NimboSdk/LumoLiveDefine.h"
#include "media/frame_normalizer.h"
#include "play/arrival_limit.h"
#include "play/play_settings.h"
#include "play/play_statistics.h"
#include "play/presenter.h"

namespace NimboEngine {

class DecodedMediaSink {
 public:
  struct Handlers {
    // A contiguous frame in the form of media/frame_form.h, as wide as a multiple of 8; writable.
    std::function<void(GstBuffer*, const GstVideoInfo&)> onFrame;
    // Writable samples, PresentationClock::kAudioLead before their presentation time.
    std::function<void(const AudioAligner::Piece&)> onAudio;
  };

  DecodedMediaSink(const PlaySettings& settings, Handlers handlers);
  ~DecodedMediaSink();
  DecodedMediaSink(const DecodedMediaSink&) = delete;
  DecodedMediaSink& operator=(const DecodedMediaSink&) = delete;

  // `followsArrival`: a live stream is presented as it arrives, by the live side of
  // PresentationClock.
  void setMode(LumoRtc::LumoLivePlayMode mode, bool followsArrival);
  // kLumoLivePlayModeNone until the pipeline has determined it.
  LumoRtc::LumoLivePlayMode mode() const { return mode_; }

  // `timestamp` is the running time of the sample.
  void deliverVideo(GstPtr<GstSample> sample, GstClockTime timestamp);
  void deliverAudio(GstBuffer* buffer, GstClockTime timestamp);

  // Returns whether everything that was delivered has been presented.
  bool isDrained() const { return presenter_.isDrained(); }

  // Returns the counts so far, the presenter's included.
  PlayCounts counts() const;
  std::chrono::milliseconds takeWorstDelay(Presenter::Time now);

  const PlayLimits& limits() const { return limits_; }

  void close();

  // Whether the server has sent anything.
  std::atomic<bool> answered{false};
  PlayStatistics meter;
  ArrivalLimit arrival;

 private:
  const PlayLimits limits_;
  const Handlers handlers_;
  std::atomic<LumoRtc::LumoLivePlayMode> mode_{LumoRtc::kLumoLivePlayModeNone};

  FrameNormalizer normalizer_{FrameNormalizer::Use::kWrite};  // used by deliverVideo only
  std::optional<bool> audioWasRaw_;                           // used by deliverAudio only

  Presenter presenter_;  // destroyed first: it calls the handlers
};

}  // namespace NimboEngine
