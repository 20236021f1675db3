#include "net/async_call.h"

#include <algorithm>

namespace NimboEngine {
namespace {

GSource* timerUntil(std::chrono::steady_clock::time_point deadline) {
  using std::chrono::milliseconds;
  const auto left =
      std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
  return g_timeout_source_new(static_cast<guint>(std::max<milliseconds::rep>(left.count(), 0)));
}

}  // namespace

AsyncCall::AsyncCall(GCancellable* cancellable, std::chrono::steady_clock::time_point deadline)
    : cancellable_(cancellable), context_(g_main_context_new()), timer_(timerUntil(deadline)) {
  g_main_context_push_thread_default(context_.get());
  g_source_set_callback(timer_, &AsyncCall::onDeadline, this, nullptr);
  g_source_attach(timer_, context_.get());
}

AsyncCall::~AsyncCall() {
  g_source_destroy(timer_);
  g_source_unref(timer_);
  if (result_) g_object_unref(result_);
  g_main_context_pop_thread_default(context_.get());
}

void AsyncCall::onDone(GObject*, GAsyncResult* result, gpointer call) {
  static_cast<AsyncCall*>(call)->result_ = G_ASYNC_RESULT(g_object_ref(result));
}

gboolean AsyncCall::onDeadline(gpointer call) {
  auto* self = static_cast<AsyncCall*>(call);
  self->timedOut_ = true;
  g_cancellable_cancel(self->cancellable_);
  return G_SOURCE_REMOVE;
}

GAsyncResult* AsyncCall::wait() {
  while (!result_) g_main_context_iteration(context_.get(), TRUE);
  return result_;
}

}  // namespace NimboEngine
