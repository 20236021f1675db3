// Needs a function of another library, on which it does not declare a dependency.

#include "recording_plugin.h"

extern "C" int lumoTestPluginExport();

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  if (lumoTestPluginExport() != 1) return nullptr;
  return new TestPlugins::RecordingVideoPlugin;
}
