#include "play/audio_output.h"

#include <fmt/format.h>
#include <gst/app/gstappsrc.h>
#include <gst/audio/audio.h>
#include <gst/audio/gstaudiobasesink.h>

#include <string>
#include <utility>

#include "base/mutex.h"
#include "play/output_clock.h"
#include "play/presentation_clock.h"

namespace NimboEngine {
namespace {

// The output's own buffer, in the units of its properties. Audio must be delivered before it runs
// dry: PresentationClock::kAudioLead leaves a margin of 20 ms.
constexpr gint64 kDeviceBufferUs = 120'000;
constexpr gint64 kDevicePeriodUs = 20'000;
// The sink closes gaps up to this size: only those caused by rounding.
constexpr gint64 kAlignmentNs = 1'000'000;
// Audio that is queued while the output is being opened.
constexpr int kMostWaitingMs = 300;
constexpr int kMostWaitingBytes = kPlayedAudio.rate * kMostWaitingMs / 1000 *
                                  kPlayedAudio.channels * static_cast<int>(sizeof(int16_t));

}  // namespace

// The input of the pipeline, which is created and destroyed on another thread. The sink's own
// synchronisation to the pipeline's clock is off: it corrects drift by jumps and takes long to
// follow an output that has stalled. Instead, audio is stamped with the output's time and resampled
// to fit it.
class AudioOutput::Input {
 public:
  void set(const Pipeline* pipeline) {
    const MutexLock lock(mutex_);
    source_.reset();
    if (!pipeline) return;
    source_ = pipeline->element("source");
    sink_ = pipeline->element("sink");
    aligner_.emplace();
    clock_ = {};
  }

  void push(const AudioAligner::Piece& piece) {
    const MutexLock lock(mutex_);
    if (!source_) return;
    const GstClockTime base = gst_element_get_base_time(source_.get());
    if (base == 0) return;  // it does not run yet
    if (const auto output = reading(); output && clock_.add(*output)) aligner_.emplace();
    const AudioAligner::Piece fitted =
        aligner_->align(piece.samples, piece.moment + clock_.ahead());
    const auto moment = static_cast<GstClockTime>(fitted.moment.time_since_epoch().count());
    if (moment < base || fitted.samples.empty()) return;
    GstBuffer* buffer = gst_buffer_new_memdup(fitted.samples.data(), fitted.samples.size_bytes());
    GST_BUFFER_PTS(buffer) = moment - base;
    gst_app_src_push_buffer(GST_APP_SRC(source_.get()), buffer);  // takes the reference
  }

 private:
  // The sink calibrates its clock to the pipeline's only when it starts.
  std::optional<std::chrono::nanoseconds> reading() const NIMBO_REQUIRES(mutex_) {
    GstClock* output = GST_AUDIO_BASE_SINK(sink_.get())->provided_clock;
    GstClockTime calibrated = 0;
    gst_clock_get_calibration(output, nullptr, &calibrated, nullptr, nullptr);
    if (calibrated == 0) return std::nullopt;
    const GstPtr<GstClock> system(gst_system_clock_obtain());
    return std::chrono::nanoseconds(
        GST_CLOCK_DIFF(gst_clock_get_time(system.get()), gst_clock_get_time(output)));
  }

  Mutex mutex_;
  GstPtr<GstElement> source_ NIMBO_GUARDED_BY(mutex_);
  GstPtr<GstElement> sink_ NIMBO_GUARDED_BY(mutex_);
  std::optional<AudioAligner> aligner_ NIMBO_GUARDED_BY(mutex_);
  OutputClock clock_ NIMBO_GUARDED_BY(mutex_);
};

// The output's pipeline. It is run like a capture source, in the opposite direction.
class AudioOutput::Sink final : public Source {
 public:
  explicit Sink(std::shared_ptr<Input> input) : input_(std::move(input)) {}
  ~Sink() override { input_->set(nullptr); }

  Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override {
    auto pipeline = Pipeline::parse(
        "audio output",
        fmt::format("appsrc name=source is-live=true format=time block=false "
                    "leaky-type=downstream max-bytes={} "
                    "caps=audio/x-raw,format={},rate={},channels={},layout=interleaved ! "
                    "audioconvert ! audioresample ! "
                    "pulsesink name=sink async=false provide-clock=false slave-method=none "
                    "alignment-threshold={} discont-wait=0 "
                    "client-name=nimbo buffer-time={} latency-time={}",
                    kMostWaitingBytes, GST_AUDIO_NE(S16), kPlayedAudio.rate, kPlayedAudio.channels,
                    kAlignmentNs, kDeviceBufferUs, kDevicePeriodUs),
        std::move(handler));
    if (!pipeline) return failed(LumoRtc::kLumoLiveNotSupported, "it cannot be built");
    // Presentation times already include the output's latency.
    gst_pipeline_set_latency(GST_PIPELINE(pipeline->get()), 0);
    input_->set(pipeline.get());
    return pipeline;
  }

 private:
  const std::shared_ptr<Input> input_;
};

AudioOutput::AudioOutput() : input_(std::make_shared<Input>()) {}

AudioOutput::~AudioOutput() {
  input_->set(nullptr);
}

void AudioOutput::open() {
  if (runner_) return;
  runner_.emplace(
      "audio output", [input = input_] { return std::make_unique<Sink>(input); },
      [](const std::string&) {});
}

void AudioOutput::push(const AudioAligner::Piece& piece) {
  input_->push(piece);
}

}  // namespace NimboEngine
