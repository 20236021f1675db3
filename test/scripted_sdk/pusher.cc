#include "scripted_sdk/pusher.h"

#include <atomic>

#include "scripted_sdk/records.h"
#include "scripted_sdk/registry.h"

namespace ScriptedSdk {

namespace {

// Whom destroy(), which names no pusher, means when several live: the pusher that was used last.
// A caller detaches its own pusher's listeners right before, so a pusher left over from an earlier
// test, destroyed late by a garbage collection, does not take the present one with it.
std::atomic<const void*> lastUsed{nullptr};

std::shared_ptr<Pusher> pusherToDestroy() {
  auto& registry = Registry<Pusher>::instance();
  const void* last = lastUsed;
  auto pusher = last ? registry.find(last) : nullptr;
  return pusher && registry.isAlive(*pusher) ? pusher : registry.find(nullptr);
}

Json previewArgs(void* view, uint32_t width, uint32_t height) {
  return {{"view", pointerJson(view)}, {"width", width}, {"height", height}};
}

Json listenerArg(const void* listener) {
  return {{"listener", pointerJson(listener)}};
}

}  // namespace

Call Pusher::call(const char* name, Json args) const {
  lastUsed = static_cast<const Interface*>(this);
  Call made(name, this, std::move(args));
  if (!Registry<Pusher>::instance().isAlive(*this)) made.markDestroyed();
  return made;
}

void Pusher::end() {
  errorListener.set(nullptr);
  infoListener.set(nullptr);
  frameListener.set(nullptr);
  networkListener.set(nullptr);
}

int Pusher::init(LumoRtc::LumoLivePushConfig config) {
  return call("pusher.init", {{"config", recordJson(config)}}).integer();
}

void Pusher::setPushErrorListener(LumoRtc::LumoLivePushErrorListener* listener) {
  call("pusher.setPushErrorListener", listenerArg(listener));
  errorListener.set(listener);
}

void Pusher::setPushInfoListener(LumoRtc::LumoLivePushInfoListener* listener) {
  call("pusher.setPushInfoListener", listenerArg(listener));
  infoListener.set(listener);
}

void Pusher::setVideoFrameListener(LumoRtc::LumoLiveVideoFrameListener* listener) {
  call("pusher.setVideoFrameListener", listenerArg(listener));
  frameListener.set(listener);
}

void Pusher::setPushNetworkListener(LumoRtc::LumoLivePushNetworkListener* listener) {
  call("pusher.setPushNetworkListener", listenerArg(listener));
  networkListener.set(listener);
}

int Pusher::startPreview(void* view, uint32_t width, uint32_t height) {
  return call("pusher.startPreview", previewArgs(view, width, height)).integer();
}

int Pusher::startPreviewAsync(void* view, uint32_t width, uint32_t height) {
  return call("pusher.startPreviewAsync", previewArgs(view, width, height)).integer();
}

int Pusher::stopPreview() {
  return call("pusher.stopPreview").integer();
}

int Pusher::startPush(const char* url) {
  return call("pusher.startPush", {{"url", textJson(url)}}).integer();
}

int Pusher::startPushAsync(const char* url) {
  return call("pusher.startPushAsync", {{"url", textJson(url)}}).integer();
}

int Pusher::stopPush() {
  return call("pusher.stopPush").integer();
}

int Pusher::startCamera() {
  return call("pusher.startCamera").integer();
}

int Pusher::stopCamera() {
  return call("pusher.stopCamera").integer();
}

int Pusher::setMute(bool mute, uint32_t mode) {
  return call("pusher.setMute", {{"mute", mute}, {"mode", mode}}).integer();
}

int Pusher::muteLocalCamera(bool mute) {
  return call("pusher.muteLocalCamera", {{"mute", mute}}).integer();
}

LumoRtc::LumoLiveDeviceList* Pusher::deviceList(Call call, DeviceList& list) {
  const Json answer = call.answer();
  LumoRtc::LumoLiveDeviceList* const result = answer.is_null() ? nullptr : &list;
  if (result) list.fill(readDeviceList(answer));
  call.recordResult(pointerJson(result));
  return result;
}

LumoRtc::LumoLiveDeviceList* Pusher::getAudioCaptureList() {
  return deviceList(call("pusher.getAudioCaptureList"), audioCaptureList_);
}

LumoRtc::String Pusher::getCurrentAudioCaptureName() {
  return call("pusher.getCurrentAudioCaptureName").text();
}

LumoRtc::String Pusher::getCurrentAudioCaptureID() {
  return call("pusher.getCurrentAudioCaptureID").text();
}

int Pusher::setCurrentAudioCaptureName(const char* name) {
  return call("pusher.setCurrentAudioCaptureName", {{"name", textJson(name)}}).integer();
}

int Pusher::setCurrentAudioCaptureID(const char* id) {
  return call("pusher.setCurrentAudioCaptureID", {{"id", textJson(id)}}).integer();
}

LumoRtc::LumoLiveDeviceList* Pusher::getCameraList() {
  return deviceList(call("pusher.getCameraList"), cameraList_);
}

LumoRtc::String Pusher::getCurrentCameraName() {
  return call("pusher.getCurrentCameraName").text();
}

LumoRtc::String Pusher::getCurrentCameraID() {
  return call("pusher.getCurrentCameraID").text();
}

int Pusher::setCurrentCameraName(const char* name) {
  return call("pusher.setCurrentCameraName", {{"name", textJson(name)}}).integer();
}

int Pusher::setCurrentCameraID(const char* id) {
  return call("pusher.setCurrentCameraID", {{"id", textJson(id)}}).integer();
}

int Pusher::enableAudioVolumeIndication(int32_t interval, int32_t smooth, int32_t reportVad) {
  return call("pusher.enableAudioVolumeIndication",
              {{"interval", interval}, {"smooth", smooth}, {"reportVad", reportVad}})
      .integer();
}

int Pusher::setTargetVideoBitrate(int32_t kbps) {
  return call("pusher.setTargetVideoBitrate", {{"kbps", kbps}}).integer();
}

int Pusher::setMinVideoBitrate(int32_t kbps) {
  return call("pusher.setMinVideoBitrate", {{"kbps", kbps}}).integer();
}

int Pusher::setResolution(uint32_t resolution, int32_t width, int32_t height) {
  return call("pusher.setResolution",
              {{"resolution", resolution}, {"width", width}, {"height", height}})
      .integer();
}

int Pusher::setFps(uint32_t fps) {
  return call("pusher.setFps", {{"fps", fps}}).integer();
}

int Pusher::setLiveMixTranscodingConfig(const LumoRtc::LumoLiveTranscodingConfig* config) {
  const Json layout = config ? recordJson(*config) : Json();
  return call("pusher.setLiveMixTranscodingConfig", {{"config", layout}}).integer();
}

int Pusher::startScreenShareByDesktopId(uint32_t sourceId) {
  return call("pusher.startScreenShareByDesktopId", {{"sourceId", sourceId}}).integer();
}

int Pusher::setScreenShareEncoderConfiguration(
    const LumoRtc::LumoLiveScreenShareEncoderConfig* config) {
  const Json encoder = config ? recordJson(*config) : Json();
  return call("pusher.setScreenShareEncoderConfiguration", {{"config", encoder}}).integer();
}

LumoRtc::LumoLiveScreenShareEncoderConfig Pusher::getScreenShareEncoderConfiguration() {
  Call made = call("pusher.getScreenShareEncoderConfiguration");
  const auto config = readEncoderConfig(made.answer());
  made.recordResult(recordJson(config));
  return config;
}

int Pusher::switchScreenToCamera() {
  return call("pusher.switchScreenToCamera").integer();
}

int Pusher::pauseScreenShare() {
  return call("pusher.pauseScreenShare").integer();
}

int Pusher::resumeScreenShare() {
  return call("pusher.resumeScreenShare").integer();
}

LumoRtc::LumoLiveScreenSourceList* Pusher::getScreenShareSourceInfo() {
  Call made = call("pusher.getScreenShareSourceInfo");
  const Json answer = made.answer();
  LumoRtc::LumoLiveScreenSourceList* const list =
      answer.is_null() ? nullptr : ScreenSourceList::make(readScreenList(answer));
  made.recordResult(pointerJson(list));
  return list;
}

uint32_t Pusher::getCurrentScreenShareSourceId() {
  return call("pusher.getCurrentScreenShareSourceId").unsignedInteger();
}

}  // namespace ScriptedSdk

namespace LumoRtc {

using ScriptedSdk::Call;
using ScriptedSdk::Pusher;
using ScriptedSdk::Registry;

LumoLivePusher* LumoLivePusher::Create(const char* extraConfig) {
  Call call("pusher.Create", nullptr, {{"extraConfig", ScriptedSdk::textJson(extraConfig)}});
  LumoLivePusher* const pusher =
      call.answer().is_null() ? nullptr : Registry<Pusher>::instance().create();
  call.recordResult(ScriptedSdk::pointerJson(pusher));
  return pusher;
}

void LumoLivePusher::destroy() {
  const auto pusher = ScriptedSdk::pusherToDestroy();
  const Call call("pusher.destroy", pusher.get(), ScriptedSdk::Json::object());
  if (!pusher) return;
  Registry<Pusher>::instance().retire(*pusher);
  pusher->end();
}

}  // namespace LumoRtc
