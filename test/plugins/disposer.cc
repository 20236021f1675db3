// The disposer that every plug-in library exports, except the one that lacks it.

#include "plugin/IVideoFramePlugin.h"

extern "C" LUMO_PLUGIN_INTERFACE void destoryNimboPlugin(
    LumoLivePushElectronSDK::INimboPlugin* plugin) {
  delete plugin;
}
