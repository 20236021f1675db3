#include "flv/demuxer_rig.h"

#include <cstdlib>

#include "flv/flv_demuxer.h"

namespace NimboEngine::test {
namespace {

std::string textOf(GstCaps* caps) {
  return GstPtr<gchar>(gst_caps_to_string(caps)).get();
}

}  // namespace

DemuxerRig::DemuxerRig(bool link)
    : element_(gst_element_factory_make(kFlvDemuxerFactory, nullptr)),
      bus_(gst_bus_new()),
      feeder_(gst_pad_new("feeder", GST_PAD_SRC)),
      link_(link) {
  gst_object_ref_sink(element_.get());
  gst_element_set_bus(element_.get(), bus_.get());
  g_signal_connect(element_.get(), "pad-added", G_CALLBACK(onPad), this);
  g_signal_connect(element_.get(), "pad-removed", G_CALLBACK(onPadRemoved), this);
  g_signal_connect(element_.get(), "no-more-pads", G_CALLBACK(+[](GstElement*, gpointer rig) {
                     static_cast<DemuxerRig*>(rig)->noMorePads_ = true;
                   }),
                   this);
  const GstPtr<GstPad> sink(gst_element_get_static_pad(element_.get(), "sink"));
  gst_pad_link(feeder_, sink.get());
  setState(GST_STATE_PLAYING);
}

DemuxerRig::~DemuxerRig() {
  setState(GST_STATE_NULL);
  gst_bus_set_flushing(bus_.get(), TRUE);  // its messages refer to the element, which refers to it
  gst_object_unref(feeder_);
}

void DemuxerRig::setState(GstState state) {
  gst_element_set_state(element_.get(), state);
  if (state != GST_STATE_PLAYING) {
    gst_pad_set_active(feeder_, FALSE);
    return;
  }
  gst_pad_set_active(feeder_, TRUE);
  startFeeding();
}

void DemuxerRig::startFeeding() {
  GstEvent* start = gst_event_new_stream_start("test");
  gst_event_set_group_id(start, 4711);
  send(start);
  const GstPtr<GstCaps> caps(gst_caps_new_empty_simple("video/x-flv"));
  send(gst_event_new_caps(caps.get()));
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_BYTES);
  send(gst_event_new_segment(&segment));
}

GstFlowReturn DemuxerRig::feed(const FlvBytes& bytes) {
  return gst_pad_push(feeder_, gst_buffer_new_memdup(bytes.data(), bytes.size()));
}

DemuxedStream* DemuxerRig::stream(const std::string& name) {
  const auto found = outputs_.find(name);
  return found == outputs_.end() ? nullptr : &found->second.stream;
}

std::string DemuxerRig::message(GstMessageType type) {
  const GstPtr<GstMessage> message(gst_bus_pop_filtered(bus_.get(), type));
  if (!message) return {};
  GError* error = nullptr;
  if (type == GST_MESSAGE_ERROR) {
    gst_message_parse_error(message.get(), &error, nullptr);
  } else {
    gst_message_parse_warning(message.get(), &error, nullptr);
  }
  const GstPtr<GError> owned(error);
  return std::string(g_quark_to_string(error->domain)) + " " + std::to_string(error->code) + ": " +
         error->message;
}

void DemuxerRig::onPad(GstElement*, GstPad* pad, gpointer data) {
  auto& rig = *static_cast<DemuxerRig*>(data);
  const GstPtr<GstCaps> any(gst_caps_new_any());
  const GstPtr<GstObject> anything(
      GST_OBJECT(gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, any.get())));
  GstPad* sink = gst_pad_new_from_template(GST_PAD_TEMPLATE(anything.get()), "sink");
  auto& output = rig.outputs_[GST_OBJECT_NAME(pad)];
  output.pad = sink;
  const GstPtr<GstCaps> caps(gst_pad_get_current_caps(pad));
  if (caps) output.stream.capsAtFirst = textOf(caps.get());
  gst_pad_set_element_private(sink, &output.stream);
  gst_pad_set_chain_function(sink, onBuffer);
  gst_pad_set_event_function(sink, onEvent);
  gst_pad_set_active(sink, TRUE);
  if (rig.link_ && gst_pad_link(pad, sink) != GST_PAD_LINK_OK) std::abort();
}

void DemuxerRig::onPadRemoved(GstElement*, GstPad* pad, gpointer data) {
  auto& rig = *static_cast<DemuxerRig*>(data);
  const auto found = rig.outputs_.find(GST_OBJECT_NAME(pad));
  if (found == rig.outputs_.end()) return;
  gst_pad_unlink(pad, found->second.pad);
  gst_pad_set_active(found->second.pad, FALSE);
  gst_object_unref(found->second.pad);
  rig.outputs_.erase(found);
}

GstFlowReturn DemuxerRig::onBuffer(GstPad* pad, GstObject*, GstBuffer* buffer) {
  auto& stream = *static_cast<DemuxedStream*>(gst_pad_get_element_private(pad));
  DemuxedFrame frame;
  frame.pts = GST_BUFFER_PTS(buffer);
  frame.dts = GST_BUFFER_DTS(buffer);
  frame.delta = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
  frame.discontinuous = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  frame.payload.resize(gst_buffer_get_size(buffer));
  gst_buffer_extract(buffer, 0, frame.payload.data(), frame.payload.size());
  stream.frames.push_back(std::move(frame));
  gst_buffer_unref(buffer);
  return stream.answer;
}

gboolean DemuxerRig::onEvent(GstPad* pad, GstObject*, GstEvent* event) {
  auto& stream = *static_cast<DemuxedStream*>(gst_pad_get_element_private(pad));
  stream.events.emplace_back(GST_EVENT_TYPE_NAME(event));
  if (GST_EVENT_TYPE(event) == GST_EVENT_STREAM_START) {
    gst_event_parse_group_id(event, &stream.groupId);
  } else if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
    GstCaps* caps = nullptr;
    gst_event_parse_caps(event, &caps);
    stream.caps.push_back(textOf(caps));
  }
  gst_event_unref(event);
  return TRUE;
}

}  // namespace NimboEngine::test
