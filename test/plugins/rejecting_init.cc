// Refuses to start.

#include "recording_plugin.h"

namespace TestPlugins {

class RejectingPlugin : public RecordingVideoPlugin {
 public:
  bool init() override {
    RecordingVideoPlugin::init();
    return false;
  }
};

}  // namespace TestPlugins

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::RejectingPlugin;
}
