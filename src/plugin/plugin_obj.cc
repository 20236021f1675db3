#include "plugin/plugin_obj.h"

namespace LumoLivePushElectronSDK {

bool ProcessFrameWithPlugins(const PluginMap& plugins, const LumoRtc::LumoLiveVideoRawData& frame) {
  bool processed = false;
  for (const auto& [id, object] : plugins) {
    auto* plugin = object ? dynamic_cast<IVideoFramePlugin*>(object->plugin) : nullptr;
    if (!plugin) continue;
    // A separate record for each call, so that a plug-in cannot change the SDK's description of
    // the frame.
    VideoFrame record{frame.data,    frame.strideY, frame.strideU,
                      frame.strideV, frame.height,  frame.width};
    plugin->processVideoFrame(&record, &record);
    processed = true;
  }
  return processed;
}

}  // namespace LumoLivePushElectronSDK
