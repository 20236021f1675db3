// The latest raw I420 frame of each of two sources, for every user.
//
// Thread: any. One recursive lock guards everything; it is held while observers are called, so an
//   observer may call back into the store, and it is not held while a taker allocates.
// Ownership: frames are copied in and copied out. Users and their buffers stay as long as the
//   store. Observers are not owned: ClearObserver must be called before one is destroyed.
// Failure: see each operation; memory exhaustion is std::bad_alloc and does not change the slot.

#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"
#include "utils/i420_repack.h"

namespace LumoLivePushElectronSDK {

class VideoRenderDataObserver {
 public:
  // A user has unfetched frames. Called on the delivery thread with the store's lock
  // held: it must not wait for the JavaScript thread.
  virtual void OnVideoRenderDataNeedUpdate(std::string& uid) = 0;
  virtual ~VideoRenderDataObserver() = default;
};

// One slot for source 1 and one for all others. Slot 0 is for the others.
inline constexpr std::size_t kFrameSlots = 2;

struct VideoFrameSlot {
  // At least layout.size bytes. Reallocated when the frame's dimensions change or when it needs
  // more.
  std::vector<unsigned char> buffer;
  I420Layout layout;
  bool fresh = false;  // stored and not yet taken
};

struct UserVideoRenderDataCache {
  std::string user_id;
  VideoRenderDataObserver* observer = nullptr;
  std::array<VideoFrameSlot, kFrameSlots> slots;

  bool HasFreshFrame() const { return slots[0].fresh || slots[1].fresh; }
};

// The layout of each fresh slot of a user.
using FreshFrames = std::array<std::optional<I420Layout>, kFrameSlots>;
// The destination of each fresh slot's bytes; unused for a slot that is not fresh.
using FrameTargets = std::array<unsigned char*, kFrameSlots>;

class VideoFrameStore {
 public:
  // Copies the frame into the user's slot and makes it fresh; the last observer given for a user
  // is its observer. Returns 0, or -1, with nothing changed, for a frame that is null or has no
  // layout.
  int Store(const std::string& user_id, LumoRtc::LumoLiveVideoSource source,
            const LumoRtc::LumoLiveVideoRawData* frame, VideoRenderDataObserver* observer);

  // Taking frames has two steps, so that the memory for them is allocated without the lock.
  // First: the fresh frames. None for an unknown user.
  std::optional<FreshFrames> PeekFresh(const std::string& user_id) const;
  // Then: copies every frame of `expected` to its target, the newest bytes, and clears its fresh
  // flag. Returns false, without any effect, when one of them is not fresh any more or has another
  // layout by now; then restart with PeekFresh.
  bool TakeFresh(const std::string& user_id, const FreshFrames& expected,
                 const FrameTargets& targets);

  // Clears the fresh flags of a user whose observer this is; does nothing for another one's.
  void DropFresh(const std::string& user_id, const VideoRenderDataObserver* observer);

  // Notifies the observer of every user that has fresh frames, in the order of the user IDs.
  void NotifyObservers();

  // Removes this observer from all users. Waits for a call of it that runs on another thread.
  void ClearObserver(const VideoRenderDataObserver* observer);

 private:
  mutable std::recursive_mutex mutex_;
  std::map<std::string, UserVideoRenderDataCache> caches_;
};

}  // namespace LumoLivePushElectronSDK
