// What is captured: one camera or a screen in its place, and one microphone, delivered to the
// consumers without a break for as long as the session lives, whatever becomes of the sources. A
// source that is missing, fails or is stopped leaves its last picture (black before the first) and
// silence.
//
// Thread: any. `onFrame` and the consumers are called on the tick threads; `onFailure` on a thread
//   of the session's. Consumers are added and removed, and the session destroyed, from none of
//   these calls.
// Ownership: consumers are the caller's. Destruction stops and joins the tick threads and waits a
//   third of a second at most for sources and screen.
// Failure: reported by `onFailure`; the session goes on. GStreamer must have been started.

#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "capture/audio_ticker.h"
#include "capture/media_sink.h"
#include "capture/screen/screen_capture.h"
#include "capture/still_image.h"
#include "capture/video_ticker.h"
#include "devices/devices.h"
#include "gst/source_runner.h"
#include "media/frame_mailbox.h"
#include "media/sample_fifo.h"

namespace NimboEngine {

struct CaptureSettings {
  VideoFormat video;
  AudioFormat audio;
  bool audioOnly = false;  // no picture; onFrame and onVideoFrame are never called
  bool mirror = false;     // left and right exchanged
  // The identifiers of devices/devices.h. A file's sound is a microphone of the file's own
  // identifier "file:<path>", and goes with its picture where the camera is the same file; without
  // a sound track it is silence.
  std::string camera;
  std::string microphone;
  // Files (capture/still_image.h) that stand in for the picture; "": none.
  std::string pauseImage;        // while the screen is paused
  std::string networkPoorImage;  // while the network is poor
};

class CaptureSession {
 public:
  // `id` is that of the camera or microphone that failed.
  using FailureCallback =
      std::function<void(DeviceKind kind, const std::string& id, const std::string& message)>;

  CaptureSession(CaptureSettings settings, FrameCallback onFrame, FailureCallback onFailure);
  ~CaptureSession();
  CaptureSession(const CaptureSession&) = delete;
  CaptureSession& operator=(const CaptureSession&) = delete;

  void addConsumer(FrameConsumer* consumer) { consumers_.add(consumer); }

  // Returns when no call of the consumer is running and none will come.
  void removeConsumer(FrameConsumer* consumer) { consumers_.remove(consumer); }

  // Sound becomes silence.
  void setMuted(bool muted) { audio_.setSilent(muted); }

  // The camera's picture becomes black; the camera goes on. A shared screen stays visible.
  void setCameraMuted(bool muted);

  // False: the camera is released and its last picture stands still. True: it is opened again, a
  // file from its beginning. The sound of a file goes with its picture.
  void setCameraRunning(bool running);

  // Takes pictures and sound from others from now on; what is the same already goes on. The last
  // picture stays until the new camera has its first, the old microphone is heard until the new one
  // has something to give.
  void setDevices(const std::string& camera, const std::string& microphone);

  // The microphone is not heard any more from now on, until another one is set.
  void dropMicrophone();

  // Whether the camera or microphone was opened at least so long ago and has given nothing yet. A
  // driver or service that hangs fails without a word.
  bool hasHung(DeviceKind kind, std::chrono::steady_clock::duration timeout);

  // Pictures of another format are wanted from now on. All come at its rate; a screen and images
  // get its size, the camera keeps the size that it began with. A camera that is shown and too slow
  // is opened again; a file gives what it has.
  void setFormat(const VideoFormat& format);

  // Shows a screen (capture/screen/screen_sources.h) instead of the camera, which goes on unseen.
  // `onError` as ScreenCapture calls it. Not when only sound is captured.
  void shareScreen(uint32_t id, ScreenCapture::ErrorCallback onError);
  void stopScreen();

  // Does nothing while no screen is shown.
  void setScreenPaused(bool paused);

  void setNetworkPoor(bool poor);

 private:
  bool isFileAudio() const;
  std::shared_ptr<FrameMailbox> showScreen();
  void showCamera();
  void loadImages();
  void openCamera();
  void closeCamera();
  void openMicrophone();

  CaptureSettings settings_;  // its video.fps changes, under the mutex
  VideoFormat wanted_;
  const FailureCallback onFailure_;
  ConsumerList consumers_;
  std::unique_ptr<VideoTicker> video_;  // null when only sound is captured
  AudioTicker audio_;
  std::mutex mutex_;
  std::shared_ptr<FrameMailbox> frames_;
  bool cameraWanted_ = true;
  int cameraFps_ = 0;  // with which it was opened
  std::chrono::steady_clock::time_point cameraOpened_;
  std::shared_ptr<SampleFifo> fileSamples_;  // of a camera that is a file
  std::unique_ptr<SourceRunner> camera_;
  std::shared_ptr<SampleFifo> samples_;  // of the microphone
  std::chrono::steady_clock::time_point microphoneOpened_;
  std::unique_ptr<SourceRunner> microphone_;
  std::unique_ptr<ScreenCapture> screen_;  // null while the camera is shown
  std::array<std::unique_ptr<StillImage>, kPlaceholders> images_;
};

}  // namespace NimboEngine
