#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "NimboSdk/LumoLiveBase.h"
#include "NimboSdk/LumoLiveDefine.h"
#include "NimboSdk/LumoLivePlayer.h"

namespace LumoRtc {
namespace {

TEST(RtcString, NullReadsBackAsEmpty) {
  EXPECT_STREQ(String(nullptr).c_str(), "");
  EXPECT_STREQ(String().c_str(), "");
  EXPECT_STREQ(String("").c_str(), "");
}

TEST(RtcString, OwnsItsCharacters) {
  std::string source = "grüße";
  const String text(source.c_str());
  source[0] = 'X';
  EXPECT_STREQ(text.c_str(), "grüße");
}

TEST(RtcString, CopiesAreIndependent) {
  String first("one");
  String second(first);
  first = String("two");
  EXPECT_STREQ(first.c_str(), "two");
  EXPECT_STREQ(second.c_str(), "one");
  second = nullptr;
  EXPECT_STREQ(second.c_str(), "");
}

TEST(RtcString, AssigningToItselfKeepsIt) {
  String text("same");
  const String& alias = text;
  text = alias;
  EXPECT_STREQ(text.c_str(), "same");
}

// Its storage is private to the library; the sanitizers check that these paths neither leak nor
// touch freed memory.
TEST(MixStreamArray, CopiesAssignsAndClears) {
  LumoLiveMixStream stream{};
  stream.userId = "somebody";
  LumoLiveMixStreamArray first;
  first.Add(stream);
  first.Add(stream);
  LumoLiveMixStreamArray second(first);
  first.Clear();
  first.Add(stream);
  second = first;
  const LumoLiveMixStreamArray& alias = second;
  second = alias;
  LumoLiveTranscodingConfig config;
  config.mixStreams = second;
  const LumoLiveTranscodingConfig copy = config;
  EXPECT_EQ(copy.cropMode, 1u);
}

TEST(LiveBase, ReportsVersionAndModes) {
  ASSERT_NE(LumoLiveBase::GetSDKVersion(), nullptr);
  EXPECT_NE(std::strlen(LumoLiveBase::GetSDKVersion()), 0u);
  EXPECT_TRUE(LumoLiveBase::isSupportLiveMode(kLumoLiveModeBasic));
  EXPECT_FALSE(LumoLiveBase::isSupportLiveMode(kLumoLiveModeInteractive));
  EXPECT_FALSE(LumoLiveBase::isSupportLiveMode(static_cast<LumoLiveMode>(0xffffffffU)));
}

}  // namespace
}  // namespace LumoRtc
