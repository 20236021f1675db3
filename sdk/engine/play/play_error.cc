#include "play/play_error.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

bool isUndecodable(const PipelineMessage& error) {
  if (error.domain == GST_CORE_ERROR) return error.code == GST_CORE_ERROR_MISSING_PLUGIN;
  // A source also posts FAILED when its thread has ended, for whatever reason.
  return error.domain == GST_STREAM_ERROR && error.code != GST_STREAM_ERROR_FAILED;
}

}  // namespace

LumoLiveErrorCode classifyPlayError(const PipelineMessage& error, bool playing) {
  if (isUndecodable(error)) return kLumoLiveErrorUndecodable;
  if (playing) return kLumoLiveErrorConnectionLost;
  if (error.domain == GST_RESOURCE_ERROR) {
    if (error.code == GST_RESOURCE_ERROR_NOT_FOUND) return kLumoLiveErrorStreamNotFound;
    // The SRT library's own text, which is not translated.
    if (error.debug.find("Connection timeout") != error.debug.npos) {
      return kLumoLiveErrorConnectTimeout;
    }
  }
  return kLumoLiveErrorPlayRejected;
}

}  // namespace NimboEngine
