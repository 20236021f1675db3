#include "play/play_url.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

Result<PlayUrl> parse(const char* text) {
  auto url = parsePlayUrl(text);
  EXPECT_TRUE(url || !url.error().text.empty());
  return url;
}

TEST(PlayUrl, ParsesPlayableUrls) {
  const auto rtmp = parse("rtmp://host:19350/live/room/stream?secret=1");
  ASSERT_TRUE(rtmp);
  EXPECT_EQ(rtmp->protocol, PlayProtocol::kRtmp);
  EXPECT_EQ(rtmp->host, "host");
  EXPECT_EQ(rtmp->port, 19350);
  EXPECT_EQ(rtmp->channel, "live/room");
  EXPECT_EQ(rtmp->stream, "stream");
  EXPECT_EQ(rtmp->text, "rtmp://host:19350/live/room/stream?secret=1");
}

TEST(PlayUrl, KnowsThePorts) {
  EXPECT_EQ(parse("rtmp://h/a/s")->port, 1935);
  EXPECT_EQ(parse("rtmps://h/a/s")->port, 443);
  EXPECT_EQ(parse("http://h/s.flv")->port, 80);
  EXPECT_EQ(parse("https://h/s.m3u8")->port, 443);
  EXPECT_EQ(parse("rtsp://h/s")->port, 554);
  EXPECT_EQ(parse("srt://h:9000?streamid=x")->port, 9000);
}

TEST(PlayUrl, FilesArePathsOrFileUrls) {
  EXPECT_EQ(parse("/media/clip one.mp4")->text, "/media/clip one.mp4");
  const auto url = parse("file:///media/clip%20one.mp4");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->text, "/media/clip one.mp4");
  EXPECT_EQ(url->protocol, PlayProtocol::kFile);
  EXPECT_EQ(url->channel, "/media");
  EXPECT_EQ(url->stream, "clip one.mp4");
}

TEST(PlayUrl, ParametersOfRtmpMayStandInTheMiddle) {
  const auto url = parse("rtmp://h/app?token=x/stream?expires=1");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->channel, "app");
  EXPECT_EQ(url->stream, "stream");
  EXPECT_EQ(url->rtmp.application, "app?token=x");
  EXPECT_EQ(url->rtmp.stream, "stream?expires=1");
}

TEST(PlayUrl, SrtCallsUnlessASettingSaysOtherwise) {
  EXPECT_TRUE(parse("srt://h:9000?mode=caller&latency=200"));
  for (const char* text : {"srt://h:9000?mode=listener", "srt://h:9000?latency=1&mode=rendezvous",
                           "srt://h:9000?m%6fde=listener", "srt://h:9000?mode=Listener",
                           "srt://h:9000?mode=%6cistener"}) {
    EXPECT_FALSE(parse(text)) << text;
    EXPECT_TRUE(parsePlayUrl(text, true)) << text;
  }
}

TEST(PlayUrl, AnErrorDoesNotRepeatTheAddress) {
  const auto url = parse("http://user:s3cret@h:port/?s3cret");
  ASSERT_FALSE(url);
  EXPECT_EQ(url.error().text.find("s3cret"), std::string::npos) << url.error().text;
}

TEST(PlayUrl, RefusesTheRest) {
  for (const char* text :
       {static_cast<const char*>(nullptr), "", "stream", "clip.mp4", "ftp://h/s", "rtmp://h",
        "rtmp://h/app", "rtmp://h/app/", "rtmp:///app/s", "http://", "srt://h", "fd://0",
        "udp://h:1", "v4l2:///dev/video0", "file://h/clip.mp4", "rtsp:///s"}) {
    EXPECT_FALSE(parse(text)) << (text ? text : "null");
  }
}

TEST(PlayUrl, LogsNoSecrets) {
  const std::string text = parse("rtmp://host/live/key?token=1")->forLog();
  EXPECT_EQ(text.find("key"), text.npos) << text;
  EXPECT_EQ(text.find("token"), text.npos) << text;
  EXPECT_NE(text.find("host:1935/live"), text.npos) << text;
}

}  // namespace
}  // namespace NimboEngine
