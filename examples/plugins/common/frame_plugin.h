// Base class of a plug-in that changes frames while it is switched on; after loading it is off.
// Implements the operations that few plug-ins need.
//
// Thread: see the plug-in contract. A switch takes effect with the next frame.

#pragma once

#include <atomic>
#include <memory>

#include "IVideoFramePlugin.h"
#include "common/planes.h"

namespace ExamplePlugins {

class FramePlugin : public LumoLivePushElectronSDK::IVideoFramePlugin {
 public:
  bool init() override { return true; }
  void release() override {}
  void setPluginDirectory(const char*) override {}
  void uninit() override {}
  bool enable(bool on) override {
    on_ = on;
    return true;
  }
  bool setParameter(const char*) override { return false; }
  const char* getParameter() override { return ""; }

  void processVideoFrame(LumoLivePushElectronSDK::VideoFrame* input,
                         LumoLivePushElectronSDK::VideoFrame*) final {
    if (on_) process(planesOf(*input));
  }

 protected:
  // Changes the frame in place. Called on the capture thread, which waits for it.
  virtual void process(const Planes& planes) = 0;

 private:
  std::atomic<bool> on_ = false;
};

// To be defined by each plug-in: creates its instance. Null if that fails.
std::unique_ptr<FramePlugin> createPlugin();

}  // namespace ExamplePlugins
