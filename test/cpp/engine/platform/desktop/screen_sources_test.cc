// The list of sources, on the test's own display server.

#include "platform/screen/screen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "platform/x11/screen_monitors.h"
#include "support/x_server.h"

namespace NimboEngine::test {
namespace {

using Clock = std::chrono::steady_clock;

std::vector<std::string> windowNames() {
  std::vector<std::string> names;
  for (const ScreenSource& source : listScreenSources()) {
    if (!isMonitor(source.id)) names.push_back(source.name);
  }
  return names;
}

TEST(ScreenSources, NoDisplayNoSources) {
  EXPECT_TRUE(listScreenSources().empty());
}

TEST(ScreenSources, MonitorsComeFirstAndKeepTheirNumbers) {
  const XServer server;
  const XWindow window({.name = "one"});
  const auto sources = listScreenSources();
  ASSERT_EQ(sources.size(), 2U);
  EXPECT_TRUE(isMonitor(sources[0].id));
  EXPECT_NE(sources[0].id.number, kMonitorBit) << "a monitor of its own, not the whole desktop";
  EXPECT_EQ(sources[0].name, "Screen screen (800x600)") << "as Xvfb calls its only monitor";
  EXPECT_EQ(sources[1].id.number, window.id());
  EXPECT_EQ(sources[1].name, "one");
  EXPECT_EQ(listScreenSources()[0].id.number, sources[0].id.number);
}

TEST(ScreenSources, WithoutMonitorsTheWholeDesktopIsListed) {
  const XServer server({"-extension", "RANDR"});
  const auto sources = listScreenSources();
  ASSERT_EQ(sources.size(), 1U);
  EXPECT_EQ(sources[0].id.number, kMonitorBit);
  EXPECT_EQ(sources[0].name, "Desktop (800x600)");
}

TEST(ScreenSources, OnlyWindowsThatAreShownAreListed) {
  const XServer server;
  const XWindow shown({.name = "shown"});
  XWindow minimised({.name = "minimised", .mapped = false});
  const XWindow menu({.name = "menu", .overrideRedirect = true});
  EXPECT_EQ(windowNames(), std::vector<std::string>{"shown"});
  minimised.map();
  EXPECT_EQ(windowNames(), (std::vector<std::string>{"shown", "minimised"}));
  minimised.destroy();
  EXPECT_EQ(windowNames(), std::vector<std::string>{"shown"});
}

TEST(ScreenSources, AWindowManagersListGoesFirst) {
  const XServer server;
  const XWindow frame({.name = "frame"});
  const XWindow client({.name = "client", .parent = frame.id()});
  EXPECT_EQ(windowNames(), std::vector<std::string>{"frame"});
  setClientList({client.id()});
  EXPECT_EQ(windowNames(), std::vector<std::string>{"client"});
  setClientList({});
  EXPECT_TRUE(windowNames().empty());
  setClientList({0x7fffff, client.id()});
  EXPECT_EQ(windowNames(), std::vector<std::string>{"client"})
      << "one closed meanwhile is left out";
}

TEST(ScreenSources, NamesAreUtf8) {
  const XServer server;
  const XWindow latin({.name = "caf\xe9"});
  const XWindow nameless(Size{100, 100});
  const auto names = windowNames();
  ASSERT_EQ(names.size(), 2U);
  EXPECT_EQ(names[0], "caf\xc3\xa9");
  EXPECT_EQ(names[1].rfind("Window 0x", 0), 0U) << names[1];
}

TEST(ScreenSources, AFrozenServerIsNotWaitedForLong) {
  const XServer server;
  server.signal(SIGSTOP);
  const auto begin = Clock::now();
  EXPECT_TRUE(listScreenSources().empty());
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
  server.signal(SIGCONT);
}

}  // namespace
}  // namespace NimboEngine::test
