// The desktop's portal (org.freedesktop.portal.ScreenCast on the session bus), through which
// programs of a Wayland session share a screen or window: the desktop shows its own chooser, and
// provides a PipeWire stream of the user's choice.
//
//   CreateSession ─▶ SelectSources ─▶ Start, which asks the user ─▶ OpenPipeWireRemote
//
// Each of the first three is answered twice: immediately with the path of a request, and by that
// request's signal Response when it has completed.
//
// Thread: one thread; `cancelled` may be cancelled on any, and ends every wait immediately.
// Ownership: a bus connection of its own. The portal closes chooser and session when the connection
//   closes, which happens in the destructor.
// Failure: an error; a portal that does not answer within 5 s, or a user within
//   three minutes, is a failure too.

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/glib_ptr.h"
#include "base/result.h"

namespace NimboEngine {

class ScreenPortal {
 public:
  enum class Failure { kRefused, kFailed };  // by the user; for any other reason
  using Answer = Result<void, Failure>;

  struct Timeouts {
    std::chrono::milliseconds portal{5000};
    std::chrono::milliseconds user{180'000};
  };

  // Returns whether there is a session bus with a portal that shares screens; takes a second at
  // most.
  static bool isThere();

  ScreenPortal(GCancellable* cancelled, const Timeouts& timeouts);
  ~ScreenPortal();
  ScreenPortal(const ScreenPortal&) = delete;
  ScreenPortal& operator=(const ScreenPortal&) = delete;

  // To be called once. Fails if nothing is shared.
  Answer ask();

  // The PipeWire connection, and the shared stream there. The descriptor stays the portal's.
  int remote() const { return remote_; }
  uint32_t node() const { return node_; }

  // Returns whether the desktop still shares it. Does not block.
  bool isShared();

 private:
  // The content of a request's signal.
  struct Response {
    bool arrived = false;
    uint32_t code = 0;
    GlibPtr<GVariant> results;
  };

  Answer connect();
  Answer createSession();
  Answer selectSources();
  Answer start();
  Answer openRemote();
  // Returns the results of the request.
  Result<GlibPtr<GVariant>, Failure> request(const char* method, std::vector<GVariant*> arguments,
                                             GVariantBuilder& options,
                                             std::chrono::milliseconds timeout);
  Answer call(const char* method, GVariant* arguments);
  bool wait(const Response& response, std::chrono::milliseconds timeout);
  bool canShowPointer();

  GCancellable* const cancelled_;
  const Timeouts timeouts_;
  const GlibPtr<GMainContext> context_;
  GlibPtr<GDBusConnection> connection_;
  int requests_ = 0;
  std::string session_;
  guint closedSubscription_ = 0;
  bool closed_ = false;
  int remote_ = -1;
  uint32_t node_ = 0;
};

}  // namespace NimboEngine
