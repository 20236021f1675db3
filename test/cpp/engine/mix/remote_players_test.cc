#include "mix/remote_players.h"

#include <gtest/gtest.h>

#include <sstream>

#include "gst/runtime.h"
#include "support/painted_frame.h"

namespace NimboEngine {
namespace {

constexpr char kUrl[] = "rtmp://a/live/b";

std::string idOf(const void* player) {
  std::ostringstream text;
  text << player;
  return text.str();
}

TEST(RemotePlayers, TheLocalUserHasTwoNames) {
  for (const char* name : {"", "local"}) {
    const auto user = findMixUser(name);
    ASSERT_TRUE(user);
    EXPECT_TRUE(user->isLocal());
  }
}

TEST(RemotePlayers, AreFoundByIdAndByUrl) {
  int one = 0;
  int two = 0;
  RemotePlayer first(&one);
  RemotePlayer second(&two);
  second.setUrl(kUrl);
  ASSERT_TRUE(findMixUser(idOf(&one)));
  EXPECT_EQ(streamOf(*findMixUser(idOf(&one))), first.stream());
  EXPECT_EQ(streamOf(*findMixUser(idOf(&two))), second.stream());
  ASSERT_TRUE(findMixUser(kUrl));
  EXPECT_EQ(streamOf(*findMixUser(kUrl)), second.stream());
  EXPECT_FALSE(findMixUser("rtmp://a/live/c"));
  second.setUrl("");
  EXPECT_FALSE(findMixUser(kUrl));
  EXPECT_TRUE(findMixUser("")->isLocal()) << "a player without a URL is not the local user";
}

TEST(RemotePlayers, OfSeveralThatPlayAUrlTheLastToBeginIsMeant) {
  int addresses[2] = {};
  RemotePlayer first(&addresses[0]);
  RemotePlayer second(&addresses[1]);
  second.setUrl(kUrl);
  first.setUrl(kUrl);
  EXPECT_EQ(streamOf(*findMixUser(kUrl)), first.stream());
  second.setUrl(kUrl);
  EXPECT_EQ(streamOf(*findMixUser(kUrl)), second.stream());
  second.setUrl("");
  EXPECT_EQ(streamOf(*findMixUser(kUrl)), first.stream());
}

TEST(RemotePlayers, AnIdMeansOnePlayerForEver) {
  int player = 0;
  auto gone = std::make_unique<RemotePlayer>(&player);
  const auto user = findMixUser(idOf(&player));
  const std::weak_ptr<RemoteStream> stream = gone->stream();
  gone.reset();
  EXPECT_FALSE(findMixUser(idOf(&player)));
  const RemotePlayer later(&player);
  EXPECT_EQ(streamOf(*user), stream.lock());
  EXPECT_NE(streamOf(*user), later.stream());
}

TEST(RemotePlayers, AUrlMeansWhoeverPlaysIt) {
  int player = 0;
  auto first = std::make_unique<RemotePlayer>(&player);
  first->setUrl(kUrl);
  const auto user = findMixUser(kUrl);
  first.reset();
  EXPECT_EQ(streamOf(*user), nullptr);
  RemotePlayer second(&player);
  second.setUrl(kUrl);
  EXPECT_EQ(streamOf(*user), second.stream());
}

TEST(RemoteStream, HasTheFrameAndAudioThatPlayAndNothingAfterwards) {
  ASSERT_TRUE(startGstreamer());
  RemoteStream stream;
  EXPECT_FALSE(stream.frame());
  const auto frame = test::paint({8, 8}, test::kRed);
  stream.putFrame(frame.get(), test::i420({8, 8}));
  const AudioTimeline::Time now{std::chrono::hours(1)};
  std::vector<int16_t> loud(2 * 4800, 1000);
  stream.putAudio({loud, now});
  ASSERT_TRUE(stream.frame());
  EXPECT_EQ(stream.frame()->buffer.get(), frame.get());
  EXPECT_EQ(stream.frame()->info.width, 8);
  std::vector<int16_t> output(2 * 960);
  stream.audioAt(now, output);
  EXPECT_EQ(output, std::vector<int16_t>(2 * 960, 1000));
  stream.clear();
  EXPECT_FALSE(stream.frame());
  stream.audioAt(now, output);
  EXPECT_EQ(output, std::vector<int16_t>(2 * 960, 0));
  EXPECT_EQ(GST_MINI_OBJECT_REFCOUNT_VALUE(frame.get()), 1);
}

}  // namespace
}  // namespace NimboEngine
