#include "capture/file_source.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "base/log.h"
#include "base/tsan_annotations.h"
#include "gst/demuxers.h"

namespace NimboEngine {

// Links the decoder's streams as they are found: the first video and the first audio stream.
struct FileSource::Decoded {
  GstElement* pipeline;  // owns the decoder, which owns this
  SourceOutputs outputs;
  bool hasFrame = false;
  bool hasAudio = false;

  void take(GstPad* pad);
  void finish(GstElement* decoder) const;
};

namespace {

// Each stream is decoded ahead on a thread of its own, up to the queue's limits.
constexpr char kVideoStart[] =
    "queue ! videoconvert ! deinterlace ! videoflip video-direction=auto ! ";
constexpr char kAudioStart[] = "queue ! ";

bool attach(GstElement* pipeline, GstPad* pad, const std::string& description,
            const SourceOutputs& outputs) {
  GError* failure = nullptr;
  GstElement* bin = gst_parse_bin_from_description(description.c_str(), TRUE, &failure);
  if (!bin) {
    const GstPtr<GError> owned(failure);
    NIMBO_LOG_ERROR("file: cannot build {}: {}", description, failure->message);
    return false;
  }
  connectOutputs(bin, outputs);
  gst_bin_add(GST_BIN(pipeline), bin);
  gst_element_sync_state_with_parent(bin);
  const GstPtr<GstPad> sink(gst_element_get_static_pad(bin, "sink"));
  return gst_pad_link(pad, sink.get()) == GST_PAD_LINK_OK;
}

}  // namespace

void FileSource::Decoded::take(GstPad* pad) {
  const GstPtr<GstCaps> caps(gst_pad_query_caps(pad, nullptr));
  if (gst_caps_is_empty(caps.get()) || gst_caps_is_any(caps.get())) return;
  const std::string_view type = gst_structure_get_name(gst_caps_get_structure(caps.get(), 0));
  if (type.starts_with("video/") && outputs.frames && !hasFrame) {
    hasFrame = attach(pipeline, pad, kVideoStart + videoBranch(outputs, Timing::kTimed), outputs);
  } else if (type.starts_with("audio/") && outputs.samples && !hasAudio) {
    hasAudio = attach(pipeline, pad, kAudioStart + audioBranch(outputs, Timing::kTimed), outputs);
  }
}

void FileSource::Decoded::finish(GstElement* decoder) const {
  if (hasFrame || !outputs.frames) return;
  GST_ELEMENT_ERROR(decoder, STREAM, WRONG_TYPE, ("the file has no video"), (nullptr));
}

FileSource::FileSource(std::string path, SourceOutputs outputs)
    : path_(std::move(path)), outputs_(std::move(outputs)) {}

Result<std::unique_ptr<Pipeline>> FileSource::build(Pipeline::Handler handler) {
  GError* failure = nullptr;
  const GstPtr<gchar> uri(gst_filename_to_uri(path_.c_str(), &failure));
  if (!uri) {
    const GstPtr<GError> owned(failure);
    return failed(LumoRtc::kLumoLiveNotFound, "{}: {}", path_, failure->message);
  }
  auto pipeline =
      Pipeline::parse("file", "pipeline.( uridecodebin name=decoder )", std::move(handler));
  if (!pipeline) return failed(LumoRtc::kLumoLiveNotSupported, "its pipeline cannot be built");
  const GstPtr<GstElement> decoder = pipeline->element("decoder");
  g_object_set(decoder.get(), "uri", uri.get(), nullptr);
  restrictDemuxers(decoder.get(), false);
  auto decoded = std::make_unique<Decoded>(Decoded{pipeline->get(), outputs_});
  tsanRelease(decoded.get());
  g_signal_connect(decoder.get(), "no-more-pads",
                   G_CALLBACK(+[](GstElement* element, gpointer data) {
                     tsanAcquire(data);
                     static_cast<Decoded*>(data)->finish(element);
                   }),
                   decoded.get());
  g_signal_connect_data(
      decoder.get(), "pad-added", G_CALLBACK(+[](GstElement*, GstPad* pad, gpointer data) {
        tsanAcquire(data);
        static_cast<Decoded*>(data)->take(pad);
        tsanRelease(data);
      }),
      decoded.release(),
      [](gpointer data, GClosure*) {
        tsanAcquire(data);
        std::unique_ptr<Decoded>(static_cast<Decoded*>(data)).reset();
      },
      GConnectFlags{});
  return pipeline;
}

// Not by segment seeks, which would leave no gap in the audio: too many demultiplexers accept them
// and then stop, or lose the timing.
bool FileSource::rewind(Pipeline& pipeline) {
  return gst_element_seek_simple(pipeline.get(), GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, 0);
}

// Until the first frame: the decoder may lose the error of a broken file. After that a frame may
// last as long as the file wants.
int64_t FileSource::progress() const {
  return outputs_.frames && outputs_.frames->count() == 0 ? 0 : -1;
}

}  // namespace NimboEngine
