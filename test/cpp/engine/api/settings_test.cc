#include "api/settings.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

std::string problemWith(const char* text) {
  std::string problem;
  EXPECT_FALSE(parseSettings(text, problem)) << text;
  return problem;
}

TEST(Settings, EmptyAndNullTextsMeanDefaults) {
  std::string problem;
  for (const char* text : {static_cast<const char*>(nullptr), "", "{}", "  {} "}) {
    const auto settings = parseSettings(text, problem);
    ASSERT_TRUE(settings) << problem;
    EXPECT_EQ(settings->camera, "");
    EXPECT_EQ(settings->microphone, "");
  }
}

TEST(Settings, ReadsEveryKey) {
  std::string problem;
  const auto settings =
      parseSettings(R"({"camera": "file:/tmp/ä b.mp4", "microphone": "default"})", problem);
  ASSERT_TRUE(settings) << problem;
  EXPECT_EQ(settings->camera, "file:/tmp/ä b.mp4");
  EXPECT_EQ(settings->microphone, "default");
}

TEST(Settings, ReadsTheNetworksKeys) {
  using namespace std::chrono_literals;
  std::string problem;
  const auto settings = parseSettings(R"({
    "reconnect": {"maxAttempts": 3, "firstDelayMs": 20, "maxDelayMs": 40, "mood": "calm"},
    "sendTimeoutMs": 1500.0
  })",
                                      problem);
  ASSERT_TRUE(settings) << problem;
  EXPECT_EQ(settings->network.reconnect.maxAttempts, 3);
  EXPECT_EQ(settings->network.reconnect.firstDelay, 20ms);
  EXPECT_EQ(settings->network.reconnect.maxDelay, 40ms);
  EXPECT_EQ(settings->network.sendTimeout, 1500ms);
}

TEST(Settings, NumbersOutOfRangeAreRefusedWithTheKeysName) {
  EXPECT_EQ(problemWith(R"({"reconnect": {"maxAttempts": -1}})"),
            "\"reconnect.maxAttempts\" is -1, not 0 to 1000");
  EXPECT_EQ(problemWith(R"({"reconnect": {"maxDelayMs": 1e30}})"),
            "\"reconnect.maxDelayMs\" is 1e+30, not 0 to 600000");
  EXPECT_EQ(problemWith(R"({"sendTimeoutMs": 499})"), "\"sendTimeoutMs\" is 499, not 500 to 5000");
}

TEST(Settings, UnknownKeysAreIgnored) {
  std::string problem;
  const auto settings = parseSettings(R"({"colour": {"deep": [1]}, "camera": "test"})", problem);
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->camera, "test");
}

TEST(Settings, WrongTypesAreRefusedWithTheKeysName) {
  EXPECT_EQ(problemWith(R"({"camera": 5})"), "\"camera\" is a number, not a string");
  EXPECT_EQ(problemWith(R"({"microphone": null})"), "\"microphone\" is a null, not a string");
  EXPECT_EQ(problemWith(R"({"reconnect": true})"), "\"reconnect\" is a boolean, not an object");
  EXPECT_EQ(problemWith(R"({"reconnect": {"firstDelayMs": "1"}})"),
            "\"reconnect.firstDelayMs\" is a string, not a number");
}

TEST(Settings, BadJsonIsRefusedWithItsPlace) {
  EXPECT_NE(problemWith("{\"camera\": ").find("column"), std::string::npos);
  EXPECT_NE(problemWith("nonsense").find("column"), std::string::npos);
  EXPECT_EQ(problemWith("[]"), "the text is a JSON array, not an object");
  EXPECT_EQ(problemWith("\"camera\""), "the text is a JSON string, not an object");
}

}  // namespace
}  // namespace NimboEngine
