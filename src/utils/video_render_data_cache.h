// Keeps every user's latest raw frames and schedules their delivery: a thread of its own notifies
// the observers of users with unfetched frames every 33 ms. A user is notified again at every pass
// until its frames have been fetched or dropped.
//
// Thread: any, but FetchVideoRenderDataByUid: the JavaScript thread.
// Ownership: one instance per process, never destroyed: SDK threads and the delivery thread may use
//   it while the process exits.
// Failure: see each operation; nothing is logged.

#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "utils/video_frame_store.h"

// V8 is used only by the fetching side.
namespace v8 {
class Array;
template <class T>
class Local;
}  // namespace v8

namespace LumoLivePushElectronSDK {

class VideoRenderDataManager {
 public:
  static VideoRenderDataManager* GetInstance();
  VideoRenderDataManager(const VideoRenderDataManager&) = delete;
  VideoRenderDataManager& operator=(const VideoRenderDataManager&) = delete;

  // Starts the delivery thread, with a first pass at once. A running delivery thread is stopped,
  // joined and replaced (when called on that thread itself, it is detached). Returns whether the
  // thread runs; throws std::system_error when none can be created.
  bool Start();

  // Stops and joins the delivery thread. Deliberate: the stopped loop is kept, only Start replaces
  // it.
  void Stop();

  // Copies a frame. Returns 0, or -1 for a frame that is refused: null, without data, a dimension
  // or stride below 1, or too large for 32-bit sizes.
  int CacheVideoRenderData(const std::string& uid, LumoRtc::LumoLiveVideoSource source,
                           const LumoRtc::LumoLiveVideoRawData* frame,
                           VideoRenderDataObserver* observer);

  // Puts an object for each of the user's unfetched frames into `out`, source 0 first. Returns 0,
  // or -101, with `out` untouched, for a user that never had a frame.
  int FetchVideoRenderDataByUid(std::string& uid, v8::Local<v8::Array>& out);

  // Drops the user's unfetched frames if `observer` is the user's observer, so that it is not
  // notified of them again.
  void DropVideoRenderData(const std::string& uid, const VideoRenderDataObserver* observer);

  // The observer is not called any more once this returns.
  void ClearObserver(VideoRenderDataObserver* observer);

 private:
  struct PacingLoop;

  VideoRenderDataManager() = default;
  ~VideoRenderDataManager() = default;

  // Posts the next pass to `loop`; does nothing when the loop was destroyed.
  void PostPass(const std::weak_ptr<PacingLoop>& loop, uint32_t delay_ms);
  // One pass, on the delivery thread.
  void ProcessVideoDataCallBack(const std::weak_ptr<PacingLoop>& loop);

  static std::atomic<VideoRenderDataManager*> sInstance;

  VideoFrameStore frames_;
  std::mutex loop_mutex_;  // guards the pointer only, never held while a thread is joined
  std::shared_ptr<PacingLoop> loop_;
};

}  // namespace LumoLivePushElectronSDK
