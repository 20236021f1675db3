#include "wrapper/lumolivelistener_js_wrapper.h"

#include <sstream>
#include <utility>

#include "utils/object_builder.h"

namespace LumoLivePushElectronSDK {
namespace {

constexpr char kPreviewOwnerId[] = "preview";

v8::Local<v8::Object> ToObject(v8::Isolate* isolate, const Payload& payload) {
  ObjectBuilder object(isolate);
  for (const auto& [key, value] : payload) {
    std::visit([&object, key = key](const auto& native) { object.Set(key, native); }, value);
  }
  return object.object();
}

// Volume reports name a player only for remote users.
std::string RemotePlayerId(LumoRtc::LumoLiveUserVolumeEnum userType,
                           const LumoRtc::LumoLivePlayer* player) {
  return userType == LumoRtc::kLumoLiveUserVolumeRemote ? GET_PLAYER_ID(player) : std::string();
}

}  // namespace

std::string GET_PLAYER_ID(const LumoRtc::LumoLivePlayer* player) {
  if (!player) return {};
  std::ostringstream text;
  text << static_cast<const void*>(player);
  return text.str();
}

EventListener::EventListener(PluginMap& plugins, std::mutex& pluginsMutex)
    : mPlugins(plugins), mPluginsMutex(pluginsMutex) {}

EventListener::~EventListener() {
  // First, so that the delivery thread does not call an object that is being destroyed.
  VideoRenderDataManager::GetInstance()->ClearObserver(this);
}

// ------------------------------------------------------------------------------ raising events

void EventListener::Raise(const char* event) {
  mQueue.AsyncCall([this, event] { DispatchEvent(event, 0, nullptr); }, 0);
}

void EventListener::Raise(const char* event, Payload payload) {
  mQueue.AsyncCall(
      [this, event, payload = std::move(payload)] {
        if (!HasEventListener(event)) return;
        auto* isolate = v8::Isolate::GetCurrent();
        const v8::HandleScope scope(isolate);
        v8::Local<v8::Value> argument = ToObject(isolate, payload);
        DispatchEvent(event, 1, &argument);
      },
      0);
}

void EventListener::NotifyError(LumoLivePushJSWrapperErrorCode code) {
  mQueue.AsyncCall(
      [this, code] {
        if (!HasEventListener(Event_OccurError)) return;
        auto* isolate = v8::Isolate::GetCurrent();
        const v8::HandleScope scope(isolate);
        // Deliberate: a bare number, where all other events carry an object.
        v8::Local<v8::Value> argument = TypeConverterUtils::CreateIntParam(isolate, code);
        DispatchEvent(Event_OccurError, 1, &argument);
      },
      0);
}

// ----------------------------------------------------------------------------- plain callbacks

#define LUMO_DEFINE_PUSHER_CALLBACK(callback, event)       \
  void EventListener::callback(LumoRtc::LumoLivePusher*) { \
    Raise(event);                                          \
  }
#define LUMO_DEFINE_PLAYER_CALLBACK(callback, event)              \
  void EventListener::callback(LumoRtc::LumoLivePlayer* player) { \
    Raise(event, {{"playerID", GET_PLAYER_ID(player)}});          \
  }
LUMO_PLAIN_PUSHER_EVENTS(LUMO_DEFINE_PUSHER_CALLBACK)
LUMO_PLAIN_PLAYER_EVENTS(LUMO_DEFINE_PLAYER_CALLBACK)
#undef LUMO_DEFINE_PUSHER_CALLBACK
#undef LUMO_DEFINE_PLAYER_CALLBACK

// ---------------------------------------------------------------------------- pusher callbacks

void EventListener::onSystemError(LumoRtc::LumoLivePusher*, LumoRtc::LumoLivePushError error) {
  Raise(Event_SystemError, {{"msg", std::string(error.msg)}, {"code", error.code}});
}

void EventListener::onSDKError(LumoRtc::LumoLivePusher*, LumoRtc::LumoLivePushError error) {
  Raise(Event_SDKError, {{"msg", std::string(error.msg)}, {"code", error.code}});
}

// Deliberate: the player's payload with fixed values, so that one listener serves both sources.
void EventListener::onActiveSpeaker(LumoRtc::LumoLivePusher*) {
  Raise(Event_ActiveSpeaker, {{"userType", 0}, {"playerID", std::string()}});
}

void EventListener::onSetLiveMixTranscodingConfig(LumoRtc::LumoLivePusher*, bool isSuccess,
                                                  LumoRtc::String message) {
  Raise(Event_SetLiveMixTranscodingConfig,
        {{"isSuccess", isSuccess}, {"msg", std::string(message.c_str())}});
}

// ---------------------------------------------------------------------------- player callbacks

void EventListener::onError(LumoRtc::LumoLivePlayer* player, LumoRtc::LumoLivePlayError code,
                            const char* message) {
  Raise(Event_PlayError,
        {{"playerID", GET_PLAYER_ID(player)}, {"msg", std::string(message)}, {"code", code}});
}

void EventListener::onNetworkQualityChange(LumoRtc::LumoLivePlayer* player,
                                           LumoRtc::LumoLiveNetworkQuality quality) {
  Raise(Event_NetworkQualityChange,
        {{"playerID", GET_PLAYER_ID(player)}, {"quality", static_cast<uint32_t>(quality)}});
}

// Deliberate: "channelId" repeats the user's text, and both are read on the JavaScript thread from
// the SDK's own pointer.
void EventListener::onPlayerStatistics(LumoRtc::LumoLivePlayer* player,
                                       LumoRtc::LumoLivePlayerStatsInfo stats) {
  Raise(Event_PlayerStatistics, {{"playerID", GET_PLAYER_ID(player)},
                                 {"userId", stats.userId},
                                 {"channelId", stats.userId},
                                 {"videoWidth", stats.videoWidth},
                                 {"videoHeight", stats.videoHeight},
                                 {"decodeFps", stats.decodeFps},
                                 {"renderFps", stats.renderFps},
                                 {"videoBitrate", stats.videoBitrate},
                                 {"audioBitrate", stats.audioBitrate},
                                 {"audioLossRate", stats.audioLossRate},
                                 {"lossRate", stats.lossRate}});
}

// Deliberate: only the first record is sent, together with the count and the total.
void EventListener::onAudioVolumeCallback(const LumoRtc::LumoLiveUserVolumeInfo* volumes,
                                          int volumeInfoCount, int totalVolume) {
  const auto& first = volumes[0];
  Raise(Event_AudioVolumeCallback, {{"userType", static_cast<int32_t>(first.userType)},
                                    {"playerID", RemotePlayerId(first.userType, first.player)},
                                    {"speechState", first.speechState},
                                    {"volume", first.volume},
                                    {"sumVolume", first.sumVolume},
                                    {"volumeInfoCount", volumeInfoCount},
                                    {"totalVolume", totalVolume}});
}

void EventListener::onActiveSpeaker(LumoRtc::LumoLiveUserVolumeEnum userType,
                                    LumoRtc::LumoLivePlayer* player) {
  Raise(Event_ActiveSpeaker, {{"userType", static_cast<int32_t>(userType)},
                              {"playerID", RemotePlayerId(userType, player)}});
}

// ---------------------------------------------------------------------------------- raw frames

void EventListener::AwaitCapturedFrame() {
  const std::lock_guard oneFrame(mPluginMutex);
}

bool EventListener::onCaptureVideoSample(LumoRtc::LumoLivePusher*,
                                         LumoRtc::LumoLiveVideoSource source,
                                         LumoRtc::LumoLiveVideoRawData& frame) {
  bool processed = false;
  if (source == LumoRtc::kLumoLiveVideoSourceCamera) {
    const std::lock_guard oneFrame(mPluginMutex);
    PluginMap plugins;
    {
      const std::lock_guard lock(mPluginsMutex);
      plugins = mPlugins;
    }
    processed = ProcessFrameWithPlugins(plugins, frame);
  }
  // After the plug-ins, so that JavaScript receives frames with their effect.
  VideoRenderDataManager::GetInstance()->CacheVideoRenderData(kPreviewOwnerId, source, &frame,
                                                              this);
  return processed;
}

bool EventListener::onRemoteVideoSample(LumoRtc::LumoLivePlayer* player,
                                        LumoRtc::LumoLiveVideoSource source,
                                        LumoRtc::LumoLiveVideoRawData& frame) {
  VideoRenderDataManager::GetInstance()->CacheVideoRenderData(GET_PLAYER_ID(player), source, &frame,
                                                              this);
  return false;
}

void EventListener::OnVideoRenderDataNeedUpdate(std::string& uid) {
  mQueue.AsyncCall(
      [this, uid]() mutable {
        auto* manager = VideoRenderDataManager::GetInstance();
        // Dropped: otherwise each pass would queue a closure for a frame that is never fetched,
        // and a later listener would receive it however old it is.
        if (!HasEventListener(Event_VideoRenderData))
          return manager->DropVideoRenderData(uid, this);
        auto* isolate = v8::Isolate::GetCurrent();
        const v8::HandleScope scope(isolate);
        v8::Local<v8::Array> frames = v8::Array::New(isolate, 0);
        if (manager->FetchVideoRenderDataByUid(uid, frames) != 0) return;
        v8::Local<v8::Value> argument = frames;
        DispatchEvent(Event_VideoRenderData, 1, &argument);
      },
      0);
}

}  // namespace LumoLivePushElectronSDK
