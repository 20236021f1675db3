// A media file for tests, made by ffmpeg.

#pragma once

#include <string>

namespace NimboEngine::test {

// Video whose upper left quarter is red and whose rest is blue, and a tone at full scale.
class TestClip {
 public:
  // `codec` is ffmpeg's name of the video codec, `ending` that of the file.
  TestClip(int width, int height, int seconds, const std::string& codec = "libx264",
           const std::string& ending = ".mp4");
  ~TestClip();
  TestClip(const TestClip&) = delete;
  TestClip& operator=(const TestClip&) = delete;

  const char* path() const { return path_.c_str(); }

 private:
  std::string path_;
};

}  // namespace NimboEngine::test
