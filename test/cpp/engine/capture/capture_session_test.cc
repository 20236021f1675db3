// The session with the test sources: the frames and audio of its consumers in each situation.

#include "capture/capture_session.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "capture/capture_probe.h"
#include "devices/devices.h"
#include "gst/runtime.h"
#include "support/event_log.h"
#include "support/process_usage.h"

namespace NimboEngine::test {
namespace {

constexpr uint64_t kSecond = 1'000'000'000;

CaptureSettings testSettings(VideoFormat video = {320, 240, 30}) {
  CaptureSettings settings;
  settings.video = video;
  settings.camera = DeviceId::test();
  settings.microphone = DeviceId::test();
  return settings;
}

bool isPattern(const Frame& frame) {
  return frame.at(0.07, 0.5)[0] > 200;
}

class CaptureSessionTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  void open(const CaptureSettings& settings, FrameCallback onFrame = nullptr) {
    session_ = std::make_unique<CaptureSession>(
        settings, std::move(onFrame),
        [this](DeviceKind kind, const DeviceId&, const std::string& message) {
          EXPECT_FALSE(message.empty());
          failures_.add(kindName(kind));
        });
    session_->addConsumer(&probe_);
  }

  void TearDown() override {
    if (session_) session_->removeConsumer(&probe_);
  }

  CaptureProbe probe_;
  EventLog failures_;
  std::atomic<size_t> calls_{0};
  std::unique_ptr<CaptureSession> session_;
};

void expectColour(const Frame& frame, double x, double y, std::array<int, 3> yuv) {
  const auto seen = frame.at(x, y);
  for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(seen[i], yuv[i], 4) << "plane " << i << " at " << x;
}

// Full-scale colours in ITU-R BT.709.
constexpr std::array<std::array<int, 3>, 7> kBars{{{235, 128, 128},
                                                   {219, 16, 138},
                                                   {188, 154, 16},
                                                   {173, 42, 26},
                                                   {78, 214, 230},
                                                   {63, 102, 240},
                                                   {32, 240, 118}}};

double middleOfBar(size_t bar) {
  return (static_cast<double>(bar) + 0.5) / 7;
}

TEST_F(CaptureSessionTest, ThePatternIsUprightInItsColours) {
  open(testSettings());
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  const Frame frame = probe_.frames(1).at(0);
  for (size_t bar = 0; bar < 7; ++bar) expectColour(frame, middleOfBar(bar), 0.5, kBars[bar]);
  expectColour(frame, middleOfBar(0), 0.70, kBars[6]);  // the reversed bars below
}

TEST_F(CaptureSessionTest, MirrorExchangesLeftAndRight) {
  CaptureSettings settings = testSettings();
  settings.mirror = true;
  open(settings);
  ASSERT_TRUE(probe_.waitForFrame([](const Frame& frame) { return !frame.isBlack(); }));
  const Frame frame = probe_.frames(1).at(0);
  for (size_t bar = 0; bar < 7; ++bar) expectColour(frame, middleOfBar(6 - bar), 0.5, kBars[bar]);
}

TEST_F(CaptureSessionTest, FramesAreContiguousAtOddSizes) {
  open(testSettings({323, 241, 30}));
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  const Frame frame = probe_.frames(1).at(0);
  EXPECT_EQ(frame.info.width, 323);
  EXPECT_EQ(frame.info.height, 241);
  EXPECT_EQ(frame.bytes.size(), 324U * 241 + 2 * 164 * 121);
  for (size_t bar = 0; bar < 7; ++bar) expectColour(frame, middleOfBar(bar), 0.5, kBars[bar]);
}

TEST_F(CaptureSessionTest, BothStreamsFollowTheirSchedulesOnOneClock) {
  open(testSettings());
  const std::vector<Frame> frames = probe_.frames(20);
  for (size_t i = 1; i < frames.size(); ++i) {
    const uint64_t passed = frames[i].time - frames[0].time;
    const uint64_t ticks = (passed * 30 + kSecond / 2) / kSecond;
    EXPECT_GE(ticks, i);
    EXPECT_NEAR(static_cast<double>(passed), static_cast<double>(ticks * kSecond) / 30, 1.0);
  }
  const std::vector<AudioChunk> audioChunks = probe_.audioChunks(20);
  for (size_t i = 1; i < audioChunks.size(); ++i) {
    EXPECT_EQ(audioChunks[i].time - audioChunks[i - 1].time, kSecond / 50)
        << "no chunk is left out";
    EXPECT_EQ(audioChunks[i].samples.size(), 960U * 2);
  }
  const auto apart = static_cast<int64_t>(audioChunks[0].time - frames[0].time);
  EXPECT_LT(std::abs(apart), int64_t{60} * static_cast<int64_t>(kSecond));
}

TEST_F(CaptureSessionTest, AnImageGoesToTheConsumersAndNotThroughTheCallback) {
  CaptureSettings settings = testSettings({323, 241, 30});
  settings.networkPoorImage = "/missing.png";  // so it is grey
  const auto isGrey = [](const Frame& frame) { return frame.at(0.07, 0.5)[0] == 60; };
  std::atomic<bool> greyWasCaptured{false};
  open(settings, [&](FrameOrigin, uint8_t* pixels, const GstVideoInfo&) {
    if (pixels[0] == 60) greyWasCaptured = true;
    ++calls_;
  });
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  session_->setNetworkPoor(true);
  ASSERT_TRUE(probe_.waitForFrame(isGrey));
  const size_t before = calls_;
  const std::vector<Frame> frames = probe_.frames(5);
  EXPECT_GE(calls_, before + 4) << "capture continues";
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_TRUE(isGrey(frames[i]));
    EXPECT_EQ(frames[i].bytes.size(), 324U * 241 + 2 * 164 * 121) << "laid out as captured";
    EXPECT_TRUE(i == 0 || frames[i].time > frames[i - 1].time);
  }
  session_->setNetworkPoor(false);
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  EXPECT_FALSE(greyWasCaptured);
}

TEST_F(CaptureSessionTest, RatesThatDoNotDivideGetTheRightNumberOfSamples) {
  CaptureSettings settings = testSettings();
  settings.audio = {11025, 1};
  open(settings);
  size_t total = 0;
  for (const AudioChunk& chunk : probe_.audioChunks(50)) {
    EXPECT_TRUE(chunk.samples.size() == 220 || chunk.samples.size() == 221);
    total += chunk.samples.size();
  }
  EXPECT_EQ(total, 11025U);
}

TEST_F(CaptureSessionTest, TheToneHas440HertzAndModerateLevel) {
  CaptureSettings settings = testSettings();
  settings.audio = {48000, 1};
  open(settings);
  ASSERT_TRUE(probe_.waitForAudio([](const AudioChunk& chunk) { return !chunk.isSilent(); }));
  std::vector<int16_t> samples;
  for (const AudioChunk& chunk : probe_.audioChunks(51)) {
    samples.insert(samples.end(), chunk.samples.begin(), chunk.samples.end());
  }
  // The first chunk may begin in the silence before the tone.
  samples.erase(samples.begin(), samples.begin() + 960);
  int rising = 0;
  for (size_t i = 1; i < samples.size(); ++i) rising += samples[i - 1] < 0 && samples[i] >= 0;
  EXPECT_NEAR(rising, 440, 3);
  EXPECT_NEAR(*std::max_element(samples.begin(), samples.end()), 32767 * 0.2, 50);
}

TEST_F(CaptureSessionTest, TheCallbackChangesTheConsumersFrames) {
  open(testSettings({641, 361, 30}),
       [this](FrameOrigin, uint8_t* pixels, const GstVideoInfo& info) {
         pixels[0] = 77;
         pixels[GST_VIDEO_INFO_SIZE(&info) - 1] = 78;
         ++calls_;
       });
  for (const Frame& frame : probe_.frames(5)) {
    EXPECT_EQ(frame.bytes.front(), 77);
    EXPECT_EQ(frame.bytes.back(), 78);
  }
  EXPECT_GE(calls_, 5U);
}

TEST_F(CaptureSessionTest, AMutedCameraIsBlackAndResumes) {
  open(testSettings());
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  session_->setCameraMuted(true);
  ASSERT_TRUE(probe_.waitForFrame(&Frame::isBlack));
  for (const Frame& frame : probe_.frames(5)) EXPECT_TRUE(frame.isBlack());
  session_->setCameraMuted(false);
  EXPECT_TRUE(probe_.waitForFrame(isPattern));
}

TEST_F(CaptureSessionTest, AStoppedCameraKeepsItsLastFrameAndResumes) {
  open(testSettings());
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  session_->setCameraRunning(false);
  session_->setCameraRunning(false);  // once is enough
  probe_.frames(2);                   // one may have been under way
  const std::vector<Frame> still = probe_.frames(5);
  for (const Frame& frame : still) EXPECT_EQ(frame.bytes, still[0].bytes);
  EXPECT_TRUE(isPattern(still[0]));
  session_->setCameraRunning(true);
  EXPECT_TRUE(
      probe_.waitForFrame([&still](const Frame& frame) { return frame.bytes != still[0].bytes; }));
}

TEST_F(CaptureSessionTest, TheFrameCallbackSeesEachStillFrameAfresh) {
  open(testSettings(), [](FrameOrigin, uint8_t* pixels, const GstVideoInfo&) {
    pixels[0] = static_cast<uint8_t>(pixels[0] / 2);
  });
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  session_->setCameraRunning(false);
  probe_.frames(2);
  for (const Frame& frame : probe_.frames(5)) EXPECT_EQ(frame.bytes[0], 235 / 2);
}

TEST_F(CaptureSessionTest, MutedAudioIsSilentAndResumes) {
  open(testSettings());
  const auto loud = [](const AudioChunk& chunk) { return !chunk.isSilent(); };
  ASSERT_TRUE(probe_.waitForAudio(loud));
  session_->setMuted(true);
  ASSERT_TRUE(probe_.waitForAudio(&AudioChunk::isSilent));
  for (const AudioChunk& chunk : probe_.audioChunks(10)) EXPECT_TRUE(chunk.isSilent());
  session_->setMuted(false);
  EXPECT_TRUE(probe_.waitForAudio(loud));
}

TEST_F(CaptureSessionTest, AudioOnlyHasNoFrames) {
  CaptureSettings settings = testSettings();
  settings.audioOnly = true;
  open(settings, [](FrameOrigin, uint8_t*, const GstVideoInfo&) {
    ADD_FAILURE() << "a frame without video";
  });
  EXPECT_TRUE(probe_.waitForAudio([](const AudioChunk& chunk) { return !chunk.isSilent(); }));
  session_->setCameraMuted(true);
  session_->setCameraRunning(false);
  session_->setCameraRunning(true);
  probe_.audioChunks(10);
  EXPECT_EQ(probe_.frameCount(), 0U);
}

TEST_F(CaptureSessionTest, MissingDevicesYieldBlackAndSilence) {
  CaptureSettings settings = testSettings();
  settings.camera = DeviceId("no such camera");
  settings.microphone = DeviceId(DeviceId("no such microphone"));
  open(settings);
  EXPECT_TRUE(failures_.waitFor("camera"));
  EXPECT_TRUE(failures_.waitFor("microphone"));
  for (const Frame& frame : probe_.frames(5)) EXPECT_TRUE(frame.isBlack());
  for (const AudioChunk& chunk : probe_.audioChunks(5)) EXPECT_TRUE(chunk.isSilent());
}

TEST_F(CaptureSessionTest, TheAudioOfAFileNeedsAFile) {
  CaptureSettings settings = testSettings();
  settings.microphone = DeviceId::fileAudio();
  open(settings);
  EXPECT_TRUE(failures_.waitFor("microphone"));
  EXPECT_TRUE(probe_.waitForFrame(isPattern));
  EXPECT_EQ(failures_.count("camera"), 0);
}

TEST_F(CaptureSessionTest, DevicesAreSwitchedWhileItRuns) {
  open(testSettings());
  ASSERT_TRUE(probe_.waitForFrame(isPattern));
  const auto loud = [](const AudioChunk& chunk) { return !chunk.isSilent(); };
  ASSERT_TRUE(probe_.waitForAudio(loud));
  session_->setDevices(DeviceId("no such camera"), DeviceId::test());
  ASSERT_TRUE(failures_.waitFor("camera"));
  probe_.frames(2);  // one may have been under way
  const std::vector<Frame> still = probe_.frames(5);
  for (const Frame& frame : still) EXPECT_EQ(frame.bytes, still[0].bytes);
  EXPECT_TRUE(isPattern(still[0])) << "the last frame stays";
  EXPECT_TRUE(probe_.waitForAudio(loud)) << "the microphone is the same";
  session_->setDevices(DeviceId::test(), DeviceId("no such microphone"));
  ASSERT_TRUE(failures_.waitFor("microphone"));
  EXPECT_TRUE(
      probe_.waitForFrame([&still](const Frame& frame) { return frame.bytes != still[0].bytes; }));
  EXPECT_TRUE(probe_.waitForAudio(&AudioChunk::isSilent));
  session_->setDevices(DeviceId::test(), DeviceId::test());
  EXPECT_TRUE(probe_.waitForAudio(loud));
  EXPECT_EQ(failures_.all(), (std::vector<std::string>{"camera", "microphone"}));
}

TEST_F(CaptureSessionTest, ADroppedMicrophoneIsSilent) {
  open(testSettings());
  const auto loud = [](const AudioChunk& chunk) { return !chunk.isSilent(); };
  ASSERT_TRUE(probe_.waitForAudio(loud));
  session_->dropMicrophone();
  ASSERT_TRUE(probe_.waitForAudio(&AudioChunk::isSilent));
  for (const AudioChunk& chunk : probe_.audioChunks(10)) EXPECT_TRUE(chunk.isSilent());
  session_->setDevices(DeviceId::test(), DeviceId::test());
  EXPECT_TRUE(probe_.waitForAudio(loud));
}

TEST_F(CaptureSessionTest, AStoppedCameraStaysStoppedWhenAnotherIsTaken) {
  CaptureSettings settings = testSettings();
  settings.camera = DeviceId("no such camera");
  open(settings);
  ASSERT_TRUE(failures_.waitFor("camera"));
  session_->setCameraRunning(false);
  session_->setDevices(DeviceId::test(), DeviceId::test());
  for (const Frame& frame : probe_.frames(5)) EXPECT_TRUE(frame.isBlack());
  session_->setCameraRunning(true);
  EXPECT_TRUE(probe_.waitForFrame(isPattern));
}

// A consumer that is processing a frame when it is removed.
class SlowConsumer final : public FrameConsumer {
 public:
  void onVideoFrame(GstBuffer*, const GstVideoInfo&, GstClockTime) override {
    left = false;
    entered.add("entered");
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    left = true;
  }
  void onAudioChunk(GstBuffer*, const AudioFormat&, GstClockTime) override {}

  EventLog entered;
  std::atomic<bool> left{true};
};

TEST_F(CaptureSessionTest, RemovingAConsumerWaitsForItsCall) {
  open(testSettings());
  SlowConsumer slow;
  session_->addConsumer(&slow);
  ASSERT_TRUE(slow.entered.waitFor("entered", 3));
  session_->removeConsumer(&slow);
  EXPECT_TRUE(slow.left);
  const auto calls = slow.entered.count("entered");
  probe_.frames(3);
  EXPECT_EQ(slow.entered.count("entered"), calls);
}

TEST_F(CaptureSessionTest, FiftySessionsLeakNothing) {
  const auto cycle = [this] {
    open(testSettings());
    probe_.frames(1);
    session_->removeConsumer(&probe_);
    session_.reset();
  };
  for (int i = 0; i < 3; ++i) cycle();
  const ProcessUsage before = processUsage();
  for (int i = 0; i < 50; ++i) cycle();
  // On a busy machine the last sources may still be ending; GLib's pool may keep idle threads.
  const auto level = [&before] {
    const ProcessUsage now = processUsage();
    return now.threads <= before.threads + 2 && now.descriptors <= before.descriptors;
  };
  for (int i = 0; i < 1000 && !level(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(level());
}

}  // namespace
}  // namespace NimboEngine::test
