#include "mix/mix_layout.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

LumoLiveMixStream stream(const char* user, const Rect& rect = {0, 0, 10, 10}, int zOrder = 0) {
  return {user, rect.x, rect.y, rect.width, rect.height, zOrder};
}

LumoLiveTranscodingConfig configOf(const std::vector<LumoLiveMixStream>& streams) {
  LumoLiveTranscodingConfig config;
  for (const auto& each : streams) config.mixStreams.Add(each);
  return config;
}

// Finds the local user and every user whose name begins with "u".
std::optional<MixUser> findUser(const std::string& userId) {
  if (userId.empty() || userId == kLocalMixUser) return MixUser{};
  if (userId[0] == 'u') return MixUser{nullptr, userId};
  return std::nullopt;
}

struct Made {
  LumoLiveResult result;
  MixLayout layout;
  std::string error;
};

Made make(const LumoLiveTranscodingConfig& config) {
  const auto layout = makeMixLayout(config, findUser);
  if (!layout) return {layout.error().code, {}, layout.error().text};
  return {kLumoLiveOk, *layout, ""};
}

TEST(MixLayout, ReadsColourModeAndPlaces) {
  LumoLiveTranscodingConfig config =
      configOf({stream("", {1, 2, 3, 4}), stream("u1", {-5, 6, 7, 8})});
  config.backgroundColor = static_cast<int32_t>(0xff8040c0);
  config.cropMode = 2;
  const auto [result, layout, error] = make(config);
  EXPECT_EQ(result, kLumoLiveOk);
  EXPECT_EQ(error, "");
  EXPECT_EQ(layout.background, 0x8040c0U) << "what stands above the colour is ignored";
  EXPECT_EQ(layout.mode, ViewMode::kStretch);
  ASSERT_EQ(layout.places.size(), 2U);
  EXPECT_TRUE(layout.places[0].user.isLocal());
  EXPECT_EQ(layout.places[0].rect, (Rect{1, 2, 3, 4}));
  EXPECT_EQ(layout.places[1].user.url, "u1");
  EXPECT_EQ(layout.places[1].rect, (Rect{-5, 6, 7, 8}));
}

TEST(MixLayout, TheLowestComesFirstAndEqualOnesKeepTheirOrder) {
  const auto made =
      make(configOf({stream("u1", {0, 0, 9, 9}, 7), stream("u2", {0, 0, 9, 9}, -1),
                     stream("local", {0, 0, 9, 9}, 7), stream("u3", {0, 0, 9, 9}, 3)}));
  std::string order;
  for (const MixPlace& place : made.layout.places) order += place.user.url + ",";
  EXPECT_EQ(order, "u2,u3,u1,,");
}

TEST(MixLayout, AnEmptyLayoutIsAMixToo) {
  const auto made = make(LumoLiveTranscodingConfig());
  EXPECT_EQ(made.result, kLumoLiveOk);
  EXPECT_EQ(made.layout.mode, ViewMode::kCrop);
  EXPECT_TRUE(made.layout.places.empty());
}

TEST(MixLayout, SixteenAtMost) {
  std::vector<LumoLiveMixStream> streams;
  while (streams.size() < 16)
    streams.push_back(stream(("u" + std::to_string(streams.size())).c_str()));
  EXPECT_EQ(make(configOf(streams)).result, kLumoLiveOk);
  streams.push_back(stream("local"));
  const auto made = make(configOf(streams));
  EXPECT_EQ(made.result, kLumoLiveInvalidArgument);
  EXPECT_EQ(made.error, "17 streams, more than 16");
}

TEST(MixLayout, InvalidLayoutsAreRefused) {
  const struct {
    std::vector<LumoLiveMixStream> streams;
    LumoLiveResult result;
    const char* error;
  } cases[] = {
      {{stream("")}, kLumoLiveOk, ""},
      {{stream("nobody")},
       kLumoLiveNotFound,
       "user \"nobody\": no player has this ID or plays this URL"},
      {{stream("u1"), stream("u1")}, kLumoLiveInvalidArgument, "user \"u1\": placed twice"},
      {{stream(""), stream("local")}, kLumoLiveInvalidArgument, "user \"local\": placed twice"},
      {{stream("u1", {0, 0, 0, 9})}, kLumoLiveInvalidArgument, "user \"u1\": its size is 0x9"},
      {{stream("u1", {0, 0, 9, -1})}, kLumoLiveInvalidArgument, "user \"u1\": its size is 9x-1"},
      {{stream("u1", {0, 0, 16384, 16384})}, kLumoLiveOk, ""},
      {{stream("u1", {-16384, 16384, 1, 1})}, kLumoLiveOk, ""},
      {{stream("u1", {0, 0, 16385, 1})},
       kLumoLiveInvalidArgument,
       "user \"u1\": its place is 16385x1 at 0,0, more than 16384 pixels"},
      {{stream("u1", {0, -16385, 1, 1})},
       kLumoLiveInvalidArgument,
       "user \"u1\": its place is 1x1 at 0,-16385, more than 16384 pixels"},
  };
  for (const auto& each : cases) {
    const auto made = make(configOf(each.streams));
    EXPECT_EQ(made.result, each.result) << each.error;
    EXPECT_EQ(made.error, each.error);
  }
}

TEST(MixLayout, OtherCropModesAreRefused) {
  LumoLiveTranscodingConfig config;
  for (const uint32_t mode : {3U, 0xffffffffU}) {
    config.cropMode = mode;
    EXPECT_EQ(make(config).result, kLumoLiveInvalidArgument);
  }
}

}  // namespace
}  // namespace NimboEngine
