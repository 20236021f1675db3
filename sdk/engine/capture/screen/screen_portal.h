// The desktop's portal (org.freedesktop.portal.ScreenCast on the session bus), through which
// programs of a Wayland session get a screen or window: the desktop shows a chooser of its own, and
// hands over a PipeWire stream of what the user chose.
//
//   CreateSession ─▶ SelectSources ─▶ Start, which asks the user ─▶ OpenPipeWireRemote
//
// Each of the first three is answered twice: with the path of a request at once, and by that
// request's signal Response when it is through.
//
// Thread: one thread; `cancelled` may be cancelled on any, and ends every wait at once.
// Ownership: a bus connection of its own. The portal ends what was asked for, chooser and session,
//   when that closes, as it does with the object.
// Failure: an answer and the reason; a portal that does not answer within 5 s, or a user within
//   three minutes, is a failure too.

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/glib_ptr.h"

namespace NimboEngine {

class ScreenPortal {
 public:
  enum class Answer { kShared, kRefused, kFailed };

  struct Timeouts {
    std::chrono::milliseconds portal{5000};
    std::chrono::milliseconds user{180'000};
  };

  // Whether there is a session bus with a portal that shares screens; a second at most.
  static bool isThere();

  ScreenPortal(GCancellable* cancelled, const Timeouts& timeouts);
  ~ScreenPortal();
  ScreenPortal(const ScreenPortal&) = delete;
  ScreenPortal& operator=(const ScreenPortal&) = delete;

  // Once; `error` tells why nothing is shared.
  Answer ask(std::string& error);

  // Of what is shared: where PipeWire is, and the stream there. The descriptor stays the portal's.
  int remote() const { return remote_; }
  uint32_t node() const { return node_; }

  // Whether the desktop still shares it. Does not wait.
  bool isShared();

 private:
  // What a request's signal said.
  struct Response {
    bool arrived = false;
    uint32_t code = 0;
    GlibPtr<GVariant> results;
  };

  bool connect(std::string& error);
  Answer createSession(std::string& error);
  Answer selectSources(std::string& error);
  Answer start(std::string& error);
  Answer openRemote(std::string& error);
  Answer request(const char* method, std::vector<GVariant*> arguments, GVariantBuilder& options,
                 std::chrono::milliseconds timeout, Response& response, std::string& error);
  bool call(const char* method, GVariant* arguments, std::string& error);
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
