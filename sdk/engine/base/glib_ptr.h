// Owning handles for GLib's reference-counted objects, like gst/gst_ptr.h for GStreamer's.
//
// Thread: the pointers are plain values; the objects keep GLib's own rules.
// Ownership: a GlibPtr owns one reference.

#pragma once

#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include <memory>

namespace NimboEngine {

struct GlibRelease {
  void operator()(GCancellable* object) const { g_object_unref(object); }
  void operator()(GDBusConnection* object) const { g_object_unref(object); }
  void operator()(GUnixFDList* object) const { g_object_unref(object); }
  void operator()(GInetAddress* object) const { g_object_unref(object); }
  void operator()(GIOStream* object) const { g_object_unref(object); }
  void operator()(GResolver* object) const { g_object_unref(object); }
  void operator()(GSocket* object) const { g_object_unref(object); }
  void operator()(GSocketAddress* object) const { g_object_unref(object); }
  void operator()(GSocketConnectable* object) const { g_object_unref(object); }
  void operator()(GMainContext* context) const { g_main_context_unref(context); }
  void operator()(GVariant* value) const { g_variant_unref(value); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(gchar* text) const { g_free(text); }
};

template <class T>
using GlibPtr = std::unique_ptr<T, GlibRelease>;

}  // namespace NimboEngine
