#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "loaded_plugin.h"
#include "text_reader.h"

namespace ExamplePluginTests {
namespace {

constexpr Shape kShape{640, 360};
constexpr unsigned char kNoColour = 128;

// A part of a frame, in pixels; `right` and `bottom` are exclusive.
struct Box {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};

std::string timeText(std::time_t time) {
  char text[16];
  std::tm local{};
  localtime_r(&time, &local);
  std::strftime(text, sizeof text, "%H:%M:%S", &local);
  return text;
}

class ClockOverlayTest : public ::testing::Test {
 protected:
  void SetUp() override { plugin_.enable(true); }

  // Returns the changed part of the frame.
  static Box changed(const Frame& before, const Frame& after) {
    Box box{before.width(0), before.height(0), 0, 0};
    for (int y = 0; y < before.height(0); ++y) {
      for (int x = 0; x < before.width(0); ++x) {
        if (before.at(0, x, y) == after.at(0, x, y)) continue;
        box.left = std::min(box.left, x);
        box.right = std::max(box.right, x + 1);
        box.top = std::min(box.top, y);
        box.bottom = std::max(box.bottom, y + 1);
      }
    }
    return box;
  }

  std::string read(const Frame& frame, const Box& box) const {
    GreyImage part{box.right - box.left, box.bottom - box.top, {}};
    for (int y = box.top; y < box.bottom; ++y) {
      for (int x = box.left; x < box.right; ++x) part.pixels.push_back(frame.at(0, x, y));
    }
    return reader_.read(part);
  }

  // Draws the overlay on `original` and reads it. On grey the whole box differs from the original.
  std::string readOn(const Frame& original) {
    const Frame grey({original.width(0), original.height(0)}, 150, kNoColour);
    return read(plugin_.process(original), changed(grey, plugin_.process(grey)));
  }

  // Checks that the overlay shows a time since `start`.
  static ::testing::AssertionResult isTimeSince(std::time_t start, const std::string& text) {
    const std::time_t end = std::time(nullptr);
    for (std::time_t time = start; time <= end; ++time) {
      if (text == timeText(time)) return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << text << " at " << timeText(end);
  }

  LoadedPlugin plugin_{"clock_overlay"};
  const TextReader reader_;
};

TEST_F(ClockOverlayTest, ShowsTheTimeOfDayLegiblyOnAnyFrame) {
  ASSERT_TRUE(plugin_.set(R"({"size": 0.1})"));
  const Shape odd{641, 361, 7, 5, 3};
  for (const Frame& original :
       {Frame(kShape, 16, kNoColour), Frame(kShape, 235, kNoColour), Frame(kShape, 255, 0),
        Frame(kShape, 110, 240), Frame::noise(kShape), Frame::noise(odd)}) {
    const std::time_t start = std::time(nullptr);
    EXPECT_TRUE(isTimeSince(start, readOn(original)));
  }
}

TEST_F(ClockOverlayTest, IsLegibleAtItsDefaultSize) {
  const std::time_t start = std::time(nullptr);
  EXPECT_TRUE(isTimeSince(start, readOn(Frame::noise(kShape))));
}

TEST_F(ClockOverlayTest, TheClockRuns) {
  const std::time_t start = std::time(nullptr);
  std::string first = readOn(Frame::noise(kShape));
  std::string next = first;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (next == first && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    next = readOn(Frame::noise(kShape));
  }
  EXPECT_NE(next, first);
  EXPECT_TRUE(isTimeSince(start, next));
}

TEST_F(ClockOverlayTest, ShowsTheTextBeforeTheTime) {
  ASSERT_TRUE(plugin_.set(R"({"text": "0123456789"})"));
  const std::time_t start = std::time(nullptr);
  const std::string text = readOn(Frame(kShape, 128, kNoColour));
  EXPECT_EQ(text.substr(0, 10), "0123456789");
  EXPECT_TRUE(isTimeSince(start, text.substr(10)));
}

TEST_F(ClockOverlayTest, StandsInTheCornerThatWasChosen) {
  const Frame original(kShape, 150, kNoColour);
  for (const auto& [name, atRight, atBottom] :
       {std::tuple("top-left", false, false), std::tuple("top-right", true, false),
        std::tuple("bottom-left", false, true), std::tuple("bottom-right", true, true)}) {
    ASSERT_TRUE(plugin_.set(std::string(R"({"position": ")") + name + "\"}"));
    const Box box = changed(original, plugin_.process(original));
    const int left = atRight ? kShape.width - box.right : box.left;
    const int top = atBottom ? kShape.height - box.bottom : box.top;
    EXPECT_TRUE(left > 0 && left < kShape.width / 20) << name << " " << left;
    EXPECT_TRUE(top > 0 && top < kShape.height / 20) << name << " " << top;
    EXPECT_LT(box.right - box.left, kShape.width / 2);
  }
}

TEST_F(ClockOverlayTest, IsAsLargeAsWanted) {
  const Frame original(kShape, 16, kNoColour);  // only the letters differ from black
  for (const double size : {0.05, 0.1, 0.2}) {
    ASSERT_TRUE(plugin_.set("{\"size\":" + std::to_string(size) + "}"));
    const Box letters = changed(original, plugin_.process(original));
    const double height = letters.bottom - letters.top;
    // A digit takes about three quarters of the font's height.
    EXPECT_NEAR(height / (size * kShape.height), 0.75, 0.12) << size;
  }
}

TEST_F(ClockOverlayTest, ChangesNothingOutsideOfItsBoxAndTakesTheColourOutOfIt) {
  for (const Shape& shape : {kShape, Shape{321, 181, 7, 5, 3}, Shape{320, 181}}) {
    for (const char* corner : {"top-left", "bottom-right"}) {
      ASSERT_TRUE(plugin_.set(std::string(R"({"position": ")") + corner + "\"}"));
      const Frame grey({shape.width, shape.height}, 150, kNoColour);
      const Box box = changed(grey, plugin_.process(grey));
      const Frame original = Frame::noise(shape);
      const Frame actual = plugin_.process(original);
      Frame restored = actual;
      for (int y = box.top; y < box.bottom; ++y) {
        for (int x = box.left; x < box.right; ++x) {
          const int dark = (original.at(0, x, y) + 32) / 3;
          ASSERT_GE(actual.at(0, x, y), dark);
          ASSERT_LE(actual.at(0, x, y), 235);
          restored.at(0, x, y) = original.at(0, x, y);
          for (const int plane : {1, 2}) {
            ASSERT_EQ(actual.at(plane, x / 2, y / 2), kNoColour);
            restored.at(plane, x / 2, y / 2) = original.at(plane, x / 2, y / 2);
          }
        }
      }
      EXPECT_EQ(restored, original) << "something has changed outside";
    }
  }
}

TEST_F(ClockOverlayTest, FitsIntoAnyFrame) {
  for (const char* text :
       {R"({"position": "top-left", "size": 0.5})", R"({"position": "bottom-right", "size": 0.5})",
        R"({"position": "bottom-right", "size": 0.02, "text": "a long line"})"}) {
    ASSERT_TRUE(plugin_.set(text));
    std::vector<Shape> all = shapes();
    all.insert(all.end(), {{3, 200, 1, 1, 1}, {200, 3, 2, 0, 1}, {33, 33}});
    for (const Shape& shape : all) {
      const Frame original(shape, 150, 90);
      EXPECT_FALSE(plugin_.process(original) == original) << original;
    }
  }
}

TEST_F(ClockOverlayTest, ATextThatIsRefusedChangesNothing) {
  const Frame original(kShape, 150, kNoColour);
  ASSERT_TRUE(plugin_.set(R"({"position": "top-left", "size": 0.1, "text": "1"})"));
  const Box before = changed(original, plugin_.process(original));
  const std::string tooLong = R"({"text": ")" + std::string(101, 'x') + "\"}";
  for (const std::string& text : std::vector<std::string>{
           R"({"position": "middle"})", R"({"position": "Top-left"})", R"({"position": ""})",
           R"({"position": 1})", R"({"position": null})", R"({"size": 0.01})", R"({"size": 0.51})",
           R"({"size": "0.1"})", R"({"text": 5})", R"({"text": "a\nb"})", R"({"text": "a\u0000b"})",
           "{\"text\": \"\xff\"}", tooLong, R"({"size": 0.3, "position": "middle"})",
           R"({"size": 0.3, "unknown": 1})", R"({"text": "0000000", "unknown": 1})"}) {
    EXPECT_FALSE(plugin_.set(text)) << text;
    const Box after = changed(original, plugin_.process(original));
    EXPECT_EQ(after.left, before.left) << text;
    EXPECT_EQ(after.right, before.right) << text;
    EXPECT_EQ(after.bottom, before.bottom) << text;
  }
}

TEST_F(ClockOverlayTest, ATextOfAnyAlphabetIsTaken) {
  const Frame original(kShape, 150, kNoColour);
  EXPECT_TRUE(plugin_.set(R"({"text": "Grüße, Καλημέρα, \u4e2d"})"));
  EXPECT_FALSE(plugin_.process(original) == original);
  EXPECT_TRUE(plugin_.set("{\"text\": \"" + std::string(100, 'x') + "\"}"));
  EXPECT_TRUE(plugin_.set(R"({"text": ""})"));
}

TEST_F(ClockOverlayTest, ParametersMayComeWhileFramesAreProcessed) {
  const Frame original(kShape, 150, kNoColour);
  std::atomic<int> frames = 0;
  std::atomic<bool> over = false;
  std::thread capture([&] {
    while (!over) {
      plugin_.process(original);
      ++frames;
    }
  });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  for (int i = 0; frames < 200 && std::chrono::steady_clock::now() < deadline; ++i) {
    plugin_.enable(i % 4 != 0);
    EXPECT_TRUE(plugin_.set("{\"text\": \"" + std::to_string(i) + "\", \"size\": 0.1}"));
  }
  over = true;
  capture.join();
  EXPECT_GE(frames, 200);
  plugin_.enable(true);
  ASSERT_TRUE(plugin_.set(R"({"text": "12345"})"));
  EXPECT_EQ(readOn(original).substr(0, 5), "12345");
}

}  // namespace
}  // namespace ExamplePluginTests
