// Owning handles for GStreamer's reference-counted objects, so that no code path misses an unref.
//
// Thread: the pointers are plain values; the objects keep GStreamer's own rules.
// Ownership: a GstPtr owns one reference. `adopt` in comments marks calls that give one away.

#pragma once

#include <gst/gst.h>

#include <memory>

namespace NimboEngine {

struct GstRelease {
  void operator()(GstObject* object) const { gst_object_unref(object); }
  void operator()(GstElement* object) const { gst_object_unref(object); }
  void operator()(GstPad* object) const { gst_object_unref(object); }
  void operator()(GstBus* object) const { gst_object_unref(object); }
  void operator()(GstClock* object) const { gst_object_unref(object); }
  void operator()(GstBufferPool* object) const { gst_object_unref(object); }
  void operator()(GstDevice* object) const { gst_object_unref(object); }
  void operator()(GstDeviceMonitor* object) const { gst_object_unref(object); }
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
  void operator()(GstSample* sample) const { gst_sample_unref(sample); }
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
  void operator()(GstMessage* message) const { gst_message_unref(message); }
  void operator()(GstStructure* structure) const { gst_structure_free(structure); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(gchar* text) const { g_free(text); }
};

template <class T>
using GstPtr = std::unique_ptr<T, GstRelease>;

// Returns a further reference to an object that has another owner.
inline GstPtr<GstBuffer> share(GstBuffer* buffer) {
  return GstPtr<GstBuffer>(gst_buffer_ref(buffer));
}

}  // namespace NimboEngine
