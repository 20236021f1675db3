#include "fetch/fetch_source.h"

#include <gst/base/gstpushsrc.h>

#include <memory>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "fetch/fetch_stream.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {
namespace {

struct Source {
  Mutex mutex;
  std::string uri NIMBO_GUARDED_BY(mutex);
  std::shared_ptr<FetchStream> stream NIMBO_GUARDED_BY(mutex);  // from start to stop

  std::shared_ptr<FetchStream> current() {
    const MutexLock lock(mutex);
    return stream;
  }
};

struct Element {
  GstPushSrc parent;
  Source* source;
};

struct ElementClass {
  GstPushSrcClass parent;
};

GObjectClass* parentClass = nullptr;

Source& sourceOf(gpointer element) {
  return *static_cast<Element*>(element)->source;
}

gboolean onStart(GstBaseSrc* element) {
  Source& source = sourceOf(element);
  const MutexLock lock(source.mutex);
  const auto uri = parseFetchUri(source.uri);
  if (!uri) {
    GST_ELEMENT_ERROR(element, RESOURCE, NOT_FOUND, ("there is no address"), (nullptr));
    return FALSE;
  }
  source.stream = std::make_shared<FetchStream>(*uri);
  return TRUE;
}

gboolean onStop(GstBaseSrc* element) {
  Source& source = sourceOf(element);
  const MutexLock lock(source.mutex);
  source.stream.reset();
  return TRUE;
}

gboolean onUnlock(GstBaseSrc* element) {
  if (const auto stream = sourceOf(element).current()) stream->interrupt();
  return TRUE;
}

gboolean onUnlockStop(GstBaseSrc* element) {
  if (const auto stream = sourceOf(element).current()) stream->resume();
  return TRUE;
}

gboolean isSeekable(GstBaseSrc* element) {
  const auto stream = sourceOf(element).current();
  return stream && stream->isSeekable();
}

gboolean getSize(GstBaseSrc* element, guint64* size) {
  const auto stream = sourceOf(element).current();
  const auto length = stream ? stream->length() : std::nullopt;
  if (length) *size = *length;
  return length.has_value();
}

gboolean doSeek(GstBaseSrc* element, GstSegment* segment) {
  const auto stream = sourceOf(element).current();
  if (!stream || segment->rate < 0 || segment->format != GST_FORMAT_BYTES) return FALSE;
  ByteRange range{segment->start, std::nullopt};
  if (segment->stop != GST_CLOCK_TIME_NONE) range.end = segment->stop;
  stream->seek(range);
  return TRUE;
}

// Marks the source as bandwidth-limited, so that nothing is downloaded repeatedly.
gboolean onQuery(GstBaseSrc* element, GstQuery* query) {
  const gboolean answered = GST_BASE_SRC_CLASS(parentClass)->query(element, query);
  if (GST_QUERY_TYPE(query) == GST_QUERY_SCHEDULING) {
    GstSchedulingFlags flags{};
    gint smallest = 0;
    gint largest = 0;
    gint alignment = 0;
    gst_query_parse_scheduling(query, &flags, &smallest, &largest, &alignment);
    flags = static_cast<GstSchedulingFlags>(flags | GST_SCHEDULING_FLAG_BANDWIDTH_LIMITED);
    gst_query_set_scheduling(query, flags, smallest, largest, alignment);
  }
  return answered;
}

void postError(GstPushSrc* element, const FetchFailure& failure) {
  if (failure.code == LumoRtc::kLumoLiveErrorStreamNotFound) {
    GST_ELEMENT_ERROR(element, RESOURCE, NOT_FOUND, ("%s", failure.text.c_str()), (nullptr));
  } else {
    GST_ELEMENT_ERROR(element, RESOURCE, READ, ("%s", failure.text.c_str()), (nullptr));
  }
}

// The base class asks for the size before a buffer is made, so at first too early.
void publishLength(GstBaseSrc* element, const FetchStream& stream) {
  const auto length = stream.length();
  if (!length || element->segment.duration == *length) return;
  element->segment.duration = *length;
  gst_element_post_message(GST_ELEMENT(element),
                           gst_message_new_duration_changed(GST_OBJECT(element)));
}

GstFlowReturn create(GstPushSrc* element, GstBuffer** buffer) {
  const auto stream = sourceOf(element).current();
  if (!stream) return GST_FLOW_FLUSHING;
  std::vector<uint8_t> bytes;
  switch (stream->read(bytes)) {
    case Fetch::Read::kStopped:
      return GST_FLOW_FLUSHING;
    case Fetch::Read::kEnd:
      return GST_FLOW_EOS;
    case Fetch::Read::kFailed:
      postError(element, stream->failure());
      return GST_FLOW_ERROR;
    case Fetch::Read::kData:
      break;
  }
  publishLength(GST_BASE_SRC(element), *stream);
  *buffer = gst_buffer_new_memdup(bytes.data(), bytes.size());
  GST_BUFFER_OFFSET(*buffer) = stream->position() - bytes.size();
  GST_BUFFER_OFFSET_END(*buffer) = stream->position();
  return GST_FLOW_OK;
}

void finalize(GObject* object) {
  delete reinterpret_cast<Element*>(object)->source;
  parentClass->finalize(object);
}

// ---------------------------------------------------------------------------------- URI handler

GstURIType uriType(GType) {
  return GST_URI_SRC;
}

const gchar* const* uriProtocols(GType) {
  static const gchar* const protocols[] = {kFetchScheme, nullptr};
  return protocols;
}

gchar* getUri(GstURIHandler* handler) {
  Source& source = sourceOf(handler);
  const MutexLock lock(source.mutex);
  return source.uri.empty() ? nullptr : g_strdup(source.uri.c_str());
}

gboolean setUri(GstURIHandler* handler, const gchar* uri, GError** error) {
  Source& source = sourceOf(handler);
  const MutexLock lock(source.mutex);
  if (source.stream) {
    g_set_error(error, GST_URI_ERROR, GST_URI_ERROR_BAD_STATE, "the source is running");
    return FALSE;
  }
  if (!uri || !parseFetchUri(uri)) {
    g_set_error(error, GST_URI_ERROR, GST_URI_ERROR_BAD_URI, "the address was not approved");
    return FALSE;
  }
  source.uri = uri;
  return TRUE;
}

void initializeUriHandler(gpointer interface, gpointer) {
  auto* handler = static_cast<GstURIHandlerInterface*>(interface);
  handler->get_type = uriType;
  handler->get_protocols = uriProtocols;
  handler->get_uri = getUri;
  handler->set_uri = setUri;
}

void initializeClass(gpointer type, gpointer) {
  parentClass = G_OBJECT_CLASS(g_type_class_peek_parent(type));
  G_OBJECT_CLASS(type)->finalize = finalize;
  auto* elementClass = GST_ELEMENT_CLASS(type);
  gst_element_class_set_static_metadata(elementClass, "Guarded source", "Source/Network",
                                        "Fetches what players may fetch", "Nimbo");
  const GstPtr<GstCaps> any(gst_caps_new_any());
  gst_element_class_add_pad_template(
      elementClass, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, any.get()));
  auto* baseClass = GST_BASE_SRC_CLASS(type);
  baseClass->start = onStart;
  baseClass->stop = onStop;
  baseClass->unlock = onUnlock;
  baseClass->unlock_stop = onUnlockStop;
  baseClass->is_seekable = isSeekable;
  baseClass->get_size = getSize;
  baseClass->do_seek = doSeek;
  baseClass->query = onQuery;
  GST_PUSH_SRC_CLASS(type)->create = create;
}

void initializeInstance(GTypeInstance* instance, gpointer) {
  reinterpret_cast<Element*>(instance)->source = new Source;
}

}  // namespace

bool registerFetchSource() {
  static const GType type = [] {
    const GType made = g_type_register_static_simple(
        GST_TYPE_PUSH_SRC, "NimboFetchSource", sizeof(ElementClass), initializeClass,
        sizeof(Element), initializeInstance, GTypeFlags{});
    const GInterfaceInfo handler = {initializeUriHandler, nullptr, nullptr};
    g_type_add_interface_static(made, GST_TYPE_URI_HANDLER, &handler);
    return made;
  }();
  return gst_element_register(nullptr, kFetchSourceFactory, GST_RANK_PRIMARY, type);
}

}  // namespace NimboEngine
