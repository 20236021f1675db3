#include "api/push_parameters.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

using Change = std::function<void(LumoLivePushConfig&)>;

LumoLiveResult resultOf(const Change& change, PushParameters& parameters, std::string& error) {
  LumoLivePushConfig config;
  change(config);
  return makePushParameters(config, parameters, error);
}

PushParameters accepted(const Change& change) {
  PushParameters parameters;
  std::string error;
  EXPECT_EQ(resultOf(change, parameters, error), kLumoLiveOk) << error;
  return parameters;
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

TEST(PushParameters, ChangesAreTakenOverOrLeaveEverythingAsItWas) {
  PushParameters parameters = accepted([](auto&) {});
  std::string error;
  EXPECT_EQ(changeSize(5, 0, 0, parameters, error), kLumoLiveOk);
  EXPECT_EQ(parameters.encoder.video, (VideoFormat{1280, 720, 15}));
  EXPECT_EQ(changeSize(5, 640, 361, parameters, error), kLumoLiveOk);
  EXPECT_EQ(changeFps(25, parameters, error), kLumoLiveOk);
  EXPECT_EQ(changeRate(&EncoderSettings::minVideoKbps, 99, parameters, error), kLumoLiveOk);
  EXPECT_EQ(changeSize(8, 0, 0, parameters, error), kLumoLiveInvalidArgument);
  EXPECT_EQ(changeSize(0, 640, -1, parameters, error), kLumoLiveInvalidArgument);
  EXPECT_EQ(error, "height is -1, not 16 to 4096");
  EXPECT_EQ(changeFps(0, parameters, error), kLumoLiveInvalidArgument);
  EXPECT_EQ(changeRate(&EncoderSettings::videoKbps, 49, parameters, error),
            kLumoLiveInvalidArgument);
  EXPECT_EQ(parameters.encoder.video, (VideoFormat{640, 361, 25}));
  EXPECT_EQ(parameters.encoder.videoKbps, -1);
  EXPECT_EQ(parameters.encoder.minVideoKbps, 99);
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
    PushParameters parameters;
    parameters.encoder.videoKbps = 4711;
    std::string error;
    EXPECT_EQ(resultOf(field.change, parameters, error), kLumoLiveInvalidArgument) << field.name;
    EXPECT_EQ(error.find(field.name), 0u) << error;
    EXPECT_EQ(parameters.encoder.videoKbps, 4711) << "a refused configuration changes nothing";
  }
}

TEST(PushParameters, ASharedScreenIsEncodedByItsOwnFields) {
  EncoderSettings encoder;
  encoder.audioBps = 4711;
  std::string error;
  LumoLiveScreenShareEncoderConfig config{.mResolution = 5,
                                          .width = 0,
                                          .height = 0,
                                          .frameRate = 0,
                                          .bitrate = -1,
                                          .mVideoEncodeGop = 4};
  EXPECT_EQ(makeScreenEncoder(config, encoder, error), kLumoLiveOk) << error;
  EXPECT_EQ(encoder.video, (VideoFormat{1280, 720, 15}));
  EXPECT_EQ(encoder.videoKbps, kRateNotSet);
  EXPECT_EQ(encoder.gopSeconds, 4);
  EXPECT_EQ(encoder.audioBps, 4711) << "the other fields stay";
  config.bitrate = 10;
  config.frameRate = 30;
  EXPECT_EQ(makeScreenEncoder(config, encoder, error), kLumoLiveInvalidArgument);
  EXPECT_EQ(error, "bitrate is 10, not 50 to 50000");
  EXPECT_EQ(encoder.video.fps, 15) << "a refusal changes nothing";
}

TEST(PushParameters, OtherModesAreNotSupported) {
  PushParameters parameters;
  std::string error;
  EXPECT_EQ(resultOf([](auto& config) { config.mLivePushMode = 1; }, parameters, error),
            kLumoLiveNotSupported);
  EXPECT_EQ(error.find("mLivePushMode"), 0u);
}

}  // namespace
}  // namespace NimboEngine
