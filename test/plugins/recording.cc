// Sees frames and leaves them alone.

#include "recording_plugin.h"

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::RecordingVideoPlugin;
}
