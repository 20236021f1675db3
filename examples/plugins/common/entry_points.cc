// The two functions that the add-on looks for in a plug-in's library.

#include "common/frame_plugin.h"

using LumoLivePushElectronSDK::INimboPlugin;

extern "C" LUMO_PLUGIN_INTERFACE INimboPlugin* createNimboPlugin() {
  return ExamplePlugins::createPlugin().release();
}

extern "C" LUMO_PLUGIN_INTERFACE void destoryNimboPlugin(INimboPlugin* plugin) {
  delete plugin;
}
