// Test rig that feeds a "nimboflvdemux" on the calling thread and records its output.

#pragma once

#include <gst/gst.h>

#include <map>
#include <string>
#include <vector>

#include "flv/flv_bytes.h"
#include "gst/gst_ptr.h"

namespace NimboEngine::test {

struct DemuxedFrame {
  GstClockTime pts = GST_CLOCK_TIME_NONE;
  GstClockTime dts = GST_CLOCK_TIME_NONE;
  bool delta = false;
  bool discontinuous = false;
  FlvBytes payload;
};

struct DemuxedStream {
  std::vector<DemuxedFrame> frames;
  std::string capsAtFirst;          // of the pad when it was added
  std::vector<std::string> caps;    // all that were announced
  std::vector<std::string> events;  // their type names, in order
  guint groupId = 0;
  GstFlowReturn answer = GST_FLOW_OK;  // returned for every frame
};

class DemuxerRig {
 public:
  // `link`: whether added pads are linked.
  explicit DemuxerRig(bool link = true);
  ~DemuxerRig();
  DemuxerRig(const DemuxerRig&) = delete;
  DemuxerRig& operator=(const DemuxerRig&) = delete;

  GstFlowReturn feed(const FlvBytes& bytes);
  void send(GstEvent* event) { gst_pad_push_event(feeder_, event); }
  void end() { send(gst_event_new_eos()); }
  void setState(GstState state);

  // Null when the pad has not been added.
  DemuxedStream* stream(const std::string& name);
  DemuxedStream& video() { return *stream("video"); }
  DemuxedStream& audio() { return *stream("audio"); }

  GstElement* element() { return element_.get(); }
  bool hasAllPads() const { return noMorePads_; }

  // The oldest message of the kind: "domain code: text"; empty without one.
  std::string message(GstMessageType type);

 private:
  struct Output {
    GstPad* pad;
    DemuxedStream stream;
  };

  static void onPad(GstElement*, GstPad* pad, gpointer rig);
  static void onPadRemoved(GstElement*, GstPad* pad, gpointer rig);
  static GstFlowReturn onBuffer(GstPad* pad, GstObject*, GstBuffer* buffer);
  static gboolean onEvent(GstPad* pad, GstObject*, GstEvent* event);
  void startFeeding();

  GstPtr<GstElement> element_;
  GstPtr<GstBus> bus_;
  GstPad* feeder_;
  const bool link_;
  bool noMorePads_ = false;
  std::map<std::string, Output> outputs_;
};

}  // namespace NimboEngine::test
