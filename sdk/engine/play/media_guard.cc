#include "play/media_guard.h"

#include <fmt/format.h>

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/tsan_annotations.h"
#include "gst/gst_ptr.h"
#include "media/coded_size.h"

namespace NimboEngine {
namespace {

using SharedOutput = std::shared_ptr<DecodedMediaSink>;

// Posted by the pipeline itself: while decodebin tries a decoder, it suppresses that decoder's
// errors.
void refuse(GstPad* pad, const std::string& text) {
  GstPtr<GstObject> top(GST_OBJECT(gst_object_ref(pad)));
  while (GstObject* parent = gst_object_get_parent(top.get())) top.reset(parent);
  if (!GST_IS_ELEMENT(top.get())) return;
  GST_ELEMENT_ERROR(GST_ELEMENT(top.get()), STREAM, DECODE, ("%s", text.c_str()), (nullptr));
}

// State of one decoder's probe; used on the thread that feeds the decoder.
struct DecoderGuard {
  explicit DecoderGuard(SharedOutput with) : output(std::move(with)) {}

  const SharedOutput output;
  std::string type;
  std::size_t lengthBytes = 0;
  bool refused = false;

  bool accepts(GstPad* pad, const CodedSize& size);
  bool acceptsCaps(GstPad* pad, const GstCaps* caps);
  bool acceptsConfiguration(GstPad* pad, const GstStructure* format);
  bool acceptsBuffer(GstPad* pad, GstBuffer* buffer);
};

bool DecoderGuard::accepts(GstPad* pad, const CodedSize& size) {
  const uint64_t most = output->limits().maxFramePixels;
  if (size.pixels() <= most) return true;
  refuse(pad, fmt::format("a frame of {}x{} pixels is beyond the limit, {} (limits.maxFramePixels)",
                          size.width, size.height, most));
  return false;
}

bool DecoderGuard::acceptsCaps(GstPad* pad, const GstCaps* caps) {
  const GstStructure* format = gst_caps_get_structure(caps, 0);
  type = gst_structure_get_name(format);
  int width = 0;
  int height = 0;
  gst_structure_get_int(format, "width", &width);
  gst_structure_get_int(format, "height", &height);
  if (width > 0 && height > 0 &&
      !accepts(pad, {static_cast<uint32_t>(width), static_cast<uint32_t>(height)})) {
    return false;
  }
  return acceptsConfiguration(pad, format);
}

// A decoder's configuration contains parameter sets, too, and the framing of units.
bool DecoderGuard::acceptsConfiguration(GstPad* pad, const GstStructure* format) {
  lengthBytes = 0;
  const GValue* value = gst_structure_get_value(format, "codec_data");
  const gchar* framing = gst_structure_get_string(format, "stream-format");
  const bool framed = framing && std::string_view(framing) != "byte-stream";
  if (!framed || !value || !GST_VALUE_HOLDS_BUFFER(value)) return true;
  GstMapInfo map;
  GstBuffer* configuration = gst_value_get_buffer(value);
  if (!gst_buffer_map(configuration, &map, GST_MAP_READ)) return true;
  const std::span<const uint8_t> bytes(map.data, map.size);
  lengthBytes = unitLengthBytes(type, bytes);
  const auto size = largestConfiguredSize(type, bytes);
  gst_buffer_unmap(configuration, &map);
  return !size || accepts(pad, *size);
}

bool DecoderGuard::acceptsBuffer(GstPad* pad, GstBuffer* buffer) {
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return true;
  const auto size = largestCodedSize(type, lengthBytes, {map.data, map.size});
  gst_buffer_unmap(buffer, &map);
  return !size || accepts(pad, *size);
}

GstPadProbeReturn onDecoderInput(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
  tsanAcquire(data);
  auto& guard = *static_cast<DecoderGuard*>(data);
  if (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) {
    guard.output->arrival.onDecodable();
    guard.refused = guard.refused || !guard.acceptsBuffer(pad, GST_PAD_PROBE_INFO_BUFFER(info));
  } else if (GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
             GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
    GstCaps* caps = nullptr;
    gst_event_parse_caps(event, &caps);
    guard.refused = guard.refused || !guard.acceptsCaps(pad, caps);
  }
  const bool refused = guard.refused;
  tsanRelease(data);
  return refused ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

// Codecs whose size cannot be parsed above have allocated one frame by now; a second is prevented.
GstPadProbeReturn onDecoderOutput(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (GST_EVENT_TYPE(event) != GST_EVENT_CAPS) return GST_PAD_PROBE_OK;
  tsanAcquire(data);
  auto& guard = *static_cast<DecoderGuard*>(data);
  GstCaps* caps = nullptr;
  gst_event_parse_caps(event, &caps);
  const bool accepted = guard.acceptsCaps(pad, caps);
  tsanRelease(data);
  return accepted ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
}

void addDecoderProbe(GstElement* decoder, const char* name, GstPadProbeType kinds,
                     GstPadProbeCallback callback, const SharedOutput& output) {
  const GstPtr<GstPad> pad(gst_element_get_static_pad(decoder, name));
  if (!pad) return;
  auto guard = std::make_unique<DecoderGuard>(output);
  tsanRelease(guard.get());
  gst_pad_add_probe(pad.get(), kinds, callback, guard.release(), [](gpointer data) {
    tsanAcquire(data);
    std::unique_ptr<DecoderGuard>(static_cast<DecoderGuard*>(data)).reset();
  });
}

// Pulled data are not counted: an element pulls only what it can use.
GstPadProbeReturn onArrival(GstPad* pad, GstPadProbeInfo* info, gpointer data) {
  tsanAcquire(data);
  DecodedMediaSink& output = **static_cast<SharedOutput*>(data);
  const bool within = output.arrival.add(gst_buffer_get_size(GST_PAD_PROBE_INFO_BUFFER(info)));
  const uint64_t most = output.limits().maxQueuedBytes;
  tsanRelease(data);
  if (within) return GST_PAD_PROBE_OK;
  refuse(pad, fmt::format("{} bytes have arrived and none of them can be decoded "
                          "(limits.maxQueuedBytes)",
                          most));
  return GST_PAD_PROBE_DROP;
}

}  // namespace

void guardDecoder(GstElement* decoder, const SharedOutput& output) {
  constexpr auto kInput =
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
  addDecoderProbe(decoder, "sink", kInput, &onDecoderInput, output);
  addDecoderProbe(decoder, "src", GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &onDecoderOutput, output);
}

void guardArrival(GstPad* pad, const SharedOutput& output) {
  auto kept = std::make_unique<SharedOutput>(output);
  tsanRelease(kept.get());
  constexpr auto kPushed =
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_PUSH);
  gst_pad_add_probe(pad, kPushed, &onArrival, kept.release(), [](gpointer data) {
    tsanAcquire(data);
    std::unique_ptr<SharedOutput>(static_cast<SharedOutput*>(data)).reset();
  });
}

}  // namespace NimboEngine
