#include "flv/flv_media.h"

#include <gtest/gtest.h>

#include "flv/flv_bytes.h"

namespace NimboEngine {
namespace {

using namespace test;
using Kind = FlvMedia::Kind;

// The payload that `media` refers to.
FlvBytes payloadOf(const FlvBytes& body, const FlvMedia& media) {
  const auto first = body.begin() + static_cast<std::ptrdiff_t>(media.offset);
  return {first, first + static_cast<std::ptrdiff_t>(media.size)};
}

struct Case {
  const char* name;
  FlvBytes body;
  Kind kind;
  FlvCodec codec = FlvCodec::kUnknown;
  FlvBytes payload = {};
};

void check(const Case& expected, FlvMedia (*read)(std::span<const uint8_t>)) {
  SCOPED_TRACE(expected.name);
  const FlvMedia media = read(expected.body);
  EXPECT_EQ(media.kind, expected.kind);
  EXPECT_EQ(payloadOf(expected.body, media), expected.payload);
  if (expected.codec != FlvCodec::kUnknown) {
    EXPECT_EQ(media.codec, expected.codec);
  }
}

TEST(FlvMediaTest, ReadsLegacyVideo) {
  const Case cases[] = {
      {"H.264 configuration",
       {0x17, 0, 0, 0, 0, 1, 66},
       Kind::kConfiguration,
       FlvCodec::kH264,
       {1, 66}},
      {"H.264 frame", {0x27, 1, 0, 0, 0, 9}, Kind::kFrame, FlvCodec::kH264, {9}},
      {"H.264 end", {0x17, 2, 0, 0, 0}, Kind::kEndOfSequence, FlvCodec::kH264},
      {"H.264 end, short", {0x17, 2}, Kind::kEndOfSequence, FlvCodec::kH264},
      {"H.264 empty frame", {0x27, 1, 0, 0, 0}, Kind::kIgnored},
      {"H.264 cut", {0x27, 1, 0, 0}, Kind::kMalformed},
      {"H.264 unknown packet", {0x27, 3, 0, 0, 0, 9}, Kind::kMalformed},
      {"HEVC configuration", {0x1c, 0, 0, 0, 0, 1}, Kind::kConfiguration, FlvCodec::kHevc, {1}},
      {"HEVC frame", {0x2c, 1, 0, 0, 0, 9}, Kind::kFrame, FlvCodec::kHevc, {9}},
      {"H.263", {0x12, 9}, Kind::kFrame, FlvCodec::kSorensonH263, {9}},
      {"screen", {0x13, 9}, Kind::kFrame, FlvCodec::kScreen, {9}},
      {"VP6", {0x14, 0x21, 9}, Kind::kFrame, FlvCodec::kVp6, {9}},
      {"VP6 with alpha", {0x15, 0, 9}, Kind::kFrame, FlvCodec::kVp6Alpha, {9}},
      {"screen 2", {0x16, 9}, Kind::kFrame, FlvCodec::kScreen2, {9}},
      {"command", {0x57, 0}, Kind::kIgnored},
      {"unknown codec", {0x1f, 9}, Kind::kUnsupported},
      {"nothing", {}, Kind::kIgnored},
  };
  for (const auto& entry : cases) check(entry, readFlvVideo);
  EXPECT_EQ(readFlvVideo(FlvBytes{0x14, 0x21, 9}).vp6Adjustment, 0x21);
  EXPECT_EQ(flvCodeText(readFlvVideo(FlvBytes{0x1f, 9}).code), "15");
}

TEST(FlvMediaTest, RecognisesKeyFrames) {
  EXPECT_TRUE(readFlvVideo(avcFrame(true)).keyFrame);
  EXPECT_FALSE(readFlvVideo(avcFrame(false)).keyFrame);
  EXPECT_FALSE(readFlvVideo(FlvBytes{0x32, 9}).keyFrame) << "disposable";
  EXPECT_TRUE(readFlvVideo(FlvBytes{0x42, 9}).keyFrame) << "made by a server";
  EXPECT_TRUE(readFlvVideo(joined(FlvBytes{0x93}, text("hvc1"), FlvBytes{9})).keyFrame);
  EXPECT_FALSE(readFlvVideo(joined(FlvBytes{0xa3}, text("hvc1"), FlvBytes{9})).keyFrame);
}

TEST(FlvMediaTest, ReadsTheCompositionTime) {
  const auto composition = [](int ms) { return readFlvVideo(avcFrame(true, ms)).compositionMs; };
  EXPECT_EQ(composition(0), 0);
  EXPECT_EQ(composition(80), 80);
  EXPECT_EQ(composition(-80), -80);
  EXPECT_EQ(composition(10'000), 10'000);
  EXPECT_EQ(composition(-10'000), -10'000);
  // Beyond any encoder's delay.
  EXPECT_EQ(composition(10'001), 0);
  EXPECT_EQ(composition(-0x800000), 0);
  EXPECT_EQ(composition(0x7fffff), 0);
}

TEST(FlvMediaTest, ReadsEnhancedVideo) {
  const auto body = [](uint8_t first, const char* code, const FlvBytes& rest) {
    return joined(FlvBytes{first}, text(code), rest);
  };
  const Case cases[] = {
      {"HEVC start", body(0x90, "hvc1", {1, 2}), Kind::kConfiguration, FlvCodec::kHevc, {1, 2}},
      {"HEVC frame", body(0x91, "hvc1", {0, 0, 7, 9}), Kind::kFrame, FlvCodec::kHevc, {9}},
      {"HEVC frame X", body(0xa3, "hvc1", {9}), Kind::kFrame, FlvCodec::kHevc, {9}},
      {"HEVC end", body(0x92, "hvc1", {}), Kind::kEndOfSequence, FlvCodec::kHevc},
      {"H.264 frame", body(0x91, "avc1", {0, 0, 7, 9}), Kind::kFrame, FlvCodec::kH264, {9}},
      {"AV1 start", body(0x90, "av01", {0x81}), Kind::kConfiguration, FlvCodec::kAv1, {0x81}},
      {"AV1 frame", body(0x91, "av01", {9, 8}), Kind::kFrame, FlvCodec::kAv1, {9, 8}},
      {"AV1 in TS", body(0x95, "av01", {9, 8}), Kind::kUnsupported},
      {"VP9 frame", body(0xa1, "vp09", {9}), Kind::kFrame, FlvCodec::kVp9, {9}},
      {"VP8 start, empty", body(0x90, "vp08", {}), Kind::kConfiguration, FlvCodec::kVp8},
      {"metadata", body(0x94, "hvc1", {2, 0, 1}), Kind::kIgnored},
      {"metadata of a command", body(0xd4, "hvc1", {2, 0, 1}), Kind::kIgnored},
      {"command", {0xd1, 0}, Kind::kIgnored},
      {"unknown codec", body(0x91, "vvc1", {9}), Kind::kUnsupported},
      {"unknown packet", body(0x98, "hvc1", {9}), Kind::kMalformed},
      {"cut code", {0x91, 'h', 'v'}, Kind::kMalformed},
      {"cut composition", body(0x91, "hvc1", {0, 0}), Kind::kMalformed},
      {"no payload", body(0x93, "hvc1", {}), Kind::kIgnored},
  };
  for (const auto& entry : cases) check(entry, readFlvVideo);
  EXPECT_EQ(readFlvVideo(body(0x91, "hvc1", {0, 0, 7, 9})).compositionMs, 7);
  EXPECT_EQ(flvCodeText(readFlvVideo(body(0x91, "vvc1", {9})).code), "vvc1");
}

TEST(FlvMediaTest, AppliesTheNanosecondModifier) {
  // One modifier of three bytes; then coded frames.
  const FlvBytes body =
      joined(FlvBytes{0x97, 2, 0x01, 0x02, 0x03, 0x01}, text("hvc1"), FlvBytes{0, 0, 5, 9});
  const FlvMedia media = readFlvVideo(body);
  EXPECT_EQ(media.kind, Kind::kFrame);
  EXPECT_EQ(media.nanoseconds, 0x010203u);
  EXPECT_EQ(media.compositionMs, 5);
  EXPECT_EQ(payloadOf(body, media), FlvBytes{9});

  const FlvBytes audio = joined(FlvBytes{0x97, 2, 0, 0, 42, 0x01}, text("Opus"), FlvBytes{8});
  EXPECT_EQ(readFlvAudio(audio).nanoseconds, 42u);
  EXPECT_EQ(readFlvAudio(audio).codec, FlvCodec::kOpus);

  const FlvBytes much =
      joined(FlvBytes{0x97, 2, 0xff, 0xff, 0xff, 0x01}, text("Opus"), FlvBytes{8});
  EXPECT_EQ(readFlvAudio(much).nanoseconds, 999'999u);
}

TEST(FlvMediaTest, SkipsOtherModifiers) {
  // An unknown one of 300 bytes, whose size takes three bytes, and another before the frame.
  const FlvBytes body = joined(FlvBytes{0x97, 0xff}, bigEndian(299, 2), FlvBytes(300, 0xee),
                               FlvBytes{0x17, 0, 0xee, 0x13}, text("av01"), FlvBytes{9});
  const FlvMedia media = readFlvVideo(body);
  EXPECT_EQ(media.kind, Kind::kFrame);
  EXPECT_EQ(media.nanoseconds, 0u);
  EXPECT_EQ(payloadOf(body, media), FlvBytes{9});
  for (std::size_t size = 1; size + 5 < body.size(); ++size) {
    SCOPED_TRACE(size);
    EXPECT_EQ(readFlvVideo({body.data(), size}).kind, Kind::kMalformed);
  }
}

FlvBytes track(uint8_t id, const FlvBytes& payload) {
  return joined(FlvBytes{id}, bigEndian(static_cast<uint32_t>(payload.size()), 3), payload);
}

TEST(FlvMediaTest, SelectsTheDefaultTrack) {
  const auto hvc1 = text("hvc1");
  const Case video[] = {
      {"one",
       joined(FlvBytes{0x96, 0x03}, hvc1, FlvBytes{0, 9}),
       Kind::kFrame,
       FlvCodec::kHevc,
       {9}},
      {"another", joined(FlvBytes{0x96, 0x03}, hvc1, FlvBytes{1, 9}), Kind::kIgnored},
      {"first of many",
       joined(FlvBytes{0x96, 0x13}, hvc1, track(0, {9}), track(1, {8})),
       Kind::kFrame,
       FlvCodec::kHevc,
       {9}},
      {"second of many",
       joined(FlvBytes{0x96, 0x11}, hvc1, track(1, {0, 0, 0, 8}), track(0, {0, 0, 0, 9})),
       Kind::kFrame,
       FlvCodec::kHevc,
       {9}},
      {"none of many", joined(FlvBytes{0x96, 0x13}, hvc1, track(1, {8}), track(2, {7})),
       Kind::kIgnored},
      {"many codecs",
       joined(FlvBytes{0x96, 0x23}, text("av01"), track(1, {8}), hvc1, track(0, {9})),
       Kind::kFrame,
       FlvCodec::kHevc,
       {9}},
      {"unknown arrangement", joined(FlvBytes{0x96, 0x33}, hvc1, FlvBytes{0, 9}), Kind::kIgnored},
      {"beyond the end", joined(FlvBytes{0x96, 0x13}, hvc1, FlvBytes{0, 0, 0, 2, 9}),
       Kind::kMalformed},
      {"nested", joined(FlvBytes{0x96, 0x06}, hvc1, FlvBytes{0, 9}), Kind::kMalformed},
  };
  for (const auto& entry : video) check(entry, readFlvVideo);
  const Case audio = {"Opus",
                      joined(FlvBytes{0x95, 0x11}, text("Opus"), track(0, {9})),
                      Kind::kFrame,
                      FlvCodec::kOpus,
                      {9}};
  check(audio, readFlvAudio);
}

TEST(FlvMediaTest, ReadsAudio) {
  const auto body = [](uint8_t first, const char* code, const FlvBytes& rest) {
    return joined(FlvBytes{first}, text(code), rest);
  };
  const Case cases[] = {
      {"AAC configuration",
       {0xaf, 0, 0x11, 0x88},
       Kind::kConfiguration,
       FlvCodec::kAac,
       {0x11, 0x88}},
      {"AAC frame", {0xaf, 1, 9}, Kind::kFrame, FlvCodec::kAac, {9}},
      {"AAC cut", {0xaf}, Kind::kMalformed},
      {"AAC unknown packet", {0xaf, 7, 9}, Kind::kMalformed},
      {"MP3", {0x2f, 9}, Kind::kFrame, FlvCodec::kMp3, {9}},
      {"MP3 at 8 kHz", {0xef, 9}, Kind::kFrame, FlvCodec::kMp3, {9}},
      {"silence", {}, Kind::kIgnored},
      {"unknown codec", {0xdf, 9}, Kind::kUnsupported},
      {"Opus start", body(0x90, "Opus", {1}), Kind::kConfiguration, FlvCodec::kOpus, {1}},
      {"Opus start, empty", body(0x90, "Opus", {}), Kind::kConfiguration, FlvCodec::kOpus},
      {"Opus frame", body(0x91, "Opus", {9}), Kind::kFrame, FlvCodec::kOpus, {9}},
      {"FLAC frame", body(0x91, "fLaC", {9}), Kind::kFrame, FlvCodec::kFlac, {9}},
      {"AC-3", body(0x91, "ac-3", {9}), Kind::kFrame, FlvCodec::kAc3, {9}},
      {"E-AC-3", body(0x91, "ec-3", {9}), Kind::kFrame, FlvCodec::kEac3, {9}},
      {"MP3 by its code", body(0x91, ".mp3", {9}), Kind::kFrame, FlvCodec::kMp3, {9}},
      {"AAC by its code", body(0x91, "mp4a", {9}), Kind::kFrame, FlvCodec::kAac, {9}},
      {"order of channels", body(0x94, "Opus", {1, 2}), Kind::kIgnored},
      {"end", body(0x92, "Opus", {}), Kind::kEndOfSequence, FlvCodec::kOpus},
      {"unknown by its code", body(0x91, "oggv", {9}), Kind::kUnsupported},
      {"unknown packet", body(0x93, "Opus", {9}), Kind::kMalformed},
  };
  for (const auto& entry : cases) check(entry, readFlvAudio);
}

struct AudioFormatCase {
  FlvBytes body;
  FlvCodec codec;
  int rate;
  int channels;
  int bits;
};

TEST(FlvMediaTest, ReadsTheFormatOfLegacyAudio) {
  const AudioFormatCase cases[] = {
      {{0x0f, 9}, FlvCodec::kPcm, 44100, 2, 16},
      {{0x34, 9}, FlvCodec::kPcm, 11025, 1, 8},
      {{0x1a, 9}, FlvCodec::kAdpcm, 22050, 1, 16},
      {{0x7f, 9}, FlvCodec::kAlaw, 8000, 2, 16},
      {{0x8e, 9}, FlvCodec::kMulaw, 8000, 1, 16},
      {{0xbf, 9}, FlvCodec::kSpeex, 16000, 1, 16},
      {{0x42, 9}, FlvCodec::kNellymoser, 16000, 1, 16},
      {{0x52, 9}, FlvCodec::kNellymoser, 8000, 1, 16},
      {{0x6a, 9}, FlvCodec::kNellymoser, 22050, 1, 16},
      {{0x2f, 9}, FlvCodec::kMp3, 0, 0, 0},
  };
  for (const auto& [body, codec, rate, channels, bits] : cases) {
    const FlvMedia media = readFlvAudio(body);
    SCOPED_TRACE(flvCodeText(media.code));
    EXPECT_EQ(media.codec, codec);
    EXPECT_EQ(media.sampleRate, rate);
    EXPECT_EQ(media.channels, channels);
    EXPECT_EQ(media.sampleBits, bits);
  }
}

TEST(FlvMediaTest, FormatsCodes) {
  EXPECT_EQ(flvCodeText(7), "7");
  EXPECT_EQ(flvCodeText(0x68766331), "hvc1");
  EXPECT_EQ(flvCodeText(0xff0a4142), "??AB");
}

}  // namespace
}  // namespace NimboEngine
