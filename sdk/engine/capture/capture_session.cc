#include "capture/capture_session.h"

#include <utility>

#include "capture/source_choice.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;

// How much audio of a source is buffered before it is used, and how much at most.
constexpr size_t kPrebufferMs = 40;
constexpr size_t kLimitMs = 200;

std::shared_ptr<SampleFifo> makeFifo(const AudioFormat& format) {
  const auto framesPerMs = static_cast<size_t>(format.rate) / 1000;
  return std::make_shared<SampleFifo>(static_cast<size_t>(format.channels),
                                      kPrebufferMs * framesPerMs, kLimitMs * framesPerMs);
}

}  // namespace

CaptureSession::CaptureSession(CaptureSettings settings, FrameCallback onFrame,
                               FailureCallback onFailure)
    : settings_(std::move(settings)),
      wanted_(settings_.video),
      onFailure_(std::move(onFailure)),
      video_(settings_.audioOnly
                 ? nullptr
                 : std::make_unique<VideoTicker>(settings_.video, std::move(onFrame), consumers_)),
      audio_(settings_.audio, consumers_) {
  const MutexLock lock(mutex_);
  if (video_) loadImages();
  openCamera();
  if (!isFileAudio()) openMicrophone();
}

CaptureSession::~CaptureSession() {
  // Both in parallel, since each may take long.
  if (camera_) camera_->requestStop();
  if (microphone_) microphone_->requestStop();
}

void CaptureSession::setCameraMuted(bool muted) {
  if (video_) video_->choice().setCameraBlack(muted);
}

void CaptureSession::setCameraRunning(bool running) {
  const MutexLock lock(mutex_);
  if (running == std::exchange(cameraWanted_, running)) return;
  if (running) return openCamera();
  if (isFileAudio()) audio_.setSource(nullptr);
  closeCamera();
}

void CaptureSession::setFormat(const VideoFormat& format) {
  const MutexLock lock(mutex_);
  if (!video_) return;
  const VideoFormat before = std::exchange(wanted_, format);
  settings_.video.fps = format.fps;
  if (format.fps != before.fps) video_->setRate(format.fps);
  if (format.width != before.width || format.height != before.height) loadImages();
  if (screen_) {
    if (format != before) screen_->setFormat(format, showScreen());
    return;
  }
  // The last frame stays until the new camera delivers its first.
  if (!camera_ || format.fps <= cameraFps_ || settings_.camera.isFile()) return;
  closeCamera();
  openCamera();
}

void CaptureSession::setDevices(const DeviceId& camera, const DeviceId& microphone) {
  const MutexLock lock(mutex_);
  const bool isOtherCamera = camera != settings_.camera;
  const bool isOtherMicrophone = microphone != settings_.microphone;
  const bool wasFileAudio = isFileAudio();
  settings_.camera = camera;
  settings_.microphone = microphone;
  if (isOtherCamera) {
    closeCamera();
    if (cameraWanted_) openCamera();
  }
  if (!isFileAudio()) {
    if (wasFileAudio || isOtherMicrophone) openMicrophone();
    return;
  }
  if (wasFileAudio) return;
  microphone_.reset();
  if (fileSamples_) {
    audio_.setSource(fileSamples_);
  } else if (cameraWanted_) {
    openCamera();
  }
}

void CaptureSession::dropMicrophone() {
  const MutexLock lock(mutex_);
  if (isFileAudio()) return;
  audio_.setSource(nullptr);
  microphone_.reset();
  settings_.microphone = {};
}

bool CaptureSession::hasHung(DeviceKind kind, Clock::duration timeout) {
  const MutexLock lock(mutex_);
  const bool isCamera = kind == DeviceKind::kCamera;
  const Clock::time_point opened = isCamera ? cameraOpened_ : microphoneOpened_;
  const bool deliversNothing = isCamera ? camera_ && frames_ && frames_->count() == 0
                                        : microphone_ && samples_->count() == 0;
  return deliversNothing && Clock::now() - opened >= timeout;
}

// ------------------------------------------------------------------------------------- screen

void CaptureSession::shareScreen(ScreenId id, ScreenCapture::ErrorCallback onError) {
  const MutexLock lock(mutex_);
  if (!video_) return;
  const auto frames = showScreen();
  screen_.reset();  // never two at once
  screen_ = std::make_unique<ScreenCapture>(id, wanted_, frames, std::move(onError));
}

void CaptureSession::stopScreen() {
  const MutexLock lock(mutex_);
  if (!screen_) return;
  video_->choice().showPlaceholder(Placeholder::kScreenPaused, false);
  showCamera();
  screen_.reset();
}

void CaptureSession::setScreenPaused(bool paused) {
  const MutexLock lock(mutex_);
  if (!screen_) return;
  screen_->setPaused(paused);
  video_->choice().showPlaceholder(Placeholder::kScreenPaused, paused);
}

// Returns the mailbox for the screen's frames.
std::shared_ptr<FrameMailbox> CaptureSession::showScreen() {
  auto frames = std::make_shared<FrameMailbox>();
  video_->choice().setSource({frames, wanted_, FrameOrigin::kScreen});
  return frames;
}

void CaptureSession::showCamera() {
  video_->choice().setSource({frames_, settings_.video, FrameOrigin::kCamera});
}

// ------------------------------------------------------------------------------------- images

void CaptureSession::setNetworkPoor(bool poor) {
  if (video_) video_->choice().showPlaceholder(Placeholder::kNetworkPoor, poor);
}

void CaptureSession::loadImages() {
  loadImage(Placeholder::kNetworkPoor, settings_.networkPoorImage);
  loadImage(Placeholder::kScreenPaused, settings_.pauseImage);
}

void CaptureSession::loadImage(Placeholder placeholder, const std::string& file) {
  if (file.empty()) return;
  const auto frame = std::make_shared<FrameMailbox>();
  video_->choice().setImage(placeholder, {frame, wanted_});
  images_.at(static_cast<size_t>(placeholder)) = std::make_unique<StillImage>(file, wanted_, frame);
}

// ------------------------------------------------------------------------------------- camera

bool CaptureSession::isFileAudio() const {
  return settings_.microphone == settings_.camera && settings_.camera.isFile();
}

// The audio of a file is always decoded too, so that choosing it does not restart the file.
void CaptureSession::openCamera() {
  if (!video_ && !isFileAudio()) return;
  SourceOutputs outputs{settings_.video, settings_.mirror, nullptr, settings_.audio, nullptr};
  if (video_) {
    frames_ = std::make_shared<FrameMailbox>();
    outputs.frames = frames_;
    if (!screen_) showCamera();
  }
  if (settings_.camera.isFile()) {
    fileSamples_ = makeFifo(settings_.audio);
    outputs.samples = fileSamples_;
    if (isFileAudio()) audio_.setSource(fileSamples_);
  }
  cameraFps_ = settings_.video.fps;
  cameraOpened_ = Clock::now();
  camera_ = std::make_unique<SourceRunner>(
      "camera " + settings_.camera.text(),
      [id = settings_.camera, outputs] { return makeCamera(id, outputs); },
      [this, id = settings_.camera](const std::string& message) {
        onFailure_(DeviceKind::kCamera, id, message);
      });
}

// Its last frame stays.
void CaptureSession::closeCamera() {
  if (frames_) frames_->freeze();
  camera_.reset();
  fileSamples_.reset();
}

void CaptureSession::openMicrophone() {
  samples_ = makeFifo(settings_.audio);
  const SourceOutputs outputs{settings_.video, false, nullptr, settings_.audio, samples_};
  audio_.setSource(samples_);
  microphoneOpened_ = Clock::now();
  microphone_ = std::make_unique<SourceRunner>(
      "microphone " + settings_.microphone.text(),
      [id = settings_.microphone, outputs] { return makeMicrophone(id, outputs); },
      [this, id = settings_.microphone](const std::string& message) {
        onFailure_(DeviceKind::kMicrophone, id, message);
      },
      SourceRunner::Predecessor{std::move(microphone_),
                                [samples = samples_] { return samples->isReady(); }});
}

}  // namespace NimboEngine
