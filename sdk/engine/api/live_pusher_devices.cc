// LivePusher's operations on cameras and microphones: listing and selection.

#include "api/live_pusher.h"
#include "base/log.h"

namespace NimboEngine {

using namespace LumoRtc;

LumoLiveDeviceList* LivePusher::getCameraList() {
  cameras_.assign(devices_.list(DeviceKind::kCamera));
  return &cameras_;
}

LumoLiveDeviceList* LivePusher::getAudioCaptureList() {
  microphones_.assign(devices_.list(DeviceKind::kMicrophone));
  return &microphones_;
}

String LivePusher::getCurrentCameraName() {
  return devices_.current(DeviceKind::kCamera).name.c_str();
}

String LivePusher::getCurrentCameraID() {
  return devices_.current(DeviceKind::kCamera).id.text().c_str();
}

String LivePusher::getCurrentAudioCaptureName() {
  return devices_.current(DeviceKind::kMicrophone).name.c_str();
}

String LivePusher::getCurrentAudioCaptureID() {
  return devices_.current(DeviceKind::kMicrophone).id.text().c_str();
}

int LivePusher::setCurrentCameraName(const char* name) {
  return choose(&DeviceSelection::chooseName, DeviceKind::kCamera, name);
}

int LivePusher::setCurrentCameraID(const char* id) {
  return choose(&DeviceSelection::chooseId, DeviceKind::kCamera, id);
}

int LivePusher::setCurrentAudioCaptureName(const char* name) {
  return choose(&DeviceSelection::chooseName, DeviceKind::kMicrophone, name);
}

int LivePusher::setCurrentAudioCaptureID(const char* id) {
  return choose(&DeviceSelection::chooseId, DeviceKind::kMicrophone, id);
}

template <class Key>
LumoLiveResult LivePusher::choose(ChooseDevice<Key> how, DeviceKind kind, const char* text) {
  if (!text) {
    NIMBO_LOG_ERROR("there is no name or identifier");
    return kLumoLiveInvalidArgument;
  }
  if (!(devices_.*how)(kind, Key(text))) {
    NIMBO_LOG_ERROR("there is no {} \"{}\"", kind == DeviceKind::kCamera ? "camera" : "microphone",
                    text);
    return kLumoLiveNotFound;
  }
  post([](PusherSession& session) { session.useDevices(); });
  return kLumoLiveOk;
}

}  // namespace NimboEngine
