#include "flv/flv_demuxer.h"

#include <gtest/gtest.h>

#include <cstring>

#include "flv/demuxer_rig.h"
#include "flv/flv_bytes.h"
#include "flv/flv_stream.h"
#include "flv/flv_timeline.h"
#include "gst/runtime.h"

namespace NimboEngine {
namespace {

using namespace test;

GstClockTime at(int64_t ms) {
  return static_cast<GstClockTime>(static_cast<int64_t>(kFlvTimeOffset) +
                                   ms * static_cast<int64_t>(GST_MSECOND));
}

class FlvDemuxerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer() && registerFlvDemuxer()); }

  void feed(const FlvBytes& bytes) { EXPECT_EQ(rig_.feed(bytes), GST_FLOW_OK); }

  DemuxerRig rig_;
};

TEST_F(FlvDemuxerTest, AddsEachPadAtItsFirstConfiguration) {
  feed(joined(fileHeader(), tag(18, 0, {2, 0, 1})));
  EXPECT_EQ(rig_.stream("video"), nullptr);
  feed(videoTag(0, avcConfiguration()));
  ASSERT_NE(rig_.stream("video"), nullptr);
  EXPECT_EQ(rig_.stream("audio"), nullptr);
  feed(videoTag(0, avcFrame(true)));
  EXPECT_EQ(rig_.video().frames.size(), 1u) << "video does not wait for audio";
  EXPECT_FALSE(rig_.hasAllPads());
  feed(audioTag(0, aacConfiguration()));
  ASSERT_NE(rig_.stream("audio"), nullptr);
  EXPECT_TRUE(rig_.hasAllPads());
}

TEST_F(FlvDemuxerTest, SendsStickyEventsBeforeFrames) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true)),
              audioTag(0, aacConfiguration()), audioTag(0, aacFrame())));
  EXPECT_EQ(rig_.video().events, (std::vector<std::string>{"stream-start", "caps", "segment"}));
  EXPECT_EQ(rig_.audio().events, (std::vector<std::string>{"stream-start", "caps", "segment"}));
  EXPECT_EQ(rig_.video().groupId, 4711u);
  EXPECT_EQ(rig_.audio().groupId, 4711u);
  ASSERT_EQ(rig_.video().caps.size(), 1u);
  EXPECT_TRUE(rig_.video().caps[0].starts_with(
      "video/x-h264, stream-format=(string)avc, alignment=(string)au, codec_data="));
  EXPECT_EQ(rig_.video().capsAtFirst, rig_.video().caps[0]) << "set before pad-added";
  ASSERT_EQ(rig_.audio().caps.size(), 1u);
  EXPECT_EQ(rig_.audio().caps[0],
            "audio/mpeg, mpegversion=(int)4, framed=(boolean)true, stream-format=(string)raw, "
            "rate=(int)48000, channels=(int)1, codec_data=(buffer)1188");
}

TEST_F(FlvDemuxerTest, AudioFirst) {
  feed(joined(fileHeader(), audioTag(0, aacConfiguration()), audioTag(10, aacFrame({1}))));
  EXPECT_EQ(rig_.stream("video"), nullptr);
  EXPECT_EQ(rig_.audio().frames.size(), 1u);
  feed(joined(videoTag(0, avcConfiguration()), videoTag(40, avcFrame(true))));
  EXPECT_EQ(rig_.audio().frames[0].pts, at(10));
  EXPECT_EQ(rig_.video().frames[0].pts, at(40));
}

TEST_F(FlvDemuxerTest, OneStreamAlone) {
  feed(joined(audioTag(0, aacConfiguration()), audioTag(10, aacFrame())));
  rig_.end();
  EXPECT_TRUE(rig_.hasAllPads());
  EXPECT_EQ(rig_.audio().events.back(), "eos");
  EXPECT_EQ(rig_.message(GST_MESSAGE_ERROR), "");
}

TEST_F(FlvDemuxerTest, PresentsReorderedFramesByTheirCompositionTime) {
  feed(videoTag(0, avcConfiguration()));
  feed(joined(videoTag(1000, avcFrame(true, 80)), videoTag(1040, avcFrame(false, 120)),
              videoTag(1080, avcFrame(false, 0)), videoTag(1120, avcFrame(false, -40))));
  const auto& frames = rig_.video().frames;
  ASSERT_EQ(frames.size(), 4u);
  EXPECT_EQ(frames[0].dts, at(1000));
  EXPECT_EQ(frames[0].pts, at(1080));
  EXPECT_EQ(frames[1].pts, at(1160));
  EXPECT_EQ(frames[2].pts, at(1080));
  EXPECT_EQ(frames[3].dts, at(1120));
  EXPECT_EQ(frames[3].pts, at(1080));
  EXPECT_FALSE(frames[0].delta);
  EXPECT_TRUE(frames[1].delta);
  EXPECT_TRUE(frames[0].discontinuous);
  EXPECT_FALSE(frames[1].discontinuous);
}

TEST_F(FlvDemuxerTest, NoPresentationTimeIsNegative) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true, -10'000))));
  EXPECT_EQ(rig_.video().frames[0].dts, at(0));
  EXPECT_EQ(rig_.video().frames[0].pts, 0u);
}

TEST_F(FlvDemuxerTest, PushesThePayloadOnly) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true, 0, {1, 2, 3})),
              audioTag(0, aacConfiguration()), audioTag(0, aacFrame({4, 5}))));
  EXPECT_EQ(rig_.video().frames[0].payload, (FlvBytes{1, 2, 3}));
  EXPECT_EQ(rig_.audio().frames[0].payload, (FlvBytes{4, 5}));
}

TEST_F(FlvDemuxerTest, TakesItsInputByteByByte) {
  for (const uint8_t byte :
       joined(fileHeader(), videoTag(0, avcConfiguration()), videoTag(7, avcFrame(true)))) {
    feed({byte});
  }
  EXPECT_EQ(rig_.video().frames.size(), 1u);
}

TEST_F(FlvDemuxerTest, NeedsTheConfigurationFirst) {
  feed(joined(videoTag(0, avcFrame(true)), audioTag(0, aacFrame())));
  EXPECT_EQ(rig_.stream("video"), nullptr);
  EXPECT_EQ(rig_.stream("audio"), nullptr);
}

TEST_F(FlvDemuxerTest, DropsVideoBeforeTheFirstKeyFrame) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(1, avcFrame(false)),
              videoTag(2, avcFrame(true)), videoTag(3, avcFrame(false))));
  ASSERT_EQ(rig_.video().frames.size(), 2u);
  EXPECT_EQ(rig_.video().frames[0].pts, at(2));
}

TEST_F(FlvDemuxerTest, StopsWaitingForAKeyFrame) {
  feed(videoTag(0, avcConfiguration()));
  for (int i = 0; i < FlvStream::kMaxFramesBeforeKey; ++i) feed(videoTag(1, avcFrame(false)));
  EXPECT_TRUE(rig_.video().frames.empty());
  feed(videoTag(2, avcFrame(false)));
  EXPECT_EQ(rig_.video().frames.size(), 1u);
}

TEST_F(FlvDemuxerTest, SendsCapsForANewConfigurationOnly) {
  feed(joined(videoTag(0, avcConfiguration(10)), videoTag(0, avcFrame(true)),
              videoTag(0, avcConfiguration(10)), videoTag(33, avcFrame(false)),
              videoTag(0, avcConfiguration(20)), videoTag(66, avcFrame(true))));
  EXPECT_EQ(rig_.video().frames.size(), 3u);
  ASSERT_EQ(rig_.video().caps.size(), 2u);
  EXPECT_TRUE(rig_.video().caps[0].find("0142c00a") != std::string::npos);
  EXPECT_TRUE(rig_.video().caps[1].find("0142c014") != std::string::npos);
}

// Servers repeat configurations with the time stamp 0.
TEST_F(FlvDemuxerTest, IgnoresTheTimeOfConfigurations) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(3'600'000, avcFrame(true)),
              videoTag(0, avcConfiguration(20)), videoTag(3'600'033, avcFrame(true))));
  EXPECT_EQ(rig_.video().frames[1].dts, at(3'600'033));
  EXPECT_FALSE(rig_.video().frames[1].discontinuous);
}

TEST_F(FlvDemuxerTest, IgnoresAnInvalidConfiguration) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true)),
              videoTag(0, {0x17, 0, 0, 0, 0, 2, 3}), videoTag(33, avcFrame(false))));
  EXPECT_EQ(rig_.video().frames.size(), 2u);
  EXPECT_EQ(rig_.video().caps.size(), 1u);
}

TEST_F(FlvDemuxerTest, ChangesTheCodecInMidStream) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true)),
              videoTag(33, joined(FlvBytes{0x91}, text("vp09"), FlvBytes{9}))));
  EXPECT_EQ(rig_.video().frames.size(), 2u);
  EXPECT_EQ(rig_.video().caps.back(), "video/x-vp9");
}

TEST_F(FlvDemuxerTest, ChangesThePcmFormatInMidStream) {
  feed(joined(audioTag(0, {0x3e, 1, 2}), audioTag(1, {0x3e, 3, 4}), audioTag(2, {0x3b, 5, 6})));
  EXPECT_EQ(rig_.audio().frames.size(), 3u);
  ASSERT_EQ(rig_.audio().caps.size(), 2u);
  EXPECT_EQ(rig_.audio().caps[0],
            "audio/x-raw, rate=(int)44100, channels=(int)1, format=(string)S16LE, "
            "layout=(string)interleaved");
  EXPECT_EQ(rig_.audio().caps[1],
            "audio/x-raw, rate=(int)22050, channels=(int)2, format=(string)S16LE, "
            "layout=(string)interleaved");
}

TEST_F(FlvDemuxerTest, ContinuesAcrossTheTimestampWrap) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0xfffffff0, avcFrame(true)),
              videoTag(0x10, avcFrame(false))));
  EXPECT_EQ(rig_.video().frames[1].dts - rig_.video().frames[0].dts, 32 * GST_MSECOND);
  EXPECT_FALSE(rig_.video().frames[1].discontinuous);
}

TEST_F(FlvDemuxerTest, KeepsStreamsAlignedAfterAPublisherRestart) {
  feed(joined(videoTag(0, avcConfiguration()), audioTag(0, aacConfiguration()),
              videoTag(60'000, avcFrame(true)), audioTag(60'000, aacFrame()),
              videoTag(0, avcFrame(true)), audioTag(5, aacFrame()), videoTag(33, avcFrame(false))));
  const auto& video = rig_.video().frames;
  const auto& audio = rig_.audio().frames;
  ASSERT_EQ(video.size(), 3u);
  ASSERT_EQ(audio.size(), 2u);
  EXPECT_EQ(video[1].dts, at(60'000 + FlvTimeline::kEpochGapMs));
  EXPECT_EQ(audio[1].dts, video[1].dts + 5 * GST_MSECOND);
  EXPECT_TRUE(video[1].discontinuous);
  EXPECT_TRUE(audio[1].discontinuous);
  EXPECT_FALSE(video[2].discontinuous);
}

TEST_F(FlvDemuxerTest, SetsDiscontAfterLostBytes) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true)), text("lost bytes"),
              videoTag(33, avcFrame(false)), videoTag(66, avcFrame(false))));
  ASSERT_EQ(rig_.video().frames.size(), 3u);
  EXPECT_TRUE(rig_.video().frames[1].discontinuous);
  EXPECT_FALSE(rig_.video().frames[2].discontinuous);
}

TEST_F(FlvDemuxerTest, AppliesTheNanosecondModifier) {
  feed(audioTag(10, joined(FlvBytes{0x97, 2, 0, 1, 0, 1}, text("Opus"), FlvBytes{8})));
  EXPECT_EQ(rig_.audio().frames[0].pts, at(10) + 256);
}

TEST_F(FlvDemuxerTest, WarnsOnceAboutAnUnknownCodec) {
  for (uint32_t ms = 0; ms < 100; ms += 10) feed(videoTag(ms, {0x1e, 9}));
  feed(audioTag(0, {0x2f, 9}));
  EXPECT_EQ(rig_.message(GST_MESSAGE_WARNING),
            "gst-stream-error-quark 6: The video stream cannot be decoded: codec 14.");
  EXPECT_EQ(rig_.message(GST_MESSAGE_WARNING), "");
  EXPECT_EQ(rig_.audio().frames.size(), 1u);
  rig_.end();
  EXPECT_EQ(rig_.message(GST_MESSAGE_ERROR), "");
}

TEST_F(FlvDemuxerTest, FailsAtTheEndOfUndecodableStreams) {
  feed(tag(9 | 0x20, 0, {0x17, 1, 2, 3}));
  rig_.end();
  EXPECT_EQ(rig_.message(GST_MESSAGE_ERROR),
            "gst-stream-error-quark 6: The video stream cannot be decoded: it is encrypted.");
}

TEST_F(FlvDemuxerTest, FailsAtTheEndWithoutMedia) {
  feed(fileHeader());
  rig_.end();
  EXPECT_EQ(rig_.message(GST_MESSAGE_ERROR), "gst-stream-error-quark 9: The stream has no media.");
}

TEST_F(FlvDemuxerTest, FailsOnOtherData) {
  const FlvBytes garbage(1 << 20, 0x3c);
  GstFlowReturn flow = GST_FLOW_OK;
  for (int i = 0; i < 8 && flow == GST_FLOW_OK; ++i) flow = rig_.feed(garbage);
  EXPECT_EQ(flow, GST_FLOW_ERROR);
  EXPECT_EQ(rig_.message(GST_MESSAGE_ERROR), "gst-stream-error-quark 9: The stream is not FLV.");
}

TEST_F(FlvDemuxerTest, ContinuesWhileOneStreamIsLinked) {
  feed(joined(videoTag(0, avcConfiguration()), audioTag(0, aacConfiguration())));
  rig_.video().answer = GST_FLOW_NOT_LINKED;
  EXPECT_EQ(rig_.feed(videoTag(0, avcFrame(true))), GST_FLOW_OK);
  EXPECT_EQ(rig_.feed(audioTag(0, aacFrame())), GST_FLOW_OK);
  rig_.audio().answer = GST_FLOW_NOT_LINKED;
  EXPECT_EQ(rig_.feed(audioTag(10, aacFrame())), GST_FLOW_NOT_LINKED);
}

TEST_F(FlvDemuxerTest, ReturnsADownstreamError) {
  feed(joined(videoTag(0, avcConfiguration()), audioTag(0, aacConfiguration())));
  rig_.video().answer = GST_FLOW_ERROR;
  EXPECT_EQ(rig_.feed(joined(videoTag(0, avcFrame(true)), audioTag(0, aacFrame()))),
            GST_FLOW_ERROR);
  EXPECT_TRUE(rig_.audio().frames.empty());
}

TEST_F(FlvDemuxerTest, RestartsAfterAFlush) {
  feed(
      joined(videoTag(0, avcConfiguration()), videoTag(90'000, avcFrame(true)), FlvBytes{9, 0, 0}));
  rig_.send(gst_event_new_flush_start());
  rig_.send(gst_event_new_flush_stop(TRUE));
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_BYTES);
  rig_.send(gst_event_new_segment(&segment));
  feed(videoTag(0, avcFrame(true)));
  ASSERT_EQ(rig_.video().frames.size(), 2u);
  EXPECT_EQ(rig_.video().frames[1].dts, at(0));
  EXPECT_TRUE(rig_.video().frames[1].discontinuous);
  EXPECT_EQ(rig_.video().events.back(), "segment");
}

TEST_F(FlvDemuxerTest, ResetsWhenStopped) {
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true))));
  rig_.setState(GST_STATE_READY);
  EXPECT_EQ(rig_.stream("video"), nullptr);
  rig_.setState(GST_STATE_PLAYING);
  feed(videoTag(0, avcFrame(true)));
  EXPECT_EQ(rig_.stream("video"), nullptr) << "the configuration was reset";
  feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true))));
  EXPECT_EQ(rig_.video().frames.size(), 1u);
}

TEST_F(FlvDemuxerTest, RunsWithUnlinkedPads) {
  DemuxerRig unlinked(false);
  EXPECT_EQ(unlinked.feed(joined(videoTag(0, avcConfiguration()), videoTag(0, avcFrame(true)))),
            GST_FLOW_OK);
  EXPECT_EQ(unlinked.feed(joined(audioTag(0, aacConfiguration()), audioTag(0, aacFrame()))),
            GST_FLOW_NOT_LINKED);
}

struct CapsCase {
  const char* name;
  FlvBytes bytes;
  const char* pad;
  const char* caps;
};

FlvBytes streamInfo() {
  FlvBytes info(34, 0);
  info[10] = 0x0a;  // 44,100 Hz
  info[11] = 0xc4;
  info[12] = 0x42;  // two channels
  return info;
}

TEST_F(FlvDemuxerTest, MakesCapsForEachCodec) {
  const auto coded = [](const char* code, const FlvBytes& rest) {
    return joined(FlvBytes{0x91}, text(code), rest);
  };
  const FlvBytes hevc = joined(FlvBytes{0x90}, text("hvc1"), FlvBytes{1}, FlvBytes(22));
  const FlvBytes legacyHevc = joined(FlvBytes{0x1c, 0, 0, 0, 0, 1}, FlvBytes(22));
  const FlvBytes opus = joined(FlvBytes{0x90}, text("OpusOpusHead"),
                               FlvBytes{1, 2, 0x38, 1, 0x80, 0xbb, 0, 0, 0, 0, 0});
  const FlvBytes flac = joined(FlvBytes{0x90}, text("fLaC"), streamInfo());
  const FlvBytes wholeFlac =
      joined(FlvBytes{0x90}, text("fLaCfLaC"), FlvBytes{0x80, 0, 0, 34}, streamInfo());
  const CapsCase cases[] = {
      {"HEVC", videoTag(0, hevc), "video",
       "video/x-h265, stream-format=(string)hvc1, alignment=(string)au, codec_data=(buffer)0100"},
      {"HEVC, legacy", videoTag(0, legacyHevc), "video",
       "video/x-h265, stream-format=(string)hvc1"},
      {"AV1", videoTag(0, coded("av01", {9})), "video",
       "video/x-av1, stream-format=(string)obu-stream, alignment=(string)tu"},
      {"AV1 record", videoTag(0, joined(FlvBytes{0x90}, text("av01"), FlvBytes{0x81, 0, 12, 0})),
       "video",
       "video/x-av1, stream-format=(string)obu-stream, alignment=(string)tu, "
       "codec_data=(buffer)81000c00"},
      {"VP8", videoTag(0, coded("vp08", {9})), "video", "video/x-vp8"},
      {"VP9", videoTag(0, coded("vp09", {9})), "video", "video/x-vp9"},
      {"H.263", videoTag(0, {0x12, 9}), "video", "video/x-flash-video, flvversion=(int)1"},
      {"VP6", videoTag(0, {0x14, 0x21, 9}), "video", "video/x-vp6-flash, codec_data=(buffer)21"},
      {"VP6 with alpha", videoTag(0, {0x15, 0, 9}), "video",
       "video/x-vp6-alpha, codec_data=(buffer)00"},
      {"screen", videoTag(0, {0x13, 9}), "video", "video/x-flash-screen"},
      {"screen 2", videoTag(0, {0x16, 9}), "video", "video/x-flash-screen2"},
      {"Opus", audioTag(0, opus), "audio",
       "audio/x-opus, rate=(int)48000, channels=(int)2, channel-mapping-family=(int)0"},
      {"Opus without a head", audioTag(0, coded("Opus", {9})), "audio",
       "audio/x-opus, rate=(int)48000, channels=(int)2"},
      {"FLAC", audioTag(0, flac), "audio",
       "audio/x-flac, framed=(boolean)true, rate=(int)44100, channels=(int)2, "
       "streamheader=(buffer)< 7f464c4143"},
      {"FLAC, whole header", audioTag(0, wholeFlac), "audio",
       "audio/x-flac, framed=(boolean)true, rate=(int)44100"},
      {"AC-3", audioTag(0, coded("ac-3", {9})), "audio", "audio/x-ac3"},
      {"E-AC-3", audioTag(0, coded("ec-3", {9})), "audio", "audio/x-eac3"},
      {"MP3", audioTag(0, {0x2f, 9}), "audio", "audio/mpeg, mpegversion=(int)1, layer=(int)3"},
      {"ADPCM", audioTag(0, {0x1a, 9}), "audio",
       "audio/x-adpcm, rate=(int)22050, channels=(int)1, layout=(string)swf"},
      {"A-law", audioTag(0, {0x7e, 9}), "audio", "audio/x-alaw, rate=(int)8000, channels=(int)1"},
      {"mu-law", audioTag(0, {0x8e, 9}), "audio", "audio/x-mulaw, rate=(int)8000, channels=(int)1"},
      {"Speex", audioTag(0, {0xbe, 9}), "audio",
       "audio/x-speex, rate=(int)16000, channels=(int)1, streamheader=(buffer)< 5370656578"},
      {"Nellymoser", audioTag(0, {0x5e, 9}), "audio",
       "audio/x-nellymoser, rate=(int)8000, channels=(int)1"},
      {"PCM of 8 bits", audioTag(0, {0x3c, 9}), "audio",
       "audio/x-raw, rate=(int)44100, channels=(int)1, format=(string)U8"},
  };
  for (const auto& [name, bytes, pad, caps] : cases) {
    SCOPED_TRACE(name);
    DemuxerRig rig;
    EXPECT_EQ(rig.feed(bytes), GST_FLOW_OK);
    const auto* stream = rig.stream(pad);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->capsAtFirst.substr(0, std::strlen(caps)), caps);
  }
}

TEST_F(FlvDemuxerTest, IgnoresInvalidFirstConfigurations) {
  const FlvBytes bodies[] = {
      videoTag(0, {0x17, 0, 0, 0, 0}),
      videoTag(0, {0x17, 0, 0, 0, 0, 1, 66, 0xc0}),
      videoTag(0, joined(FlvBytes{0x90}, text("hvc1"), FlvBytes(22))),
      videoTag(0, joined(FlvBytes{0x90}, text("hvc1"), FlvBytes{2}, FlvBytes(22))),
      audioTag(0, {0xaf, 0}),
      audioTag(0, {0xaf, 0, 0x11}),
      audioTag(0, joined(FlvBytes{0x90}, text("OpusOpusHead"))),
      audioTag(0, joined(FlvBytes{0x90}, text("fLaC"), FlvBytes(33))),
      audioTag(0, joined(FlvBytes{0x90}, text("fLaC"), FlvBytes(34))),
  };
  for (const auto& bytes : bodies) {
    feed(bytes);
    EXPECT_EQ(rig_.stream("video"), nullptr);
    EXPECT_EQ(rig_.stream("audio"), nullptr);
  }
}

}  // namespace
}  // namespace NimboEngine
