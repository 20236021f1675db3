// Plays a short beep once a second through PulseAudio and prints when each is played according to
// the sound server: the line "beep NANOSECONDS" of the monotonic clock. The difference that a
// recorder of the same output measures is the recorder's offset. Runs until it is terminated.
//
// Usage: beep_at_known_time (the output is the server's default, or PULSE_SINK)

#include <pulse/pulseaudio.h>

#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <vector>

#include "frame_report.h"

namespace {

constexpr uint32_t kRate = 48'000;
constexpr uint32_t kBeepFrames = kRate / 15;
constexpr double kFrequency = 1000;
constexpr double kLevel = 16'000;
constexpr uint32_t kBufferBytes = kRate / 10 * sizeof(int16_t);

int64_t nowNs() {
  using std::chrono::nanoseconds;
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<nanoseconds>(time).count();
}

// Writes the samples that the server requests; `written` counts samples since the start.
struct Beeper {
  uint64_t written = 0;

  int16_t next() {
    const auto place = static_cast<double>(written % kRate);
    const bool isBeep = written >= kRate && place < kBeepFrames;
    ++written;
    if (!isBeep) return 0;
    return static_cast<int16_t>(kLevel *
                                std::sin(2 * std::numbers::pi * kFrequency * place / kRate));
  }
};

// Computes when the next sample will be played. The server is asked for its playback time each
// time, so that nothing is extrapolated.
void onTimingUpdate(pa_stream* stream, int ok, void* data) {
  const auto& beeper = *static_cast<Beeper*>(data);
  pa_usec_t latency = 0;
  int negative = 0;
  if (!ok || pa_stream_get_latency(stream, &latency, &negative) < 0 || negative) return;
  const int64_t audibleAt = nowNs() + static_cast<int64_t>(latency) * 1000;
  const uint64_t beep = (beeper.written / kRate + 1) * kRate;
  const uint64_t ahead = beep - beeper.written;
  std::printf("beep %" PRId64 "\n",
              audibleAt + static_cast<int64_t>(ahead * 1'000'000'000 / kRate));
  std::fflush(stdout);
}

void onWritable(pa_stream* stream, size_t bytes, void* data) {
  auto& beeper = *static_cast<Beeper*>(data);
  std::vector<int16_t> samples(bytes / sizeof(int16_t));
  const uint64_t second = beeper.written / kRate;
  for (int16_t& sample : samples) sample = beeper.next();
  pa_stream_write(stream, samples.data(), samples.size() * sizeof(int16_t), nullptr, 0,
                  PA_SEEK_RELATIVE);
  if (beeper.written / kRate == second || beeper.written < kRate) return;
  if (pa_operation* update = pa_stream_update_timing_info(stream, onTimingUpdate, data)) {
    pa_operation_unref(update);
  }
}

void onContext(pa_context* context, void* data) {
  if (pa_context_get_state(context) != PA_CONTEXT_READY) return;
  constexpr pa_sample_spec kSpec{PA_SAMPLE_S16NE, kRate, 1};
  constexpr auto kDefault = static_cast<uint32_t>(-1);
  constexpr pa_buffer_attr kBuffer{kDefault, kBufferBytes, kDefault, kDefault, kDefault};
  pa_stream* stream = pa_stream_new(context, "beep", &kSpec, nullptr);
  pa_stream_set_write_callback(stream, onWritable, data);
  pa_stream_connect_playback(stream, nullptr, &kBuffer, PA_STREAM_ADJUST_LATENCY, nullptr, nullptr);
}

}  // namespace

int main() {
  const AvBench::Termination termination;
  Beeper beeper;
  pa_threaded_mainloop* loop = pa_threaded_mainloop_new();
  pa_context* context = pa_context_new(pa_threaded_mainloop_get_api(loop), "beep");
  pa_context_set_state_callback(context, onContext, &beeper);
  if (pa_context_connect(context, nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0) return 1;
  pa_threaded_mainloop_start(loop);
  termination.wait();
  pa_threaded_mainloop_stop(loop);
  pa_context_unref(context);
  pa_threaded_mainloop_free(loop);
  return 0;
}
