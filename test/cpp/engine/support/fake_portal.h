// A desktop's portal on the session bus with scripted answers.
//
// Thread: used on one thread; it answers on one of its own, which calls `openRemote` too.
// Failure: a bus that cannot be reached throws std::runtime_error.

#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "base/glib_ptr.h"
#include "support/event_log.h"

namespace NimboEngine::test {

class FakePortal {
 public:
  static constexpr uint32_t kSilent = 1000;   // no answer to the request
  static constexpr uint32_t kRefuses = 1001;  // the call itself is an error

  // The results in the requests' signals: 0 done, 1 cancelled by the user, 2 ended otherwise; or
  // one of the above.
  struct Answers {
    uint32_t createSession = 0;
    uint32_t selectSources = 0;
    uint32_t start = 0;
    uint32_t cursorModes = 1 | 2 | 4;
    uint32_t node = 42;
    bool hasStream = true;
    std::function<int()> openRemote{};  // a descriptor, which it takes; without it a refusal
  };

  explicit FakePortal(Answers answers);
  ~FakePortal();
  FakePortal(const FakePortal&) = delete;
  FakePortal& operator=(const FakePortal&) = delete;

  // Ends the sharing, like the user.
  void endSession();

  // "CreateSession", "SelectSources types=3 cursor_mode=2", …, and "gone" when the client has left.
  EventLog calls;

 private:
  static void onCall(GDBusConnection*, const gchar* sender, const gchar*, const gchar*,
                     const gchar* method, GVariant* arguments, GDBusMethodInvocation* invocation,
                     gpointer self);
  static GVariant* onProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                              const gchar* name, GError**, gpointer self);
  void answer(const std::string& sender, const std::string& method, GVariant* arguments,
              GDBusMethodInvocation* invocation);
  void openRemote(GDBusMethodInvocation* invocation);
  void watch(const std::string& sender);
  void serve();
  void emit(const std::string& path, const char* interface, const char* signal, GVariant* with);

  const Answers answers_;
  GMainContext* const context_;
  GMainLoop* const loop_;
  GDBusConnection* connection_ = nullptr;
  std::string session_;
  guint watched_ = 0;
  std::thread thread_;
};

}  // namespace NimboEngine::test
