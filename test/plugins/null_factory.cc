// A plug-in whose factory returns null.

#include "recording_plugin.h"

extern "C" LUMO_PLUGIN_INTERFACE TestPlugins::INimboPlugin* createNimboPlugin() {
  TestPlugins::record("create");
  return nullptr;
}
