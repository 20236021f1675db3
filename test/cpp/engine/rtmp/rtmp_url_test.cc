#include "rtmp/rtmp_url.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

TEST(RtmpUrl, ParsesAnAddress) {
  struct Case {
    const char* text;
    const char* host;
    int port;
    const char* application;
    const char* stream;
    const char* tcUrl;
  };
  const Case cases[] = {
      {"rtmp://h/live/s", "h", 1935, "live", "s", "rtmp://h/live"},
      {"rtmps://h/live/s", "h", 443, "live", "s", "rtmps://h/live"},
      {"rtmp://h:1935/live/s", "h", 1935, "live", "s", "rtmp://h/live"},
      {"rtmps://h:1935/live/s", "h", 1935, "live", "s", "rtmps://h:1935/live"},
      {"rtmp://[::1]:2000/live/s", "::1", 2000, "live", "s", "rtmp://[::1]:2000/live"},
      {"rtmp://h/app/inst/s?x=y", "h", 1935, "app/inst", "s?x=y", "rtmp://h/app/inst"},
      {"rtmp://h/app/s?token=a/b", "h", 1935, "app", "s?token=a/b", "rtmp://h/app"},
      {"rtmp://h/app?token=x/key", "h", 1935, "app?token=x", "key", "rtmp://h/app?token=x"},
      {"rtmp://h/app?t=a/b/key", "h", 1935, "app?t=a/b", "key", "rtmp://h/app?t=a/b"},
      {"rtmp://h/vod/mp4:a/b.mp4", "h", 1935, "vod", "mp4:a/b.mp4", "rtmp://h/vod"},
      {"rtmp://user:word@h/live/s%20x", "h", 1935, "live", "s%20x", "rtmp://h/live"},
      {"rtmp://h/live/key#1", "h", 1935, "live", "key#1", "rtmp://h/live"},
  };
  for (const Case& each : cases) {
    const auto url = parseRtmpUrl(each.text);
    ASSERT_TRUE(url) << each.text << ": " << url.error().text;
    EXPECT_EQ(url->host, each.host) << each.text;
    EXPECT_EQ(url->port, each.port) << each.text;
    EXPECT_EQ(url->application, each.application) << each.text;
    EXPECT_EQ(url->stream, each.stream) << each.text;
    EXPECT_EQ(url->tcUrl, each.tcUrl) << each.text;
  }
}

TEST(RtmpUrl, RefusesInvalidInput) {
  for (const char* text : {"", "x", "http://h/live/s", "rtmp://", "rtmp:///live/s", "rtmp://h",
                           "rtmp://h/", "rtmp://h/s", "rtmp://h/live/", "rtmp://h/live/?x",
                           "rtmp://h//s", "rtmp://h/?x/y", "rtmp://h:99999/live/s"}) {
    const auto url = parseRtmpUrl(text);
    ASSERT_FALSE(url) << text;
    EXPECT_EQ(url.error().code, LumoRtc::kLumoLiveInvalidArgument) << text;
    EXPECT_NE(url.error().text, "") << text;
  }
}

}  // namespace
}  // namespace NimboEngine
