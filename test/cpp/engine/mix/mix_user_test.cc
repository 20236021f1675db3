#include "mix/mix_user.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "players/player_registry.h"
#include "support/player_address.h"

namespace NimboEngine {
namespace {

constexpr char kUrl[] = "rtmp://a/live/b";

std::string idOf(const void* player) {
  std::ostringstream text;
  text << player;
  return text.str();
}

TEST(MixUser, TheLocalUserHasTwoNames) {
  for (const char* name : {"", "local"}) {
    const auto user = findMixUser(name);
    ASSERT_TRUE(user);
    EXPECT_TRUE(user->isLocal());
  }
}

TEST(MixUser, AreFoundByIdAndByUrl) {
  int one = 0;
  int two = 0;
  RegisteredPlayer first(test::playerAt(one));
  RegisteredPlayer second(test::playerAt(two));
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

TEST(MixUser, OfSeveralThatPlayAUrlTheLastStartedIsFound) {
  int addresses[2] = {};
  RegisteredPlayer first(test::playerAt(addresses[0]));
  RegisteredPlayer second(test::playerAt(addresses[1]));
  second.setUrl(kUrl);
  first.setUrl(kUrl);
  EXPECT_EQ(streamOf(*findMixUser(kUrl)), first.stream());
  second.setUrl(kUrl);
  EXPECT_EQ(streamOf(*findMixUser(kUrl)), second.stream());
  second.setUrl("");
  EXPECT_EQ(streamOf(*findMixUser(kUrl)), first.stream());
}

TEST(MixUser, AnIdKeepsReferringToItsPlayer) {
  int player = 0;
  auto gone = std::make_unique<RegisteredPlayer>(test::playerAt(player));
  const auto user = findMixUser(idOf(&player));
  const std::weak_ptr<RemoteStream> stream = gone->stream();
  gone.reset();
  EXPECT_FALSE(findMixUser(idOf(&player)));
  const RegisteredPlayer later(test::playerAt(player));
  EXPECT_EQ(streamOf(*user), stream.lock());
  EXPECT_NE(streamOf(*user), later.stream());
}

TEST(MixUser, AUrlRefersToItsCurrentPlayer) {
  int player = 0;
  auto first = std::make_unique<RegisteredPlayer>(test::playerAt(player));
  first->setUrl(kUrl);
  const auto user = findMixUser(kUrl);
  first.reset();
  EXPECT_EQ(streamOf(*user), nullptr);
  RegisteredPlayer second(test::playerAt(player));
  second.setUrl(kUrl);
  EXPECT_EQ(streamOf(*user), second.stream());
}

}  // namespace
}  // namespace NimboEngine
