// Needs a function of another library, which it does not name.

#include "recording_plugin.h"

extern "C" int lumoTestPluginExport();

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  if (lumoTestPluginExport() != 1) return nullptr;
  return new TestPlugins::RecordingVideoPlugin;
}
