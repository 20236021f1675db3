#include "capture/media_sink.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>

#include <utility>

#include "base/handover.h"
#include "capture/frame_pool.h"

namespace NimboEngine {
namespace {

constexpr char kPictureSink[] = "pictures";
constexpr char kSoundSink[] = "sound";

// Live sinks do not preroll: a source that gives nothing must not hold the pipeline back.
const char* sinkProperties(Pace pace) {
  return pace == Pace::kLive ? "sync=false async=false" : "sync=true";
}

// The state of one sink's callbacks.
template <class Outlet>
struct Delivery {
  std::shared_ptr<Outlet> outlet;
  size_t frameBytes = 0;  // bytes of one audio frame
};

void deliver(const Delivery<PictureMailbox>& delivery, GstBuffer* buffer) {
  delivery.outlet->put(buffer);
}

void deliver(const Delivery<SampleFifo>& delivery, GstBuffer* buffer) {
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
  delivery.outlet->push(reinterpret_cast<const int16_t*>(map.data), map.size / delivery.frameBytes);
  gst_buffer_unmap(buffer, &map);
}

template <class Outlet>
void connect(GstElement* bin, const char* name, Delivery<Outlet> delivery) {
  const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(bin), name));
  if (!sink) return;
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = [](GstAppSink* appsink, gpointer data) {
    acceptHandover(data);
    const GstPtr<GstSample> sample(gst_app_sink_pull_sample(appsink));
    GstBuffer* buffer = sample ? gst_sample_get_buffer(sample.get()) : nullptr;
    if (buffer) deliver(*static_cast<Delivery<Outlet>*>(data), buffer);
    offerHandover(data);
    return GST_FLOW_OK;
  };
  auto shared = std::make_unique<Delivery<Outlet>>(std::move(delivery));
  offerHandover(shared.get());
  gst_app_sink_set_callbacks(
      GST_APP_SINK(sink.get()), &callbacks, shared.release(), [](gpointer data) {
        acceptHandover(data);
        std::unique_ptr<Delivery<Outlet>>(static_cast<Delivery<Outlet>*>(data)).reset();
      });
}

}  // namespace

std::string pictureCaps(const VideoFormat& format) {
  const GstVideoInfo info = pictureInfo(format);
  const GstPtr<gchar> colorimetry(gst_video_colorimetry_to_string(&info.colorimetry));
  return fmt::format(
      "video/x-raw,format=I420,width={},height={},pixel-aspect-ratio=1/1,"
      "interlace-mode=progressive,colorimetry={}",
      format.width, format.height, colorimetry.get());
}

std::string pictureEnd(const SourceOutlets& outlets, Pace pace) {
  return fmt::format(
      "videoconvertscale add-borders=true ! {} ! {}"
      "appsink name={} {} max-buffers=1 drop=true enable-last-sample=false",
      pictureCaps(outlets.video), outlets.mirror ? "videoflip video-direction=horiz ! " : "",
      kPictureSink, sinkProperties(pace));
}

std::string soundEnd(const SourceOutlets& outlets, Pace pace) {
  return fmt::format(
      "audioconvert ! audioresample ! "
      "audio/x-raw,format={},rate={},channels={},layout=interleaved ! "
      "appsink name={} {} enable-last-sample=false",
      GST_AUDIO_NE(S16), outlets.audio.rate, outlets.audio.channels, kSoundSink,
      sinkProperties(pace));
}

void connectEnds(GstElement* bin, const SourceOutlets& outlets) {
  if (outlets.pictures) connect<PictureMailbox>(bin, kPictureSink, {outlets.pictures});
  if (outlets.sound) {
    const size_t frameBytes = sizeof(int16_t) * static_cast<size_t>(outlets.audio.channels);
    connect<SampleFifo>(bin, kSoundSink, {outlets.sound, frameBytes});
  }
}

}  // namespace NimboEngine
