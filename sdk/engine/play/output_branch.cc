#include "play/output_branch.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>
#include <gst/base/gstbasetransform.h>
#include <gst/video/video.h>

#include <string_view>
#include <utility>

#include "base/log.h"
#include "base/tsan_annotations.h"
#include "play/decoder_threads.h"
#include "play/media_guard.h"

namespace NimboEngine {
namespace {

using SharedOutput = std::shared_ptr<DecodedMediaSink>;

// Nothing in the pipeline waits for a clock, and no branch for the other: the sink presents.
constexpr char kSink[] = "appsink name=sink sync=false async=false enable-last-sample=false";

// All elements pass progressive, upright frames through untouched. Formats that deinterlace cannot
// read are converted before it.
std::string videoBranch() {
  return fmt::format("videoconvert ! deinterlace ! videoflip name=turner video-direction=auto ! {}",
                     kSink);
}

std::string audioBranch() {
  return fmt::format(
      "audioconvert ! audioresample ! "
      "audio/x-raw,format={},rate={},channels={},layout=interleaved ! {}",
      GST_AUDIO_NE(S16), kPlayedAudio.rate, kPlayedAudio.channels, kSink);
}

// The reference to the output that a callback holds, and its release.
gpointer keep(const SharedOutput& output) {
  auto kept = std::make_unique<SharedOutput>(output);
  tsanRelease(kept.get());
  return kept.release();
}

void letGo(gpointer data) {
  tsanAcquire(data);
  std::unique_ptr<SharedOutput>(static_cast<SharedOutput*>(data)).reset();
}

// The place of a sample in the stream, the same for both kinds of media. Without time stamps in the
// container, media are presented as they arrive.
GstClockTime runningTime(GstSample* sample) {
  const GstClockTime time =
      gst_segment_to_running_time(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                  GST_BUFFER_PTS(gst_sample_get_buffer(sample)));
  return GST_CLOCK_TIME_IS_VALID(time) ? time : gst_util_get_timestamp();
}

GstFlowReturn onSample(GstAppSink* sink, gpointer data, bool video) {
  tsanAcquire(data);
  GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
  DecodedMediaSink& output = **static_cast<SharedOutput*>(data);
  if (sample) {
    const GstClockTime time = runningTime(sample.get());
    if (video) {
      output.deliverVideo(std::move(sample), time);
    } else {
      output.deliverAudio(gst_sample_get_buffer(sample.get()), time);
    }
  }
  tsanRelease(data);
  return GST_FLOW_OK;
}

// Declares that frames may have any stride: decoders then pass on their own memory instead of a
// copy.
GstPadProbeReturn onQuery(GstPad*, GstPadProbeInfo* info, gpointer) {
  GstQuery* query = GST_PAD_PROBE_INFO_QUERY(info);
  if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) return GST_PAD_PROBE_OK;
  gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  return GST_PAD_PROBE_HANDLED;
}

// videoflip copies even upright frames; so it passes frames through until tags request a rotation.
GstPadProbeReturn onTags(GstPad*, GstPadProbeInfo* info, gpointer turner) {
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (GST_EVENT_TYPE(event) != GST_EVENT_TAG) return GST_PAD_PROBE_OK;
  GstTagList* tags = nullptr;
  gst_event_parse_tag(event, &tags);
  const gchar* orientation = nullptr;
  if (gst_tag_list_peek_string_index(tags, GST_TAG_IMAGE_ORIENTATION, 0, &orientation)) {
    const bool upright = std::string_view(orientation) == "rotate-0";
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(turner), upright);
  }
  return GST_PAD_PROBE_OK;
}

void passThroughWhileUpright(GstElement* turner) {
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(turner), TRUE);
  const GstPtr<GstPad> pad(gst_element_get_static_pad(turner, "sink"));
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &onTags, turner, nullptr);
}

template <Media media>
GstPadProbeReturn onEncoded(GstPad*, GstPadProbeInfo* info, gpointer data) {
  tsanAcquire(data);
  GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
  (*static_cast<SharedOutput*>(data))->meter.addEncoded(media, gst_buffer_get_size(buffer));
  tsanRelease(data);
  return GST_PAD_PROBE_OK;
}

bool hasProperty(GstElement* element, const char* name) {
  return g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr;
}

}  // namespace

GstElement* makeOutputBranch(Media media, const SharedOutput& output) {
  const bool video = media == Media::kVideo;
  const std::string description = video ? videoBranch() : audioBranch();
  GError* error = nullptr;
  GstElement* bin = gst_parse_bin_from_description(description.c_str(), TRUE, &error);
  const GstPtr<GError> owned(error);
  if (!bin) {
    NIMBO_LOG_ERROR("player: cannot build {}: {}", description, error->message);
    return nullptr;
  }
  const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(bin), "sink"));
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample =
      video ? +[](GstAppSink* appsink, gpointer data) { return onSample(appsink, data, true); }
            : +[](GstAppSink* appsink, gpointer data) { return onSample(appsink, data, false); };
  if (video) {
    const GstPtr<GstPad> pad(gst_element_get_static_pad(sink.get(), "sink"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, &onQuery, nullptr, nullptr);
    const GstPtr<GstElement> turner(gst_bin_get_by_name(GST_BIN(bin), "turner"));
    passThroughWhileUpright(turner.get());
  }
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, keep(output), &letGo);
  return bin;
}

void tuneDecoder(GstElement* element, const SharedOutput& output) {
  const gchar* klass = gst_element_get_metadata(element, GST_ELEMENT_METADATA_KLASS);
  const std::string_view kind = klass ? klass : "";
  if (!kind.starts_with("Codec/Decoder/")) return;
  const bool video = kind.find("Video") != kind.npos || kind.find("Image") != kind.npos;
  guardDecoder(element, output);
  if (video) {
    tuneDecoderThreads(element, output->mode() == LumoRtc::kLumoLivePlayModeLive);
    // A stream joined between two key frames, or with lost packets, shows nothing rather than grey.
    if (hasProperty(element, "output-corrupt")) {
      g_object_set(element, "output-corrupt", FALSE, nullptr);
    }
  }
  const GstPtr<GstPad> pad(gst_element_get_static_pad(element, "sink"));
  if (!pad) return;
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
                    video ? &onEncoded<Media::kVideo> : &onEncoded<Media::kAudio>, keep(output),
                    &letGo);
}

}  // namespace NimboEngine
