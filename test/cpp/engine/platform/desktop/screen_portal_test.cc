// The protocol of the desktop's portal, which the test implements.

#include "platform/desktop/screen_portal.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "platform/desktop/portal_reader.h"
#include "platform/screen/screen.h"
#include "support/fake_portal.h"
#include "support/session_bus.h"

namespace NimboEngine::test {
namespace {

using namespace std::chrono_literals;
using Answers = FakePortal::Answers;
using Calls = std::vector<std::string>;

int openSomething() {
  return dup(STDERR_FILENO);
}

class ScreenPortalTest : public testing::Test {
 protected:
  enum class Answer { kShared, kRefused, kFailed };

  // Asks one portal, with long timeouts unless they are tested.
  Answer ask(const ScreenPortal::Timeouts& timeouts = {.portal = 20'000ms, .user = 20'000ms}) {
    portal_ = std::make_unique<ScreenPortal>(cancelled_.get(), timeouts);
    const auto answer = portal_->ask();
    error_ = answer ? "" : answer.error().text;
    if (answer) return Answer::kShared;
    EXPECT_NE(error_, "");
    return answer.error().code == ScreenPortal::Failure::kRefused ? Answer::kRefused
                                                                  : Answer::kFailed;
  }

  const SessionBus bus_;
  const GlibPtr<GCancellable> cancelled_{g_cancellable_new()};
  std::unique_ptr<ScreenPortal> portal_;
  std::string error_;
};

TEST_F(ScreenPortalTest, SharesWhatTheUserChose) {
  FakePortal desktop({.openRemote = openSomething});
  ASSERT_EQ(ask(), Answer::kShared) << error_;
  EXPECT_EQ(portal_->node(), 42U);
  EXPECT_GE(portal_->remote(), 0);
  EXPECT_TRUE(portal_->isShared());
  EXPECT_EQ(desktop.calls.all(), (Calls{"CreateSession", "SelectSources types=3 cursor_mode=2",
                                        "Start", "OpenPipeWireRemote"}));
  portal_.reset();
  EXPECT_TRUE(desktop.calls.waitFor("gone")) << "so the desktop ends the session";
}

TEST_F(ScreenPortalTest, AsksForNoPointerThatThePortalCannotShow) {
  FakePortal desktop({.cursorModes = 1, .openRemote = openSomething});
  ASSERT_EQ(ask(), Answer::kShared) << error_;
  EXPECT_EQ(desktop.calls.all().at(1), "SelectSources types=3");
}

TEST_F(ScreenPortalTest, DetectsThatTheUserEndsTheSharing) {
  FakePortal desktop({.openRemote = openSomething});
  ASSERT_EQ(ask(), Answer::kShared) << error_;
  desktop.endSession();
  for (int i = 0; i < 6000 && portal_->isShared(); ++i) std::this_thread::sleep_for(5ms);
  EXPECT_FALSE(portal_->isShared());
}

TEST_F(ScreenPortalTest, ARefusalIsTheUsers) {
  for (const Answers& answers : {Answers{.start = 1}, Answers{.selectSources = 1}}) {
    FakePortal desktop(answers);
    EXPECT_EQ(ask(), Answer::kRefused);
    EXPECT_EQ(error_, "the user does not want to share the screen");
  }
}

TEST_F(ScreenPortalTest, EveryStepMayFail) {
  const auto errorOf = [this](const Answers& answers) {
    FakePortal desktop(answers);
    EXPECT_EQ(ask(), Answer::kFailed);
    return error_;
  };
  EXPECT_EQ(errorOf({.createSession = 2}), "the portal refuses CreateSession");
  EXPECT_EQ(errorOf({.selectSources = 2}), "the portal refuses SelectSources");
  EXPECT_EQ(errorOf({.start = 2}), "the portal refuses Start");
  EXPECT_EQ(errorOf({.hasStream = false}), "the portal names no stream");
  EXPECT_NE(errorOf({.start = FakePortal::kRefuses}).find("not today"), std::string::npos);
  EXPECT_NE(errorOf({}).find("the portal does not open PipeWire: "), std::string::npos);
}

TEST_F(ScreenPortalTest, AMissingReplyTimesOut) {
  {
    FakePortal desktop({.createSession = FakePortal::kSilent});
    EXPECT_EQ(ask({.portal = 300ms, .user = 20'000ms}), Answer::kFailed);
    EXPECT_EQ(error_, "the portal does not answer CreateSession");
  }
  FakePortal desktop({.start = FakePortal::kSilent});
  EXPECT_EQ(ask({.portal = 20'000ms, .user = 300ms}), Answer::kFailed);
  EXPECT_EQ(error_, "the portal does not answer Start");
}

TEST_F(ScreenPortalTest, AnotherThreadEndsTheWaitForTheUser) {
  FakePortal desktop({.start = FakePortal::kSilent});
  std::thread impatient([&] {
    desktop.calls.waitFor("Start");
    g_cancellable_cancel(cancelled_.get());
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(ask({}), Answer::kFailed);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
  impatient.join();
  portal_.reset();
  EXPECT_TRUE(desktop.calls.waitFor("gone")) << "so the desktop closes its chooser";
}

TEST_F(ScreenPortalTest, WithoutAPortalOrABusNothingIsListed) {
  EXPECT_FALSE(ScreenPortal::isThere());
  EXPECT_TRUE(listScreenSources().empty());
  EXPECT_EQ(ask(), Answer::kFailed);
  const Environment none("DBUS_SESSION_BUS_ADDRESS", "unix:path=/missing");
  EXPECT_FALSE(ScreenPortal::isThere());
  EXPECT_EQ(ask(), Answer::kFailed);
}

TEST_F(ScreenPortalTest, ItIsListedInAWaylandSessionOnly) {
  FakePortal desktop({});
  const auto sources = listScreenSources();
  ASSERT_EQ(sources.size(), 1U);
  EXPECT_EQ(sources[0].id.number, kPortalSource.number);
  EXPECT_EQ(sources[0].name, "Choose a screen or window\u2026");
  EXPECT_TRUE(desktop.calls.all().empty()) << "the user is not asked";
  const Environment none("WAYLAND_DISPLAY", nullptr);
  EXPECT_TRUE(listScreenSources().empty());
}

}  // namespace
}  // namespace NimboEngine::test
