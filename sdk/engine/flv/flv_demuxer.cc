#include "flv/flv_demuxer.h"

#include <fmt/format.h>
#include <gst/base/gstflowcombiner.h>

#include <array>
#include <memory>
#include <span>
#include <string>

#include "base/log.h"
#include "flv/flv_media.h"
#include "flv/flv_parser.h"
#include "flv/flv_stream.h"
#include "flv/flv_timeline.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;

// A stream may start that much before the first time stamp.
static_assert(kFlvTimeOffset >= FlvTimeline::kMaxDistanceMs * GST_MSECOND);

struct CombinerRelease {
  void operator()(GstFlowCombiner* combiner) const { gst_flow_combiner_free(combiner); }
};

// The element's state from READY to PAUSED and back.
class Demuxer {
 public:
  explicit Demuxer(GstElement* element)
      : element_(element),
        video_(element, "video"),
        audio_(element, "audio"),
        combiner_(gst_flow_combiner_new()) {}

  GstFlowReturn take(GstBuffer* buffer);
  void setGroup(guint groupId) { groupId_ = groupId; }
  void restartAfterFlush();
  void end();
  void removePads();

 private:
  FlvStream& stream(bool video) { return video ? video_ : audio_; }
  GstFlowReturn takeTag(const RawFlvTag& tag);
  GstFlowReturn takeFrame(const FlvMedia& media, const RawFlvTag& tag);
  GstFlowReturn combine(GstPad* pad, GstFlowReturn flow);
  void reportUndecodable(bool video, const std::string& what);
  void markDiscontinuity();
  void adoptNewPad(FlvStream& stream);
  std::size_t padCount() const;

  GstElement* const element_;
  FlvParser parser_;
  FlvTimeline timeline_;
  FlvStream video_;
  FlvStream audio_;
  std::unique_ptr<GstFlowCombiner, CombinerRelease> combiner_;
  std::array<std::string, 2> undecodable_;  // warnings of audio and video
  guint groupId_ = gst_util_group_id_next();
};

GstFlowReturn Demuxer::take(GstBuffer* buffer) {
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return GST_FLOW_ERROR;
  parser_.feed({map.data, map.size});
  RawFlvTag tag;
  GstFlowReturn flow = GST_FLOW_OK;
  auto status = FlvParser::Status::kTag;
  while (flow == GST_FLOW_OK && (status = parser_.next(tag)) == FlvParser::Status::kTag) {
    flow = takeTag(tag);
  }
  // The parser refers to the mapped bytes unless it has returned kNeedData.
  if (status != FlvParser::Status::kNeedData) parser_.reset();
  gst_buffer_unmap(buffer, &map);
  if (status == FlvParser::Status::kError) {
    GST_ELEMENT_ERROR(element_, STREAM, DEMUX, ("The stream is not FLV."),
                      ("no tag in %zu bytes", FlvParser::kMaxSkippedBytes));
    return GST_FLOW_ERROR;
  }
  return flow;
}

GstFlowReturn Demuxer::takeTag(const RawFlvTag& tag) {
  if (tag.afterGap) markDiscontinuity();
  if (tag.type == FlvTagType::kScript) return GST_FLOW_OK;
  const bool video = tag.type == FlvTagType::kVideo;
  if (tag.encrypted) {
    reportUndecodable(video, "it is encrypted");
    return GST_FLOW_OK;
  }
  const FlvMedia media = video ? readFlvVideo(tag.body) : readFlvAudio(tag.body);
  switch (media.kind) {
    case FlvMedia::Kind::kIgnored:
    case FlvMedia::Kind::kMalformed:
      break;
    case FlvMedia::Kind::kUnsupported:
      reportUndecodable(video, "codec " + flvCodeText(media.code));
      break;
    case FlvMedia::Kind::kEndOfSequence:
      stream(video).markDiscontinuity();
      break;
    case FlvMedia::Kind::kConfiguration:
      stream(video).configure(media, tag.body.subspan(media.offset, media.size), groupId_);
      adoptNewPad(stream(video));
      break;
    case FlvMedia::Kind::kFrame:
      return takeFrame(media, tag);
  }
  return GST_FLOW_OK;
}

GstFlowReturn Demuxer::takeFrame(const FlvMedia& media, const RawFlvTag& tag) {
  FlvStream& stream = this->stream(media.video);
  const bool admitted = stream.admit(media, groupId_);
  adoptNewPad(stream);
  if (!admitted) return GST_FLOW_OK;
  const auto [ms, newEpoch] = timeline_.place(media.video ? 0 : 1, tag.timestampMs);
  if (newEpoch) {
    NIMBO_LOG_DEBUG("FLV: time stamps jump to {} ms", tag.timestampMs);
    markDiscontinuity();
  }
  const auto dts =
      static_cast<GstClockTime>(static_cast<GstClockTimeDiff>(kFlvTimeOffset) + ms * GST_MSECOND) +
      media.nanoseconds;
  const Bytes bytes = tag.body.subspan(media.offset, media.size);
  return combine(stream.pad(), stream.push(media, bytes, dts));
}

// An unlinked stream must not stop the other, which may begin later.
GstFlowReturn Demuxer::combine(GstPad* pad, GstFlowReturn flow) {
  const GstFlowReturn both = gst_flow_combiner_update_pad_flow(combiner_.get(), pad, flow);
  return both == GST_FLOW_NOT_LINKED && padCount() < 2 ? GST_FLOW_OK : both;
}

void Demuxer::reportUndecodable(bool video, const std::string& what) {
  std::string& report = undecodable_[video ? 1 : 0];
  if (!report.empty()) return;
  report = fmt::format("The {} stream cannot be decoded: {}.", video ? "video" : "audio", what);
  NIMBO_LOG_WARN("FLV: {}", report);
  GST_ELEMENT_WARNING(element_, STREAM, CODEC_NOT_FOUND, ("%s", report.c_str()), (nullptr));
}

void Demuxer::markDiscontinuity() {
  video_.markDiscontinuity();
  audio_.markDiscontinuity();
}

std::size_t Demuxer::padCount() const {
  return (video_.pad() ? 1 : 0) + (audio_.pad() ? 1 : 0);
}

void Demuxer::adoptNewPad(FlvStream& stream) {
  if (!stream.takeNewPad()) return;
  gst_flow_combiner_add_pad(combiner_.get(), stream.pad());
  if (padCount() == 2) gst_element_no_more_pads(element_);
}

void Demuxer::restartAfterFlush() {
  parser_.reset();
  timeline_ = {};
  gst_flow_combiner_reset(combiner_.get());
  video_.restartSegment();
  audio_.restartSegment();
}

void Demuxer::end() {
  if (padCount() == 0) {
    const std::string& report = undecodable_[undecodable_[1].empty() ? 0 : 1];
    if (report.empty()) {
      GST_ELEMENT_ERROR(element_, STREAM, DEMUX, ("The stream has no media."), (nullptr));
    } else {
      GST_ELEMENT_ERROR(element_, STREAM, CODEC_NOT_FOUND, ("%s", report.c_str()), (nullptr));
    }
    return;
  }
  if (padCount() == 1) gst_element_no_more_pads(element_);
  for (const auto* stream : {&video_, &audio_}) {
    if (stream->pad()) gst_pad_push_event(stream->pad(), gst_event_new_eos());
  }
}

void Demuxer::removePads() {
  gst_flow_combiner_clear(combiner_.get());
  video_.removePad();
  audio_.removePad();
}

// GObject class of the element.

struct Element {
  GstElement parent;
  Demuxer* demuxer;  // from construction to finalization
};

struct ElementClass {
  GstElementClass parent;
};

GObjectClass* parentClass = nullptr;

Demuxer& demuxerOf(gpointer element) {
  return *static_cast<Element*>(element)->demuxer;
}

GstFlowReturn onBuffer(GstPad*, GstObject* element, GstBuffer* buffer) {
  const GstPtr<GstBuffer> owned(buffer);
  return demuxerOf(element).take(buffer);
}

gboolean onEvent(GstPad* pad, GstObject* element, GstEvent* event) {
  Demuxer& demuxer = demuxerOf(element);
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_STREAM_START: {
      guint groupId = 0;
      if (gst_event_parse_group_id(event, &groupId)) demuxer.setGroup(groupId);
      break;
    }
    case GST_EVENT_CAPS:
    case GST_EVENT_SEGMENT:
      break;  // the source pads have their own
    case GST_EVENT_EOS:
      demuxer.end();
      break;
    case GST_EVENT_FLUSH_STOP:
      gst_pad_event_default(pad, element, event);
      demuxer.restartAfterFlush();
      return TRUE;
    default:
      return gst_pad_event_default(pad, element, event);
  }
  gst_event_unref(event);
  return TRUE;
}

GstStateChangeReturn onStateChange(GstElement* element, GstStateChange change) {
  const auto result = GST_ELEMENT_CLASS(parentClass)->change_state(element, change);
  if (change == GST_STATE_CHANGE_PAUSED_TO_READY) {
    auto* self = reinterpret_cast<Element*>(element);
    self->demuxer->removePads();
    delete self->demuxer;
    self->demuxer = new Demuxer(element);
  }
  return result;
}

void finalize(GObject* object) {
  delete reinterpret_cast<Element*>(object)->demuxer;
  parentClass->finalize(object);
}

GstPadTemplate* makeTemplate(const char* name, GstPadDirection direction, GstPadPresence presence,
                             const char* caps) {
  const GstPtr<GstCaps> owned(gst_caps_from_string(caps));
  return gst_pad_template_new(name, direction, presence, owned.get());
}

void initializeClass(gpointer type, gpointer) {
  parentClass = G_OBJECT_CLASS(g_type_class_peek_parent(type));
  G_OBJECT_CLASS(type)->finalize = finalize;
  auto* elementClass = GST_ELEMENT_CLASS(type);
  elementClass->change_state = onStateChange;
  gst_element_class_set_static_metadata(elementClass, "Live FLV demuxer", "Codec/Demuxer",
                                        "Splits live FLV, legacy and enhanced, into its streams",
                                        "Nimbo");
  gst_element_class_add_pad_template(
      elementClass, makeTemplate("sink", GST_PAD_SINK, GST_PAD_ALWAYS, "video/x-flv"));
  for (const char* name : {"video", "audio"}) {
    gst_element_class_add_pad_template(elementClass,
                                       makeTemplate(name, GST_PAD_SRC, GST_PAD_SOMETIMES, "ANY"));
  }
}

void initializeInstance(GTypeInstance* instance, gpointer type) {
  auto* element = GST_ELEMENT(instance);
  GstPad* sink = gst_pad_new_from_template(
      gst_element_class_get_pad_template(GST_ELEMENT_CLASS(type), "sink"), "sink");
  gst_pad_set_chain_function(sink, onBuffer);
  gst_pad_set_event_function(sink, onEvent);
  gst_element_add_pad(element, sink);
  reinterpret_cast<Element*>(instance)->demuxer = new Demuxer(element);
}

}  // namespace

bool registerFlvDemuxer() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_ELEMENT, "NimboFlvDemuxer", sizeof(ElementClass), initializeClass, sizeof(Element),
      initializeInstance, GTypeFlags{});
  return gst_element_register(nullptr, kFlvDemuxerFactory, GST_RANK_NONE, type);
}

}  // namespace NimboEngine
