// Measures the conversion of a decoded frame into the engine's form, against two peers in the same
// run: memcpy of the same frame, and GStreamer's own conversion. Ends with the ratios.

#include <benchmark/benchmark.h>
#include <gst/gst.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "media/frame_form.h"
#include "media/frame_normalizer.h"

namespace {

using namespace NimboEngine;

// Decoders without colour information leave it out: BT.601 for small frames.
enum class Colours { kForm, kBt601, kFull601 };

GstVideoInfo sourceInfo(const benchmark::State& state, Colours colours) {
  GstVideoInfo info = frameInfo(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  if (colours != Colours::kForm) info.colorimetry.matrix = GST_VIDEO_COLOR_MATRIX_BT601;
  if (colours == Colours::kFull601) info.colorimetry.range = GST_VIDEO_COLOR_RANGE_0_255;
  return info;
}

// As many as a player has in flight, so that a frame is not always in the first-level cache.
std::vector<GstPtr<GstBuffer>> makeFrames(const GstVideoInfo& info) {
  std::vector<GstPtr<GstBuffer>> frames(4);
  for (auto& frame : frames) {
    frame.reset(gst_buffer_new_allocate(nullptr, info.size, nullptr));
    GstMapInfo map;
    gst_buffer_map(frame.get(), &map, GST_MAP_WRITE);
    unsigned random = 1;
    for (size_t i = 0; i < map.size; ++i) {
      map.data[i] = static_cast<uint8_t>((random = random * 1664525 + 1013904223) >> 24);
    }
    gst_buffer_unmap(frame.get(), &map);
  }
  return frames;
}

void normalize(benchmark::State& state, Colours colours) {
  const GstVideoInfo info = sourceInfo(state, colours);
  const GstPtr<GstCaps> caps(gst_video_info_to_caps(&info));
  const auto frames = makeFrames(info);
  FrameNormalizer normalizer(FrameNormalizer::Use::kWrite);
  size_t next = 0;
  while (state.KeepRunning()) {
    // Shared with the decoder, hence copied even if it has the form.
    benchmark::DoNotOptimize(normalizer.normalize(share(frames[next++ % 4].get()), caps.get()));
  }
}

void Copy(benchmark::State& state) {
  normalize(state, Colours::kForm);
}
void Bt601(benchmark::State& state) {
  normalize(state, Colours::kBt601);
}
void Full601(benchmark::State& state) {
  normalize(state, Colours::kFull601);
}

void Memcpy(benchmark::State& state) {
  const GstVideoInfo info = sourceInfo(state, Colours::kForm);
  const auto frames = makeFrames(info);
  const auto target = makeFrames(info);
  size_t next = 0;
  while (state.KeepRunning()) {
    GstMapInfo from;
    GstMapInfo to;
    gst_buffer_map(frames[next % 4].get(), &from, GST_MAP_READ);
    gst_buffer_map(target[0].get(), &to, GST_MAP_WRITE);
    std::memcpy(to.data, from.data, from.size);
    benchmark::ClobberMemory();
    gst_buffer_unmap(target[0].get(), &to);
    gst_buffer_unmap(frames[next++ % 4].get(), &from);
  }
}

void Gstreamer(benchmark::State& state) {
  GstVideoInfo from = sourceInfo(state, Colours::kBt601);
  GstVideoInfo to = sourceInfo(state, Colours::kForm);
  const auto frames = makeFrames(from);
  const auto target = makeFrames(to);
  GstVideoConverter* converter = gst_video_converter_new(&from, &to, nullptr);
  size_t next = 0;
  while (state.KeepRunning()) {
    GstVideoFrame source;
    GstVideoFrame result;
    gst_video_frame_map(&source, &from, frames[next++ % 4].get(), GST_MAP_READ);
    gst_video_frame_map(&result, &to, target[0].get(), GST_MAP_WRITE);
    gst_video_converter_frame(converter, &source, &result);
    gst_video_frame_unmap(&result);
    gst_video_frame_unmap(&source);
  }
  gst_video_converter_free(converter);
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Args({640, 360})->Args({1280, 720})->Args({1920, 1080})->Unit(benchmark::kMicrosecond);
}
BENCHMARK(Memcpy)->Apply(Sizes);
BENCHMARK(Copy)->Apply(Sizes);
BENCHMARK(Bt601)->Apply(Sizes);
BENCHMARK(Full601)->Apply(Sizes);
BENCHMARK(Gstreamer)->Apply(Sizes);

// Prints the usual table and stores its times.
class RatioReporter final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) {
      if (!run.error_occurred) times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // Returns false if a benchmark is missing.
  bool PrintRatios(const std::string& size) const {
    const auto copied = times_.find("Memcpy/" + size);
    if (copied == times_.end()) return false;
    for (const char* name : {"Copy", "Bt601", "Full601", "Gstreamer"}) {
      const auto time = times_.find(std::string(name) + '/' + size);
      if (time == times_.end()) return false;
      std::printf("%s: %s takes %.2f times memcpy\n", size.c_str(), name,
                  time->second / copied->second);
    }
    return true;
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
  gst_init(&argc, &argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  bool complete = true;
  for (const char* size : {"640/360", "1280/720", "1920/1080"}) {
    complete = reporter.PrintRatios(size) && complete;
  }
  return complete ? 0 : 1;
}
