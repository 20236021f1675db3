// The TCP connections that a GStreamer source opens internally. They can be cut, so that a source
// that waits for its server returns; received bytes are counted, including replies that the source
// never passes on; and redirects to addresses of the local network are refused.
//
// GIO signals every connection on the thread that opens it. adoptThread() assigns it to a source.
//
// Thread: any.
// Ownership: shares the sockets with the source.
// Failure: onRefused, once, on the thread that connects; the connection then fails.

#pragma once

#include <gio/gio.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/glib_ptr.h"

namespace NimboEngine {

class SourceSockets : public std::enable_shared_from_this<SourceSockets> {
 public:
  // A session that tries UDP, then TCP, and needs a password takes four.
  static constexpr int kMaxConnections = 8;

  explicit SourceSockets(std::function<void(const std::string&)> onRefused);

  // Connections that this thread opens from now on belong to the source. To be called on each of
  // the source's threads.
  void adoptThread();

  // Shuts all connections down, future ones included.
  void cut();

  uint64_t receivedBytes() const;

 private:
  static gboolean onEvent(GSignalInvocationHint* hint, guint count, const GValue* values,
                          gpointer data);
  void onConnecting(GSocketConnection* connection);
  std::string refusalOf(GSocketConnection* connection);

  const std::function<void(const std::string&)> onRefused_;

  mutable std::mutex mutex_;
  std::vector<GlibPtr<GSocket>> sockets_;
  int connections_ = 0;
  bool beganPublic_ = false;  // the first one was to a public address
  bool cut_ = false;
  bool refused_ = false;
};

// Cuts sockets after a delay unless destroyed before. Destruction does not block.
class DelayedCut {
 public:
  DelayedCut(std::shared_ptr<SourceSockets> sockets, std::chrono::milliseconds delay);
  ~DelayedCut();
  DelayedCut(const DelayedCut&) = delete;
  DelayedCut& operator=(const DelayedCut&) = delete;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool over_ = false;
  std::thread thread_;
};

}  // namespace NimboEngine
