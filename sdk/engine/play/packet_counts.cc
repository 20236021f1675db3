#include "play/packet_counts.h"

#include <memory>
#include <string_view>

namespace NimboEngine {
namespace {

struct IteratorRelease {
  void operator()(GstIterator* iterator) const { gst_iterator_free(iterator); }
};

GstPtr<GstStructure> statsOf(GstElement* element) {
  GstStructure* stats = nullptr;
  g_object_get(element, "stats", &stats, nullptr);
  return GstPtr<GstStructure>(stats);
}

// Elements use fields of various types for counts.
uint64_t number(const GstStructure* stats, const char* field) {
  const GValue* value = gst_structure_get_value(stats, field);
  GValue converted = G_VALUE_INIT;
  g_value_init(&converted, G_TYPE_UINT64);
  return value && g_value_transform(value, &converted) ? g_value_get_uint64(&converted) : 0;
}

bool isAudio(GstElement* jitterBuffer) {
  const GstPtr<GstPad> pad(gst_element_get_static_pad(jitterBuffer, "sink"));
  const GstPtr<GstCaps> caps(gst_pad_get_current_caps(pad.get()));
  if (!caps) return false;
  const gchar* media = gst_structure_get_string(gst_caps_get_structure(caps.get(), 0), "media");
  return media && std::string_view(media) == "audio";
}

// Each stream has a jitter buffer of its own.
StreamPackets countRtpPackets(const Pipeline& pipeline) {
  StreamPackets packets;
  const std::unique_ptr<GstIterator, IteratorRelease> buffers(
      gst_bin_iterate_all_by_element_factory_name(GST_BIN(pipeline.get()), "rtpjitterbuffer"));
  const auto add = +[](const GValue* item, gpointer data) {
    auto* element = GST_ELEMENT(g_value_get_object(item));
    const GstPtr<GstStructure> stats = statsOf(element);
    if (!stats) return;
    const PacketCounts counts{number(stats.get(), "num-pushed"), number(stats.get(), "num-lost")};
    auto* sum = static_cast<StreamPackets*>(data);
    sum->all += counts;
    if (isAudio(element)) sum->audio += counts;
  };
  // If the set of elements changes meanwhile, it is read a second later.
  gst_iterator_foreach(buffers.get(), add, &packets);
  return packets;
}

StreamPackets countSrtPackets(const Pipeline& pipeline) {
  const GstPtr<GstStructure> stats = statsOf(pipeline.element("source").get());
  if (!stats) return {};
  return {.all = {number(stats.get(), "packets-received"),
                  number(stats.get(), "packets-received-lost")},
          .audio = {}};
}

}  // namespace

PacketCounts& PacketCounts::operator+=(const PacketCounts& other) {
  received += other.received;
  lost += other.lost;
  return *this;
}

StreamPackets countPackets(const Pipeline& pipeline, PlayProtocol protocol) {
  if (protocol == PlayProtocol::kRtsp) return countRtpPackets(pipeline);
  if (protocol == PlayProtocol::kSrt) return countSrtPackets(pipeline);
  return {};
}

int lossBetween(const PacketCounts& before, const PacketCounts& after) {
  if (after.lost <= before.lost || after.received < before.received) return 0;
  const uint64_t lost = after.lost - before.lost;
  const uint64_t all = lost + after.received - before.received;
  return static_cast<int>((lost * 100 + all / 2) / all);
}

}  // namespace NimboEngine
