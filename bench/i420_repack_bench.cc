// Measures the repacking of a frame, against two peers in the same run: the byte-by-byte reference
// of the tests, and one memcpy of as many bytes as the stored frame has. Ends with the ratios.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "utils/i420_reference.h"
#include "utils/i420_repack.h"

namespace {

using LumoLivePushElectronSDK::CopyI420;
using LumoLivePushElectronSDK::LayOutI420;
using LumoLivePushElectronSDK::testing::OwnedFrame;
using LumoLivePushElectronSDK::testing::ReferenceFrame;
using LumoLivePushElectronSDK::testing::Tight;

OwnedFrame FrameOf(const benchmark::State& state) {
  return OwnedFrame(
      Tight(static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(1))));
}

void Repack(benchmark::State& state) {
  const OwnedFrame frame = FrameOf(state);
  const auto layout = LayOutI420(frame.raw()).value();
  std::vector<unsigned char> target(layout.size);
  while (state.KeepRunning()) {
    CopyI420(frame.raw(), layout, target.data());
    benchmark::ClobberMemory();
  }
}

void PerByte(benchmark::State& state) {
  const OwnedFrame frame = FrameOf(state);
  while (state.KeepRunning()) benchmark::DoNotOptimize(ReferenceFrame(frame));
}

void Memcpy(benchmark::State& state) {
  const OwnedFrame frame = FrameOf(state);
  const std::vector<unsigned char> source(LayOutI420(frame.raw()).value().size, 1);
  std::vector<unsigned char> target(source.size());
  while (state.KeepRunning()) {
    std::memcpy(target.data(), source.data(), source.size());
    benchmark::ClobberMemory();
  }
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Args({642, 360})->Args({1282, 720})->Unit(benchmark::kMicrosecond);
}
BENCHMARK(Repack)->Apply(Sizes);
BENCHMARK(PerByte)->Apply(Sizes);
BENCHMARK(Memcpy)->Apply(Sizes);

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
    const auto repack = times_.find("Repack/" + size);
    const auto per_byte = times_.find("PerByte/" + size);
    const auto memcpy = times_.find("Memcpy/" + size);
    if (repack == times_.end() || per_byte == times_.end() || memcpy == times_.end()) return false;
    std::printf("%s: repacking takes %.2f times memcpy, 1/%.1f of byte by byte\n", size.c_str(),
                repack->second / memcpy->second, per_byte->second / repack->second);
    return true;
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const bool small = reporter.PrintRatios("642/360");
  const bool large = reporter.PrintRatios("1282/720");
  return small && large ? 0 : 1;
}
