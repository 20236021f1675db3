// A consumer that records captured media, so that a test can wait for them and examine them.
//
// Thread: any.
// Failure: the waits return false after a deadline that only guards against hanging.

#pragma once

#include <gst/gst.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "devices/devices.h"
#include "media/frame_consumer.h"

namespace NimboEngine::test {

// One captured frame.
struct Frame {
  std::vector<uint8_t> bytes;
  GstVideoInfo info{};
  GstClockTime time = 0;

  // Returns Y, U and V at a place given as fractions of width and height.
  std::array<int, 3> at(double x, double y) const;

  bool isBlack() const;
};

struct AudioChunk {
  std::vector<int16_t> samples;
  GstClockTime time = 0;

  bool isSilent() const;
};

inline const char* kindName(DeviceKind kind) {
  return kind == DeviceKind::kCamera ? "camera" : "microphone";
}

class CaptureProbe final : public FrameConsumer {
 public:
  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;
  void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) override;

  // Waits for a frame or audio chunk, later than this call, that satisfies `wanted`.
  bool waitForFrame(const std::function<bool(const Frame&)>& wanted);
  bool waitForAudio(const std::function<bool(const AudioChunk&)>& wanted);

  // Returns the next `count` frames or audio chunks after this call, without gaps.
  std::vector<Frame> frames(size_t count);
  std::vector<AudioChunk> audioChunks(size_t count);

  size_t frameCount() const;
  size_t audioChunkCount() const;

 private:
  static constexpr std::chrono::seconds kDeadline{60};

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Frame frame_;
  AudioChunk chunk_;
  // The frames and chunks that are being collected, and how many are missing.
  std::vector<Frame> collectedFrames_;
  std::vector<AudioChunk> collectedChunks_;
  size_t missingFrames_ = 0;
  size_t missingChunks_ = 0;
  size_t frameCount_ = 0;
  size_t audioChunkCount_ = 0;
};

}  // namespace NimboEngine::test
