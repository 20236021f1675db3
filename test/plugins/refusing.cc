// Refuses to be switched and to take parameters.

#include "recording_plugin.h"

namespace TestPlugins {

class RefusingPlugin : public RecordingVideoPlugin {
 public:
  bool enable(bool on) override {
    RecordingVideoPlugin::enable(on);
    return false;
  }
  bool setParameter(const char* parameter) override {
    RecordingVideoPlugin::setParameter(parameter);
    return false;
  }
};

}  // namespace TestPlugins

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::RefusingPlugin;
}
