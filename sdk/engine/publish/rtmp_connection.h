// One connection to an RTMP server: FLV tags in, events out. A failed or finished connection is
// not used again; the next attempt is a new object.
//
// Thread: created, used and destroyed on the engine thread, where the events are raised too;
//   send(), backlog() and acknowledged() may be called from any thread, from onAccepted on and
//   while the object lives.
// Ownership: owns its pipeline. Destruction closes the connection at once; no event follows.
// Failure: onFailed, once, after which only destruction is left.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "NimboSdk/LumoLiveResult.h"
#include "base/engine_thread.h"
#include "base/lifeline.h"
#include "gst/pipeline.h"
#include "publish/push_url.h"
#include "publish/tcp_socket.h"

namespace NimboEngine {

class RtmpConnection {
 public:
  struct Events {
    // The server takes the stream.
    std::function<void()> onAccepted;
    std::function<void(LumoRtc::LumoLiveErrorCode, const std::string& message)> onFailed;
    // finish() is through.
    std::function<void()> onDrained;
  };

  RtmpConnection(EngineThread& engine, PushUrl url, Events events);
  ~RtmpConnection();
  RtmpConnection(const RtmpConnection&) = delete;
  RtmpConnection& operator=(const RtmpConnection&) = delete;

  // Begins to connect.
  void open();

  void send(GstPtr<GstBuffer> tag);

  // Bytes that were given to send() and that the server has not taken yet.
  std::size_t backlog() const;

  // Bytes that the server has taken since the connection began, the protocol's own included.
  uint64_t acknowledged() const;

  // Sends what is waiting and says goodbye to the server, for a third of a second at most, then
  // raises onDrained. Nothing may be sent afterwards.
  void finish();

 private:
  enum class State { kNew, kConnecting, kAccepted, kFinishing, kOver };

  void onPipelineMessage(const PipelineMessage& message);
  void watchForAcceptance();
  void accepted();
  void adoptSocket();
  uint64_t statistic(const char* name) const;
  void fail(LumoRtc::LumoLiveErrorCode code, const std::string& message);
  void drained();

  EngineThread& engine_;
  const PushUrl url_;
  const Events events_;

  State state_ = State::kNew;
  EngineThread::Clock::time_point deadline_;
  std::optional<EngineThread::Clock::time_point> answered_;
  std::set<ino_t> otherSockets_;     // those that were there before this connection
  std::optional<TcpSocket> socket_;  // once accepted; none when it is not known

  GstPtr<GstElement> source_;
  GstPtr<GstElement> sink_;
  std::unique_ptr<Pipeline> pipeline_;  // ends before what it points at
  Lifeline lifeline_;
};

}  // namespace NimboEngine
