// The contract between the add-on and a video-frame plug-in: a shared library that exports
//
//   extern "C" LumoLivePushElectronSDK::INimboPlugin* createNimboPlugin();
//   extern "C" void destoryNimboPlugin(LumoLivePushElectronSDK::INimboPlugin*);
//
// (the spelling of the second name is part of the contract). This header needs nothing else of the
// project. Build a plug-in with run-time type information: the add-on finds out by dynamic_cast
// whether an instance is an IVideoFramePlugin.
//
// Thread: everything but processVideoFrame is called on the JavaScript thread. processVideoFrame is
//   called on the capture thread, once for each captured frame, one call at a time; enable and
//   setParameter may be called while it runs.
// Ownership: an instance is destroyed by its own library's destoryNimboPlugin, after uninit and
//   then release.
// Failure: no operation may throw.

#pragma once

#include <cstdint>

// The type names must be the same on both sides of the library boundary, so they stay visible.
#define LUMO_PLUGIN_INTERFACE __attribute__((visibility("default")))

namespace LumoLivePushElectronSDK {

// One I420 picture: the Y plane, then U, then V, contiguous from `data`; strides in bytes. The
// chroma planes have (height + 1) / 2 rows. The pixels may be changed in place; changes to the
// record's own fields are not seen by anybody.
struct VideoFrame {
  unsigned char* data = nullptr;
  int32_t strideY = 0;
  int32_t strideU = 0;
  int32_t strideV = 0;
  int32_t height = 0;
  int32_t width = 0;
};

class LUMO_PLUGIN_INTERFACE INimboPlugin {
 public:
  virtual ~INimboPlugin() = default;

  // First call, once. False rejects the plug-in: uninit and release follow, then the end.
  virtual bool init() = 0;

  // Second step of teardown.
  virtual void release() = 0;

  // Called after init with the folder of the library file, ending in "/"; "" when the library was
  // loaded by a name without one.
  virtual void setPluginDirectory(const char* directory) = 0;

  // First step of teardown.
  virtual void uninit() = 0;

  // Switches the plug-in's effect on or off. The add-on keeps no flag of its own: it goes on
  // calling processVideoFrame, and a plug-in that is off leaves the pixels alone. The result tells
  // whether the switch was accepted.
  virtual bool enable(bool on) = 0;

  // Takes a parameter text of the plug-in's own format. The result tells whether it was accepted.
  virtual bool setParameter(const char* parameter) = 0;

  // Kept for the shape of the interface; the add-on never calls it.
  virtual const char* getParameter() = 0;
};

class LUMO_PLUGIN_INTERFACE IVideoFramePlugin : public INimboPlugin {
 public:
  // Both arguments are the same record: work on the pixels in place.
  virtual void processVideoFrame(VideoFrame* input, VideoFrame* output) = 0;
};

}  // namespace LumoLivePushElectronSDK
