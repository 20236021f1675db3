#include "capture/capture_probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace NimboEngine::test {

std::array<int, 3> Picture::at(double x, double y) const {
  std::array<int, 3> value{};
  for (int plane = 0; plane < 3; ++plane) {
    const auto column = static_cast<int>(x * GST_VIDEO_INFO_COMP_WIDTH(&info, plane));
    const auto row = static_cast<int>(y * GST_VIDEO_INFO_COMP_HEIGHT(&info, plane));
    const auto place = static_cast<int>(GST_VIDEO_INFO_PLANE_OFFSET(&info, plane)) +
                       row * GST_VIDEO_INFO_PLANE_STRIDE(&info, plane) + column;
    value[static_cast<size_t>(plane)] = bytes.at(static_cast<size_t>(place));
  }
  return value;
}

bool Picture::isBlack() const {
  const auto chroma = bytes.begin() + static_cast<ptrdiff_t>(GST_VIDEO_INFO_PLANE_OFFSET(&info, 1));
  return std::all_of(bytes.begin(), chroma, [](uint8_t value) { return value == 16; }) &&
         std::all_of(chroma, bytes.end(), [](uint8_t value) { return value == 128; });
}

bool Sound::isSilent() const {
  return std::all_of(samples.begin(), samples.end(), [](int16_t sample) { return sample == 0; });
}

void CaptureProbe::onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) {
  std::lock_guard lock(mutex_);
  picture_ = {std::vector<uint8_t>(gst_buffer_get_size(buffer)), info, time};
  gst_buffer_extract(buffer, 0, picture_.bytes.data(), picture_.bytes.size());
  ++pictureCount_;
  if (missingPictures_ > 0) {
    collectedPictures_.push_back(picture_);
    --missingPictures_;
  }
  changed_.notify_all();
}

void CaptureProbe::onAudioChunk(GstBuffer* buffer, const AudioFormat&, GstClockTime time) {
  std::lock_guard lock(mutex_);
  const size_t bytes = gst_buffer_get_size(buffer);
  sound_ = {std::vector<int16_t>(bytes / sizeof(int16_t)), time};
  gst_buffer_extract(buffer, 0, sound_.samples.data(), bytes);
  ++soundCount_;
  if (missingSounds_ > 0) {
    collectedSounds_.push_back(sound_);
    --missingSounds_;
  }
  changed_.notify_all();
}

bool CaptureProbe::waitForPicture(const std::function<bool(const Picture&)>& wanted) {
  std::unique_lock lock(mutex_);
  const size_t before = pictureCount_;
  return changed_.wait_for(lock, kDeadline,
                           [&] { return pictureCount_ > before && wanted(picture_); });
}

bool CaptureProbe::waitForSound(const std::function<bool(const Sound&)>& wanted) {
  std::unique_lock lock(mutex_);
  const size_t before = soundCount_;
  return changed_.wait_for(lock, kDeadline, [&] { return soundCount_ > before && wanted(sound_); });
}

std::vector<Picture> CaptureProbe::pictures(size_t count) {
  std::unique_lock lock(mutex_);
  missingPictures_ = count;
  EXPECT_TRUE(changed_.wait_for(lock, kDeadline, [this] { return missingPictures_ == 0; }));
  return std::exchange(collectedPictures_, {});
}

std::vector<Sound> CaptureProbe::sounds(size_t count) {
  std::unique_lock lock(mutex_);
  missingSounds_ = count;
  EXPECT_TRUE(changed_.wait_for(lock, kDeadline, [this] { return missingSounds_ == 0; }));
  return std::exchange(collectedSounds_, {});
}

size_t CaptureProbe::pictureCount() const {
  std::lock_guard lock(mutex_);
  return pictureCount_;
}

size_t CaptureProbe::soundCount() const {
  std::lock_guard lock(mutex_);
  return soundCount_;
}

}  // namespace NimboEngine::test
