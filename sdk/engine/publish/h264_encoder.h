// Chooses one of GStreamer's H.264 encoders, and describes how each is configured.
//
//   wish      tried in this order
//   --------  --------------------------------------------------------------------
//   hardware  VA-API (vah264enc, vah264lpenc, vaapih264enc), V4L2 (v4l2h264enc), then
//   software  x264enc, openh264enc
//
// Thread: any; keeps no state.

#pragma once

#include <gst/gst.h>

#include <functional>
#include <string>

namespace NimboEngine {

struct H264Encoder {
  const char* factory;
  bool hardware;
  // The element as a launch description, to be named "h264", with the largest number of frames
  // between two key frames.
  std::string (*describe)(int kbps, int keyFrameInterval);
  // Works on a running element too.
  void (*setKbps)(GstElement* element, int kbps);
};

// Returns whether an element of that name can be created.
using HasElement = std::function<bool(const std::string& factory)>;

// Returns null if there is none.
const H264Encoder* chooseH264Encoder(bool wantsHardware, const HasElement& has);

}  // namespace NimboEngine
