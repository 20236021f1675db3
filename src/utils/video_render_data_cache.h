// Keeps every user's latest raw frames and paces their delivery: a thread of its own tells the
// observers of users with unfetched frames, then waits 33 ms, and so on. A user is told again at
// every pass until its frames have been fetched or dropped.
//
// Thread: any, but FetchVideoRenderDataByUid: the JavaScript thread.
// Ownership: one instance a process, never destroyed: SDK threads and the pacing thread may use it
//   while the process exits.
// Failure: each operation says its answer; nothing is logged.

#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "utils/video_frame_store.h"

// Only the fetching side knows V8.
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

  // Begins to pace, with a first pass at once. A pacing thread that runs already is stopped and
  // joined and a new one takes its place (called on that thread itself, it is left to end by
  // itself). Returns whether the thread runs; passes on std::system_error when none can be made.
  bool Start();

  // Ends the pacing and joins its thread. Deliberate: the stopped loop is kept, only Start
  // replaces it.
  void Stop();

  // Copies a frame. Returns 0, or -1 for a frame that is refused: null, without data, a dimension
  // or stride below 1, or too large for 32-bit sizes.
  int CacheVideoRenderData(const std::string& uid, LumoRtc::LumoLiveVideoSource source,
                           const LumoRtc::LumoLiveVideoRawData* frame,
                           VideoRenderDataObserver* observer);

  // Puts an object for each of the user's unfetched frames into `out`, source 0 first. Returns 0,
  // or -101, with `out` untouched, for a user that never had a frame.
  int FetchVideoRenderDataByUid(std::string& uid, v8::Local<v8::Array>& out);

  // Drops the user's unfetched frames if `observer` is the user's observer, so that it is not told
  // of them again.
  void DropVideoRenderData(const std::string& uid, const VideoRenderDataObserver* observer);

  // The observer is not called any more once this returns.
  void ClearObserver(VideoRenderDataObserver* observer);

 private:
  struct PacingLoop;

  VideoRenderDataManager() = default;
  ~VideoRenderDataManager() = default;

  // Posts the next pass of `loop`'s own chain; does nothing when the loop is gone.
  void PostPass(const std::weak_ptr<PacingLoop>& loop, uint32_t delay_ms);
  // One pass, on the pacing thread.
  void ProcessVideoDataCallBack(const std::weak_ptr<PacingLoop>& loop);

  static std::atomic<VideoRenderDataManager*> sInstance;

  VideoFrameStore frames_;
  std::mutex loop_mutex_;  // guards the pointer only, never held while a thread is joined
  std::shared_ptr<PacingLoop> loop_;
};

}  // namespace LumoLivePushElectronSDK
