#include "plugin/plugin_obj.h"

namespace LumoLivePushElectronSDK {

bool ProcessFrameWithPlugins(const PluginMap& plugins, const LumoRtc::LumoLiveVideoRawData& frame) {
  bool processed = false;
  for (const auto& [id, object] : plugins) {
    auto* plugin = object ? dynamic_cast<IVideoFramePlugin*>(object->plugin) : nullptr;
    if (!plugin) continue;
    // A record of its own for each call: whatever a plug-in does to the fields ends with it, so
    // that the SDK's description of the frame never changes.
    VideoFrame record{frame.data,    frame.strideY, frame.strideU,
                      frame.strideV, frame.height,  frame.width};
    plugin->processVideoFrame(&record, &record);
    processed = true;
  }
  return processed;
}

}  // namespace LumoLivePushElectronSDK
