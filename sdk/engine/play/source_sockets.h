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
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/glib_ptr.h"
#include "base/mutex.h"
#include "base/result.h"

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
  Result<void> check(GSocketConnection* connection) NIMBO_REQUIRES(mutex_);

  const std::function<void(const std::string&)> onRefused_;

  mutable Mutex mutex_;
  std::vector<GlibPtr<GSocket>> sockets_ NIMBO_GUARDED_BY(mutex_);
  int connections_ NIMBO_GUARDED_BY(mutex_) = 0;
  bool beganPublic_ NIMBO_GUARDED_BY(mutex_) = false;  // the first one was to a public address
  bool cut_ NIMBO_GUARDED_BY(mutex_) = false;
  bool refused_ NIMBO_GUARDED_BY(mutex_) = false;
};

// Cuts sockets after a delay unless destroyed before. Destruction does not block.
class DelayedCut {
 public:
  DelayedCut(std::shared_ptr<SourceSockets> sockets, std::chrono::milliseconds delay);
  ~DelayedCut();
  DelayedCut(const DelayedCut&) = delete;
  DelayedCut& operator=(const DelayedCut&) = delete;

 private:
  Mutex mutex_;
  ConditionVariable changed_;
  bool over_ NIMBO_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace NimboEngine
