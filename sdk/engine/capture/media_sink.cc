#include "capture/media_sink.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>

#include <utility>

#include "base/tsan_annotations.h"
#include "media/frame_converter.h"
#include "media/frame_form.h"
#include "media/frame_normalizer.h"
#include "media/frame_pool.h"

namespace NimboEngine {
namespace {

constexpr char kPictureSink[] = "pictures";
constexpr char kSoundSink[] = "sound";

// Live sinks do not preroll: a source that gives nothing must not hold the pipeline back.
const char* sinkProperties(Timing pace) {
  return pace == Timing::kLive ? "sync=false async=false" : "sync=true";
}

// The state of one sink's callbacks.
struct FrameDelivery {
  FrameDelivery(std::shared_ptr<FrameMailbox> frames, const VideoFormat& format)
      : mailbox(std::move(frames)), pool(format) {}

  const std::shared_ptr<FrameMailbox> mailbox;
  FramePool pool;
  FrameNormalizer normalizer{FrameNormalizer::Use::kRead};
  FrameConverter fitter{ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_LINEAR};

  // Converted before it is fitted, so that borders have the form's black.
  void deliver(GstPtr<GstSample> sample) {
    auto frame = normalizer.normalize(std::move(sample));
    if (!frame) return;
    GstPtr<GstBuffer> buffer = std::move(frame->buffer);
    const GstVideoInfo& wanted = pool.info();
    if (frame->info.width != wanted.width || frame->info.height != wanted.height) {
      GstPtr<GstBuffer> fitted = pool.acquire();
      if (!fitted || !fitter.convert(buffer.get(), frame->info, fitted.get(), wanted)) return;
      buffer = std::move(fitted);
    }
    mailbox->put(buffer.get());
  }
};

struct AudioDelivery {
  std::shared_ptr<SampleFifo> fifo;
  size_t frameBytes;  // bytes of one audio frame

  void deliver(GstPtr<GstSample> sample) const {
    GstBuffer* buffer = gst_sample_get_buffer(sample.get());
    GstMapInfo map;
    if (!buffer || !gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
    fifo->push(reinterpret_cast<const int16_t*>(map.data), map.size / frameBytes);
    gst_buffer_unmap(buffer, &map);
  }
};

template <class Delivery>
void connect(GstElement* bin, const char* name, std::unique_ptr<Delivery> delivery) {
  const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(bin), name));
  if (!sink) return;
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = [](GstAppSink* appsink, gpointer data) {
    tsanAcquire(data);
    GstPtr<GstSample> sample(gst_app_sink_pull_sample(appsink));
    if (sample) static_cast<Delivery*>(data)->deliver(std::move(sample));
    tsanRelease(data);
    return GST_FLOW_OK;
  };
  tsanRelease(delivery.get());
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, delivery.release(),
                             [](gpointer data) {
                               tsanAcquire(data);
                               std::unique_ptr<Delivery>(static_cast<Delivery*>(data)).reset();
                             });
}

}  // namespace

std::string pictureCaps(const VideoFormat& format) {
  return fmt::format("video/x-raw,{},width={},height={}", kFrameFormCaps, format.width,
                     format.height);
}

std::string videoBranch(const SourceOutputs& outlets, Timing pace) {
  return fmt::format(
      "{}video/x-raw,interlace-mode=progressive ! "
      "appsink name={} {} max-buffers=1 drop=true enable-last-sample=false",
      outlets.mirror ? "videoconvert ! videoflip video-direction=horiz ! " : "", kPictureSink,
      sinkProperties(pace));
}

std::string audioBranch(const SourceOutputs& outlets, Timing pace) {
  return fmt::format(
      "audioconvert ! audioresample ! "
      "audio/x-raw,format={},rate={},channels={},layout=interleaved ! "
      "appsink name={} {} enable-last-sample=false",
      GST_AUDIO_NE(S16), outlets.audio.rate, outlets.audio.channels, kSoundSink,
      sinkProperties(pace));
}

void connectEnds(GstElement* bin, const SourceOutputs& outlets) {
  if (outlets.pictures) {
    connect(bin, kPictureSink, std::make_unique<FrameDelivery>(outlets.pictures, outlets.video));
  }
  if (outlets.sound) {
    const size_t frameBytes = sizeof(int16_t) * static_cast<size_t>(outlets.audio.channels);
    connect(bin, kSoundSink,
            std::make_unique<AudioDelivery>(AudioDelivery{outlets.sound, frameBytes}));
  }
}

}  // namespace NimboEngine
