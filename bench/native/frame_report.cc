#include "frame_report.h"

#include <chrono>
#include <cinttypes>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace AvBench {
namespace {

constexpr int kBits = 32;
constexpr int kBlackBelow = 80;
constexpr int kWhiteFrom = 170;
constexpr int kSampleStep = 4;  // pixels, in both directions

int64_t now() {
  using std::chrono::nanoseconds;
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<nanoseconds>(time).count();
}

int64_t codeOf(const LumaPlane& luma) {
  const uint8_t* row = luma.data + static_cast<std::ptrdiff_t>(luma.height / 32) * luma.stride;
  int64_t code = 0;
  for (int bit = 0; bit < kBits; ++bit) {
    const int value = row[(2 * bit + 1) * luma.width / (2 * kBits)];
    if (value >= kBlackBelow && value < kWhiteFrom) return -1;
    code = code * 2 + (value >= kWhiteFrom ? 1 : 0);
  }
  return code;
}

int meanLuma(const LumaPlane& luma) {
  int64_t sum = 0;
  int64_t count = 0;
  for (int y = luma.height / 8; y < luma.height; y += kSampleStep) {
    const uint8_t* row = luma.data + static_cast<std::ptrdiff_t>(y) * luma.stride;
    for (int x = 0; x < luma.width; x += kSampleStep) {
      sum += row[x];
      ++count;
    }
  }
  return count > 0 ? static_cast<int>(sum / count) : 0;
}

}  // namespace

void reportFrame(const LumaPlane& luma) {
  const int64_t time = now();  // before the frame is examined
  const int64_t code = luma.width < 2 * kBits ? -1 : codeOf(luma);
  std::printf("frame %" PRId64 " %" PRId64 " %d\n", time, code, meanLuma(luma));
  std::fflush(stdout);
}

void reportEvent(const char* word, const char* text) {
  std::printf("%s %s\n", word, text);
  std::fflush(stdout);
}

Termination::Termination() {
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGTERM);
  sigaddset(&signals_, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
}

void Termination::wait() const {
  int ignored = 0;
  sigwait(&signals_, &ignored);
}

bool Termination::requested() const {
  constexpr timespec kAtOnce{};
  return sigtimedwait(&signals_, nullptr, &kAtOnce) > 0;
}

}  // namespace AvBench
