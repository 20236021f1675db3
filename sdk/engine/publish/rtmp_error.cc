#include "publish/rtmp_error.h"

#include <gio/gio.h>

#include <charconv>
#include <string_view>

namespace NimboEngine {
namespace {

using namespace LumoRtc;

// The RTMP element's details end in "domain <quark>, code <number>": the network library's own
// error, which unlike the text is not translated.
struct Cause {
  std::string_view domain;
  int code = -1;
};

Cause causeOf(std::string_view debug) {
  constexpr std::string_view kDomain = "domain ";
  constexpr std::string_view kCode = ", code ";
  const auto domain = debug.rfind(kDomain);
  const auto code = debug.rfind(kCode);
  if (domain == debug.npos || code == debug.npos || code < domain) return {};
  Cause cause;
  cause.domain = debug.substr(domain + kDomain.size(), code - domain - kDomain.size());
  const std::string_view number = debug.substr(code + kCode.size());
  std::from_chars(number.data(), number.data() + number.size(), cause.code);
  return cause;
}

// The command to publish failed, or whichever command failed for want of permission. A server that
// does not know the application fails the command before it, "connect".
bool isDenial(const PipelineMessage& error, const Cause& cause) {
  return error.text.find("'publish' cmd failed") != std::string::npos ||
         (cause.domain == "g-io-error-quark" && cause.code == G_IO_ERROR_PERMISSION_DENIED);
}

bool hasNoAnswer(int code) {
  return code == G_IO_ERROR_TIMED_OUT || code == G_IO_ERROR_HOST_UNREACHABLE ||
         code == G_IO_ERROR_NETWORK_UNREACHABLE;
}

}  // namespace

LumoLiveErrorCode classifyRtmpError(const PipelineMessage& error, bool accepted) {
  if (accepted) return kLumoLiveErrorConnectionLost;
  if (error.domain == GST_RESOURCE_ERROR && error.code == GST_RESOURCE_ERROR_OPEN_READ) {
    return kLumoLiveErrorConnectRefused;  // the one failure for which the element has a code
  }
  if (error.text.find("NetStream.Publish.BadName") != std::string::npos) {
    return kLumoLiveErrorStreamNameInUse;
  }
  const Cause cause = causeOf(error.debug);
  if (cause.domain == "g-resolver-error-quark") return kLumoLiveErrorHostNotFound;
  if (cause.domain == "g-io-error-quark" && hasNoAnswer(cause.code)) {
    return kLumoLiveErrorConnectTimeout;
  }
  if (isDenial(error, cause)) return kLumoLiveErrorPublishDenied;
  // It answered and then said no or closed the connection.
  return kLumoLiveErrorPublishRejected;
}

}  // namespace NimboEngine
