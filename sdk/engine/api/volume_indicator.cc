#include "api/volume_indicator.h"

namespace NimboEngine {

using namespace LumoRtc;

VolumeIndicator::VolumeIndicator(EngineThread& engine, PusherListeners& listeners)
    : engine_(engine), listeners_(listeners) {}

VolumeIndicator::~VolumeIndicator() {
  stop();
}

void VolumeIndicator::start(const VolumeSettings& settings) {
  stop();
  const auto players = audiblePlayers();
  listenForVoice(settings.voice, players);
  local_.discard();  // earlier levels do not count
  for (const AudiblePlayer& player : players) player.meter->discard();
  running_.emplace(settings);
  schedule();
}

void VolumeIndicator::stop() {
  if (!running_) return;
  engine_.cancel(running_->timer);
  running_.reset();
  listenForVoice(false, audiblePlayers());
}

void VolumeIndicator::setMuted(bool muted) {
  muted_ = muted;
  local_.discard();
}

// On the tick thread.
void VolumeIndicator::onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime) {
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
  local_.measure(reinterpret_cast<const int16_t*>(map.data), map.size / sizeof(int16_t), format);
  gst_buffer_unmap(buffer, &map);
}

void VolumeIndicator::schedule() {
  running_->timer =
      engine_.postAfter(running_->due - Clock::now(), ownerGuard_.bind([this] { tick(); }));
}

void VolumeIndicator::tick() {
  const auto players = audiblePlayers();
  listenForVoice(running_->settings.voice, players);  // some have just started
  report(players);
  const auto interval = running_->settings.interval;
  running_->due += interval * ((Clock::now() - running_->due) / interval + 1);
  schedule();
}

void VolumeIndicator::report(const std::vector<AudiblePlayer>& players) {
  const std::vector<UserLevel> users = takeReadings(players);
  const std::vector<LumoLiveUserVolumeInfo> records = running_->records.make(users);
  listeners_.volumes(records);
  for (std::size_t i = 0; i < players.size(); ++i) players[i].events.onVolume(records[i + 1]);
  if (const auto speaker = running_->speaker.update(Clock::now(), users)) {
    notifyActiveSpeaker(*speaker, players);
  }
}

std::vector<UserLevel> VolumeIndicator::takeReadings(const std::vector<AudiblePlayer>& players) {
  const auto now = Clock::now();
  const LevelReading local = local_.take(now);
  std::vector<UserLevel> users{{.player = nullptr, .reading = muted_ ? LevelReading{} : local}};
  for (const AudiblePlayer& player : players) {
    users.push_back({.player = player.player, .reading = player.meter->take(now)});
  }
  return users;
}

void VolumeIndicator::notifyActiveSpeaker(LumoLivePlayer* speaker,
                                          const std::vector<AudiblePlayer>& players) {
  if (!speaker) return listeners_.info(&LumoLivePushInfoListener::onActiveSpeaker);
  for (const AudiblePlayer& player : players) {
    if (player.player == speaker) player.events.onActiveSpeaker();
  }
}

void VolumeIndicator::listenForVoice(bool on, const std::vector<AudiblePlayer>& players) {
  local_.listenForVoice(on);
  for (const AudiblePlayer& player : players) player.meter->listenForVoice(on);
}

}  // namespace NimboEngine
