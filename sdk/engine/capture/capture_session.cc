#include "capture/capture_session.h"

#include <utility>

#include "capture/source_choice.h"
#include "devices/devices.h"

namespace NimboEngine {
namespace {

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
  openMicrophone();
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
  if (running == (camera_ != nullptr)) return;
  if (running) return openCamera();
  if (pictures_) pictures_->freeze();
  if (isFileSound()) audio_.setSource(nullptr);
  camera_.reset();
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
  if (pictures_) pictures_->freeze();
  camera_.reset();
  openCamera();
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
  video_->choice().setOccasion(Occasion::kScreenPaused, false);
  showCamera();
  screen_.reset();
}

void CaptureSession::setScreenPaused(bool paused) {
  std::lock_guard lock(mutex_);
  if (!screen_) return;
  screen_->setPaused(paused);
  video_->choice().setOccasion(Occasion::kScreenPaused, paused);
}

// Where its pictures are to go.
std::shared_ptr<PictureMailbox> CaptureSession::showScreen() {
  auto pictures = std::make_shared<PictureMailbox>();
  video_->choice().setSource({pictures, wanted_, PictureOrigin::kScreen});
  return pictures;
}

void CaptureSession::showCamera() {
  video_->choice().setSource({pictures_, settings_.video, PictureOrigin::kCamera});
}

// ------------------------------------------------------------------------------------- images

void CaptureSession::setNetworkPoor(bool poor) {
  if (video_) video_->choice().setOccasion(Occasion::kNetworkPoor, poor);
}

void CaptureSession::loadImages() {
  const auto load = [this](Occasion occasion, const std::string& file) {
    if (file.empty()) return;
    const auto picture = std::make_shared<PictureMailbox>();
    video_->choice().setImage(occasion, {picture, wanted_});
    images_.at(static_cast<size_t>(occasion)) =
        std::make_unique<StillImage>(file, wanted_, picture);
  };
  load(Occasion::kNetworkPoor, settings_.networkPoorImage);
  load(Occasion::kScreenPaused, settings_.pauseImage);
}

// ------------------------------------------------------------------------------------- camera

bool CaptureSession::isFileSound() const {
  return settings_.microphone == kFileSound ||
         (settings_.microphone.empty() && cameraFile(settings_.camera));
}

void CaptureSession::openCamera() {
  if (!video_ && !isFileSound()) return;
  SourceOutlets outlets{settings_.video, settings_.mirror, nullptr, settings_.audio, nullptr};
  if (video_) {
    pictures_ = std::make_shared<PictureMailbox>();
    outlets.pictures = pictures_;
    if (!screen_) showCamera();
  }
  if (isFileSound()) {
    outlets.sound = makeFifo(settings_.audio);
    audio_.setSource(outlets.sound);
  }
  cameraFps_ = settings_.video.fps;
  camera_ = std::make_unique<SourceRunner>(
      "camera " + settings_.camera,
      [camera = settings_.camera, outlets](std::string& problem) {
        return makeCamera(camera, outlets, problem);
      },
      [this](const std::string& message) { onFailure_(true, message); });
}

void CaptureSession::openMicrophone() {
  if (isFileSound()) {
    if (!cameraFile(settings_.camera)) onFailure_(false, "the camera is no file with a sound");
    return;
  }
  SourceOutlets outlets{settings_.video, false, nullptr, settings_.audio,
                        makeFifo(settings_.audio)};
  audio_.setSource(outlets.sound);
  microphone_ = std::make_unique<SourceRunner>(
      "microphone " + settings_.microphone,
      [microphone = settings_.microphone, outlets](std::string& problem) {
        return makeMicrophone(microphone, outlets, problem);
      },
      [this](const std::string& message) { onFailure_(false, message); });
}

}  // namespace NimboEngine
