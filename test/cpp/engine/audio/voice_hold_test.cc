#include "audio/voice_hold.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

// Passes the same result `times` times. Returns how often there was speech.
int spoken(VoiceHold& hold, bool voice, int times) {
  int spoke = 0;
  for (int i = 0; i < times; ++i) {
    if (hold.update(voice)) ++spoke;
  }
  return spoke;
}

TEST(VoiceHold, AShortBurstIsNoVoice) {
  VoiceHold hold;
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(spoken(hold, true, VoiceHold::kOnset - 1), 0);
    EXPECT_EQ(spoken(hold, false, 1), 0);
  }
}

TEST(VoiceHold, VoiceLastsForAWhileAfterItsEnd) {
  VoiceHold hold;
  EXPECT_EQ(spoken(hold, true, VoiceHold::kOnset), 1);
  EXPECT_EQ(spoken(hold, true, 100), 100);
  EXPECT_EQ(spoken(hold, false, 100), VoiceHold::kHold - 1);
  EXPECT_EQ(spoken(hold, true, VoiceHold::kOnset - 1), 0) << "it must restart";
}

TEST(VoiceHold, PausesBetweenWordsDoNotInterrupt) {
  VoiceHold hold;
  spoken(hold, true, VoiceHold::kOnset);
  for (int word = 0; word < 10; ++word) {
    EXPECT_EQ(spoken(hold, false, VoiceHold::kHold - 1), VoiceHold::kHold - 1);
    EXPECT_EQ(spoken(hold, true, 1), 1);
  }
}

}  // namespace
}  // namespace NimboEngine
