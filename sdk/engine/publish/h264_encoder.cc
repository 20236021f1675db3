#include "publish/h264_encoder.h"

#include <fmt/format.h>

#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

void setBitrateInKbps(GstElement* element, int kbps) {
  g_object_set(element, "bitrate", static_cast<guint>(kbps), nullptr);
}

void setBitrateInBps(GstElement* element, int kbps) {
  g_object_set(element, "bitrate", static_cast<guint>(kbps) * 1000, nullptr);
}

// scenecut=0: key frames only at the interval.
std::string describeX264(int kbps, int interval) {
  return fmt::format(
      "x264enc name=h264 tune=zerolatency speed-preset=veryfast bitrate={} key-int-max={} "
      "option-string=scenecut=0",
      kbps, interval);
}

std::string describeOpenH264(int kbps, int interval) {
  return fmt::format(
      "openh264enc name=h264 rate-control=bitrate bitrate={} gop-size={} complexity=low "
      "scene-change-detection=false",
      kbps * 1000, interval);
}

// Hardware takes NV12; B-frames would add delay.
std::string describeVa(const char* factory, int kbps, int interval) {
  return fmt::format(
      "videoconvert ! {} name=h264 rate-control=cbr bitrate={} key-int-max={} b-frames=0", factory,
      kbps, interval);
}

std::string describeVaH264(int kbps, int interval) {
  return describeVa("vah264enc", kbps, interval);
}

std::string describeVaH264Lp(int kbps, int interval) {
  return describeVa("vah264lpenc", kbps, interval);
}

std::string describeVaapi(int kbps, int interval) {
  return fmt::format(
      "videoconvert ! vaapih264enc name=h264 rate-control=cbr bitrate={} keyframe-period={} "
      "max-bframes=0",
      kbps, interval);
}

std::string describeV4l2(int kbps, int interval) {
  return fmt::format(
      "videoconvert ! v4l2h264enc name=h264 "
      "extra-controls=\"controls,video_bitrate={},video_gop_size={}\"",
      kbps * 1000, interval);
}

void setV4l2Bitrate(GstElement* element, int kbps) {
  const GstPtr<GstStructure> controls(
      gst_structure_new("controls", "video_bitrate", G_TYPE_INT, kbps * 1000, nullptr));
  g_object_set(element, "extra-controls", controls.get(), nullptr);
}

constexpr H264Encoder kEncoders[] = {
    {"vah264enc", true, describeVaH264, setBitrateInKbps},
    {"vah264lpenc", true, describeVaH264Lp, setBitrateInKbps},
    {"vaapih264enc", true, describeVaapi, setBitrateInKbps},
    {"v4l2h264enc", true, describeV4l2, setV4l2Bitrate},
    {"x264enc", false, describeX264, setBitrateInKbps},
    {"openh264enc", false, describeOpenH264, setBitrateInBps},
};

}  // namespace

const H264Encoder* chooseH264Encoder(bool wantsHardware, const HasElement& has) {
  for (const H264Encoder& encoder : kEncoders) {
    if ((wantsHardware || !encoder.hardware) && has(encoder.factory)) return &encoder;
  }
  return nullptr;
}

}  // namespace NimboEngine
