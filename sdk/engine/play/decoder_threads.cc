#include "play/decoder_threads.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>

#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

// More threads cost memory, a frame each, and gain little.
constexpr int kMostThreads = 4;
constexpr double kUsualFrameRate = 30;

// The decoding rate up to which one core is enough, in pixels per second. Measured on a core of a
// 2020s server with FFmpeg 5: H.264 at 20 Mbit/s 210 to 380 million, HEVC at 10 Mbit/s 180 to 280
// million, both without anything else to do. The limits leave half of the lower figure for
// conversion and mixing and are just above a common format.
struct CoreSpeed {
  std::string_view type;
  double pixelsPerSecond;
};

constexpr CoreSpeed kCoreSpeeds[] = {
    {"video/x-h264", 1920.0 * 1088 * 60},
    {"video/x-h265", 1920.0 * 1088 * 30},
};

// Up to this rate one thread is easily enough, and further threads only add wake-ups: with sixteen
// players they cost more than they gain.
constexpr double kSmallRate = 1280.0 * 720 * 30;

double coreSpeed(std::string_view type) {
  const auto* speed = std::find_if(std::begin(kCoreSpeeds), std::end(kCoreSpeeds),
                                   [&](const CoreSpeed& entry) { return entry.type == type; });
  return speed == std::end(kCoreSpeeds) ? 0 : speed->pixelsPerSecond;
}

// Sets the properties that the decoder has: FFmpeg's have both, the others one.
void apply(GstElement* decoder, const DecoderThreads& threads) {
  GObjectClass* properties = G_OBJECT_GET_CLASS(decoder);
  for (const char* count : {"max-threads", "threads"}) {
    const GParamSpec* property = g_object_class_find_property(properties, count);
    if (!property) continue;
    if (property->value_type == G_TYPE_UINT) {
      g_object_set(decoder, count, static_cast<guint>(threads.count), nullptr);
    } else {
      g_object_set(decoder, count, threads.count, nullptr);
    }
  }
  if (g_object_class_find_property(properties, "thread-type")) {
    gst_util_set_object_arg(G_OBJECT(decoder), "thread-type", threads.frames ? "frame" : "slice");
  }
}

GstPadProbeReturn onEvent(GstPad* pad, GstPadProbeInfo* info, gpointer live) {
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (GST_EVENT_TYPE(event) != GST_EVENT_CAPS) return GST_PAD_PROBE_OK;
  GstCaps* caps = nullptr;
  gst_event_parse_caps(event, &caps);
  const GstStructure* format = gst_caps_get_structure(caps, 0);
  CodedVideo video;
  video.type = gst_structure_get_name(format);
  video.live = live != nullptr;
  gst_structure_get_int(format, "width", &video.width);
  gst_structure_get_int(format, "height", &video.height);
  int numerator = 0;
  int denominator = 1;
  if (gst_structure_get_fraction(format, "framerate", &numerator, &denominator)) {
    video.framesPerSecond = static_cast<double>(numerator) / denominator;
  }
  const GstPtr<GstElement> decoder(gst_pad_get_parent_element(pad));
  if (decoder) {
    const auto cores = static_cast<int>(g_get_num_processors());
    apply(decoder.get(), chooseDecoderThreads(video, cores));
  }
  return GST_PAD_PROBE_OK;
}

}  // namespace

DecoderThreads chooseDecoderThreads(const CodedVideo& video, int cores) {
  const int most = std::clamp(cores, 1, kMostThreads);
  const double speed = coreSpeed(video.type);
  const double rate = video.framesPerSecond > 0 ? video.framesPerSecond : kUsualFrameRate;
  const double pixels = static_cast<double>(video.width) * video.height * rate;
  if (pixels > 0 && pixels <= kSmallRate) return {.count = 1, .frames = false};
  if (!video.live) return {.count = most, .frames = most > 1};
  if (speed <= 0 || pixels <= speed) return {.count = most, .frames = false};
  const int needed = static_cast<int>(std::min(std::ceil(pixels / speed), double{kMostThreads}));
  const int count = std::min(needed, most);
  return {.count = count, .frames = count > 1};
}

void tuneDecoderThreads(GstElement* decoder, bool live) {
  const GstPtr<GstPad> sink(gst_element_get_static_pad(decoder, "sink"));
  if (!sink) return;
  gst_pad_add_probe(sink.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, onEvent,
                    live ? decoder : nullptr, nullptr);
}

}  // namespace NimboEngine
