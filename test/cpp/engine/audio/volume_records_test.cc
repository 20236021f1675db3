#include "audio/volume_records.h"

#include <gtest/gtest.h>

#include <cmath>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

// Identities only.
LumoLivePlayer* const kFirst = reinterpret_cast<LumoLivePlayer*>(0x10);
LumoLivePlayer* const kSecond = reinterpret_cast<LumoLivePlayer*>(0x20);

UserLevel user(LumoLivePlayer* player, double peak, bool voice = false) {
  return {.player = player, .reading = {.peak = peak, .voice = voice}};
}

int localVolume(VolumeRecords& records, double peak) {
  return records.make({user(nullptr, peak)}).front().volume;
}

TEST(VolumeRecords, TheScaleFollowsItsFormula) {
  VolumeRecords records(0);
  EXPECT_EQ(localVolume(records, 0), 0);
  EXPECT_EQ(localVolume(records, 1), 255);
  for (const int decibels : {-3, -6, -20, -40, -60}) {
    const double peak = std::pow(10, decibels / 20.0);
    EXPECT_NEAR(localVolume(records, peak), 255 * peak, 0.5) << decibels;
  }
}

TEST(VolumeRecords, NamesEachUserAndSumsUp) {
  VolumeRecords records(0);
  const auto made = records.make({user(nullptr, 0.2), user(kFirst, 0.4, true), user(kSecond, 0)});
  ASSERT_EQ(made.size(), 3u);
  EXPECT_EQ(made[0].userType, kLumoLiveUserVolumeLocal);
  EXPECT_EQ(made[0].player, nullptr);
  EXPECT_EQ(made[0].volume, 51);
  EXPECT_FALSE(made[0].speechState);
  EXPECT_EQ(made[1].userType, kLumoLiveUserVolumeRemote);
  EXPECT_EQ(made[1].player, kFirst);
  EXPECT_EQ(made[1].volume, 102);
  EXPECT_TRUE(made[1].speechState);
  EXPECT_EQ(made[2].player, kSecond);
  EXPECT_EQ(made[2].volume, 0);
  for (const auto& record : made) EXPECT_EQ(record.sumVolume, 153);
  EXPECT_EQ(records.make({user(nullptr, 0.8), user(kFirst, 0.8)}).front().sumVolume, 255);
}

TEST(VolumeRecords, SmoothingTakesItsPartOfTheWay) {
  VolumeRecords records(1);
  EXPECT_EQ(localVolume(records, 1), 128);
  EXPECT_EQ(localVolume(records, 1), 191);
  EXPECT_EQ(localVolume(records, 0.25), 128);
  VolumeRecords lazy(10);
  for (int report = 1; report <= 30; ++report) {
    EXPECT_NEAR(localVolume(lazy, 1), 255 * (1 - std::pow(10.0 / 11, report)), 0.51) << report;
  }
}

TEST(VolumeRecords, SilenceReadsZeroAtOnce) {
  VolumeRecords records(10);
  for (int report = 0; report < 30; ++report) localVolume(records, 1);
  EXPECT_EQ(localVolume(records, 0), 0);
  EXPECT_EQ(localVolume(records, 1), 23) << "it restarts";
}

TEST(VolumeRecords, EachUserIsSmoothedSeparatelyAndDroppedOnLeaving) {
  VolumeRecords records(1);
  records.make({user(nullptr, 1), user(kFirst, 1)});
  EXPECT_EQ(records.make({user(nullptr, 1), user(kFirst, 0.5), user(kSecond, 1)})[2].volume, 128);
  records.make({user(nullptr, 1)});
  EXPECT_EQ(records.make({user(nullptr, 1), user(kFirst, 1)})[1].volume, 128);
}

}  // namespace
}  // namespace NimboEngine
