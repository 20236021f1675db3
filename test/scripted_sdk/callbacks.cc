#include "scripted_sdk/callbacks.h"

#include <map>
#include <memory>

#include "scripted_sdk/frame.h"
#include "scripted_sdk/player.h"
#include "scripted_sdk/pusher.h"
#include "scripted_sdk/records.h"
#include "scripted_sdk/registry.h"
#include "scripted_sdk/strings.h"
#include "scripted_sdk/temporary.h"

namespace ScriptedSdk {

namespace {

using Parser = std::function<Callback(Fields&, const Aim&)>;

// The pointer that the callback gets as its pusher or player: the object itself, unless the test
// gives another one.
template <class Object>
class ObjectArgument {
 public:
  explicit ObjectArgument(Fields& fields) : given_(fields.has(Object::kArgument)) {
    pointer_ = fields.pointer(Object::kArgument, nullptr);
  }
  typename Object::Interface* pick(Object& object) const {
    return given_ ? static_cast<typename Object::Interface*>(pointer_) : &object;
  }

 private:
  bool given_;
  void* pointer_;
};

// Makes a callback through `slot` of the object aimed at. `use` gets the listener, the object, and
// the result to add to.
template <class Object, class Listener, class Use>
Json deliver(const Aim& aim, ListenerSlot<Listener> Object::*slot, const Use& use) {
  const auto object = Registry<Object>::instance().find(aim.target);
  if (!object) {
    return {{"delivered", false}, {"reason", std::string("no ") + Object::kArgument}};
  }
  Json result = {{"delivered", true}};
  const bool delivered = (object.get()->*slot).call(aim.through, [&](Listener& listener) {
    use(listener, *object, result);
  });
  if (!delivered) return {{"delivered", false}, {"reason", "no listener"}};
  return result;
}

// A callback whose only argument is the object.
template <class Object, class Listener>
Parser plain(ListenerSlot<Listener> Object::*slot,
             void (Listener::*operation)(typename Object::Interface*)) {
  return [=](Fields& fields, const Aim& aim) -> Callback {
    const ObjectArgument<Object> argument(fields);
    return [=] {
      return deliver(aim, slot, [&](Listener& listener, Object& object, Json&) {
        (listener.*operation)(argument.pick(object));
      });
    };
  };
}

Parser pushError(void (LumoRtc::LumoLivePushErrorListener::*operation)(
    LumoRtc::LumoLivePusher*, LumoRtc::LumoLivePushError)) {
  return [=](Fields& fields, const Aim& aim) -> Callback {
    const ObjectArgument<Pusher> argument(fields);
    const auto code = fields.number<int32_t>("code", 0);
    const Text text = fields.text("msg", "");
    return [=] {
      return deliver(aim, &Pusher::errorListener, [&](auto& listener, Pusher& pusher, Json&) {
        Temporary<char> message(text);
        (listener.*operation)(argument.pick(pusher), {code, message.get()});
      });
    };
  };
}

Callback readMixVerdict(Fields& fields, const Aim& aim) {
  const ObjectArgument<Pusher> argument(fields);
  const bool isSuccess = fields.boolean("isSuccess", false);
  const Text message = fields.text("message", "");
  return [=] {
    return deliver(aim, &Pusher::infoListener, [&](auto& listener, Pusher& pusher, Json&) {
      listener.onSetLiveMixTranscodingConfig(argument.pick(pusher), isSuccess, makeString(message));
    });
  };
}

template <class Object, class Listener>
Parser volumes(ListenerSlot<Listener> Object::*slot) {
  return [=](Fields& fields, const Aim& aim) -> Callback {
    std::vector<LumoRtc::LumoLiveUserVolumeInfo> all;
    if (fields.has("volumes")) {
      for (const Json& volume : fields.required("volumes")) all.push_back(readVolume(volume));
    }
    const auto count = fields.number("count", static_cast<int32_t>(all.size()));
    const auto total = fields.number<int32_t>("totalVolume", 0);
    return [=] {
      return deliver(aim, slot, [&](Listener& listener, Object&, Json&) {
        Temporary<LumoRtc::LumoLiveUserVolumeInfo> records(all);
        listener.onAudioVolumeCallback(records.get(), count, total);
      });
    };
  };
}

Callback readPlayError(Fields& fields, const Aim& aim) {
  const ObjectArgument<Player> argument(fields);
  const auto code = static_cast<LumoRtc::LumoLivePlayError>(fields.number<int32_t>("code", 0));
  const Text text = fields.text("message", "");
  return [=] {
    return deliver(aim, &Player::infoListener, [&](auto& listener, Player& player, Json&) {
      Temporary<char> message(text);
      listener.onError(argument.pick(player), code, message.get());
    });
  };
}

Callback readNetworkQuality(Fields& fields, const Aim& aim) {
  const ObjectArgument<Player> argument(fields);
  const auto quality =
      static_cast<LumoRtc::LumoLiveNetworkQuality>(fields.number<uint32_t>("quality", 0));
  return [=] {
    return deliver(aim, &Player::infoListener, [&](auto& listener, Player& player, Json&) {
      listener.onNetworkQualityChange(argument.pick(player), quality);
    });
  };
}

Callback readPlayerStatistics(Fields& fields, const Aim& aim) {
  const ObjectArgument<Player> argument(fields);
  const auto stats = readStatistics(fields);
  return [=] {
    return deliver(aim, &Player::infoListener, [&](auto& listener, Player& player, Json&) {
      listener.onPlayerStatistics(argument.pick(player), stats);
    });
  };
}

Callback readPlayerSpeaker(Fields& fields, const Aim& aim) {
  const ObjectArgument<Player> argument(fields);
  const auto userType =
      static_cast<LumoRtc::LumoLiveUserVolumeEnum>(fields.number<int32_t>("userType", 0));
  return [=] {
    return deliver(aim, &Player::infoListener, [&](auto& listener, Player& player, Json&) {
      listener.onActiveSpeaker(userType, argument.pick(player));
    });
  };
}

template <class Object>
Parser videoFrame(bool (LumoRtc::LumoLiveVideoFrameListener::*operation)(
    typename Object::Interface*, LumoRtc::LumoLiveVideoSource, LumoRtc::LumoLiveVideoRawData&)) {
  return [=](Fields& fields, const Aim& aim) -> Callback {
    const ObjectArgument<Object> argument(fields);
    const auto source =
        static_cast<LumoRtc::LumoLiveVideoSource>(fields.number<uint32_t>("source", 0));
    const auto description =
        std::make_shared<FrameDescription>(FrameDescription::read(fields.required("frame")));
    const bool readBack = fields.boolean("readBack", false);
    return [=] {
      return deliver(aim, &Object::frameListener, [&](auto& listener, Object& object, Json& out) {
        const auto data = description->paint();
        auto frame = description->frame(data.get());
        out["result"] = (listener.*operation)(argument.pick(object), source, frame);
        if (readBack) out["frame"] = frameJson(frame, data.get(), description->size());
      });
    };
  };
}

using ErrorListener = LumoRtc::LumoLivePushErrorListener;
using FrameListener = LumoRtc::LumoLiveVideoFrameListener;
using InfoListener = LumoRtc::LumoLivePushInfoListener;
using NetworkListener = LumoRtc::LumoLivePushNetworkListener;
using PlayListener = LumoRtc::LumoLivePlayInfoListener;

Parser pushInfo(void (InfoListener::*operation)(LumoRtc::LumoLivePusher*)) {
  return plain(&Pusher::infoListener, operation);
}

Parser network(void (NetworkListener::*operation)(LumoRtc::LumoLivePusher*)) {
  return plain(&Pusher::networkListener, operation);
}

Parser playInfo(void (PlayListener::*operation)(LumoRtc::LumoLivePlayer*)) {
  return plain(&Player::infoListener, operation);
}

using Parsers = std::map<std::string, Parser>;

Parsers makeParsers() {
  return {
      {"pusher.onSystemError", pushError(&ErrorListener::onSystemError)},
      {"pusher.onSDKError", pushError(&ErrorListener::onSDKError)},
      {"pusher.onPreviewStarted", pushInfo(&InfoListener::onPreviewStarted)},
      {"pusher.onPreviewStopped", pushInfo(&InfoListener::onPreviewStopped)},
      {"pusher.onPushStarted", pushInfo(&InfoListener::onPushStarted)},
      {"pusher.onPushStopped", pushInfo(&InfoListener::onPushStopped)},
      {"pusher.onFirstFramePushed", pushInfo(&InfoListener::onFirstFramePushed)},
      {"pusher.onAudioVolumeCallback", volumes(&Pusher::infoListener)},
      {"pusher.onActiveSpeaker", pushInfo(&InfoListener::onActiveSpeaker)},
      {"pusher.onSetLiveMixTranscodingConfig", readMixVerdict},
      {"pusher.onNetworkPoor", network(&NetworkListener::onNetworkPoor)},
      {"pusher.onNetworkRecovery", network(&NetworkListener::onNetworkRecovery)},
      {"pusher.onReconnectStart", network(&NetworkListener::onReconnectStart)},
      {"pusher.onConnectionLost", network(&NetworkListener::onConnectionLost)},
      {"pusher.onReconnectFail", network(&NetworkListener::onReconnectFail)},
      {"pusher.onReconnectSucceed", network(&NetworkListener::onReconnectSucceed)},
      {"pusher.onSendDataTimeout", network(&NetworkListener::onSendDataTimeout)},
      {"pusher.onConnectFail", network(&NetworkListener::onConnectFail)},
      {"pusher.onPushURLAuthenticationOverdue",
       network(&NetworkListener::onPushURLAuthenticationOverdue)},
      {"pusher.onSendMessage", network(&NetworkListener::onSendMessage)},
      {"pusher.onPacketsLost", network(&NetworkListener::onPacketsLost)},
      {"pusher.onCaptureVideoSample", videoFrame<Pusher>(&FrameListener::onCaptureVideoSample)},
      {"player.onPlayStarted", playInfo(&PlayListener::onPlayStarted)},
      {"player.onPlayStopped", playInfo(&PlayListener::onPlayStopped)},
      {"player.onFirstVideoFrameDrawn", playInfo(&PlayListener::onFirstVideoFrameDrawn)},
      {"player.onError", readPlayError},
      {"player.onNetworkQualityChange", readNetworkQuality},
      {"player.onPlayerStatistics", readPlayerStatistics},
      {"player.onAudioVolumeCallback", volumes(&Player::infoListener)},
      {"player.onActiveSpeaker", readPlayerSpeaker},
      {"player.onRemoteVideoSample", videoFrame<Player>(&FrameListener::onRemoteVideoSample)},
  };
}

const Parsers& parsers() {
  static const auto& all = *new Parsers(makeParsers());
  return all;
}

}  // namespace

Callback readCallback(const std::string& name, Fields& arguments, const Aim& aim) {
  const bool whole = name.find('.') != std::string::npos;
  const auto onPusher = parsers().find(whole ? name : "pusher." + name);
  const auto onPlayer = whole ? parsers().end() : parsers().find("player." + name);
  if (onPusher != parsers().end() && onPlayer != parsers().end()) {
    arguments.refuse("'" + name + "' may be " + onPusher->first + " or " + onPlayer->first);
  }
  const auto found = onPusher != parsers().end() ? onPusher : onPlayer;
  if (found == parsers().end()) arguments.refuse("no callback '" + name + "'");
  return found->second(arguments, aim);
}

Json callbackNames() {
  Json names = Json::array();
  for (const auto& [name, parser] : parsers()) names.push_back(name);
  return names;
}

}  // namespace ScriptedSdk
