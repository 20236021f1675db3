// What a push tells of its network, from the part that notices to the application. Each event is
// named after the listener's operation; docs/network.md says when it is raised.
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
