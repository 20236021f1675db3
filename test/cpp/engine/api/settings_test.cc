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

TEST(Settings, UnknownKeysAreIgnored) {
  std::string problem;
  const auto settings = parseSettings(R"({"colour": {"deep": [1]}, "camera": "test"})", problem);
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->camera, "test");
}

TEST(Settings, WrongTypesAreRefusedWithTheKeysName) {
  EXPECT_EQ(problemWith(R"({"camera": 5})"), "\"camera\" is a number, not a string");
  EXPECT_EQ(problemWith(R"({"microphone": null})"), "\"microphone\" is a null, not a string");
}

TEST(Settings, BadJsonIsRefusedWithItsPlace) {
  EXPECT_NE(problemWith("{\"camera\": ").find("column"), std::string::npos);
  EXPECT_NE(problemWith("nonsense").find("column"), std::string::npos);
  EXPECT_EQ(problemWith("[]"), "the text is a JSON array, not an object");
  EXPECT_EQ(problemWith("\"camera\""), "the text is a JSON string, not an object");
}

}  // namespace
}  // namespace NimboEngine
