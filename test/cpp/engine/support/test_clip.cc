#include "support/test_clip.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>

#include "support/child_process.h"

namespace NimboEngine::test {

TestClip::TestClip(int width, int height, int seconds, const std::string& codec,
                   const std::string& ending) {
  static std::atomic<int> number{0};
  path_ = std::filesystem::temp_directory_path() /
          fmt::format("nimbo-clip-{}-{}{}", getpid(), ++number, ending);
  const std::string frame = fmt::format(
      "color=blue:s={0}x{1}:r=30,format=rgb24,drawbox=w={2}:h={3}:color=red:t=fill,format=yuv420p",
      width, height, width / 2, height / 2);
  ChildProcess ffmpeg({"ffmpeg", "-v",
                       "error",  "-nostdin",
                       "-f",     "lavfi",
                       "-i",     frame,
                       "-f",     "lavfi",
                       "-i",     "sine=frequency=440:sample_rate=48000,volume=18dB",
                       "-t",     std::to_string(seconds),
                       "-c:v",   codec,
                       "-g",     "30",
                       "-c:a",   "aac",
                       "-y",     path_});
  if (ffmpeg.wait() != 0) throw std::runtime_error("ffmpeg cannot make " + path_);
}

TestClip::~TestClip() {
  std::filesystem::remove(path_);
}

}  // namespace NimboEngine::test
