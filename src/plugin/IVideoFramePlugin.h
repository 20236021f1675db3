// The contract between the add-on and a video-frame plug-in: a shared library that exports
//
//   extern "C" LumoLivePushElectronSDK::INimboPlugin* createNimboPlugin();
//   extern "C" void destoryNimboPlugin(LumoLivePushElectronSDK::INimboPlugin*);
//
// (the spelling of the second name is part of the contract). This header needs nothing else of the
// project, and C++11. Build a plug-in with run-time type information: the add-on finds out by
// dynamic_cast whether an instance is an IVideoFramePlugin.
//
// An instance's life, call by call:
//
//   addPlugin                createNimboPlugin, init, setPluginDirectory
//   enablePlugin             enable                any number of times, in any order, and while
//   setPluginParameter       setParameter          frames are processed
//   a captured frame         processVideoFrame
//   removePlugin             uninit, release, destoryNimboPlugin
//
// releasePluginManager, and a LumoLivePushJSWrapper that is garbage-collected, end all plug-ins
// like removePlugin. When createNimboPlugin returns null, or init false, addPlugin fails; in the
// latter case the instance is ended like that too. The library is closed last. When the process
// exits, nothing is called.
//
// Thread: everything but processVideoFrame is called on the JavaScript thread, one call at a time,
//   and the application waits for it. V8 must not be used: a call may come out of a garbage
//   collection. processVideoFrame is called on the SDK's capture thread.
// Ownership: the caller of createNimboPlugin owns the instance and returns it to the same library's
//   destoryNimboPlugin. Texts are valid during the call only.
// Failure: nothing may throw.

#pragma once

#include <cstdint>

// The type names must be the same on both sides of the library boundary, so they stay visible.
#define LUMO_PLUGIN_INTERFACE __attribute__((visibility("default")))

namespace LumoLivePushElectronSDK {

// One I420 frame: the Y plane, then U, then V, contiguous from `data`; strides in bytes. A row
// may be longer than the frame is wide. U and V are (width + 1) / 2 wide and (height + 1) / 2
// high. The pixels may be changed in place; changes to the record's own fields have no effect.
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
  // By destoryNimboPlugin, after release.
  virtual ~INimboPlugin() = default;

  // Called once, directly after createNimboPlugin. False rejects the plug-in; setPluginDirectory,
  // uninit and release follow all the same.
  virtual bool init() = 0;

  // Called once, directly after uninit: the second step of teardown.
  virtual void release() = 0;

  // Called once, directly after init, with the folder of the library file as it was given to
  // addPlugin, ending in "/"; "" when the library was loaded by a name without one.
  virtual void setPluginDirectory(const char* directory) = 0;

  // Called once: the first step of teardown. processVideoFrame does not run, now or later.
  virtual void uninit() = 0;

  // Called by enablePlugin, also while processVideoFrame runs. Switches the plug-in's effect on or
  // off. The add-on keeps no flag of its own: it goes on calling processVideoFrame, and a plug-in
  // that is off does not change the pixels. Returns whether the switch was accepted.
  virtual bool enable(bool on) = 0;

  // Called by setPluginParameter, also while processVideoFrame runs, with a text of the plug-in's
  // own format. Returns whether it was accepted.
  virtual bool setParameter(const char* parameter) = 0;

  // Kept for compatibility; the add-on never calls it.
  virtual const char* getParameter() = 0;
};

class LUMO_PLUGIN_INTERFACE IVideoFramePlugin : public INimboPlugin {
 public:
  // Called on the capture thread for each captured frame (frames of a shared screen or of a player
  // excepted), one at a time, in the order of the plug-ins' IDs, before the frame is previewed,
  // published and delivered to JavaScript. All of these wait for it, and so does removePlugin: it
  // must not wait for the JavaScript thread. Both arguments are the same record: work on the pixels
  // in place.
  virtual void processVideoFrame(VideoFrame* input, VideoFrame* output) = 0;
};

}  // namespace LumoLivePushElectronSDK
