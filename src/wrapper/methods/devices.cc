// Microphones and cameras: listing, reading the current one, choosing one.

#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLiveDeviceList;
using LumoRtc::LumoLivePusher;

v8::Local<v8::Object> DeviceAt(v8::Isolate* isolate, LumoLiveDeviceList& list, uint32_t index) {
  // The entry is fetched three times on purpose: each record owns its own strings.
  const std::string name = list.getDevice(index).deviceName.c_str();
  const std::string id = list.getDevice(index).deviceId.c_str();
  const int32_t transportType = list.getDevice(index).transportType;
  return ObjectBuilder(isolate)
      .Set("deviceName", name)
      .Set("deviceId", id)
      .Set("deviceTransportType", transportType)
      .object();
}

// The list belongs to the SDK and is not released.
v8::Local<v8::Array> ToArray(v8::Isolate* isolate, LumoLiveDeviceList& list) {
  return ArrayOfCounted(
      isolate, list, [isolate, &list](uint32_t index) { return DeviceAt(isolate, list, index); });
}

std::string Text(const LumoRtc::String& text) {
  return text.c_str();
}

}  // namespace

void LumoLivePushJSWrapper::GetAudioCaptureList(const Arguments& args) {
  CallPusher(args, LUMO_HERE, EmptyArray{}, [&args](auto& pusher) {
    auto* list = pusher.getAudioCaptureList();
    return list ? ToArray(args.GetIsolate(), *list) : v8::Array::New(args.GetIsolate());
  });
}

void LumoLivePushJSWrapper::GetCurrentAudioCaptureName(const Arguments& args) {
  CallPusher(args, LUMO_HERE, "",
             [](auto& pusher) { return Text(pusher.getCurrentAudioCaptureName()); });
}

void LumoLivePushJSWrapper::GetCurrentAudioCaptureID(const Arguments& args) {
  CallPusher(args, LUMO_HERE, "",
             [](auto& pusher) { return Text(pusher.getCurrentAudioCaptureID()); });
}

void LumoLivePushJSWrapper::SetCurrentAudioCaptureName(const Arguments& args) {
  CallPusherWithText(args, LUMO_HERE, kFailed, &LumoLivePusher::setCurrentAudioCaptureName);
}

void LumoLivePushJSWrapper::SetCurrentAudioCaptureID(const Arguments& args) {
  CallPusherWithText(args, LUMO_HERE, kFailed, &LumoLivePusher::setCurrentAudioCaptureID);
}

void LumoLivePushJSWrapper::GetCameraList(const Arguments& args) {
  // Deliberate: unlike the microphones' list this one is not tested for null; the SDK promises it.
  CallPusher(args, LUMO_HERE, EmptyArray{},
             [&args](auto& pusher) { return ToArray(args.GetIsolate(), *pusher.getCameraList()); });
}

void LumoLivePushJSWrapper::GetCurrentCameraName(const Arguments& args) {
  CallPusher(args, LUMO_HERE, "", [](auto& pusher) { return Text(pusher.getCurrentCameraName()); });
}

void LumoLivePushJSWrapper::GetCurrentCameraID(const Arguments& args) {
  CallPusher(args, LUMO_HERE, "", [](auto& pusher) { return Text(pusher.getCurrentCameraID()); });
}

void LumoLivePushJSWrapper::SetCurrentCameraName(const Arguments& args) {
  CallPusherWithText(args, LUMO_HERE, kFailed, &LumoLivePusher::setCurrentCameraName);
}

void LumoLivePushJSWrapper::SetCurrentCameraID(const Arguments& args) {
  CallPusherWithText(args, LUMO_HERE, kFailed, &LumoLivePusher::setCurrentCameraID);
}

}  // namespace LumoLivePushElectronSDK
