// Gets no frames.

#include "recording_plugin.h"

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::RecordingPlugin<TestPlugins::INimboPlugin>;
}
