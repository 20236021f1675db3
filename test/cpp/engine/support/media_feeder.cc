#include "support/media_feeder.h"

#include <random>
#include <vector>

#include "gst/gst_ptr.h"

namespace NimboEngine::test {
namespace {

void waitUntil(GstClock* clock, GstClockTime time) {
  GstClockID id = gst_clock_new_single_shot_id(clock, time);
  gst_clock_id_wait(id, nullptr);
  gst_clock_id_unref(id);
}

}  // namespace

MediaFeeder::MediaFeeder(FrameConsumer& consumer, const VideoFormat& video,
                         const AudioFormat& audio)
    : consumer_(consumer),
      video_([this, video] { feedVideo(video); }),
      audio_([this, audio] { feedAudio(audio); }) {}

MediaFeeder::~MediaFeeder() {
  stopping_ = true;
  video_.join();
  audio_.join();
}

void MediaFeeder::feedVideo(const VideoFormat& format) {
  const GstPtr<GstClock> clock(gst_system_clock_obtain());
  GstVideoInfo info;
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, static_cast<guint>(format.width),
                            static_cast<guint>(format.height));
  GstClockTime time = gst_clock_get_time(clock.get());
  // Noise, shifted from frame to frame, so that the encoder needs all of its bit rate.
  constexpr gsize kShifts = 1024;
  std::vector<guint8> noise(info.size + kShifts);
  std::minstd_rand random(1);
  for (guint8& value : noise) value = static_cast<guint8>(random() >> 8);
  for (gsize number = 0; !stopping_; ++number) {
    waitUntil(clock.get(), time);
    const GstPtr<GstBuffer> frame(gst_buffer_new_allocate(nullptr, info.size, nullptr));
    gst_buffer_fill(frame.get(), 0, noise.data() + number * 37 % kShifts, info.size);
    GST_BUFFER_PTS(frame.get()) = time;
    consumer_.onVideoFrame(frame.get(), info, time);
    time += GST_SECOND / static_cast<GstClockTime>(format.fps);
  }
}

void MediaFeeder::feedAudio(const AudioFormat& format) {
  const GstPtr<GstClock> clock(gst_system_clock_obtain());
  const auto size = static_cast<gsize>(format.rate / 50 * format.channels) * sizeof(gint16);
  GstClockTime time = gst_clock_get_time(clock.get());
  while (!stopping_) {
    waitUntil(clock.get(), time);
    const GstPtr<GstBuffer> chunk(gst_buffer_new_allocate(nullptr, size, nullptr));
    gst_buffer_memset(chunk.get(), 0, 0, size);
    GST_BUFFER_PTS(chunk.get()) = time;
    consumer_.onAudioChunk(chunk.get(), format, time);
    time += GST_SECOND / 50;
  }
}

}  // namespace NimboEngine::test
