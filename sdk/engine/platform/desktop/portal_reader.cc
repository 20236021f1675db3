#include "platform/desktop/portal_reader.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>

#include <utility>

namespace NimboEngine {

ScreenReader::Outcome PortalReader::open() {
  if (const auto answer = portal_.ask(); !answer) {
    const bool refused = answer.error().code == ScreenPortal::Failure::kRefused;
    return ended(refused ? Outcome::kRefused : Outcome::kGone, answer.error().text);
  }
  // Copied, since the frames are in the desktop's memory, which disappears when the sharing ends.
  pipeline_ = Pipeline::parse(
      "portal",
      fmt::format("pipewiresrc fd={} path={} always-copy=true ! videoconvert ! "
                  "video/x-raw,format=BGRx ! "
                  "appsink name=frames sync=false async=false max-buffers=1 drop=true",
                  portal_.remote(), portal_.node()),
      [this](const PipelineMessage& message) {
        if (message.kind != PipelineMessage::Kind::kBuffering) failed_ = true;
      });
  if (!pipeline_ || !pipeline_->play()) {
    return ended(Outcome::kGone, "the stream that the desktop offers cannot be opened");
  }
  sink_ = pipeline_->element("frames");
  return Outcome::kNone;
}

ScreenReader::Outcome PortalReader::grab() {
  if (!pipeline_) return open();
  if (failed_ || !portal_.isShared()) return ended(Outcome::kGone, "the desktop ended the sharing");
  GstPtr<GstSample> sample(gst_app_sink_try_pull_sample(GST_APP_SINK(sink_.get()), 0));
  if (!sample) return sample_ ? Outcome::kSame : Outcome::kNone;
  sample_ = std::move(sample);
  return Outcome::kFrame;
}

GstPtr<GstBuffer> PortalReader::frame(GstVideoInfo& info) {
  if (!gst_video_info_from_caps(&info, gst_sample_get_caps(sample_.get()))) return nullptr;
  return share(gst_sample_get_buffer(sample_.get()));
}

}  // namespace NimboEngine
