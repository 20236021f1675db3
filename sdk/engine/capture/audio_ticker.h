// Clocked audio output: every 20 ms one chunk of exactly the right length goes to the consumers,
// whatever the source does. Samples that the source does not deliver are silence, as is everything
// while muted.
//
// Thread: the setters on any thread; consumers are called on the tick thread.
// Ownership: shares the FIFO; the consumer list must outlive the ticker.
// Failure: none.

#pragma once

#include <atomic>
#include <memory>

#include "base/mutex.h"
#include "base/sink_list.h"
#include "capture/ticker.h"
#include "media/frame_consumer.h"
#include "media/sample_fifo.h"

namespace NimboEngine {

class AudioTicker {
 public:
  static constexpr uint32_t kChunksPerSecond = 50;

  AudioTicker(const AudioFormat& format, SinkList<FrameConsumer>& consumers);

  // Selects the source, which takes over from its predecessor as soon as it has samples. Null:
  // none, immediately.
  void setSource(std::shared_ptr<SampleFifo> source);

  void setSilent(bool silent) { silent_ = silent; }

 private:
  void tick(uint64_t number, GstClockTime time);
  std::shared_ptr<SampleFifo> currentSource();

  const AudioFormat format_;
  SinkList<FrameConsumer>& consumers_;
  std::atomic<bool> silent_{false};
  Mutex mutex_;
  std::shared_ptr<SampleFifo> source_ NIMBO_GUARDED_BY(mutex_);
  std::shared_ptr<SampleFifo> next_ NIMBO_GUARDED_BY(mutex_);  // not in use yet
  Ticker ticker_;  // last: its thread uses everything above
};

}  // namespace NimboEngine
