#include "players/player_registry.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/player_address.h"

namespace NimboEngine {
namespace {

using LumoRtc::LumoLivePlayer;

std::vector<LumoLivePlayer*> audible() {
  std::vector<LumoLivePlayer*> players;
  for (const AudiblePlayer& player : audiblePlayers()) players.push_back(player.player);
  return players;
}

std::string idOf(const void* player) {
  std::ostringstream text;
  text << player;
  return text.str();
}

TEST(PlayerRegistry, ListsAudiblePlayersInTheOrderInWhichTheyBecameAudible) {
  int places[2] = {};
  RegisteredPlayer first(test::playerAt(places[0]));
  RegisteredPlayer second(test::playerAt(places[1]));
  EXPECT_TRUE(audible().empty());
  second.setAudible({});
  first.setAudible({});
  EXPECT_EQ(audible(), (std::vector{test::playerAt(places[1]), test::playerAt(places[0])}));
  second.setInaudible();
  EXPECT_EQ(audible(), std::vector{test::playerAt(places[0])});
}

TEST(PlayerRegistry, SharesTheMeterAndTheEventsOfAnAudiblePlayer) {
  int place = 0;
  int calls = 0;
  RegisteredPlayer player(test::playerAt(place));
  player.setAudible({.onVolume = {}, .onActiveSpeaker = [&calls] { ++calls; }});
  const std::vector<AudiblePlayer> players = audiblePlayers();
  ASSERT_EQ(players.size(), 1u);
  EXPECT_EQ(players[0].meter.get(), &player.meter());
  players[0].events.onActiveSpeaker();
  EXPECT_EQ(calls, 1);
}

TEST(PlayerRegistry, FindsNothingOfAPlayerThatWasWithdrawn) {
  int place = 0;
  RegisteredPlayer player(test::playerAt(place));
  player.setUrl("rtmp://a/live/b");
  player.setAudible({});
  EXPECT_EQ(findStreamById(idOf(&place)), player.stream());
  EXPECT_EQ(findStreamByUrl("rtmp://a/live/b"), player.stream());
  player.withdraw();
  player.setUrl("rtmp://a/live/c");
  player.setAudible({});
  EXPECT_EQ(findStreamById(idOf(&place)), nullptr);
  EXPECT_EQ(findStreamByUrl("rtmp://a/live/b"), nullptr);
  EXPECT_EQ(findStreamByUrl("rtmp://a/live/c"), nullptr);
  EXPECT_TRUE(audible().empty());
}

}  // namespace
}  // namespace NimboEngine
