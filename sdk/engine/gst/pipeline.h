// One GStreamer pipeline, built from a launch description, on the system clock.
//
// Thread: any, one thread at a time. The handler is called on the thread that posted the message
//   (often a streaming thread), possibly from several at once; it must return soon and must not
//   destroy the pipeline. Use a handler that posts to the engine thread for anything further.
// Ownership: owns the pipeline; destruction stops it; afterwards no call of the handler is running
//   or will run.
// Failure: parse() returns null and play() false, both after logging the error; later errors arrive
//   as messages.

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "gst/gst_ptr.h"

namespace NimboEngine {

// An event of a pipeline. The first error ends it: later ones are only logged.
struct PipelineMessage {
  // kProgress: an element starts an operation, on the thread that posts the message.
  enum class Kind { kError, kEndOfStream, kBuffering, kProgress };

  Kind kind = Kind::kError;
  std::string element;  // name of the element that failed
  GQuark domain = 0;    // GStreamer's error domain and code
  int code = 0;
  std::string text;
  std::string debug;  // the element's own details
  int percent = 0;    // how full a buffer is; only elements that buffer report it
};

class Pipeline {
 public:
  using Handler = std::function<void(const PipelineMessage&)>;

  // `name` appears in log lines. The description must have at least two elements.
  static std::unique_ptr<Pipeline> parse(const std::string& name, const std::string& description,
                                         Handler handler);
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  // Starts it; returns false if it failed immediately.
  bool play();

  // Returns the element of that name, which the description must contain.
  GstPtr<GstElement> element(const char* name) const;

  GstElement* get() const { return pipeline_.get(); }

 private:
  struct Relay;

  Pipeline(GstPtr<GstElement> pipeline, std::shared_ptr<Relay> relay);
  static GstBusSyncReply onBusMessage(GstBus* bus, GstMessage* message, gpointer relay);

  GstPtr<GstElement> pipeline_;
  std::shared_ptr<Relay> relay_;  // shared with the bus, which an element may keep longer
};

}  // namespace NimboEngine
