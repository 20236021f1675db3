// A capture session: one camera or a screen in its place, and one microphone, delivered to the
// consumers without gaps during the session's lifetime, whatever happens to the sources. A source
// that is missing, fails or is stopped leaves its last frame (black before the first) and silence.
//
// Thread: any. `onFrame` and the consumers are called on the tick threads; `onFailure` on a thread
//   of the session. None of these calls may add or remove consumers, or destroy the session.
// Ownership: consumers are the caller's. Destruction stops and joins the tick threads and waits a
//   third of a second at most for sources and screen.
// Failure: reported by `onFailure`; the session continues. GStreamer must have been started.

#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "base/mutex.h"
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
  bool audioOnly = false;  // no video; onFrame and onVideoFrame are never called
  bool mirror = false;     // left and right exchanged
  // The audio of a file is a microphone with the file's own identifier, in sync with its video if
  // the camera is the same file; without an audio track it is silence.
  DeviceId camera;
  DeviceId microphone;
  // Files (capture/still_image.h) shown as placeholder images; "": none.
  std::string pauseImage;        // while the screen is paused
  std::string networkPoorImage;  // while the network is poor
};

class CaptureSession {
 public:
  // `id` identifies the camera or microphone that failed.
  using FailureCallback =
      std::function<void(DeviceKind kind, const DeviceId& id, const std::string& message)>;

  CaptureSession(CaptureSettings settings, FrameCallback onFrame, FailureCallback onFailure);
  ~CaptureSession();
  CaptureSession(const CaptureSession&) = delete;
  CaptureSession& operator=(const CaptureSession&) = delete;

  void addConsumer(FrameConsumer* consumer) { consumers_.add(consumer); }

  // Returns when no call of the consumer is running or will follow.
  void removeConsumer(FrameConsumer* consumer) { consumers_.remove(consumer); }

  // Replaces the audio by silence.
  void setMuted(bool muted) { audio_.setSilent(muted); }

  // Replaces the camera's frames by black; the camera keeps running. A shared screen stays visible.
  void setCameraMuted(bool muted);

  // False: the camera is released and its last frame stays. True: it is opened again, a file from
  // its beginning. The audio of a file stops and starts with its video.
  void setCameraRunning(bool running);

  // Switches to other devices; an unchanged one keeps running. The last frame stays until the new
  // camera delivers its first, the old microphone stays in use until the new one delivers samples.
  void setDevices(const DeviceId& camera, const DeviceId& microphone);

  // Silences the microphone until another one is set.
  void dropMicrophone();

  // Returns whether the camera or microphone was opened at least `timeout` ago and has delivered
  // nothing yet. A driver or service that hangs reports no error.
  bool hasHung(DeviceKind kind, std::chrono::steady_clock::duration timeout);

  // Changes the video format. All frames follow its rate; a screen and images get its size, the
  // camera keeps the size that it was opened with. A visible camera that is too slow is opened
  // again; a file keeps its own rate.
  void setFormat(const VideoFormat& format);

  // Shows a screen instead of the camera, which keeps running.
  // `onError`: see ScreenCapture. Must not be called when only audio is captured.
  void shareScreen(ScreenId id, ScreenCapture::ErrorCallback onError);
  void stopScreen();

  // Does nothing while no screen is shown.
  void setScreenPaused(bool paused);

  void setNetworkPoor(bool poor);

 private:
  bool isFileAudio() const NIMBO_REQUIRES(mutex_);
  std::shared_ptr<FrameMailbox> showScreen() NIMBO_REQUIRES(mutex_);
  void showCamera() NIMBO_REQUIRES(mutex_);
  void loadImages() NIMBO_REQUIRES(mutex_);
  void loadImage(Placeholder placeholder, const std::string& file) NIMBO_REQUIRES(mutex_);
  void openCamera() NIMBO_REQUIRES(mutex_);
  void closeCamera() NIMBO_REQUIRES(mutex_);
  void openMicrophone() NIMBO_REQUIRES(mutex_);

  Mutex mutex_;
  CaptureSettings settings_ NIMBO_GUARDED_BY(mutex_);
  VideoFormat wanted_ NIMBO_GUARDED_BY(mutex_);
  const FailureCallback onFailure_;
  SinkList<FrameConsumer> consumers_;
  const std::unique_ptr<VideoTicker> video_;  // null when only audio is captured
  AudioTicker audio_;
  std::shared_ptr<FrameMailbox> frames_ NIMBO_GUARDED_BY(mutex_);
  bool cameraWanted_ NIMBO_GUARDED_BY(mutex_) = true;
  int cameraFps_ NIMBO_GUARDED_BY(mutex_) = 0;  // with which it was opened
  std::chrono::steady_clock::time_point cameraOpened_ NIMBO_GUARDED_BY(mutex_);
  std::shared_ptr<SampleFifo> fileSamples_ NIMBO_GUARDED_BY(mutex_);  // of a camera that is a file
  std::unique_ptr<SourceRunner> camera_ NIMBO_GUARDED_BY(mutex_);
  std::shared_ptr<SampleFifo> samples_ NIMBO_GUARDED_BY(mutex_);  // of the microphone
  std::chrono::steady_clock::time_point microphoneOpened_ NIMBO_GUARDED_BY(mutex_);
  std::unique_ptr<SourceRunner> microphone_ NIMBO_GUARDED_BY(mutex_);
  // Null while the camera is shown.
  std::unique_ptr<ScreenCapture> screen_ NIMBO_GUARDED_BY(mutex_);
  std::array<std::unique_ptr<StillImage>, kPlaceholders> images_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine
