#include "publish/encoder.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>

#include <utility>

#include "base/handover.h"
#include "log/log.h"

namespace NimboEngine {
namespace {

// A quarter of a second at 30 pictures a second: room for a hiccup, little memory.
constexpr int kQueuedPictures = 8;

std::string videoBranch(const EncoderSettings& settings) {
  const VideoFormat& format = settings.video;
  const std::string crop =
      format.width % 2 || format.height % 2
          ? fmt::format("videocrop right={} bottom={} ! ", format.width % 2, format.height % 2)
          : "";
  // scenecut=0: key frames come where the interval puts them and nowhere else.
  return fmt::format(
      "appsrc name=video is-live=true format=time max-bytes=0 max-buffers={} leaky-type=downstream "
      "caps=video/x-raw,format=I420,width={},height={},framerate={}/1,pixel-aspect-ratio=1/1 ! {}"
      "x264enc name=h264 tune=zerolatency speed-preset=veryfast bitrate={} key-int-max={} "
      "option-string=scenecut=0 ! h264parse ! video/x-h264,stream-format=avc,alignment=au ! "
      "mux.video ",
      kQueuedPictures, format.width, format.height, format.fps, crop, settings.videoKbps,
      settings.gopSeconds * format.fps);
}

std::string audioBranch(const EncoderSettings& settings) {
  return fmt::format(
      "appsrc name=audio is-live=true format=time max-bytes=0 max-time=1000000000 "
      "leaky-type=downstream "
      "caps=audio/x-raw,format=S16LE,layout=interleaved,rate={},channels={} ! audioconvert ! "
      "avenc_aac bitrate={} ! aacparse ! audio/mpeg,mpegversion=4,stream-format=raw ! mux.audio ",
      settings.audio.rate, settings.audio.channels, settings.audioBps);
}

// latency: how long the muxer waits for the slower of both streams.
constexpr char kMuxer[] =
    "flvmux name=mux streamable=true latency=500000000 ! "
    "appsink name=flv sync=false async=false enable-last-sample=false";

void push(GstElement* source, GstBuffer* buffer) {
  gst_app_src_push_buffer(GST_APP_SRC(source), share(buffer).release());  // takes the reference
}

}  // namespace

Encoder::Encoder(const EncoderSettings& settings, Events events)
    : settings_(settings), events_(std::move(events)) {}

Encoder::~Encoder() {
  pipeline_.reset();
  acceptHandover(this);
}

bool Encoder::start() {
  const std::string description =
      (settings_.audioOnly ? "" : videoBranch(settings_)) + audioBranch(settings_) + kMuxer;
  pipeline_ = Pipeline::parse("encoder", description, [this](const PipelineMessage& message) {
    if (message.kind == PipelineMessage::Kind::kError) events_.onFailed(message.text);
  });
  if (!pipeline_) return false;
  audioSource_ = pipeline_->element("audio");
  if (!settings_.audioOnly) {
    videoSource_ = pipeline_->element("video");
    const GstPtr<GstElement> h264 = pipeline_->element("h264");
    videoEncoderPad_.reset(gst_element_get_static_pad(h264.get(), "src"));
  }

  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = [](GstAppSink* sink, gpointer self) {
    acceptHandover(self);
    const GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample)
      static_cast<Encoder*>(self)->events_.onTag(share(gst_sample_get_buffer(sample.get())));
    offerHandover(self);
    return GST_FLOW_OK;
  };
  offerHandover(this);
  const GstPtr<GstElement> sink = pipeline_->element("flv");
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, this, nullptr);

  // The pipeline's time is the clock's own, as the buffers carry it: they go in as they are, shared
  // with other consumers. The muxer starts its time stamps at 0 all the same.
  gst_element_set_start_time(pipeline_->get(), GST_CLOCK_TIME_NONE);
  gst_element_set_base_time(pipeline_->get(), 0);
  NIMBO_LOG_INFO("encoding {}x{} at {} pictures/s, {} kbit/s, and sound at {} bit/s{}",
                 settings_.video.width, settings_.video.height, settings_.video.fps,
                 settings_.videoKbps, settings_.audioBps, settings_.audioOnly ? " only" : "");
  return pipeline_->play();
}

void Encoder::pushVideo(GstBuffer* buffer) {
  if (videoSource_) push(videoSource_.get(), buffer);
}

void Encoder::pushAudio(GstBuffer* buffer) {
  if (audioSource_) push(audioSource_.get(), buffer);
}

void Encoder::requestKeyFrame() {
  if (!videoEncoderPad_) return;
  gst_pad_send_event(videoEncoderPad_.get(),
                     gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
}

}  // namespace NimboEngine
