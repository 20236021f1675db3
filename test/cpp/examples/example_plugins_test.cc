// Tests that apply to every example plug-in.

#include <gtest/gtest.h>

#include "loaded_plugin.h"

namespace ExamplePluginTests {
namespace {

constexpr Shape kShape{64, 48, 5, 3, 2};

class ExamplePluginTest : public ::testing::TestWithParam<const char*> {
 protected:
  // Makes the effect of a plug-in that has none by default visible; the others refuse it.
  void SetUp() override { plugin_.set(R"({"brightness": 0.5})"); }

  LoadedPlugin plugin_{GetParam()};
  const Frame original_ = Frame::noise(kShape);
};

TEST_P(ExamplePluginTest, StartsSwitchedOff) {
  EXPECT_EQ(plugin_.process(original_), original_);
}

TEST_P(ExamplePluginTest, ChangesFramesWhileItIsOn) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(plugin_.enable(true));
    EXPECT_FALSE(plugin_.process(original_) == original_);
    EXPECT_TRUE(plugin_.enable(false));
    EXPECT_EQ(plugin_.process(original_), original_);
  }
}

TEST_P(ExamplePluginTest, ChangesEveryFrame) {
  plugin_.enable(true);
  const Frame once = plugin_.process(original_);
  plugin_.process(Frame::noise({31, 17}, 2));
  const Frame again = plugin_.process(original_);
  // The clock may have ticked in between: it draws only inside its box.
  int different = 0;
  for (std::size_t i = 0; i < once.bytes().size(); ++i) {
    if (once.bytes()[i] != again.bytes()[i]) ++different;
  }
  EXPECT_LT(different, GetParam() == std::string("clock_overlay") ? 1000 : 1);
}

TEST_P(ExamplePluginTest, RefusesWhatIsNotAJsonObjectOfItsOwn) {
  plugin_.enable(true);
  for (const char* text : {"", " ", "{", "[]", "null", "5", "\"text\"", "{} x", "{'a': 1}",
                           "{\"unknown\": 1}", "{\"unknown\": null}", "{\"\": 1}", "\xff"}) {
    EXPECT_FALSE(plugin_.set(text)) << text;
  }
}

TEST_P(ExamplePluginTest, EachInstanceHasASwitchOfItsOwn) {
  plugin_.enable(true);
  EXPECT_EQ(LoadedPlugin(GetParam()).process(original_), original_);
}

INSTANTIATE_TEST_SUITE_P(Each, ExamplePluginTest,
                         ::testing::Values("clock_overlay", "colour_adjust", "mirror"),
                         [](const auto& plugin) { return std::string(plugin.param); });

}  // namespace
}  // namespace ExamplePluginTests
