#include "audio/speaker_choice.h"

#include <gtest/gtest.h>

#include <string>

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;

// Identities only.
LumoLivePlayer* const kLocal = nullptr;
LumoLivePlayer* const kAnna = reinterpret_cast<LumoLivePlayer*>(0x10);
LumoLivePlayer* const kBert = reinterpret_cast<LumoLivePlayer*>(0x20);

class SpeakerChoiceTest : public testing::Test {
 protected:
  // Feeds the same readings every 100 ms for `time`. Returns the active speakers meanwhile, in
  // order: "L" the local user, "A", "B".
  std::string during(std::chrono::milliseconds time, const std::vector<UserLevel>& users) {
    std::string changes;
    for (auto passed = 0ms; passed < time; passed += 100ms) {
      now += 100ms;
      const auto change = choice.update(now, users);
      if (change) changes += *change == kLocal ? "L" : *change == kAnna ? "A" : "B";
    }
    return changes;
  }

  static UserLevel speaking(LumoLivePlayer* player, double peak) { return {player, {peak, true}}; }
  static UserLevel noisy(LumoLivePlayer* player, double peak) { return {player, {peak, false}}; }
  static UserLevel quiet(LumoLivePlayer* player) { return {player, {}}; }

  SpeakerChoice::Time now;
  SpeakerChoice choice{true};
};

TEST_F(SpeakerChoiceTest, WithoutSpeechThereIsNoActiveSpeaker) {
  EXPECT_EQ(during(10s, {quiet(kLocal), quiet(kAnna)}), "");
  EXPECT_EQ(during(10s, {}), "");
}

TEST_F(SpeakerChoiceTest, ASpeakerBecomesActiveOnceAndSoon) {
  EXPECT_EQ(during(200ms, {speaking(kLocal, 0.3)}), "");
  EXPECT_EQ(during(100ms, {speaking(kLocal, 0.3)}), "L");
  EXPECT_EQ(during(10s, {speaking(kLocal, 0.3)}), "");
}

TEST_F(SpeakerChoiceTest, NoiseCountsOnlyWithoutVoiceDetection) {
  EXPECT_EQ(during(10s, {noisy(kLocal, 0.5)}), "");
  choice = SpeakerChoice(false);
  EXPECT_EQ(during(10s, {noisy(kLocal, 0.5)}), "L");
}

TEST_F(SpeakerChoiceTest, TooQuietIsNotSpeaking) {
  EXPECT_EQ(during(10s, {speaking(kLocal, 0.009), quiet(kAnna)}), "");
  EXPECT_EQ(during(10s, {speaking(kLocal, 0.011), quiet(kAnna)}), "L");
}

TEST_F(SpeakerChoiceTest, TheLoudestOfSeveralIsActive) {
  EXPECT_EQ(during(1s, {speaking(kLocal, 0.2), speaking(kAnna, 0.3), noisy(kBert, 0.9)}), "A");
}

TEST_F(SpeakerChoiceTest, ACoughChangesNothing) {
  during(1s, {speaking(kLocal, 0.1), quiet(kAnna)});
  EXPECT_EQ(during(600ms, {speaking(kLocal, 0.1), speaking(kAnna, 0.9)}), "");
  EXPECT_EQ(during(10s, {speaking(kLocal, 0.1), quiet(kAnna)}), "");
}

TEST_F(SpeakerChoiceTest, AHardlyLouderUserDoesNotTakeOver) {
  during(1s, {speaking(kLocal, 0.3), quiet(kAnna)});
  EXPECT_EQ(during(10s, {speaking(kLocal, 0.3), speaking(kAnna, 0.59)}), "");
  EXPECT_EQ(during(600ms, {speaking(kLocal, 0.3), speaking(kAnna, 0.61)}), "");
  EXPECT_EQ(during(100ms, {speaking(kLocal, 0.3), speaking(kAnna, 0.61)}), "A");
}

TEST_F(SpeakerChoiceTest, AfterAPauseAQuieterOneTakesOver) {
  during(1s, {speaking(kLocal, 0.9), quiet(kAnna)});
  EXPECT_EQ(during(300ms, {quiet(kLocal), speaking(kAnna, 0.1)}), "") << "perhaps a breath";
  EXPECT_EQ(during(400ms, {quiet(kLocal), speaking(kAnna, 0.1)}), "A");
}

TEST_F(SpeakerChoiceTest, StaysActiveWhileAllAreQuiet) {
  during(1s, {speaking(kAnna, 0.3)});
  EXPECT_EQ(during(60s, {quiet(kAnna)}), "");
  EXPECT_EQ(during(1s, {speaking(kAnna, 0.3)}), "");
}

TEST_F(SpeakerChoiceTest, AUserWhoLeavesIsDropped) {
  during(1s, {quiet(kLocal), speaking(kAnna, 0.9)});
  EXPECT_EQ(during(300ms, {speaking(kLocal, 0.1)}), "L") << "the place is free";
  EXPECT_EQ(during(1s, {quiet(kLocal), speaking(kAnna, 0.9)}), "A");
  during(1s, {quiet(kLocal)});
  EXPECT_EQ(during(1s, {quiet(kLocal), speaking(kAnna, 0.9)}), "A") << "he has come back";
}

TEST_F(SpeakerChoiceTest, TwoAlternatingSpeakersDoNotOscillate) {
  during(1s, {speaking(kAnna, 0.3), quiet(kBert)});
  for (int word = 0; word < 20; ++word) {
    EXPECT_EQ(during(300ms, {speaking(kAnna, 0.2), speaking(kBert, 0.6)}), "");
    EXPECT_EQ(during(300ms, {speaking(kAnna, 0.6), speaking(kBert, 0.2)}), "");
  }
}

}  // namespace
}  // namespace NimboEngine
