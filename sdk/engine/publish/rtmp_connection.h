// A connection to an RTMP or RTMPS server (see connection.h).

#pragma once

#include <memory>
#include <optional>

#include "base/weak_owner_guard.h"
#include "publish/connection.h"
#include "rtmp/rtmp_client.h"

namespace NimboEngine {

// Returns the error code of a failure before the server accepted the stream.
LumoRtc::LumoLiveErrorCode publishErrorCode(ConnectionError error);

class RtmpConnection final : public Connection {
 public:
  RtmpConnection(EngineThread& engine, PushUrl url, Events events);
  ~RtmpConnection() override;

  void open() override;
  void send(GstPtr<GstBuffer> tag) override;
  std::size_t backlog() const override;
  uint64_t acknowledged() const override;
  void finish() override;

 private:
  enum class State { kNew, kConnecting, kAccepted, kFinishing, kOver };

  void onStarted();
  void onEnded(const ConnectionFailure& failure);
  void fail(LumoRtc::LumoLiveErrorCode code, const std::string& message);
  void drained();

  EngineThread& engine_;
  const PushUrl url_;
  const Events events_;

  State state_ = State::kNew;
  std::unique_ptr<RtmpClient> client_;
  WeakOwnerGuard ownerGuard_;
};

}  // namespace NimboEngine
