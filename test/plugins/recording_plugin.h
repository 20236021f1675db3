// The well-behaved plug-in that the others differ from: it records every call and accepts it.
//
// Interface: INimboPlugin, or IVideoFramePlugin for one that gets frames.
// Thread, ownership, failure: see the plug-in contract.

#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

#include "plugin/IVideoFramePlugin.h"
#include "recorder.h"

namespace TestPlugins {

using LumoLivePushElectronSDK::INimboPlugin;
using LumoLivePushElectronSDK::IVideoFramePlugin;
using LumoLivePushElectronSDK::VideoFrame;

template <typename Interface>
class RecordingPlugin : public Interface {
 public:
  RecordingPlugin() { record("create"); }
  ~RecordingPlugin() override { record("destroy"); }

  bool init() override {
    record("init");
    return true;
  }
  void release() override { record("release"); }
  void setPluginDirectory(const char* directory) override {
    record("setPluginDirectory", directory);
  }
  void uninit() override { record("uninit"); }
  bool enable(bool on) override {
    record("enable", on ? "true" : "false");
    return true;
  }
  bool setParameter(const char* parameter) override {
    record("setParameter", parameter);
    return true;
  }
  const char* getParameter() override {
    record("getParameter");
    return "";
  }
};

class RecordingVideoPlugin : public RecordingPlugin<IVideoFramePlugin> {
 public:
  void processVideoFrame(VideoFrame* input, VideoFrame* output) override {
    record("processVideoFrame", describe(*input) + (input == output ? "" : " two records"));
  }

 protected:
  // std::to_string would add a symbol to the library that prevents it from being closed.
  static std::string describe(const VideoFrame& frame) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%dx%d %d,%d,%d", frame.width, frame.height,
                  frame.strideY, frame.strideU, frame.strideV);
    return text.data();
  }

  static std::size_t sizeOf(const VideoFrame& frame) {
    const auto rows = static_cast<std::size_t>(frame.height);
    return static_cast<std::size_t>(frame.strideY) * rows +
           static_cast<std::size_t>(frame.strideU + frame.strideV) * ((rows + 1) / 2);
  }
};

}  // namespace TestPlugins
