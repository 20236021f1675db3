#include "capture/capture_session.h"

#include <utility>

#include "capture/source_choice.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;

// How much sound gathers before a source is heard, and how much may.
constexpr size_t kCushionMs = 40;
constexpr size_t kLimitMs = 200;

std::shared_ptr<SampleFifo> makeFifo(const AudioFormat& format) {
  const auto framesPerMs = static_cast<size_t>(format.rate) / 1000;
  return std::make_shared<SampleFifo>(static_cast<size_t>(format.channels),
                                      kCushionMs * framesPerMs, kLimitMs * framesPerMs);
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
  std::lock_guard lock(mutex_);
  if (video_) loadImages();
  openCamera();
  if (!isFileSound()) openMicrophone();
}

CaptureSession::~CaptureSession() {
  // Both at once, since each may take its time.
  if (camera_) camera_->requestStop();
  if (microphone_) microphone_->requestStop();
}

void CaptureSession::setCameraMuted(bool muted) {
  if (video_) video_->choice().setCameraBlack(muted);
}

void CaptureSession::setCameraRunning(bool running) {
  std::lock_guard lock(mutex_);
  if (running == std::exchange(cameraWanted_, running)) return;
  if (running) return openCamera();
  if (isFileSound()) audio_.setSource(nullptr);
  closeCamera();
}

void CaptureSession::setFormat(const VideoFormat& format) {
  std::lock_guard lock(mutex_);
  if (!video_) return;
  const VideoFormat before = std::exchange(wanted_, format);
  settings_.video.fps = format.fps;
  if (format.fps != before.fps) video_->setRate(format.fps);
  if (format.width != before.width || format.height != before.height) loadImages();
  if (screen_) {
    if (format != before) screen_->setFormat(format, showScreen());
    return;
  }
  // Its last picture stays until the new one has its first.
  if (!camera_ || format.fps <= cameraFps_ || cameraFile(settings_.camera)) return;
  closeCamera();
  openCamera();
}

void CaptureSession::setDevices(const std::string& camera, const std::string& microphone) {
  std::lock_guard lock(mutex_);
  const bool isOtherCamera = camera != settings_.camera;
  const bool isOtherSound = microphone != settings_.microphone;
  const bool wasFileSound = isFileSound();
  settings_.camera = camera;
  settings_.microphone = microphone;
  if (isOtherCamera) {
    closeCamera();
    if (cameraWanted_) openCamera();
  }
  if (!isFileSound()) {
    if (wasFileSound || isOtherSound) openMicrophone();
    return;
  }
  if (wasFileSound) return;
  microphone_.reset();
  if (fileSound_) {
    audio_.setSource(fileSound_);
  } else if (cameraWanted_) {
    openCamera();
  }
}

void CaptureSession::dropMicrophone() {
  std::lock_guard lock(mutex_);
  if (isFileSound()) return;
  audio_.setSource(nullptr);
  microphone_.reset();
  settings_.microphone.clear();
}

bool CaptureSession::hasHung(DeviceKind kind, Clock::duration patience) {
  std::lock_guard lock(mutex_);
  const bool isCamera = kind == DeviceKind::kCamera;
  const Clock::time_point opened = isCamera ? cameraOpened_ : microphoneOpened_;
  const bool isDumb = isCamera ? camera_ && pictures_ && pictures_->count() == 0
                               : microphone_ && sound_->count() == 0;
  return isDumb && Clock::now() - opened >= patience;
}

// ------------------------------------------------------------------------------------- screen

void CaptureSession::shareScreen(uint32_t id, ScreenCapture::TroubleCallback onTrouble) {
  std::lock_guard lock(mutex_);
  if (!video_) return;
  const auto pictures = showScreen();
  screen_.reset();  // not two at once
  screen_ = std::make_unique<ScreenCapture>(id, wanted_, pictures, std::move(onTrouble));
}

void CaptureSession::stopScreen() {
  std::lock_guard lock(mutex_);
  if (!screen_) return;
  video_->choice().showPlaceholder(Placeholder::kScreenPaused, false);
  showCamera();
  screen_.reset();
}

void CaptureSession::setScreenPaused(bool paused) {
  std::lock_guard lock(mutex_);
  if (!screen_) return;
  screen_->setPaused(paused);
  video_->choice().showPlaceholder(Placeholder::kScreenPaused, paused);
}

// Where its pictures are to go.
std::shared_ptr<FrameMailbox> CaptureSession::showScreen() {
  auto pictures = std::make_shared<FrameMailbox>();
  video_->choice().setSource({pictures, wanted_, FrameOrigin::kScreen});
  return pictures;
}

void CaptureSession::showCamera() {
  video_->choice().setSource({pictures_, settings_.video, FrameOrigin::kCamera});
}

// ------------------------------------------------------------------------------------- images

void CaptureSession::setNetworkPoor(bool poor) {
  if (video_) video_->choice().showPlaceholder(Placeholder::kNetworkPoor, poor);
}

void CaptureSession::loadImages() {
  const auto load = [this](Placeholder occasion, const std::string& file) {
    if (file.empty()) return;
    const auto picture = std::make_shared<FrameMailbox>();
    video_->choice().setImage(occasion, {picture, wanted_});
    images_.at(static_cast<size_t>(occasion)) =
        std::make_unique<StillImage>(file, wanted_, picture);
  };
  load(Placeholder::kNetworkPoor, settings_.networkPoorImage);
  load(Placeholder::kScreenPaused, settings_.pauseImage);
}

// ------------------------------------------------------------------------------------- camera

bool CaptureSession::isFileSound() const {
  return settings_.microphone == settings_.camera && cameraFile(settings_.camera);
}

// A file's sound is always taken along, so that choosing it does not begin the film anew.
void CaptureSession::openCamera() {
  if (!video_ && !isFileSound()) return;
  SourceOutputs outlets{settings_.video, settings_.mirror, nullptr, settings_.audio, nullptr};
  if (video_) {
    pictures_ = std::make_shared<FrameMailbox>();
    outlets.pictures = pictures_;
    if (!screen_) showCamera();
  }
  if (cameraFile(settings_.camera)) {
    fileSound_ = makeFifo(settings_.audio);
    outlets.sound = fileSound_;
    if (isFileSound()) audio_.setSource(fileSound_);
  }
  cameraFps_ = settings_.video.fps;
  cameraOpened_ = Clock::now();
  camera_ = std::make_unique<SourceRunner>(
      "camera " + settings_.camera,
      [id = settings_.camera, outlets](std::string&) { return makeCamera(id, outlets); },
      [this, id = settings_.camera](const std::string& message) {
        onFailure_(DeviceKind::kCamera, id, message);
      });
}

// Its last picture stays.
void CaptureSession::closeCamera() {
  if (pictures_) pictures_->freeze();
  camera_.reset();
  fileSound_.reset();
}

void CaptureSession::openMicrophone() {
  sound_ = makeFifo(settings_.audio);
  const SourceOutputs outlets{settings_.video, false, nullptr, settings_.audio, sound_};
  audio_.setSource(sound_);
  microphoneOpened_ = Clock::now();
  microphone_ = std::make_unique<SourceRunner>(
      "microphone " + settings_.microphone,
      [id = settings_.microphone, outlets](std::string&) { return makeMicrophone(id, outlets); },
      [this, id = settings_.microphone](const std::string& message) {
        onFailure_(DeviceKind::kMicrophone, id, message);
      },
      SourceRunner::Predecessor{std::move(microphone_),
                                [sound = sound_] { return sound->isReady(); }});
}

}  // namespace NimboEngine
