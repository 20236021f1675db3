#include "mix/live_mixer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <thread>

#include "capture/capture_probe.h"
#include "gst/runtime.h"
#include "players/player_registry.h"
#include "support/media_feeder.h"
#include "support/painted_frame.h"
#include "support/player_address.h"

namespace NimboEngine {
namespace {

using test::Colour;
using test::i420;
using test::kBlack;
using test::kGreen;
using test::kRed;
using test::paint;
using test::playerAt;

constexpr Size kCaptured{64, 36};
constexpr Size kPublished{320, 180};
constexpr VideoFormat kFormat{kPublished.width, kPublished.height, 30};
constexpr AudioFormat kAudioFormat{48000, 2};
constexpr char kPlayerUrl[] = "rtmp://a/live/b";
constexpr GstClockTime kTime = 5 * GST_SECOND;
constexpr Rect kLeft{0, 0, 160, 180};
constexpr Rect kRight{160, 0, 160, 180};

// Keeps the last published media.
class Published final : public FrameConsumer {
 public:
  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& frameInfo, GstClockTime at) override {
    frame = share(buffer);
    info = frameInfo;
    time = at;
  }
  void onAudioChunk(GstBuffer* buffer, const AudioFormat&, GstClockTime at) override {
    audio = share(buffer);
    time = at;
  }

  Colour at(int x, int y) const { return test::pixelAt(frame.get(), info, x, y); }
  int16_t firstSample() const {
    int16_t sample = 0;
    gst_buffer_extract(audio.get(), 0, &sample, sizeof sample);
    return sample;
  }

  GstPtr<GstBuffer> frame;
  GstPtr<GstBuffer> audio;
  GstVideoInfo info{};
  GstClockTime time = 0;
};

class LiveMixerTest : public testing::Test {
 protected:
  LiveMixerTest() { mixer.addSink(&published); }

  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  static MixUser userOf(const void* player) {
    std::ostringstream id;
    id << player;
    return findMixUser(id.str()).value();
  }

  void tick() {
    mixer.onVideoFrame(captured.get(), i420(kCaptured), kTime);
    mixer.onAudioChunk(recorded.get(), kAudioFormat, kTime);
  }

  static void play(const RegisteredPlayer& player, const Colour& colour, int16_t audio) {
    player.stream()->putFrame(paint({64, 36}, colour).get(), i420({64, 36}));
    std::vector<int16_t> samples(2 * 4800, audio);
    player.stream()->putAudio({samples, AudioTimeline::Time(std::chrono::nanoseconds(kTime))});
  }

  void expectNear(const Colour& seen, const Colour& wanted) {
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(seen[i], wanted[i], 2);
  }

  const GstPtr<GstBuffer> captured = paint(kCaptured, kRed);
  const std::vector<int16_t> local = std::vector<int16_t>(2 * 960, 100);
  const GstPtr<GstBuffer> recorded{
      gst_buffer_new_memdup(local.data(), local.size() * sizeof(int16_t))};
  Published published;
  LiveMixer mixer{kFormat};
};

TEST_F(LiveMixerTest, WithoutALayoutMediaPassUnchanged) {
  tick();
  EXPECT_EQ(published.frame.get(), captured.get());
  EXPECT_EQ(published.info.width, kCaptured.width);
  EXPECT_EQ(published.audio.get(), recorded.get());
}

TEST_F(LiveMixerTest, EverySinkReceivesThePublishedMedia) {
  Published second;
  mixer.addSink(&second);
  mixer.setLayout(MixLayout{.places = {{{}, kLeft}}});
  tick();
  EXPECT_EQ(second.frame.get(), published.frame.get());
  EXPECT_EQ(second.audio.get(), published.audio.get());
  mixer.removeSink(&second);
  tick();
  EXPECT_NE(second.frame.get(), published.frame.get());
}

TEST_F(LiveMixerTest, AMixHasThePublishedSizeAndTheCaptureTime) {
  mixer.setLayout(MixLayout{.places = {{{}, kLeft}}});
  tick();
  EXPECT_EQ(published.info.width, kPublished.width);
  EXPECT_EQ(GST_BUFFER_PTS(published.frame.get()), kTime);
  EXPECT_EQ(GST_BUFFER_PTS(published.audio.get()), kTime);
  EXPECT_EQ(published.time, kTime);
  expectNear(published.at(10, 10), kRed);
  expectNear(published.at(200, 10), kBlack);
  EXPECT_EQ(published.firstSample(), 100);
  mixer.setFormat({640, 360, 30});
  tick();
  EXPECT_EQ(published.info.width, 640);
  mixer.setLayout(std::nullopt);
  tick();
  EXPECT_EQ(published.frame.get(), captured.get());
}

TEST_F(LiveMixerTest, AUserWithoutAPlaceIsLeftOut) {
  mixer.setLayout(MixLayout{});
  tick();
  expectNear(published.at(10, 10), kBlack);
  EXPECT_EQ(published.firstSample(), 0);
}

TEST_F(LiveMixerTest, APlayerIsMixedWhileItPlays) {
  int address = 0;
  const RegisteredPlayer player(playerAt(address));
  mixer.setLayout(MixLayout{.places = {{{}, kLeft}, {userOf(&address), kRight}}});
  tick();
  expectNear(published.at(200, 10), kBlack);
  EXPECT_EQ(published.firstSample(), 100);
  play(player, kGreen, 23);
  tick();
  expectNear(published.at(10, 10), kRed);
  expectNear(published.at(200, 10), kGreen);
  EXPECT_EQ(published.firstSample(), 123);
  player.stream()->clear();
  tick();
  expectNear(published.at(200, 10), kBlack);
  EXPECT_EQ(published.firstSample(), 100);
  play(player, kGreen, 23);
  tick();
  expectNear(published.at(200, 10), kGreen);
}

TEST_F(LiveMixerTest, APlayerMayEndAndItsUrlMayBePlayedByAnother) {
  int address = 0;
  auto player = std::make_unique<RegisteredPlayer>(playerAt(address));
  player->setUrl(kPlayerUrl);
  mixer.setLayout(MixLayout{.places = {{{}, kLeft}, {findMixUser(kPlayerUrl).value(), kRight}}});
  play(*player, kGreen, 0);
  tick();
  expectNear(published.at(200, 10), kGreen);
  player.reset();
  tick();
  expectNear(published.at(200, 10), kBlack);
  RegisteredPlayer other(playerAt(address));
  other.setUrl(kPlayerUrl);
  play(other, kGreen, 0);
  tick();
  expectNear(published.at(200, 10), kGreen);
}

// For the sanitizers: everything that may happen concurrently does.
TEST_F(LiveMixerTest, PlayersAndLayoutsComeAndGoWhileItRuns) {
  test::CaptureProbe probe;
  LiveMixer running(kFormat);
  running.addSink(&probe);
  std::atomic<bool> stopping{false};
  std::thread players([&stopping] {
    while (!stopping) {
      int address = 0;
      RegisteredPlayer player(playerAt(address));
      player.setUrl(kPlayerUrl);
      for (int i = 0; i < 3; ++i) play(player, kGreen, 100);
      player.stream()->clear();
      play(player, kRed, 100);
    }
  });
  {
    const test::MediaFeeder feeder(running, {kCaptured.width, kCaptured.height, 100}, kAudioFormat);
    for (int i = 0; i < 200; ++i) {
      MixLayout layout{.background = static_cast<uint32_t>(i), .places = {{{}, kLeft}}};
      layout.places.push_back({{nullptr, kPlayerUrl}, {i, i, 50 + i, 50}});
      running.setLayout(std::move(layout));
      running.setFormat({320 + 2 * (i % 5), 180, 30});
      if (i % 10 == 0) running.setLayout(std::nullopt);
      if (i % 20 == 0) probe.frames(1);
    }
  }
  stopping = true;
  players.join();
  EXPECT_GE(probe.frameCount(), 10U);
  EXPECT_GT(probe.audioChunkCount(), 0U);
}

}  // namespace
}  // namespace NimboEngine
