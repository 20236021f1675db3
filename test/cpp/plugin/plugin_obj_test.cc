#include "plugin/plugin_obj.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLiveVideoRawData;

// A plug-in that is loaded but does not process frames.
class OtherPlugin : public INimboPlugin {
 public:
  bool init() override { return true; }
  void release() override {}
  void setPluginDirectory(const char*) override {}
  void uninit() override {}
  bool enable(bool) override { return true; }
  bool setParameter(const char*) override { return true; }
  const char* getParameter() override { return ""; }
};

class RecordingPlugin : public IVideoFramePlugin {
 public:
  RecordingPlugin(std::string name, std::vector<std::string>& calls)
      : name_(std::move(name)), calls_(calls) {}

  bool init() override { return true; }
  void release() override {}
  void setPluginDirectory(const char*) override {}
  void uninit() override {}
  bool enable(bool) override { return true; }
  bool setParameter(const char*) override { return true; }
  const char* getParameter() override { return ""; }

  void processVideoFrame(VideoFrame* input, VideoFrame* output) override {
    calls_.push_back(name_);
    sameRecord = input == output;
    seen = *input;
    ++input->data[0];
    *output = VideoFrame{};  // changes to the record itself are to be lost
  }

  bool sameRecord = false;
  VideoFrame seen;

 private:
  std::string name_;
  std::vector<std::string>& calls_;
};

class ProcessFrameWithPluginsTest : public ::testing::Test {
 protected:
  bool process() { return ProcessFrameWithPlugins(plugins_, frame_); }

  std::vector<std::string> calls_;
  std::vector<unsigned char> pixels_ = std::vector<unsigned char>(24, 7);
  LumoLiveVideoRawData frame_{pixels_.data(), 4, 2, 3, 4, 5};
  RecordingPlugin first_{"first", calls_};
  RecordingPlugin second_{"second", calls_};
  OtherPlugin other_;
  PluginObj firstObject_{&first_, nullptr};
  PluginObj secondObject_{&second_, nullptr};
  PluginObj otherObject_{&other_, nullptr};
  PluginObj emptyObject_;
  PluginMap plugins_;
};

TEST_F(ProcessFrameWithPluginsTest, WithoutPluginsReportsThatNoneRan) {
  EXPECT_FALSE(process());
}

TEST_F(ProcessFrameWithPluginsTest, SkipsEmptyEntriesAndOtherPlugins) {
  plugins_ = {{"a", nullptr}, {"b", &emptyObject_}, {"c", &otherObject_}};
  EXPECT_FALSE(process());
  EXPECT_EQ(pixels_[0], 7);
}

TEST_F(ProcessFrameWithPluginsTest, RunsEveryVideoFramePluginInTheOrderOfTheIds) {
  plugins_ = {{"b", &firstObject_}, {"a", &secondObject_}, {"c", nullptr}, {"d", &otherObject_}};
  EXPECT_TRUE(process());
  EXPECT_EQ(calls_, (std::vector<std::string>{"second", "first"}));
  EXPECT_EQ(pixels_[0], 9) << "each works on the pixels in place";
}

TEST_F(ProcessFrameWithPluginsTest, PassesOneRecordWithTheFramesFieldsAsInputAndOutput) {
  plugins_ = {{"a", &firstObject_}};
  process();
  EXPECT_TRUE(first_.sameRecord);
  EXPECT_EQ(first_.seen.data, pixels_.data());
  EXPECT_EQ(first_.seen.strideY, 4);
  EXPECT_EQ(first_.seen.strideU, 2);
  EXPECT_EQ(first_.seen.strideV, 3);
  EXPECT_EQ(first_.seen.height, 4);
  EXPECT_EQ(first_.seen.width, 5);
}

TEST_F(ProcessFrameWithPluginsTest, WhatAPluginDoesToTheRecordIsLost) {
  plugins_ = {{"a", &firstObject_}, {"b", &secondObject_}};
  process();
  EXPECT_EQ(second_.seen.data, pixels_.data());
  EXPECT_EQ(frame_.data, pixels_.data());
  EXPECT_EQ(frame_.width, 5);
}

}  // namespace
}  // namespace LumoLivePushElectronSDK
