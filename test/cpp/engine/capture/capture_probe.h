// A consumer that keeps what was captured, so that a test can wait for it and look at it.
//
// Thread: any.
// Failure: the waits answer false after a deadline that only guards against hanging.

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

// One captured picture.
struct Frame {
  std::vector<uint8_t> bytes;
  GstVideoInfo info{};
  GstClockTime time = 0;

  // Y, U and V at a place given in parts of the width and height.
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

  // Waits for a picture or sound, later than this call, of which `wanted` holds.
  bool waitForFrame(const std::function<bool(const Frame&)>& wanted);
  bool waitForAudio(const std::function<bool(const AudioChunk&)>& wanted);

  // The next `count` pictures or sounds, all of them, from this call on.
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
  // What pictures() and sounds() collect, as long as that many are missing.
  std::vector<Frame> collectedFrames_;
  std::vector<AudioChunk> collectedChunks_;
  size_t missingFrames_ = 0;
  size_t missingChunks_ = 0;
  size_t frameCount_ = 0;
  size_t audioChunkCount_ = 0;
};

}  // namespace NimboEngine::test
