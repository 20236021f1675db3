#include "api/player_listeners.h"

#include "base/log.h"
#include "base/redaction.h"

namespace NimboEngine {

using namespace LumoRtc;

void PlayerListeners::detachAll() {
  infoSlot.set(nullptr);
  frameSlot.set(nullptr);
}

void PlayerListeners::info(InfoEvent event) {
  infoSlot.call([&](LumoLivePlayInfoListener& listener) { (listener.*event)(player_); });
}

void PlayerListeners::error(LumoLiveErrorCode code, const std::string& message) {
  NIMBO_LOG_ERROR("player error {}: {}", static_cast<int>(code), message);
  const std::string shown = redact(message);
  infoSlot.call([&](LumoLivePlayInfoListener& listener) {
    listener.onError(player_, static_cast<LumoLivePlayError>(code), shown.c_str());
  });
}

void PlayerListeners::quality(LumoLiveNetworkQuality quality) {
  infoSlot.call([&](LumoLivePlayInfoListener& listener) {
    listener.onNetworkQualityChange(player_, quality);
  });
}

void PlayerListeners::statistics(const LumoLivePlayerStatsInfo& statistics) {
  infoSlot.call([&](LumoLivePlayInfoListener& listener) {
    listener.onPlayerStatistics(player_, statistics);
  });
}

void PlayerListeners::volume(const LumoLiveUserVolumeInfo& record) {
  infoSlot.call([&](LumoLivePlayInfoListener& listener) {
    listener.onAudioVolumeCallback(&record, 1, record.sumVolume);
  });
}

void PlayerListeners::activeSpeaker() {
  infoSlot.call([&](LumoLivePlayInfoListener& listener) {
    listener.onActiveSpeaker(kLumoLiveUserVolumeRemote, player_);
  });
}

void PlayerListeners::videoFrame(GstBuffer* buffer, const GstVideoInfo& info) {
  frameSlot.call([&](LumoLiveVideoFrameListener& listener) {
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READWRITE)) return false;
    LumoLiveVideoRawData frame{.data = map.data,
                               .strideY = GST_VIDEO_INFO_PLANE_STRIDE(&info, 0),
                               .strideU = GST_VIDEO_INFO_PLANE_STRIDE(&info, 1),
                               .strideV = GST_VIDEO_INFO_PLANE_STRIDE(&info, 2),
                               .height = GST_VIDEO_INFO_HEIGHT(&info),
                               .width = GST_VIDEO_INFO_WIDTH(&info)};
    const bool changed = listener.onRemoteVideoSample(player_, kLumoLiveVideoSourceCamera, frame);
    gst_buffer_unmap(buffer, &map);
    return changed;
  });
}

}  // namespace NimboEngine
