#include "play/play_ends.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>

#include <string_view>

#include "base/handover.h"
#include "log/log.h"

namespace NimboEngine {
namespace {

using SharedOutlets = std::shared_ptr<PlayOutlets>;

// Live sinks do not preroll: one stream must not wait for the other.
const char* sinkProperties(bool live) {
  return live ? "sync=false async=false" : "sync=true qos=true";
}

// Every element passes pictures through untouched that are progressive I420 with square pixels.
std::string pictureEnd(bool live) {
  return fmt::format(
      "{}videoconvertscale ! video/x-raw,format=I420,pixel-aspect-ratio=1/1 ! "
      "appsink name=sink {} enable-last-sample=false",
      live ? "" : "queue ! videoconvert ! deinterlace ! videoflip video-direction=auto ! ",
      sinkProperties(live));
}

std::string soundEnd(bool live) {
  return fmt::format(
      "{}audioconvert ! audioresample ! "
      "audio/x-raw,format={},rate={},channels={},layout=interleaved ! "
      "appsink name=sink {} enable-last-sample=false",
      live ? "" : "queue ! ", GST_AUDIO_NE(S16), kPlayedSound.rate, kPlayedSound.channels,
      sinkProperties(live));
}

// What a callback keeps of the outlets, and how it lets go of them.
gpointer keep(const SharedOutlets& outlets) {
  auto kept = std::make_unique<SharedOutlets>(outlets);
  offerHandover(kept.get());
  return kept.release();
}

void letGo(gpointer data) {
  acceptHandover(data);
  std::unique_ptr<SharedOutlets>(static_cast<SharedOutlets*>(data)).reset();
}

GstFlowReturn onSample(GstAppSink* sink, gpointer data, bool video) {
  acceptHandover(data);
  const GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
  PlayOutlets& outlets = **static_cast<SharedOutlets*>(data);
  if (sample && video) outlets.deliverPicture(sample.get());
  if (sample && !video) outlets.deliverSound(gst_sample_get_buffer(sample.get()));
  offerHandover(data);
  return GST_FLOW_OK;
}

template <Media media>
GstPadProbeReturn onEncoded(GstPad*, GstPadProbeInfo* info, gpointer data) {
  acceptHandover(data);
  GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
  const GstClockTime time = GST_BUFFER_DTS_OR_PTS(buffer);
  if (GST_CLOCK_TIME_IS_VALID(time)) {
    (*static_cast<SharedOutlets*>(data))
        ->meter.addEncoded(media, gst_buffer_get_size(buffer), std::chrono::steady_clock::now(),
                           std::chrono::nanoseconds(time));
  }
  offerHandover(data);
  return GST_PAD_PROBE_OK;
}

bool hasProperty(GstElement* element, const char* name) {
  return g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr;
}

}  // namespace

GstElement* makePlayEnd(Media media, bool live, const SharedOutlets& outlets) {
  const bool video = media == Media::kVideo;
  const std::string description = video ? pictureEnd(live) : soundEnd(live);
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
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, keep(outlets), &letGo);
  return bin;
}

void tuneDecoder(GstElement* element, const SharedOutlets& outlets) {
  const gchar* klass = gst_element_get_metadata(element, GST_ELEMENT_METADATA_KLASS);
  const std::string_view kind = klass ? klass : "";
  if (!kind.starts_with("Codec/Decoder/")) return;
  const bool video = kind.find("Video") != kind.npos;
  // Decoding several pictures at once holds each back for as many picture times: 36 ms were
  // measured against 3.
  if (video && hasProperty(element, "max-threads")) {
    g_object_set(element, "max-threads", 1, nullptr);
  }
  const GstPtr<GstPad> pad(gst_element_get_static_pad(element, "sink"));
  if (!pad) return;
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
                    video ? &onEncoded<Media::kVideo> : &onEncoded<Media::kAudio>, keep(outlets),
                    &letGo);
}

}  // namespace NimboEngine
