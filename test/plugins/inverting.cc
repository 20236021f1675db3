// Inverts the pixels of every frame while it is enabled; it starts disabled.

#include <atomic>

#include "recording_plugin.h"

namespace TestPlugins {

class InvertingPlugin : public RecordingVideoPlugin {
 public:
  bool enable(bool on) override {
    on_ = on;
    return RecordingVideoPlugin::enable(on);
  }

  void processVideoFrame(VideoFrame* input, VideoFrame* output) override {
    RecordingVideoPlugin::processVideoFrame(input, output);
    if (!on_) return;
    const auto size = sizeOf(*input);
    for (std::size_t i = 0; i < size; ++i) {
      output->data[i] = static_cast<unsigned char>(~input->data[i]);
    }
  }

 private:
  std::atomic<bool> on_ = false;
};

}  // namespace TestPlugins

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::InvertingPlugin;
}
