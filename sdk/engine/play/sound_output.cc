#include "play/sound_output.h"

#include <fmt/format.h>
#include <gst/app/gstappsrc.h>
#include <gst/audio/audio.h>

#include <mutex>
#include <string>
#include <utility>

#include "play/play_outlets.h"

namespace NimboEngine {
namespace {

// What may wait for the output: enough for an uneven network, and not more than the ear forgives
// against the picture.
constexpr int kWaitingMs = 120;
constexpr int kWaitingBytes = kPlayedSound.rate * kWaitingMs / 1000 * kPlayedSound.channels *
                              static_cast<int>(sizeof(int16_t));
constexpr gint64 kDeviceBufferUs = 80'000;
constexpr gint64 kDevicePeriodUs = 20'000;

}  // namespace

// The way into the pipeline, which comes and goes on another thread.
class SoundOutput::Inlet {
 public:
  void set(GstPtr<GstElement> source) {
    std::lock_guard lock(mutex_);
    source_.swap(source);
  }

  void push(const int16_t* samples, std::size_t count) {
    std::lock_guard lock(mutex_);
    if (!source_) return;
    const gsize bytes = count * sizeof(int16_t);
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, bytes, nullptr);
    gst_buffer_fill(buffer, 0, samples, bytes);
    gst_app_src_push_buffer(GST_APP_SRC(source_.get()), buffer);  // takes the reference
  }

 private:
  std::mutex mutex_;
  GstPtr<GstElement> source_;
};

// The output's pipeline. It runs as a capture source does, only the other way round.
class SoundOutput::Sink final : public Source {
 public:
  explicit Sink(std::shared_ptr<Inlet> inlet) : inlet_(std::move(inlet)) {}
  ~Sink() override { inlet_->set(nullptr); }

  std::unique_ptr<Pipeline> build(Pipeline::Handler handler, std::string& problem) override {
    auto pipeline = Pipeline::parse(
        "sound",
        fmt::format("appsrc name=source is-live=true format=time block=false "
                    "leaky-type=downstream max-bytes={} "
                    "caps=audio/x-raw,format={},rate={},channels={},layout=interleaved ! "
                    "audioconvert ! audioresample ! "
                    "pulsesink sync=false async=false provide-clock=false client-name=nimbo "
                    "buffer-time={} latency-time={}",
                    kWaitingBytes, GST_AUDIO_NE(S16), kPlayedSound.rate, kPlayedSound.channels,
                    kDeviceBufferUs, kDevicePeriodUs),
        std::move(handler));
    if (pipeline) {
      inlet_->set(pipeline->element("source"));
    } else {
      problem = "it cannot be built";
    }
    return pipeline;
  }

 private:
  const std::shared_ptr<Inlet> inlet_;
};

SoundOutput::SoundOutput() : inlet_(std::make_shared<Inlet>()) {}

SoundOutput::~SoundOutput() {
  inlet_->set(nullptr);
}

void SoundOutput::open() {
  if (runner_) return;
  runner_.emplace(
      "sound output", [inlet = inlet_](std::string&) { return std::make_unique<Sink>(inlet); },
      [](const std::string&) {});
}

void SoundOutput::push(const int16_t* samples, std::size_t count) {
  inlet_->push(samples, count);
}

}  // namespace NimboEngine
