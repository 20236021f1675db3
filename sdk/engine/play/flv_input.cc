#include "play/flv_input.h"

namespace NimboEngine {

FlvInput::FlvInput(const Pipeline& pipeline)
    : pad_(GST_PAD(gst_object_ref_sink(gst_pad_new("input", GST_PAD_SRC)))) {
  const GstPtr<GstPad> sink(gst_element_get_static_pad(pipeline.element("streams").get(), "sink"));
  gst_pad_set_active(pad_.get(), TRUE);
  gst_pad_link_full(pad_.get(), sink.get(), GST_PAD_LINK_CHECK_NOTHING);
  gst_pad_push_event(pad_.get(), gst_event_new_stream_start("input"));
  const GstPtr<GstCaps> caps(gst_caps_new_empty_simple("video/x-flv"));
  gst_pad_push_event(pad_.get(), gst_event_new_caps(caps.get()));
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_BYTES);
  gst_pad_push_event(pad_.get(), gst_event_new_segment(&segment));
}

FlvInput::~FlvInput() {
  gst_pad_set_active(pad_.get(), FALSE);
  const GstPtr<GstPad> sink(gst_pad_get_peer(pad_.get()));
  if (sink) gst_pad_unlink(pad_.get(), sink.get());
}

void FlvInput::push(GstPtr<GstBuffer> data) {
  gst_pad_push(pad_.get(), data.release());  // takes the reference
}

void FlvInput::end() {
  gst_pad_push_event(pad_.get(), gst_event_new_eos());
}

}  // namespace NimboEngine
