// The operations that this build does not do: each says so, once in the log and by its result.

#include "api/live_pusher.h"
#include "log/log.h"

namespace NimboEngine {

using namespace LumoRtc;

LumoLiveResult LivePusher::notSupported(const char* operation) {
  if (loggedAsMissing_.insert(operation).second) {
    NIMBO_LOG_WARN("this build does not do {}", operation);
  }
  return kLumoLiveNotSupported;
}

int LivePusher::setCurrentAudioCaptureName(const char*) {
  return notSupported(__func__);
}

int LivePusher::setCurrentAudioCaptureID(const char*) {
  return notSupported(__func__);
}

int LivePusher::setCurrentCameraName(const char*) {
  return notSupported(__func__);
}

int LivePusher::setCurrentCameraID(const char*) {
  return notSupported(__func__);
}

int LivePusher::setLiveMixTranscodingConfig(const LumoLiveTranscodingConfig*) {
  return notSupported(__func__);
}

}  // namespace NimboEngine
