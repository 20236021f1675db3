// Overwrites every field of its frame record.

#include "recording_plugin.h"

namespace TestPlugins {

class ReshapingPlugin : public RecordingVideoPlugin {
 public:
  void processVideoFrame(VideoFrame* input, VideoFrame* output) override {
    RecordingVideoPlugin::processVideoFrame(input, output);
    *output = VideoFrame{};
  }
};

}  // namespace TestPlugins

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::ReshapingPlugin;
}
