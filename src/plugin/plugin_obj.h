// A loaded plug-in, and running the loaded plug-ins over a captured frame.

#pragma once

#include <map>
#include <string>

#include "NimboSdk/LumoLiveDefine.h"
#include "plugin/IVideoFramePlugin.h"

namespace LumoLivePushElectronSDK {

// Ownership: the instance belongs to its library, which `handle` (of dlopen) keeps open.
struct PluginObj {
  INimboPlugin* plugin = nullptr;
  void* handle = nullptr;
};

// Key: the plug-in ID chosen by the application. A null value is what a lookup of an unknown ID
// leaves behind; every walk skips it.
using PluginMap = std::map<std::string, PluginObj*>;

// Runs every plug-in that is an IVideoFramePlugin over `frame`, in the order of their IDs. Returns
// whether there was one.
//
// Thread: any, while nobody changes the map.
bool ProcessFrameWithPlugins(const PluginMap& plugins, const LumoRtc::LumoLiveVideoRawData& frame);

}  // namespace LumoLivePushElectronSDK
