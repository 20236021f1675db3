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

constexpr char kFrameSink[] = "frames";
constexpr char kAudioSink[] = "audio";

// Live sinks do not preroll: a source that delivers nothing must not block the pipeline.
const char* sinkProperties(Timing timing) {
  return timing == Timing::kLive ? "sync=false async=false" : "sync=true";
}

// The state of one sink's callbacks.
struct FrameWriter {
  FrameWriter(std::shared_ptr<FrameMailbox> frames, const VideoFormat& format)
      : mailbox(std::move(frames)), pool(format) {}

  const std::shared_ptr<FrameMailbox> mailbox;
  FramePool pool;
  FrameNormalizer normalizer{FrameNormalizer::Use::kRead};
  FrameConverter fitter{ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_LINEAR};

  // Converted before scaling, so that borders have the form's black.
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

struct AudioWriter {
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

template <class Writer>
void connect(GstElement* bin, const char* name, std::unique_ptr<Writer> writer) {
  const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(bin), name));
  if (!sink) return;
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = [](GstAppSink* appsink, gpointer data) {
    tsanAcquire(data);
    GstPtr<GstSample> sample(gst_app_sink_pull_sample(appsink));
    if (sample) static_cast<Writer*>(data)->deliver(std::move(sample));
    tsanRelease(data);
    return GST_FLOW_OK;
  };
  tsanRelease(writer.get());
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, writer.release(),
                             [](gpointer data) {
                               tsanAcquire(data);
                               std::unique_ptr<Writer>(static_cast<Writer*>(data)).reset();
                             });
}

}  // namespace

std::string frameCaps(const VideoFormat& format) {
  return fmt::format("video/x-raw,{},width={},height={}", kFrameFormCaps, format.width,
                     format.height);
}

std::string videoBranch(const SourceOutputs& outputs, Timing timing) {
  return fmt::format(
      "{}video/x-raw,interlace-mode=progressive ! "
      "appsink name={} {} max-buffers=1 drop=true enable-last-sample=false",
      outputs.mirror ? "videoconvert ! videoflip video-direction=horiz ! " : "", kFrameSink,
      sinkProperties(timing));
}

std::string audioBranch(const SourceOutputs& outputs, Timing timing) {
  return fmt::format(
      "audioconvert ! audioresample ! "
      "audio/x-raw,format={},rate={},channels={},layout=interleaved ! "
      "appsink name={} {} enable-last-sample=false",
      GST_AUDIO_NE(S16), outputs.audio.rate, outputs.audio.channels, kAudioSink,
      sinkProperties(timing));
}

void connectOutputs(GstElement* bin, const SourceOutputs& outputs) {
  if (outputs.frames) {
    connect(bin, kFrameSink, std::make_unique<FrameWriter>(outputs.frames, outputs.video));
  }
  if (outputs.samples) {
    const size_t frameBytes = sizeof(int16_t) * static_cast<size_t>(outputs.audio.channels);
    connect(bin, kAudioSink,
            std::make_unique<AudioWriter>(AudioWriter{outputs.samples, frameBytes}));
  }
}

}  // namespace NimboEngine
