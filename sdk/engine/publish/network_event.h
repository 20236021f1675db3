// The network events of a push, from their detection to the application. Each is named after the
// listener's operation; docs/network.md documents when it is raised.
//
// Thread: plain values.

#pragma once

namespace NimboEngine {

enum class NetworkEvent {
  kNetworkPoor,
  kNetworkRecovery,
  kReconnectStart,
  kConnectionLost,
  kReconnectFail,
  kReconnectSucceed,
  kSendDataTimeout,
  kConnectFail,
  kAuthenticationOverdue,
  kSendMessage,
  kPacketsLost,
};

}  // namespace NimboEngine
