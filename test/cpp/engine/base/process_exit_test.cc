#include "base/process_exit.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace NimboEngine {
namespace {

[[noreturn]] void endProcess() {
  std::exit(0);  // NOLINT(concurrency-mt-unsafe): its handlers are what is tested
}

// Each test ends a process of its own.
class ProcessExit : public testing::Test {
 protected:
  ProcessExit() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(ProcessExit, RunsTheStagesInTheirOrder) {
  const auto exitAfterRegistering = [] {
    onProcessExit(ExitStage::kDevices, [] { std::fputs("devices\n", stderr); });
    onProcessExit(ExitStage::kPlayers, [] { std::fputs("players ", stderr); });
    onProcessExit(ExitStage::kPusher, [] { std::fputs("pusher ", stderr); });
    endProcess();
  };
  EXPECT_EXIT(exitAfterRegistering(), testing::ExitedWithCode(0), "^pusher players devices\n$");
}

// The handler of a library that is loaded between the two registrations is the second one here.
TEST_F(ProcessExit, PrecedesTheHandlersOfWhatWasLoadedBeforeTheRenewal) {
  const auto exitAfterLoading = [] {
    onProcessExit(ExitStage::kPusher, [] { std::fputs("pusher ", stderr); });
    std::atexit([] { std::fputs("library\n", stderr); });
    renewExitHandler();
    endProcess();
  };
  EXPECT_EXIT(exitAfterLoading(), testing::ExitedWithCode(0), "^pusher library\n$");
}

TEST_F(ProcessExit, RunsTheStagesBeforeEverythingIsLoadedToo) {
  const auto exitWhileLoading = [] {
    onProcessExit(ExitStage::kPusher, [] {
      std::fputs("pusher ", stderr);
      std::atexit([] { std::fputs("library\n", stderr); });  // loading ends during the stage
      renewExitHandler();
    });
    endProcess();
  };
  EXPECT_EXIT(exitWhileLoading(), testing::ExitedWithCode(0), "^pusher library\n$");
}

TEST_F(ProcessExit, RunsAStageThatAnEarlierOneRegisters) {
  const auto exitWhileStarting = [] {
    onProcessExit(ExitStage::kPusher, [] {
      std::fputs("pusher ", stderr);
      onProcessExit(ExitStage::kDevices, [] { std::fputs("devices\n", stderr); });
    });
    endProcess();
  };
  EXPECT_EXIT(exitWhileStarting(), testing::ExitedWithCode(0), "^pusher devices\n$");
}

}  // namespace
}  // namespace NimboEngine
