#include "api/settings.h"

#include <fmt/format.h>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLivePusher.h"
#include "base/log.h"
#include "support/loopback_peer.h"

namespace NimboEngine {
namespace {

namespace fs = std::filesystem;

using namespace std::chrono_literals;

std::string errorOf(const char* text) {
  const auto settings = parseSettings(text);
  EXPECT_FALSE(settings) << text;
  return settings ? "" : settings.error().text;
}

TEST(Settings, EmptyAndNullTextsMeanDefaults) {
  for (const char* text : {static_cast<const char*>(nullptr), "", "{}", "  {} "}) {
    const auto settings = parseSettings(text);
    ASSERT_TRUE(settings) << settings.error().text;
    EXPECT_EQ(settings->camera, "");
    EXPECT_EQ(settings->microphone, "");
    EXPECT_EQ(settings->trustedCertificates, "");
    EXPECT_EQ(settings->network.reconnect.maxAttempts, 20);
    EXPECT_EQ(settings->network.reconnect.firstDelay, 500ms);
    EXPECT_EQ(settings->network.reconnect.maxDelay, 10s);
    EXPECT_EQ(settings->network.sendTimeout, 4s);
    EXPECT_EQ(settings->play.limits.maxFramePixels, 4096u * 2304);
    EXPECT_EQ(settings->play.limits.maxQueuedBytes, 12u * 1024 * 1024);
  }
}

TEST(Settings, ReadsTexts) {
  const auto settings = parseSettings(R"({"camera": "file:/tmp/ä b.mp4", "microphone": "default",
                        "trustedCertificates": "/etc/own.pem"})");
  ASSERT_TRUE(settings) << settings.error().text;
  EXPECT_EQ(settings->camera, "file:/tmp/ä b.mp4");
  EXPECT_EQ(settings->microphone, "default");
  EXPECT_EQ(settings->trustedCertificates, "/etc/own.pem");
}

TEST(Settings, ReadsTheNetworksKeys) {
  const auto settings = parseSettings(R"({
    "reconnect": {"maxAttempts": 3, "firstDelayMs": 20, "maxDelayMs": 40, "mood": "calm"},
    "sendTimeoutMs": 1500.0
  })");
  ASSERT_TRUE(settings) << settings.error().text;
  EXPECT_EQ(settings->network.reconnect.maxAttempts, 3);
  EXPECT_EQ(settings->network.reconnect.firstDelay, 20ms);
  EXPECT_EQ(settings->network.reconnect.maxDelay, 40ms);
  EXPECT_EQ(settings->network.sendTimeout, 1500ms);
}

TEST(Settings, ReadsTheLatency) {
  const auto settings =
      parseSettings(R"({"latency": {"minMs": 50, "maxMs": 300, "preset": "lowest"}})");
  ASSERT_TRUE(settings) << settings.error().text;
  EXPECT_EQ(settings->play.latency.minimum, 50ms);
  EXPECT_EQ(settings->play.latency.maximum, 300ms);
  EXPECT_TRUE(settings->play.latency.lowest);
  EXPECT_FALSE(parseSettings(R"({"latency": {"preset": "default"}})")->play.latency.lowest);
  EXPECT_EQ(parseSettings(R"({"latency": {"minMs": 2000}})")->play.latency.maximum, 2s)
      << "a larger minimum lifts the default maximum";
}

TEST(Settings, ReadsTheLimits) {
  const auto settings =
      parseSettings(R"({"limits": {"maxFramePixels": 100000, "maxQueuedBytes": 2000000}})");
  ASSERT_TRUE(settings) << settings.error().text;
  EXPECT_EQ(settings->play.limits.maxFramePixels, 100'000u);
  EXPECT_EQ(settings->play.limits.maxQueuedBytes, 2'000'000u);
}

TEST(Settings, RefusesALatencyThatCannotBe) {
  EXPECT_EQ(errorOf(R"({"latency": {"minMs": 300, "maxMs": 50}})"),
            R"("latency.minMs" is 300, more than "latency.maxMs", which is 50)");
  EXPECT_EQ(errorOf(R"({"latency": {"preset": "low"}})"),
            R"("latency.preset" is "low", not "default" or "lowest")");
  EXPECT_EQ(errorOf(R"({"latency": {"preset": 1}})"),
            R"("latency.preset" is a number, not a string)");
  EXPECT_EQ(errorOf(R"({"latency": 5})"), R"("latency" is a number, not an object)");
}

TEST(Settings, ReadsWhatAddressesMayName) {
  const auto none = parseSettings("");
  ASSERT_TRUE(none);
  EXPECT_FALSE(none->play.sources.localFromPublic);
  EXPECT_FALSE(none->play.sources.httpFromHttps);
  EXPECT_FALSE(none->play.sources.srtListener);
  const auto settings = parseSettings(
      R"({"sources": {"localFromPublic": true, "httpFromHttps": true, "srtListener": true,
                      "maxPlaylistKiB": 100, "maxHeaderKiB": 10, "maxTagKiB": 1000}})");
  ASSERT_TRUE(settings) << settings.error().text;
  EXPECT_TRUE(settings->play.sources.localFromPublic);
  EXPECT_TRUE(settings->play.sources.httpFromHttps);
  EXPECT_TRUE(settings->play.sources.srtListener);
  EXPECT_EQ(settings->play.sources.playlistBytes, 102'400U);
  EXPECT_EQ(settings->play.sources.headerBytes, 10'240U);
  EXPECT_EQ(settings->play.sources.tagBytes, 1'024'000U);
  EXPECT_EQ(errorOf(R"({"sources": {"localFromPublic": 1}})"),
            R"("sources.localFromPublic" is a number, not a boolean)");
}

struct NumberKey {
  const char* before;
  const char* name;
  const char* after;
  int64_t low;
  int64_t high;
};

constexpr NumberKey kNumberKeys[] = {
    {R"({"reconnect": {"maxAttempts": )", "reconnect.maxAttempts", "}}", 0, 1000},
    {R"({"reconnect": {"firstDelayMs": )", "reconnect.firstDelayMs", "}}", 0, 600'000},
    {R"({"reconnect": {"maxDelayMs": )", "reconnect.maxDelayMs", "}}", 0, 600'000},
    {R"({"limits": {"maxFramePixels": )", "limits.maxFramePixels", "}}", 65'536, 268'435'456},
    {R"({"limits": {"maxQueuedBytes": )", "limits.maxQueuedBytes", "}}", 1'048'576, 1'073'741'824},
    {R"({"sendTimeoutMs": )", "sendTimeoutMs", "}", 500, 5000},
    {R"({"sources": {"maxPlaylistKiB": )", "sources.maxPlaylistKiB", "}}", 16, 65'536},
    {R"({"sources": {"maxHeaderKiB": )", "sources.maxHeaderKiB", "}}", 4, 1024},
    {R"({"sources": {"maxTagKiB": )", "sources.maxTagKiB", "}}", 16, 262'144},
};

TEST(Settings, EachNumberHasItsRange) {
  for (const NumberKey& key : kNumberKeys) {
    const auto with = [&](const std::string& value) { return key.before + value + key.after; };
    for (const int64_t value : {key.low, key.high}) {
      EXPECT_TRUE(parseSettings(with(std::to_string(value)).c_str())) << value;
    }
    const std::string begin = fmt::format("\"{}\" is ", key.name);
    for (const std::string& value : {std::to_string(key.low - 1), std::to_string(key.high + 1),
                                     std::string("1e+30"), std::string("18446744073709551615")}) {
      EXPECT_EQ(errorOf(with(value).c_str()),
                fmt::format("{}{}, not {} to {}", begin, value, key.low, key.high));
    }
    EXPECT_EQ(errorOf(with("600.5").c_str()), begin + "600.5, not a whole number");
    EXPECT_EQ(errorOf(with("\"600\"").c_str()), begin + "a string, not a number");
    EXPECT_EQ(errorOf(with("null").c_str()), begin + "null, not a number");
  }
}

TEST(Settings, EachTextIsATextAndEachObjectAnObject) {
  for (const char* key : {"camera", "microphone", "trustedCertificates"}) {
    EXPECT_EQ(errorOf(fmt::format(R"({{"{}": 5}})", key).c_str()),
              fmt::format("\"{}\" is a number, not a string", key));
    EXPECT_EQ(errorOf(fmt::format(R"({{"{}": null}})", key).c_str()),
              fmt::format("\"{}\" is null, not a string", key));
    EXPECT_EQ(errorOf(fmt::format(R"({{"{}": {{}}}})", key).c_str()),
              fmt::format("\"{}\" is an object, not a string", key));
  }
  EXPECT_EQ(errorOf(R"({"reconnect": true})"), "\"reconnect\" is a boolean, not an object");
  EXPECT_EQ(errorOf(R"({"reconnect": [1]})"), "\"reconnect\" is an array, not an object");
}

TEST(Settings, UnknownKeysAreIgnoredAndLogged) {
  setLogConsole(true);
  testing::internal::CaptureStderr();
  const auto settings = parseSettings(
      R"({"colour": {"deep": [1]}, "camera": "test", "Camera": 5, "reconnect": {"mood": "calm"}})");
  setLogConsole(false);
  const std::string log = testing::internal::GetCapturedStderr();
  ASSERT_TRUE(settings) << settings.error().text;
  EXPECT_EQ(settings->camera, "test");
  for (const char* key : {"colour", "Camera", "reconnect.mood"}) {
    EXPECT_NE(log.find(fmt::format("unknown setting \"{}\" is ignored", key)), std::string::npos)
        << key;
  }
}

TEST(Settings, BadJsonIsRefusedWithItsPlace) {
  EXPECT_NE(errorOf("{\"camera\": ").find("column"), std::string::npos);
  EXPECT_NE(errorOf("nonsense").find("column"), std::string::npos);
  EXPECT_NE(errorOf("{\"camera\": \"\xff\"}").find("column"), std::string::npos);
  EXPECT_NE(errorOf("{\"sendTimeoutMs\": 1e999}").find("1e999"), std::string::npos);
  EXPECT_EQ(errorOf("[]"), "the text is a JSON array, not an object");
  EXPECT_EQ(errorOf("\"camera\""), "the text is a JSON string, not an object");
}

class TrustSettings : public testing::Test {
 protected:
  TrustSettings() {
    std::string name = fs::temp_directory_path() / "trust-XXXXXX";
    folder = mkdtemp(name.data());
  }
  ~TrustSettings() override { fs::remove_all(folder); }

  static std::string errorOf(const fs::path& file) {
    Settings settings;
    settings.trustedCertificates = file;
    const auto applied = applySettings(settings);
    return applied ? "" : applied.error().text;
  }

  fs::path folder;
};

TEST_F(TrustSettings, AFileWithoutUsableCertificatesIsRefused) {
  std::ofstream(folder / "empty.pem") << "";
  std::ofstream(folder / "text.pem") << "no certificate, but some text";
  std::ofstream(folder / "broken.pem")
      << "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n";
  ASSERT_EQ(mkfifo((folder / "pipe.pem").c_str(), 0600), 0);
  GTlsDatabase* const before = g_tls_backend_get_default_database(g_tls_backend_get_default());
  for (const char* name : {"missing.pem", "empty.pem", "text.pem", "broken.pem", "pipe.pem", "."}) {
    const std::string start = fmt::format(
        "\"trustedCertificates\" is \"{}\", which cannot be used: ", (folder / name).string());
    const std::string error = errorOf(folder / name);
    EXPECT_TRUE(error.starts_with(start) && error.size() > start.size()) << error;
    const std::string settings =
        fmt::format(R"({{"trustedCertificates": "{}"}})", (folder / name).string());
    EXPECT_EQ(LumoRtc::LumoLivePlayer::Create(settings.c_str()), nullptr);
    EXPECT_EQ(LumoRtc::LumoLivePusher::Create(settings.c_str()), nullptr);
  }
  GTlsDatabase* const after = g_tls_backend_get_default_database(g_tls_backend_get_default());
  EXPECT_EQ(after, before);
  g_object_unref(before);
  g_object_unref(after);
}

TEST_F(TrustSettings, ACertificateIsTaken) {
  const std::string file = test::makeCertificate(folder, "IP:127.0.0.1");
  EXPECT_EQ(errorOf(file), "");
  EXPECT_EQ(errorOf(fs::relative(file)), "");
  EXPECT_EQ(errorOf(""), "");
}

}  // namespace
}  // namespace NimboEngine
