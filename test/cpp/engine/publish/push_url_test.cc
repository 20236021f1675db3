#include "publish/push_url.h"

#include <gtest/gtest.h>

#include "publish/protocol.h"

namespace NimboEngine {
namespace {

PushUrl accepted(const char* text) {
  const auto url = parsePushUrl(text);
  EXPECT_TRUE(url) << text << ": " << url.error().text;
  return url.value_or(PushUrl{});
}

std::string refusalOf(const char* text) {
  const auto url = parsePushUrl(text);
  EXPECT_FALSE(url) << text;
  return url ? "" : url.error().text;
}

TEST(PushUrl, ReadsTheParts) {
  const PushUrl url = accepted("rtmp://example.org:1936/live/stream?key=a/b");
  EXPECT_EQ(url.text, "rtmp://example.org:1936/live/stream?key=a/b");
  EXPECT_EQ(url.host, "example.org");
  EXPECT_EQ(url.port, 1936);
  EXPECT_EQ(url.application, "live");
}

TEST(PushUrl, KnowsTheSchemesPorts) {
  EXPECT_EQ(accepted("rtmp://h/a/s").port, 1935);
  EXPECT_EQ(accepted("rtmps://h/a/s").port, 443);
  EXPECT_EQ(accepted("RTMP://h/a/s").port, 1935);
}

TEST(PushUrl, KnowsItsProtocol) {
  EXPECT_EQ(accepted("rtmp://h/a/s").protocol->scheme, "rtmp");
  EXPECT_EQ(accepted("RTMPS://h/a/s").protocol->scheme, "rtmps");
}

TEST(PushUrl, KnowsItsExpiry) {
  const auto expiry = [](const std::string& query) {
    const auto time = accepted(("rtmp://h/a/s" + query).c_str()).expiry;
    return time ? std::chrono::duration_cast<std::chrono::milliseconds>(time->time_since_epoch())
                      .count()
                : 0;
  };
  EXPECT_EQ(expiry("?expires=1700000000"), 1'700'000'000'000);
  EXPECT_EQ(expiry("?key=x&expire=1700000000"), 1'700'000'000'000);
  EXPECT_EQ(expiry("?exp=1700000000123&key=x"), 1'700'000'000'123);
  EXPECT_EQ(expiry("?deadline=1&expires=2"), 1000) << "the first one counts";
  for (const char* none :
       {"", "?", "?key=1700000000", "?expires", "?expires=", "?expires=soon", "?expires=17e8",
        "?Expires=1700000000", "?expires=-5", "?expires=99999999999999999999", "?&&=&expires=0",
        "?expires=900000000000000000"}) {
    EXPECT_EQ(expiry(none), 0) << none;
  }
}

TEST(PushUrl, AcceptsUrlsInUse) {
  EXPECT_EQ(accepted("rtmp://[::1]:1935/live/s").host, "::1");
  EXPECT_EQ(accepted("rtmp://h/app/instance/s").application, "app/instance");
  EXPECT_EQ(accepted("rtmp://user:word@h/live/s").host, "h");
  EXPECT_EQ(accepted("rtmp://h/live?token=x/s").application, "live");
  EXPECT_EQ(accepted("rtmp://h/live/k?token=50%zz&x=%20").application, "live");
}

TEST(PushUrl, KeepsTheStreamNameOutOfTheLog) {
  const std::string text = accepted("rtmp://user:word@h:1/live/secret?token=t").forLog();
  EXPECT_NE(text.find("h:1/live"), std::string::npos);
  for (const char* part : {"secret", "token", "word"}) {
    EXPECT_EQ(text.find(part), std::string::npos) << text;
  }
  EXPECT_EQ(accepted("rtmp://h:1/live?token=t/secret").forLog(), "h:1/live/…");
}

TEST(PushUrl, RefusesWithAnError) {
  EXPECT_EQ(refusalOf(nullptr), "the URL is empty");
  EXPECT_EQ(refusalOf(""), "the URL is empty");
  EXPECT_EQ(refusalOf("http://h/a/s"), "the scheme is http, not rtmp or rtmps");
  EXPECT_EQ(refusalOf("rtmp:///a/s"), "the host is missing");
  EXPECT_NE(refusalOf("rtmp://h").find("application"), std::string::npos);
  EXPECT_NE(refusalOf("rtmp://h/").find("application"), std::string::npos);
  EXPECT_NE(refusalOf("rtmp://h/s").find("application"), std::string::npos);
  EXPECT_NE(refusalOf("rtmp://h//s").find("application"), std::string::npos);
  EXPECT_NE(refusalOf("rtmp://h/a/").find("stream name"), std::string::npos);
  EXPECT_NE(refusalOf("rtmp://h/a/?s").find("stream name"), std::string::npos);
  EXPECT_FALSE(refusalOf("rtmp://h:99999/a/s").empty());
  EXPECT_FALSE(refusalOf("live/stream").empty());
  EXPECT_FALSE(refusalOf("rtmp://h:port/a/s").empty());
}

}  // namespace
}  // namespace NimboEngine
