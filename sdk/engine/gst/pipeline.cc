#include "gst/pipeline.h"

#include <atomic>
#include <utility>

#include "base/capacity.h"
#include "base/listener_slot.h"
#include "base/log.h"
#include "base/tsan_annotations.h"
#include "platform/close_on_exec.h"

namespace NimboEngine {
namespace {

// GLib aborts the process if it cannot open the descriptors that a thread waits on.
constexpr int kDescriptors = 16;

using ParseIssue = void (*)(GstMessage*, GError**, gchar**);

PipelineMessage describe(GstMessage* message, ParseIssue parse) {
  GError* error = nullptr;
  gchar* debug = nullptr;
  parse(message, &error, &debug);
  const GstPtr<GError> ownedError(error);
  const GstPtr<gchar> ownedDebug(debug);
  return {PipelineMessage::Kind::kError,
          GST_OBJECT_NAME(GST_MESSAGE_SRC(message)),
          error->domain,
          error->code,
          error->message,
          debug ? debug : "",
          0};
}

// Elements open their files and sockets on the way to these states.
void markOpened(GstMessage* message) {
  GstState before = GST_STATE_NULL;
  GstState now = GST_STATE_NULL;
  gst_message_parse_state_changed(message, &before, &now, nullptr);
  if (now > before && now != GST_STATE_PLAYING) markNewDescriptors();
}

}  // namespace

struct Pipeline::Relay {
  std::string name;
  Handler handler;
  ListenerSlot<Handler> slot;
  std::atomic<bool> failed{false};

  void deliver(const PipelineMessage& message) {
    slot.call([&](Handler& use) { use(message); });
  }
};

std::unique_ptr<Pipeline> Pipeline::parse(const std::string& name, const std::string& description,
                                          Handler handler) {
  if (!areDescriptorsLeft(kDescriptors)) {
    NIMBO_LOG_ERROR("pipeline {} cannot be built: too few descriptors are left", name);
    return nullptr;
  }
  GError* error = nullptr;
  GstElement* parsed =
      gst_parse_launch_full(description.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error);
  const GstPtr<GError> ownedError(error);
  if (!parsed) {
    NIMBO_LOG_ERROR("pipeline {} cannot be built: {} ({})", name, error->message, description);
    return nullptr;
  }
  GstPtr<GstElement> pipeline(GST_ELEMENT(gst_object_ref_sink(parsed)));
  auto relay = std::make_shared<Relay>();
  relay->name = name;
  relay->handler = std::move(handler);
  relay->slot.set(&relay->handler);
  return std::unique_ptr<Pipeline>(new Pipeline(std::move(pipeline), std::move(relay)));
}

Pipeline::Pipeline(GstPtr<GstElement> pipeline, std::shared_ptr<Relay> relay)
    : pipeline_(std::move(pipeline)), relay_(std::move(relay)) {
  const GstPtr<GstClock> clock(gst_system_clock_obtain());
  gst_pipeline_use_clock(GST_PIPELINE(pipeline_.get()), clock.get());
  const GstPtr<GstBus> bus(gst_element_get_bus(pipeline_.get()));
  auto shared = std::make_unique<std::shared_ptr<Relay>>(relay_);
  tsanRelease(shared.get());
  gst_bus_set_sync_handler(bus.get(), &Pipeline::onBusMessage, shared.release(), [](gpointer data) {
    tsanAcquire(data);
    std::unique_ptr<std::shared_ptr<Relay>>(static_cast<std::shared_ptr<Relay>*>(data)).reset();
  });
}

Pipeline::~Pipeline() {
  relay_->slot.set(nullptr);  // first: errors while stopping are of no interest
  // A demultiplexer that has just failed refuses one state change, and its pipeline would keep
  // running, with all threads and descriptors. The next attempt succeeds.
  constexpr int kMostAttempts = 5;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    const auto change = gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    if (change != GST_STATE_CHANGE_FAILURE) return;
  }
  NIMBO_LOG_ERROR("pipeline {} cannot be stopped", relay_->name);
}

bool Pipeline::play() {
  if (gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE) {
    return true;
  }
  NIMBO_LOG_ERROR("pipeline {} cannot be started", relay_->name);
  return false;
}

GstPtr<GstElement> Pipeline::element(const char* name) const {
  return GstPtr<GstElement>(gst_bin_get_by_name(GST_BIN(pipeline_.get()), name));
}

GstBusSyncReply Pipeline::onBusMessage(GstBus*, GstMessage* message, gpointer data) {
  tsanAcquire(data);
  Relay& relay = **static_cast<std::shared_ptr<Relay>*>(data);
  switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ERROR: {
      const PipelineMessage error = describe(message, gst_message_parse_error);
      NIMBO_LOG_WARN("pipeline {}: {} failed: {} ({})", relay.name, error.element, error.text,
                     error.debug);
      if (!relay.failed.exchange(true)) relay.deliver(error);
      break;
    }
    case GST_MESSAGE_WARNING: {
      const PipelineMessage warning = describe(message, gst_message_parse_warning);
      NIMBO_LOG_WARN("pipeline {}: {} warns: {} ({})", relay.name, warning.element, warning.text,
                     warning.debug);
      break;
    }
    case GST_MESSAGE_STATE_CHANGED:
      markOpened(message);
      break;
    case GST_MESSAGE_STREAM_STATUS:
      markNewDescriptors();
      break;
    case GST_MESSAGE_EOS:
      relay.deliver(
          {.kind = PipelineMessage::Kind::kEndOfStream, .element = {}, .text = {}, .debug = {}});
      break;
    case GST_MESSAGE_BUFFERING: {
      PipelineMessage buffering;
      buffering.kind = PipelineMessage::Kind::kBuffering;
      gst_message_parse_buffering(message, &buffering.percent);
      relay.deliver(buffering);
      break;
    }
    case GST_MESSAGE_PROGRESS:
      relay.deliver(
          {.kind = PipelineMessage::Kind::kProgress, .element = {}, .text = {}, .debug = {}});
      break;
    default:
      break;
  }
  tsanRelease(data);
  gst_message_unref(message);  // the bus has no reader: a handler must free what it drops
  return GST_BUS_DROP;
}

}  // namespace NimboEngine
