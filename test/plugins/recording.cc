// Receives frames and leaves them unchanged.

#include "recording_plugin.h"

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  return new TestPlugins::RecordingVideoPlugin;
}
