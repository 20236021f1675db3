// The one object through which the SDK reports to a wrapper: every callback copies its arguments,
// queues a closure for the JavaScript thread and returns.
//
// Thread: the callbacks may come from any number of SDK threads at once. NotifyError from any.
//   Construction, destruction and the dispatcher: the JavaScript thread.
// Ownership: owned by its wrapper; refers to the wrapper's plug-in map. It must be detached from the
//   pusher and all players before it is destroyed. Closures that are still queued are then
//   destroyed without being run.
// Failure: none is reported to the SDK; an event without a listener is dropped.

#pragma once

#include <map>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLivePusher.h"
#include "generated/listener_callbacks.h"
#include "plugin/plugin_obj.h"
#include "utils/callback_queue.h"
#include "utils/event_dispatcher.h"
#include "utils/lumolivepush_js_define.h"
#include "utils/video_render_data_cache.h"

namespace LumoLivePushElectronSDK {

// A player's ID in JavaScript: its address as an output stream writes an untyped pointer ("0x…"), "" for null.
std::string GET_PLAYER_ID(const LumoRtc::LumoLivePlayer* player);

// A native value that is delivered to JavaScript. A `const char*` is read only on the JavaScript thread,
// so it must live as long as the process.
using PayloadValue = std::variant<std::string, const char*, int32_t, uint32_t, bool>;

// Key and value, in the order of the JavaScript object's keys.
struct PayloadEntry {
  const char* key;
  PayloadValue value;
};
using Payload = std::vector<PayloadEntry>;

class EventListener final : public EventDispatcher,
                            public LumoRtc::LumoLivePushErrorListener,
                            public LumoRtc::LumoLivePushInfoListener,
                            public LumoRtc::LumoLivePlayInfoListener,
                            public LumoRtc::LumoLivePushNetworkListener,
                            public LumoRtc::LumoLiveVideoFrameListener,
                            public VideoRenderDataObserver {
 public:
  // `plugins` is guarded by `pluginsMutex`.
  EventListener(PluginMap& plugins, std::mutex& pluginsMutex);
  ~EventListener() override;

  // Waits until no plug-in that was removed from the map is processing a captured frame.
  void AwaitCapturedFrame();

  // Queues "onOccurError" with the code as its one argument.
  void NotifyError(LumoLivePushJSWrapperErrorCode code);

  // The callbacks of all listener interfaces, as the SDK's headers declare them. One that two
  // interfaces have, such as onAudioVolumeCallback, serves both.
  LUMO_LISTENER_CALLBACKS

  // VideoRenderDataObserver
  void OnVideoRenderDataNeedUpdate(std::string& uid) override;

 private:
  void Raise(const char* event);
  void Raise(const char* event, Payload payload);

  CallBackQueue mQueue;
  PluginMap& mPlugins;
  std::mutex& mPluginsMutex;  // the wrapper's: held to copy the map, not while plug-ins run
  std::mutex mPluginMutex;    // one captured frame at a time passes the plug-ins
};

}  // namespace LumoLivePushElectronSDK
