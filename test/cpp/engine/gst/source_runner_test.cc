#include "gst/source_runner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <utility>

#include "gst/runtime.h"
#include "support/event_log.h"

namespace NimboEngine::test {
namespace {

class SourceRunnerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  SourceRunner::FailureCallback collect() {
    return [this](const std::string& message) { failures_.add(message); };
  }

  EventLog failures_;
};

// A source from a description; `build` may block first.
class FakeSource : public Source {
 public:
  explicit FakeSource(std::string description, std::shared_future<void> gate = {})
      : description_(std::move(description)), gate_(std::move(gate)) {}

  Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override {
    if (gate_.valid()) gate_.wait();
    auto pipeline = Pipeline::parse("fake", description_, std::move(handler));
    if (!pipeline) return refused("its pipeline cannot be built");
    return pipeline;
  }

 private:
  const std::string description_;
  const std::shared_future<void> gate_;
};

TEST_F(SourceRunnerTest, ReportsWhyASourceCannotBeBuilt) {
  const SourceRunner runner(
      "x", [] { return Result<std::unique_ptr<Source>>(refused("no such thing")); }, collect());
  EXPECT_TRUE(failures_.waitFor("no such thing"));
}

TEST_F(SourceRunnerTest, ReportsAnErrorWhileRunningOnce) {
  const SourceRunner runner(
      "x",
      [] {
        return std::make_unique<FakeSource>("videotestsrc ! identity error-after=3 ! fakesink");
      },
      collect());
  EXPECT_TRUE(failures_.waitFor("Failed after iterations as requested."));
  EXPECT_EQ(failures_.all().size(), 1U);
}

TEST_F(SourceRunnerTest, RestartsASourceThatCannotRewind) {
  struct Rounds : FakeSource {
    Rounds(std::string description, EventLog& ends)
        : FakeSource(std::move(description)), log(ends) {}
    bool rewind(Pipeline&) override {
      log.add("end");
      return false;
    }
    EventLog& log;
  };
  EventLog ends;
  const SourceRunner runner(
      "x",
      [&ends] { return std::make_unique<Rounds>("videotestsrc num-buffers=1 ! fakesink", ends); },
      collect());
  EXPECT_TRUE(ends.waitFor("end", 3));
  EXPECT_TRUE(failures_.all().empty());
}

TEST_F(SourceRunnerTest, ASourceThatStallsFails) {
  struct Silent : FakeSource {
    using FakeSource::FakeSource;
    int64_t progress() const override { return 5; }
  };
  const SourceRunner runner(
      "x",
      [] { return std::make_unique<Silent>("videotestsrc is-live=true ! fakesink async=false"); },
      collect());
  EXPECT_TRUE(failures_.waitFor("it delivers no data"));
}

TEST_F(SourceRunnerTest, ASourceWithoutDataIsRestartedOnce) {
  struct Undelivering : FakeSource {
    explicit Undelivering(EventLog& log)
        : FakeSource("videotestsrc is-live=true ! fakesink async=false"), builds(log) {}
    Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override {
      builds.add("build");
      return FakeSource::build(std::move(handler));
    }
    int64_t progress() const override { return 0; }
    EventLog& builds;
  };
  EventLog builds;
  const SourceRunner runner(
      "x", [&builds] { return std::make_unique<Undelivering>(builds); }, collect());
  EXPECT_TRUE(builds.waitFor("build", 2));
  EXPECT_TRUE(failures_.all().empty());
  EXPECT_TRUE(failures_.waitFor("it delivers no data"));
  EXPECT_EQ(builds.count("build"), 2);
}

// Signals its end.
struct Mortal : FakeSource {
  explicit Mortal(EventLog& log)
      : FakeSource("videotestsrc is-live=true ! fakesink async=false"), ends(log) {}
  ~Mortal() override { ends.add("end"); }
  EventLog& ends;
};

// The predecessor of a source that sets `begun`.
SourceRunner::Predecessor mortal(EventLog& ends, std::function<bool()> begun) {
  SourceRunner::Predecessor predecessor;
  predecessor.runner = std::make_unique<SourceRunner>(
      "mortal", [&ends] { return std::make_unique<Mortal>(ends); }, nullptr);
  predecessor.begun = std::move(begun);
  return predecessor;
}

std::unique_ptr<Source> makeQuiet() {
  return std::make_unique<FakeSource>("videotestsrc is-live=true ! fakesink async=false");
}

TEST_F(SourceRunnerTest, APredecessorRunsUntilItsSuccessorHasBegun) {
  EventLog ends;
  EventLog polls;
  std::atomic<bool> begun{false};
  const SourceRunner successor("x", makeQuiet, collect(), mortal(ends, [&] {
                                 polls.add("look");
                                 return begun.load();
                               }));
  ASSERT_TRUE(polls.waitFor("look", 5));
  EXPECT_TRUE(ends.all().empty());
  begun = true;
  EXPECT_TRUE(ends.waitFor("end"));
  EXPECT_TRUE(failures_.all().empty());
}

TEST_F(SourceRunnerTest, APredecessorEndsWithASuccessorThatFails) {
  EventLog ends;
  const SourceRunner successor(
      "x",
      [] {
        return std::make_unique<FakeSource>("videotestsrc ! identity error-after=1 ! fakesink");
      },
      collect(), mortal(ends, [] { return false; }));
  EXPECT_TRUE(ends.waitFor("end"));
  EXPECT_TRUE(failures_.waitFor("Failed after iterations as requested."));
}

TEST_F(SourceRunnerTest, APredecessorEndsWithASuccessorThatIsStoppedBeforeItBegan) {
  EventLog ends;
  EventLog polls;
  {
    const SourceRunner successor("x", makeQuiet, collect(), mortal(ends, [&polls] {
                                   polls.add("look");
                                   return false;
                                 }));
    ASSERT_TRUE(polls.waitFor("look"));
  }
  EXPECT_TRUE(ends.waitFor("end"));
}

TEST_F(SourceRunnerTest, AHangingSourceIsDetachedAndNeverReports) {
  std::promise<void> gate;
  std::weak_ptr<int> belonging;
  std::promise<void> freed;
  {
    const std::shared_ptr<int> alive(new int(1), [&freed](const int* value) {
      delete value;
      freed.set_value();
    });
    belonging = alive;
    const SourceRunner runner(
        "x",
        [alive, hung = gate.get_future().share()] {
          return std::make_unique<FakeSource>("identity ! nosuchelement", hung);
        },
        collect());
  }
  EXPECT_FALSE(belonging.expired()) << "still used by the detached thread";
  gate.set_value();
  EXPECT_EQ(freed.get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready);
  EXPECT_TRUE(failures_.all().empty());
}

}  // namespace
}  // namespace NimboEngine::test
