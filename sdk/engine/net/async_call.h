// Waits on this thread for one asynchronous GIO operation, until a deadline. The synchronous forms
// have no deadline.
//
//   AsyncCall call(cancellable, deadline);
//   g_resolver_lookup_by_name_async(resolver, name, cancellable, AsyncCall::onDone, &call);
//   GAsyncResult* result = call.wait();
//
// Thread: all on one, which runs no other main context meanwhile.
// Ownership: owns the result until it ends.
// Failure: the operation's own. At the deadline it is cancelled, and so is everything else that
//   shares the cancellable; timedOut() distinguishes the two.

#pragma once

#include <chrono>

#include "base/glib_ptr.h"

namespace NimboEngine {

class AsyncCall {
 public:
  AsyncCall(GCancellable* cancellable, std::chrono::steady_clock::time_point deadline);
  ~AsyncCall();
  AsyncCall(const AsyncCall&) = delete;
  AsyncCall& operator=(const AsyncCall&) = delete;

  // The operation's callback; `call` is the AsyncCall.
  static void onDone(GObject* object, GAsyncResult* result, gpointer call);

  // Blocks until the callback has been called.
  GAsyncResult* wait();

  bool timedOut() const { return timedOut_; }

 private:
  static gboolean onDeadline(gpointer call);

  GCancellable* const cancellable_;
  const GlibPtr<GMainContext> context_;
  GSource* const timer_;
  GAsyncResult* result_ = nullptr;
  bool timedOut_ = false;
};

}  // namespace NimboEngine
