#include "api/push_parameters.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

using Change = std::function<void(LumoLivePushConfig&)>;

Result<PushParameters> resultOf(const Change& change) {
  LumoLivePushConfig config;
  change(config);
  return makePushParameters(config);
}

PushParameters accepted(const Change& change) {
  const auto parameters = resultOf(change);
  EXPECT_TRUE(parameters) << parameters.error().text;
  return parameters.value_or(PushParameters());
}

TEST(PushParameters, DefaultsAreUsable) {
  const PushParameters parameters = accepted([](auto&) {});
  EXPECT_EQ(parameters.encoder.video, (VideoFormat{848, 480, 15}));
  EXPECT_EQ(parameters.encoder.audio, (AudioFormat{48000, 2}));
  EXPECT_EQ(parameters.encoder.audioBps, 64000);
  EXPECT_EQ(parameters.encoder.gopSeconds, 2);
  EXPECT_GT(bitrateLimits(parameters.encoder).target, 0);
  EXPECT_TRUE(parameters.encoder.controlsBitrate);
  EXPECT_FALSE(parameters.encoder.hardware);
  EXPECT_FALSE(parameters.encoder.audioOnly);
  EXPECT_FALSE(parameters.mirror);
}

TEST(PushParameters, ResolutionCodesClimbALadder) {
  const std::vector<std::pair<int, int>> sizes = {{320, 180},   {424, 240},  {640, 360},
                                                  {848, 480},   {960, 540},  {1280, 720},
                                                  {1920, 1080}, {2560, 1440}};
  for (uint32_t code = 0; code < sizes.size(); ++code) {
    const VideoFormat format =
        accepted([&](auto& config) { config.mResolution = code; }).encoder.video;
    EXPECT_EQ(std::make_pair(format.width, format.height), sizes[code]);
  }
}

TEST(PushParameters, WidthAndHeightWinOverTheCode) {
  const PushParameters parameters = accepted([](auto& config) {
    config.mResolution = 99;
    config.width = 642;
    config.height = 361;
  });
  EXPECT_EQ(parameters.encoder.video, (VideoFormat{642, 361, 15}));
}

TEST(PushParameters, TakesOverWhatIsGiven) {
  const PushParameters parameters = accepted([](auto& config) {
    config.mAudioOnly = true;
    config.mPushMirror = true;
    config.frameRate = 60;
    config.mVideoEncodeGop = 5;
    config.mAudioSampleRate = 44100;
    config.mAudioChannels = 1;
    config.audioBitRate = 128000;
    config.mTargetVideoBitrate = 1234;
    config.mMinVideoBitrate = 123;
    config.mInitialVideoBitrate = 567;
    config.enableBitrateControl = false;
    config.mVideoEncodeMode = 0;
  });
  EXPECT_TRUE(parameters.encoder.audioOnly);
  EXPECT_TRUE(parameters.mirror);
  EXPECT_EQ(parameters.encoder.video.fps, 60);
  EXPECT_EQ(parameters.encoder.gopSeconds, 5);
  EXPECT_EQ(parameters.encoder.audio, (AudioFormat{44100, 1}));
  EXPECT_EQ(parameters.encoder.audioBps, 128000);
  EXPECT_EQ(parameters.encoder.videoKbps, 1234);
  EXPECT_EQ(parameters.encoder.minVideoKbps, 123);
  EXPECT_EQ(parameters.encoder.initialVideoKbps, 567);
  EXPECT_FALSE(parameters.encoder.controlsBitrate);
  EXPECT_TRUE(parameters.encoder.hardware);
}

TEST(PushParameters, ChangesHaveTheLimitsOfTheConfiguration) {
  const PushParameters parameters = accepted([](auto&) {});
  const auto formatOf = [](const Result<PushParameters>& changed) {
    return changed ? changed->encoder.video : VideoFormat{};
  };
  const auto errorOf = [](const Result<PushParameters>& changed) {
    EXPECT_EQ(changed ? kLumoLiveOk : changed.error().code, kLumoLiveInvalidArgument);
    return changed ? "" : changed.error().text;
  };
  EXPECT_EQ(formatOf(changeSize(parameters, 5, 0, 0)), (VideoFormat{1280, 720, 15}));
  EXPECT_EQ(formatOf(changeSize(parameters, 5, 640, 361)), (VideoFormat{640, 361, 15}));
  EXPECT_EQ(formatOf(changeFps(parameters, 25)), (VideoFormat{848, 480, 25}));
  const auto rate = changeRate(parameters, &EncoderSettings::minVideoKbps, 99);
  ASSERT_TRUE(rate);
  EXPECT_EQ(rate->encoder.minVideoKbps, 99);
  EXPECT_EQ(rate->encoder.videoKbps, -1);
  EXPECT_EQ(errorOf(changeSize(parameters, 8, 0, 0)), "mResolution is 8, not 0 to 7");
  EXPECT_EQ(errorOf(changeSize(parameters, 0, 640, -1)), "height is -1, not 16 to 4096");
  EXPECT_EQ(errorOf(changeFps(parameters, 0)), "frameRate is 0, not 1 to 60");
  EXPECT_EQ(errorOf(changeRate(parameters, &EncoderSettings::videoKbps, 49)),
            "the bit rate is 49, not 50 to 50000");
}

struct BadField {
  const char* name;
  Change change;
};

TEST(PushParameters, BadValuesAreRefusedByName) {
  const std::vector<BadField> fields = {
      {"mResolution", [](auto& config) { config.mResolution = 8; }},
      {"width", [](auto& config) { config.height = 360; }},
      {"height", [](auto& config) { config.width = 640; }},
      {"width", [](auto& config) { config.width = 4097, config.height = 360; }},
      {"height", [](auto& config) { config.width = 640, config.height = 0xffffffff; }},
      {"frameRate", [](auto& config) { config.frameRate = 0; }},
      {"frameRate", [](auto& config) { config.frameRate = 61; }},
      {"mVideoEncodeGop", [](auto& config) { config.mVideoEncodeGop = 0; }},
      {"mVideoEncodeGop", [](auto& config) { config.mVideoEncodeGop = 61; }},
      {"mAudioSampleRate", [](auto& config) { config.mAudioSampleRate = 44000; }},
      {"mAudioChannels", [](auto& config) { config.mAudioChannels = 0; }},
      {"mAudioChannels", [](auto& config) { config.mAudioChannels = 3; }},
      {"audioBitRate", [](auto& config) { config.audioBitRate = 0; }},
      {"mTargetVideoBitrate", [](auto& config) { config.mTargetVideoBitrate = 0; }},
      {"mMinVideoBitrate", [](auto& config) { config.mMinVideoBitrate = 49; }},
      {"mInitialVideoBitrate", [](auto& config) { config.mInitialVideoBitrate = 50001; }},
  };
  for (const BadField& field : fields) {
    const auto parameters = resultOf(field.change);
    ASSERT_FALSE(parameters) << field.name;
    EXPECT_EQ(parameters.error().code, kLumoLiveInvalidArgument) << field.name;
    EXPECT_EQ(parameters.error().text.find(field.name), 0u) << parameters.error().text;
  }
}

TEST(PushParameters, ASharedScreenIsEncodedByItsOwnFields) {
  EncoderSettings encoder;
  encoder.audioBps = 4711;
  LumoLiveScreenShareEncoderConfig config{.mResolution = 5,
                                          .width = 0,
                                          .height = 0,
                                          .frameRate = 0,
                                          .bitrate = -1,
                                          .mVideoEncodeGop = 4};
  const auto screen = makeScreenEncoder(config, encoder);
  ASSERT_TRUE(screen) << screen.error().text;
  EXPECT_EQ(screen->video, (VideoFormat{1280, 720, 15}));
  EXPECT_EQ(screen->videoKbps, kRateNotSet);
  EXPECT_EQ(screen->gopSeconds, 4);
  EXPECT_EQ(screen->audioBps, 4711) << "the other fields stay";
  config.bitrate = 10;
  config.frameRate = 30;
  const auto bad = makeScreenEncoder(config, encoder);
  ASSERT_FALSE(bad);
  EXPECT_EQ(bad.error().code, kLumoLiveInvalidArgument);
  EXPECT_EQ(bad.error().text, "bitrate is 10, not 50 to 50000");
}

TEST(PushParameters, OtherModesAreNotSupported) {
  const auto parameters = resultOf([](auto& config) { config.mLivePushMode = 1; });
  ASSERT_FALSE(parameters);
  EXPECT_EQ(parameters.error().code, kLumoLiveNotSupported);
  EXPECT_EQ(parameters.error().text.find("mLivePushMode"), 0u);
}

}  // namespace
}  // namespace NimboEngine
