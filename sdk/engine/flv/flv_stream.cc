#include "flv/flv_stream.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "flv/flv_caps.h"

namespace NimboEngine {
namespace {

// Returns whether both have the same caps, given the same configuration.
bool isSameFormat(const FlvMedia& a, const FlvMedia& b) {
  return a.codec == b.codec && a.sampleRate == b.sampleRate && a.channels == b.channels &&
         a.sampleBits == b.sampleBits && a.vp6Adjustment == b.vp6Adjustment;
}

GstEvent* makeSegment() {
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  return gst_event_new_segment(&segment);
}

}  // namespace

void FlvStream::configure(const FlvMedia& media, std::span<const uint8_t> configuration,
                          guint groupId) {
  // Many senders repeat the configuration with each key frame.
  const bool known =
      isSameFormat(media, format_) && std::equal(configuration.begin(), configuration.end(),
                                                 configuration_.begin(), configuration_.end());
  if (known || !setFormat(media, configuration, groupId)) return;
  configuration_.assign(configuration.begin(), configuration.end());
}

bool FlvStream::admit(const FlvMedia& frame, guint groupId) {
  if (!isSameFormat(frame, format_)) {
    if (needsConfiguration(frame.codec)) return false;
    if (!setFormat(frame, {}, groupId)) return false;
    configuration_.clear();
  }
  return !isBeforeKeyFrame(frame);
}

bool FlvStream::isBeforeKeyFrame(const FlvMedia& frame) {
  hasBegun_ =
      hasBegun_ || !frame.video || frame.keyFrame || framesBeforeKey_ >= kMaxFramesBeforeKey;
  if (!hasBegun_) ++framesBeforeKey_;
  return !hasBegun_;
}

GstFlowReturn FlvStream::push(const FlvMedia& frame, std::span<const uint8_t> bytes,
                              GstClockTime dts) {
  GstBuffer* buffer = gst_buffer_new_memdup(bytes.data(), bytes.size());
  const GstClockTimeDiff composition = frame.compositionMs * GST_MSECOND;
  GST_BUFFER_DTS(buffer) = dts;
  GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(
      std::max(static_cast<GstClockTimeDiff>(dts) + composition, GstClockTimeDiff{0}));
  if (frame.video && !frame.keyFrame) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
  if (discontinuous_) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  discontinuous_ = false;
  return gst_pad_push(pad_, buffer);
}

void FlvStream::restartSegment() {
  discontinuous_ = true;
  if (pad_) gst_pad_push_event(pad_, makeSegment());
}

void FlvStream::removePad() {
  if (pad_) gst_element_remove_pad(element_, std::exchange(pad_, nullptr));
}

bool FlvStream::setFormat(const FlvMedia& media, std::span<const uint8_t> configuration,
                          guint groupId) {
  const GstPtr<GstCaps> caps = makeFlvCaps(media, configuration);
  if (!caps) {
    if (!std::exchange(reportedInvalid_, true)) {
      NIMBO_LOG_WARN("FLV {}: invalid configuration of codec {}", name_, flvCodeText(media.code));
    }
    return false;
  }
  format_ = media;
  if (pad_) {
    gst_pad_push_event(pad_, gst_event_new_caps(caps.get()));
  } else {
    addPad(caps.get(), groupId);
  }
  return true;
}

// The sticky events are set before the pad is added, so that handlers of pad-added see the caps.
void FlvStream::addPad(GstCaps* caps, guint groupId) {
  GstPadTemplate* padTemplate =
      gst_element_class_get_pad_template(GST_ELEMENT_GET_CLASS(element_), name_);
  pad_ = gst_pad_new_from_template(padTemplate, name_);
  gst_pad_use_fixed_caps(pad_);
  gst_pad_set_active(pad_, TRUE);
  GstPtr<gchar> id(gst_pad_create_stream_id(pad_, element_, name_));
  GstEvent* start = gst_event_new_stream_start(id.get());
  gst_event_set_group_id(start, groupId);
  gst_pad_push_event(pad_, start);
  gst_pad_push_event(pad_, gst_event_new_caps(caps));
  gst_pad_push_event(pad_, makeSegment());
  gst_element_add_pad(element_, pad_);
  isNew_ = true;
}

}  // namespace NimboEngine
