#include "utils/video_render_data_cache.h"

#include <utility>

#include "utils/handler.h"

namespace LumoLivePushElectronSDK {
namespace {

constexpr uint32_t kDeliveryIntervalMs = 33;  // from the end of a pass to the next

}  // namespace

// Both have one lifetime: an owner of the loop may post to its handler.
struct VideoRenderDataManager::PacingLoop {
  Looper looper;
  Handler handler{&looper};
};

std::atomic<VideoRenderDataManager*> VideoRenderDataManager::sInstance{nullptr};

VideoRenderDataManager* VideoRenderDataManager::GetInstance() {
  if (auto* instance = sInstance.load(std::memory_order_acquire)) return instance;
  static std::mutex sMutex;
  const std::lock_guard lock(sMutex);
  if (!sInstance.load(std::memory_order_relaxed)) {
    sInstance.store(new VideoRenderDataManager, std::memory_order_release);  // never destroyed
  }
  return sInstance.load(std::memory_order_relaxed);
}

bool VideoRenderDataManager::Start() {
  Stop();
  auto loop = std::make_shared<PacingLoop>();
  const bool started = loop->looper.start();
  PostPass(loop, 0);
  {
    const std::lock_guard lock(loop_mutex_);
    loop_.swap(loop);
  }
  return started;  // the previous loop ends here, without the lock
}

void VideoRenderDataManager::Stop() {
  std::shared_ptr<PacingLoop> loop;
  {
    const std::lock_guard lock(loop_mutex_);
    loop = loop_;
  }
  if (loop) loop->looper.stop(true);
}

int VideoRenderDataManager::CacheVideoRenderData(const std::string& uid,
                                                 LumoRtc::LumoLiveVideoSource source,
                                                 const LumoRtc::LumoLiveVideoRawData* frame,
                                                 VideoRenderDataObserver* observer) {
  return frames_.Store(uid, source, frame, observer);
}

void VideoRenderDataManager::DropVideoRenderData(const std::string& uid,
                                                 const VideoRenderDataObserver* observer) {
  frames_.DropFresh(uid, observer);
}

void VideoRenderDataManager::ClearObserver(VideoRenderDataObserver* observer) {
  frames_.ClearObserver(observer);
}

void VideoRenderDataManager::PostPass(const std::weak_ptr<PacingLoop>& loop, uint32_t delay_ms) {
  // Each chain of passes keeps to its own loop, so that a replaced loop's chain ends with it
  // instead of joining the new one. Held weakly: the loop's queue holds the message.
  const auto owner = loop.lock();
  if (!owner) return;
  owner->handler.sendMessageDelayedMs(
      makeMessage0("ProcessVideoDataCallback", [this, loop] { ProcessVideoDataCallBack(loop); }),
      delay_ms);
}

void VideoRenderDataManager::ProcessVideoDataCallBack(const std::weak_ptr<PacingLoop>& loop) {
  frames_.NotifyObservers();
  PostPass(loop, kDeliveryIntervalMs);
}

}  // namespace LumoLivePushElectronSDK
