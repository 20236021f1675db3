// The pusher's four listeners, and the events raised on them.
//
// Thread: the slots may be set on any thread; see ListenerSlot for what setting guarantees. Events
//   are raised on the engine thread, frames on the video capture thread.
// Ownership: the listeners are the application's.
// Failure: an event without a listener is dropped.

#pragma once

#include <gst/video/video.h>

#include <string>
#include <type_traits>
#include <vector>

#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "base/listener_slot.h"
#include "media/frame_consumer.h"
#include "publish/network_event.h"

namespace NimboEngine {

class PusherListeners {
 public:
  // `pusher` is passed to the listeners and not used otherwise.
  explicit PusherListeners(LumoRtc::LumoLivePusher* pusher) : pusher_(pusher) {}

  void detachAll();

  // Calls one callback of the info listener with the pusher and `values`.
  template <class... Types>
  void info(void (LumoRtc::LumoLivePushInfoListener::*event)(LumoRtc::LumoLivePusher*, Types...),
            std::type_identity_t<Types>... values) {
    infoSlot.call([&](auto& listener) { (listener.*event)(pusher_, values...); });
  }
  void network(NetworkEvent event);
  void mixResult(bool success, const std::string& reason);
  // At least one record.
  void volumes(const std::vector<LumoRtc::LumoLiveUserVolumeInfo>& records);
  void sdkError(LumoRtc::LumoLiveErrorCode code, const std::string& message);
  void systemError(LumoRtc::LumoLiveErrorCode code, const std::string& message);

  // `pixels` is one contiguous I420 frame, which the listener may change.
  void capturedFrame(FrameOrigin origin, uint8_t* pixels, const GstVideoInfo& info);

  ListenerSlot<LumoRtc::LumoLivePushErrorListener> errorSlot;
  ListenerSlot<LumoRtc::LumoLivePushInfoListener> infoSlot;
  ListenerSlot<LumoRtc::LumoLiveVideoFrameListener> frameSlot;
  ListenerSlot<LumoRtc::LumoLivePushNetworkListener> networkSlot;

 private:
  LumoRtc::LumoLivePusher* const pusher_;
};

}  // namespace NimboEngine
