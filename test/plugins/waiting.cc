// Blocks in each frame until a parameter arrives: a slow plug-in without a clock.

#include <chrono>
#include <semaphore>

#include "recording_plugin.h"

namespace TestPlugins {

class WaitingPlugin : public RecordingVideoPlugin {
 public:
  bool setParameter(const char* parameter) override {
    RecordingVideoPlugin::setParameter(parameter);
    parameters_.release();
    return true;
  }

  void processVideoFrame(VideoFrame* input, VideoFrame* output) override {
    RecordingVideoPlugin::processVideoFrame(input, output);
    // The limit only keeps a failing test from hanging.
    record(parameters_.try_acquire_for(std::chrono::minutes(1)) ? "released" : "given up");
  }

 private:
  std::counting_semaphore<> parameters_{0};
};

}  // namespace TestPlugins

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::WaitingPlugin;
}
