#include "play/rtp_alignment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace NimboEngine {
namespace {

using Nanoseconds = RtpAlignment::Nanoseconds;

constexpr Nanoseconds kMs = 1'000'000;
constexpr uint32_t kVideoRate = 90'000;
constexpr uint32_t kAudioRate = 48'000;
// The two streams' time stamps at the sender's time 0; video's wrap soon.
constexpr uint32_t kVideoBase = 0xFFFF0000;
constexpr uint32_t kAudioBase = 1'234'567;
constexpr uint64_t kWallBase = 4'004'286'895'078'580'999;  // of the year 2026

// A sender whose time is in milliseconds. Its video is sent `videoDelay` after its capture.
class RtpAlignmentTest : public testing::Test {
 protected:
  static uint32_t videoStamp(int64_t ms) {
    return kVideoBase + static_cast<uint32_t>(ms * kVideoRate / 1000);
  }
  static uint32_t audioStamp(int64_t ms) {
    return kAudioBase + static_cast<uint32_t>(ms * kAudioRate / 1000);
  }

  void addBoth(bool info) {
    RtpAlignment::Stream stream{false, kVideoRate, {}};
    if (info) stream.commonInstant = videoStamp(0);
    video = alignment.add(stream);
    stream = {true, kAudioRate, {}};
    if (info) stream.commonInstant = audioStamp(0);
    audio = alignment.add(stream);
  }

  Nanoseconds presentVideo(int64_t ms, int64_t delay = 0) {
    return alignment.present(video, videoStamp(ms), (ms + delay) * kMs);
  }
  Nanoseconds presentAudio(int64_t ms, int64_t delay = 0) {
    return alignment.present(audio, audioStamp(ms), (ms + delay) * kMs);
  }

  // Audio minus video of the same instant, in milliseconds.
  double play(int64_t fromMs, int64_t toMs, int64_t videoDelay = 0) {
    Nanoseconds difference = 0;
    for (int64_t ms = fromMs; ms < toMs; ms += 40) {
      difference = presentAudio(ms) - presentVideo(ms, videoDelay);
    }
    return static_cast<double>(difference) / kMs;
  }

  // Both streams report between two packets.
  void report(int64_t ms) { reportAt(ms + 7, 0); }

  // Both streams report a packet's time stamp, video's a frame's that is `error` milliseconds off.
  void reportCoarsely(int64_t ms, int64_t error) { reportAt(ms, error); }

  void reportAt(int64_t ms, int64_t error) {
    const auto wall = kWallBase + static_cast<uint64_t>(ms * kMs);
    alignment.report(video, videoStamp(ms + error), wall);
    alignment.report(audio, audioStamp(ms), wall);
  }

  RtpAlignment alignment;
  size_t video = 0;
  size_t audio = 0;
};

TEST_F(RtpAlignmentTest, AStreamKeepsItsIntervalsHoweverItArrives) {
  addBoth(false);
  const Nanoseconds first = presentVideo(0, 20);
  EXPECT_EQ(first, 20 * kMs + RtpAlignment::kHeadroom);
  // Frames leave a sender that reorders in decoding order.
  int delay = 0;
  for (const int ms : {120, 40, 80, 240, 160, 200, 1000, 2000, 3000}) {
    delay = (delay + 37) % 90;
    EXPECT_EQ(presentVideo(ms, delay) - first, ms * kMs);
  }
}

TEST_F(RtpAlignmentTest, WithoutAnyInformationTheArrivalDecides) {
  addBoth(false);
  EXPECT_NEAR(play(0, 400, 133), -133, 0.1);
}

TEST_F(RtpAlignmentTest, RtpInfoAlignsFromTheFirstPacketOn) {
  addBoth(true);
  EXPECT_NEAR(static_cast<double>(presentVideo(0, 133)), RtpAlignment::kHeadroom + 133 * kMs, 1);
  EXPECT_NEAR(play(0, 40, 133), 0, 0.1);
  EXPECT_NEAR(play(40, 4000, 133), 0, 0.1);
}

TEST_F(RtpAlignmentTest, AnOlderKeyFrameAtTheStartIsOlder) {
  addBoth(true);
  const Nanoseconds beep = presentAudio(3000, 0);
  const Nanoseconds flash = alignment.present(video, videoStamp(0), 3000 * kMs);
  EXPECT_NEAR(static_cast<double>(beep - flash), 3000 * kMs, 0.1 * kMs);
  EXPECT_GT(flash, 0);
}

TEST_F(RtpAlignmentTest, ABurstAtTheStartKeepsTheAlignment) {
  addBoth(true);
  // Three seconds of video arrive within 75 ms, then both streams in real time.
  for (int64_t ms = 0; ms < 3000; ms += 40) presentVideo(ms, 3000 - ms + ms / 40);
  EXPECT_NEAR(play(3080, 10'000), 0, 0.1);
}

TEST_F(RtpAlignmentTest, ImpossibleRtpInfoIsIgnored) {
  video = alignment.add({false, kVideoRate, 0});
  audio = alignment.add({true, kAudioRate, 0});
  EXPECT_NEAR(play(0, 400, 20), -20, 0.1);
}

TEST_F(RtpAlignmentTest, TheFirstReportsReplaceTheArrivalWithoutMovingAudio) {
  addBoth(false);
  EXPECT_NEAR(play(0, 4000, 133), -133, 0.1);
  const Nanoseconds before = presentAudio(4000);
  report(4000);
  EXPECT_NEAR(play(4040, 4120, 133), 0, 0.1);
  EXPECT_EQ(presentAudio(4120) - before, 120 * kMs);
}

TEST_F(RtpAlignmentTest, ReportsBeforeTheFirstPacketCount) {
  addBoth(false);
  report(0);
  EXPECT_NEAR(play(0, 120, 133), 0, 0.1);
}

TEST_F(RtpAlignmentTest, ASmallErrorIsCorrectedSlowly) {
  addBoth(false);
  play(0, 4000, 20);
  report(4000);
  const double soon = play(4000, 4200, 20);
  EXPECT_LT(soon, -10);
  EXPECT_NEAR(play(4200, 5000, 20), 0, 0.1);
}

TEST_F(RtpAlignmentTest, CoarseReportsThatVaryDoNotReplaceRtpInfo) {
  addBoth(true);
  constexpr int kErrors[] = {0, -80, -40, -120, -80, 0, -40, -80};
  int64_t ms = 0;
  for (const int error : kErrors) {
    EXPECT_NEAR(play(ms, ms + 4000), 0, 0.1);
    ms += 4000;
    presentVideo(ms);
    presentAudio(ms);
    reportCoarsely(ms, error);
  }
  EXPECT_NEAR(play(ms, ms + 4000), 0, 0.1);
}

TEST_F(RtpAlignmentTest, ACoarseReportMayComeBeforeItsPacket) {
  addBoth(true);
  play(0, 4000);
  for (int64_t ms = 4000; ms < 12'000; ms += 4000) {
    alignment.report(video, videoStamp(ms + 80), kWallBase + static_cast<uint64_t>(ms * kMs));
    alignment.report(audio, audioStamp(ms), kWallBase + static_cast<uint64_t>(ms * kMs));
    EXPECT_NEAR(play(ms, ms + 4000), 0, 0.1);
  }
}

TEST_F(RtpAlignmentTest, CoarseReportsThatAgreeReplaceRtpInfo) {
  // The server's RTP-Info is 150 ms wrong.
  video = alignment.add({false, kVideoRate, videoStamp(150)});
  audio = alignment.add({true, kAudioRate, audioStamp(0)});
  EXPECT_NEAR(play(0, 4000), 150, 0.1);
  for (int64_t ms = 4000; ms <= 8000; ms += 4000) {
    presentVideo(ms);
    presentAudio(ms);
    reportCoarsely(ms, 0);
    EXPECT_NEAR(play(ms, ms + 4000), 150, 0.1);
  }
  for (int64_t ms = 12'000; ms <= 16'000; ms += 4000) {
    presentVideo(ms);
    presentAudio(ms);
    reportCoarsely(ms, 0);
    play(ms, ms + 4000);
  }
  EXPECT_NEAR(play(20'000, 20'400), 0, 0.1);
}

TEST_F(RtpAlignmentTest, OneInterpolatedReportReplacesRtpInfo) {
  video = alignment.add({false, kVideoRate, videoStamp(150)});
  audio = alignment.add({true, kAudioRate, audioStamp(0)});
  EXPECT_NEAR(play(0, 4000), 150, 0.1);
  report(4000);
  EXPECT_NEAR(play(4000, 4200), 0, 0.1);
}

TEST_F(RtpAlignmentTest, ReportsFollowAClockThatDrifts) {
  addBoth(false);
  report(0);
  // The camera's time stamps run ahead of its clock by 100 millionths: 60 ms in ten minutes.
  double worst = 0;
  for (int64_t ms = 0; ms < 600'000; ms += 40) {
    const uint32_t stamp = videoStamp(ms) + static_cast<uint32_t>(ms * kVideoRate / 10'000'000);
    if (ms % 5000 == 0) {
      const auto wall = kWallBase + static_cast<uint64_t>(ms * kMs);
      alignment.report(video, stamp, wall);
      alignment.report(audio, audioStamp(ms), wall);
    }
    const Nanoseconds difference = presentAudio(ms) - alignment.present(video, stamp, ms * kMs);
    worst = std::max(worst, std::abs(static_cast<double>(difference) / kMs));
  }
  EXPECT_LT(worst, 4);
}

TEST_F(RtpAlignmentTest, ClocksThatDriftFromTheReceiversAreNoJump) {
  addBoth(true);
  // A day at 200 millionths is 17 s, more than a jump.
  const Nanoseconds first = presentVideo(0);
  Nanoseconds last = 0;
  int64_t ms = 0;
  for (; ms <= 86'400'000; ms += 40) {
    last = alignment.present(video, videoStamp(ms), ms * kMs + ms * kMs / 5000);
  }
  EXPECT_EQ((last - first) / kMs, ms - 40);
}

TEST_F(RtpAlignmentTest, TimeStampsThatJumpBeginAtTheirArrival) {
  addBoth(true);
  play(0, 4000);
  for (const int64_t jump : {-60'000, 600'000}) {
    const Nanoseconds beep = alignment.present(audio, audioStamp(4000 + jump), 4000 * kMs);
    const Nanoseconds flash = alignment.present(video, videoStamp(4000 + jump), 4010 * kMs);
    EXPECT_NEAR(static_cast<double>(beep), RtpAlignment::kHeadroom + 4000 * kMs, kMs);
    EXPECT_NEAR(static_cast<double>(flash), RtpAlignment::kHeadroom + 4010 * kMs, kMs);
  }
}

TEST_F(RtpAlignmentTest, AStreamThatHasEndedIsNotFollowed) {
  addBoth(false);
  play(0, 4000, 133);
  report(4000);
  play(4000, 8000, 133);
  const size_t ended = audio;
  alignment.remove(ended);
  addBoth(false);
  EXPECT_NEAR(play(8000, 8400, 20), -20, 0.1);
  report(8400);
  EXPECT_NEAR(play(8400, 9400, 20), 0, 0.1);
}

TEST_F(RtpAlignmentTest, PacketsOfOneFrameStayTogetherWhileTheStreamMoves) {
  addBoth(false);
  play(0, 4000, 20);
  report(4000);
  for (int64_t ms = 4000; ms < 4400; ms += 40) {
    const Nanoseconds first = presentVideo(ms, 20);
    EXPECT_EQ(presentVideo(ms, 22), first);
  }
}

}  // namespace
}  // namespace NimboEngine
