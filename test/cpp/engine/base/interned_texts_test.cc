#include "base/interned_texts.h"

#include <gtest/gtest.h>

#include <string>

namespace NimboEngine {
namespace {

TEST(InternedTexts, EqualTextsShareOneAddress) {
  const char* const text = internText("a stream");
  EXPECT_STREQ(text, "a stream");
  EXPECT_EQ(internText(std::string("a ") + "stream"), text);
  EXPECT_NE(internText("another stream"), text);
  EXPECT_STREQ(internText(""), "");
}

TEST(InternedTexts, LongOnesAreCutBetweenCharacters) {
  std::string text;
  while (text.size() < 1'000'000) text += "ü";
  const std::string cut = internText(text);
  EXPECT_EQ(cut, text.substr(0, 1020) + "…");
  EXPECT_EQ(internText(text), internText(text));
  const std::string fits(kTextBytes - 1, 'x');
  EXPECT_EQ(internText(fits), fits);
}

TEST(InternedTexts, TheNewestReplacesTheOldest) {
  const char* const first = internText("the first");
  for (std::size_t i = 1; i < kMostTexts; ++i) internText("stream " + std::to_string(i));
  EXPECT_STREQ(first, "the first");
  for (std::size_t i = 0; i < kMostTexts; ++i) internText("later " + std::to_string(i));
  EXPECT_STRNE(first, "the first") << "still readable";
}

}  // namespace
}  // namespace NimboEngine
