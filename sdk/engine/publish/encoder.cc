#include "publish/encoder.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/audio/audio.h>

#include <utility>

#include "base/log.h"
#include "base/tsan_annotations.h"
#include "gst/runtime.h"
#include "media/frame_form.h"

namespace NimboEngine {
namespace {

// A quarter of a second at 30 frames per second: enough for a short delay, little memory.
constexpr int kQueuedFrames = 8;

// In frames, more than there ever are between two key frames: those are requested by time.
constexpr int kLongestInterval = 60 * 60;

std::string audioBranch(const EncoderSettings& settings, const Muxer& muxer) {
  return fmt::format(
      "appsrc name=audio is-live=true format=time max-bytes=0 max-time=1000000000 "
      "leaky-type=downstream "
      "caps=audio/x-raw,format=" GST_AUDIO_NE(S16) ",layout=interleaved,rate={},channels={} ! "
      "audioconvert ! "
      "avenc_aac bitrate={} ! aacparse ! {} ! mux.audio ",
      settings.audio.rate, settings.audio.channels, settings.audioBps, muxer.audioCaps);
}

void push(GstElement* source, GstBuffer* buffer) {
  gst_app_src_push_buffer(GST_APP_SRC(source), share(buffer).release());  // takes the reference
}

const H264Encoder* h264EncoderFor(const EncoderSettings& settings) {
  return settings.audioOnly ? nullptr : chooseH264Encoder(settings.hardware, haveElement);
}

GstPtr<GstCaps> sizeCaps(int width, int height) {
  const std::string text =
      fmt::format("video/x-raw,{},width={},height={}", kFrameFormCaps, width, height);
  return GstPtr<GstCaps>(gst_caps_from_string(text.c_str()));
}

}  // namespace

bool encodesInSoftware(const EncoderSettings& settings) {
  const H264Encoder* encoder = h264EncoderFor(settings);
  return !settings.audioOnly && (!encoder || !encoder->hardware);
}

Encoder::Encoder(const EncoderSettings& settings, Events events)
    : settings_(settings),
      events_(std::move(events)),
      h264_(h264EncoderFor(settings)),
      published_(settings.video),
      gopSeconds_(settings.gopSeconds) {}

Encoder::~Encoder() {
  pipeline_.reset();
  tsanAcquire(this);
}

std::string Encoder::videoBranch(const Muxer& muxer) const {
  const int kbps = bitrateLimits(settings_).initial;
  return fmt::format(
      "appsrc name=video is-live=true format=time max-bytes=0 max-buffers={} "
      "leaky-type=downstream ! videocrop name=crop ! videoconvertscale add-borders=true ! "
      "capsfilter name=size ! {} ! "
      "h264parse ! {} ! mux.video ",
      kQueuedFrames, h264_->describe(kbps, kLongestInterval), muxer.videoCaps);
}

bool Encoder::start(const Muxer& muxer) {
  if (!settings_.audioOnly && !h264_) {
    NIMBO_LOG_ERROR("there is no H.264 encoder");
    return false;
  }
  const std::string description =
      (h264_ ? videoBranch(muxer) : "") + audioBranch(settings_, muxer) + muxer.element +
      " name=mux ! appsink name=packets sync=false async=false enable-last-sample=false";
  pipeline_ = Pipeline::parse("encoder", description, [this](const PipelineMessage& message) {
    if (message.kind == PipelineMessage::Kind::kError) events_.onFailed(message.text);
  });
  if (!pipeline_) return false;
  audioSource_ = pipeline_->element("audio");
  if (h264_) {
    videoSource_ = pipeline_->element("video");
    videoCrop_ = pipeline_->element("crop");
    videoSize_ = pipeline_->element("size");
    videoEncoder_ = pipeline_->element("h264");
    videoEncoderPad_.reset(gst_element_get_static_pad(videoEncoder_.get(), "src"));
  }

  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = [](GstAppSink* sink, gpointer self) {
    tsanAcquire(self);
    const GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (sample) {
      GstBuffer* packet = gst_sample_get_buffer(sample.get());
      static_cast<Encoder*>(self)->sinks_.each([=](PacketSink& each) { each.onPacket(packet); });
    }
    tsanRelease(self);
    return GST_FLOW_OK;
  };
  tsanRelease(this);
  const GstPtr<GstElement> sink = pipeline_->element("packets");
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, this, nullptr);

  // The pipeline's running time is the clock's own time, which the buffers carry: they are pushed
  // unchanged, shared with other consumers. The muxer starts its time stamps at 0 nevertheless.
  gst_element_set_start_time(pipeline_->get(), GST_CLOCK_TIME_NONE);
  gst_element_set_base_time(pipeline_->get(), 0);
  NIMBO_LOG_INFO("encoding {}x{} at {} frames/s with {}, and audio at {} bit/s",
                 settings_.video.width, settings_.video.height, settings_.video.fps,
                 h264_ ? h264_->factory : "nothing", settings_.audioBps);
  return pipeline_->play();
}

void Encoder::pushVideo(GstBuffer* buffer, const GstVideoInfo& info) {
  if (!videoSource_) return;
  {
    const MutexLock lock(formats_);
    if (captured_.width != info.width || captured_.height != info.height) {
      captured_.width = info.width;
      captured_.height = info.height;
      applyFormats();
    }
  }
  // Requested by time: an encoder counts frames, and its interval cannot be changed while it runs.
  const auto gop = static_cast<GstClockTime>(gopSeconds_) * GST_SECOND;
  if (GST_BUFFER_PTS(buffer) >= lastKeyFrame_ + gop) {
    lastKeyFrame_ = GST_BUFFER_PTS(buffer);
    requestKeyFrame();
  }
  push(videoSource_.get(), buffer);
}

void Encoder::pushAudio(GstBuffer* buffer) {
  if (audioSource_) push(audioSource_.get(), buffer);
}

void Encoder::requestKeyFrame() {
  if (!videoEncoderPad_) return;
  gst_pad_send_event(videoEncoderPad_.get(),
                     gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
}

void Encoder::setVideoKbps(int kbps) {
  if (videoEncoder_) h264_->setKbps(videoEncoder_.get(), kbps);
}

void Encoder::setVideoFormat(const VideoFormat& format) {
  const MutexLock lock(formats_);
  published_ = format;
  if (!videoEncoder_) return;
  if (captured_.width > 0) applyFormats();
}

// Takes effect with the next frame. A dimension that is not scaled loses an odd column or row.
void Encoder::applyFormats() {
  const auto odd = [](int captured, int published) {
    return captured == published ? captured % 2 : 0;
  };
  g_object_set(videoCrop_.get(), "right", odd(captured_.width, published_.width), "bottom",
               odd(captured_.height, published_.height), nullptr);
  const GstPtr<GstCaps> size =
      sizeCaps(published_.width - published_.width % 2, published_.height - published_.height % 2);
  g_object_set(videoSize_.get(), "caps", size.get(), nullptr);
  const GstPtr<GstCaps> source = sizeCaps(captured_.width, captured_.height);
  gst_caps_set_simple(source.get(), "framerate", GST_TYPE_FRACTION, published_.fps, 1, nullptr);
  gst_app_src_set_caps(GST_APP_SRC(videoSource_.get()), source.get());
}

}  // namespace NimboEngine
