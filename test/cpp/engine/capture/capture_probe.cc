#include "capture/capture_probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace NimboEngine::test {

std::array<int, 3> Frame::at(double x, double y) const {
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

bool Frame::isBlack() const {
  const auto chroma = bytes.begin() + static_cast<ptrdiff_t>(GST_VIDEO_INFO_PLANE_OFFSET(&info, 1));
  return std::all_of(bytes.begin(), chroma, [](uint8_t value) { return value == 16; }) &&
         std::all_of(chroma, bytes.end(), [](uint8_t value) { return value == 128; });
}

bool AudioChunk::isSilent() const {
  return std::all_of(samples.begin(), samples.end(), [](int16_t sample) { return sample == 0; });
}

void CaptureProbe::onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) {
  std::lock_guard lock(mutex_);
  frame_ = {std::vector<uint8_t>(gst_buffer_get_size(buffer)), info, time};
  gst_buffer_extract(buffer, 0, frame_.bytes.data(), frame_.bytes.size());
  ++frameCount_;
  if (missingFrames_ > 0) {
    collectedFrames_.push_back(frame_);
    --missingFrames_;
  }
  changed_.notify_all();
}

void CaptureProbe::onAudioChunk(GstBuffer* buffer, const AudioFormat&, GstClockTime time) {
  std::lock_guard lock(mutex_);
  const size_t bytes = gst_buffer_get_size(buffer);
  chunk_ = {std::vector<int16_t>(bytes / sizeof(int16_t)), time};
  gst_buffer_extract(buffer, 0, chunk_.samples.data(), bytes);
  ++audioChunkCount_;
  if (missingChunks_ > 0) {
    collectedChunks_.push_back(chunk_);
    --missingChunks_;
  }
  changed_.notify_all();
}

bool CaptureProbe::waitForFrame(const std::function<bool(const Frame&)>& wanted) {
  std::unique_lock lock(mutex_);
  const size_t before = frameCount_;
  return changed_.wait_for(lock, kDeadline, [&] { return frameCount_ > before && wanted(frame_); });
}

bool CaptureProbe::waitForAudio(const std::function<bool(const AudioChunk&)>& wanted) {
  std::unique_lock lock(mutex_);
  const size_t before = audioChunkCount_;
  return changed_.wait_for(lock, kDeadline,
                           [&] { return audioChunkCount_ > before && wanted(chunk_); });
}

std::vector<Frame> CaptureProbe::frames(size_t count) {
  std::unique_lock lock(mutex_);
  missingFrames_ = count;
  EXPECT_TRUE(changed_.wait_for(lock, kDeadline, [this] { return missingFrames_ == 0; }));
  return std::exchange(collectedFrames_, {});
}

std::vector<AudioChunk> CaptureProbe::audioChunks(size_t count) {
  std::unique_lock lock(mutex_);
  missingChunks_ = count;
  EXPECT_TRUE(changed_.wait_for(lock, kDeadline, [this] { return missingChunks_ == 0; }));
  return std::exchange(collectedChunks_, {});
}

size_t CaptureProbe::frameCount() const {
  std::lock_guard lock(mutex_);
  return frameCount_;
}

size_t CaptureProbe::audioChunkCount() const {
  std::lock_guard lock(mutex_);
  return audioChunkCount_;
}

}  // namespace NimboEngine::test
