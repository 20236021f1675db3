#include "utils/video_frame_store.h"

#include <cstring>

namespace LumoLivePushElectronSDK {
namespace {

void StoreInSlot(VideoFrameSlot& slot, const LumoRtc::LumoLiveVideoRawData& frame,
                 const I420Layout& layout) {
  const bool same_dimensions =
      slot.layout.width == layout.width && slot.layout.height == layout.height;
  if (!same_dimensions || slot.buffer.size() < layout.size) {
    slot.buffer = std::vector<unsigned char>(layout.size);
  }
  CopyI420(frame, layout, slot.buffer.data());
  slot.layout = layout;
  slot.fresh = true;
}

}  // namespace

int VideoFrameStore::Store(const std::string& user_id, LumoRtc::LumoLiveVideoSource source,
                           const LumoRtc::LumoLiveVideoRawData* frame,
                           VideoRenderDataObserver* observer) {
  const auto layout = frame ? LayOutI420(*frame) : std::nullopt;
  if (!layout) return -1;
  const std::lock_guard lock(mutex_);
  auto& cache = caches_[user_id];
  cache.user_id = user_id;
  cache.observer = observer;
  const std::size_t slot = source == LumoRtc::kLumoLiveVideoSourceScreen ? 1 : 0;
  StoreInSlot(cache.slots[slot], *frame, *layout);
  return 0;
}

std::optional<FreshFrames> VideoFrameStore::PeekFresh(const std::string& user_id) const {
  const std::lock_guard lock(mutex_);
  const auto found = caches_.find(user_id);
  if (found == caches_.end()) return std::nullopt;
  FreshFrames fresh;
  for (std::size_t i = 0; i < kFrameSlots; ++i) {
    const auto& slot = found->second.slots[i];
    if (slot.fresh) fresh[i] = slot.layout;
  }
  return fresh;
}

bool VideoFrameStore::TakeFresh(const std::string& user_id, const FreshFrames& expected,
                                const FrameTargets& targets) {
  const std::lock_guard lock(mutex_);
  const auto found = caches_.find(user_id);
  if (found == caches_.end()) return false;
  auto& slots = found->second.slots;
  for (std::size_t i = 0; i < kFrameSlots; ++i) {
    if (expected[i] && !(slots[i].fresh && slots[i].layout == *expected[i])) return false;
  }
  for (std::size_t i = 0; i < kFrameSlots; ++i) {
    if (!expected[i]) continue;
    std::memcpy(targets[i], slots[i].buffer.data(), expected[i]->size);
    slots[i].fresh = false;
  }
  return true;
}

void VideoFrameStore::DropFresh(const std::string& user_id,
                                const VideoRenderDataObserver* observer) {
  const std::lock_guard lock(mutex_);
  const auto found = caches_.find(user_id);
  if (found == caches_.end() || found->second.observer != observer) return;
  for (auto& slot : found->second.slots) slot.fresh = false;
}

void VideoFrameStore::NotifyObservers() {
  const std::lock_guard lock(mutex_);
  for (auto& [key, cache] : caches_) {
    if (cache.observer && cache.HasFreshFrame()) {
      cache.observer->OnVideoRenderDataNeedUpdate(cache.user_id);
    }
  }
}

void VideoFrameStore::ClearObserver(const VideoRenderDataObserver* observer) {
  const std::lock_guard lock(mutex_);
  for (auto& [key, cache] : caches_) {
    if (cache.observer == observer) cache.observer = nullptr;
  }
}

}  // namespace LumoLivePushElectronSDK
