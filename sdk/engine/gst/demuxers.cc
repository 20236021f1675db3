#include "gst/demuxers.h"

#include <atomic>
#include <memory>
#include <string_view>

#include "base/tsan_annotations.h"

namespace NimboEngine {
namespace {

constexpr std::string_view kPlaylistDemuxer = "hlsdemux";
// Values of decodebin's GstAutoplugSelectResult.
constexpr int kTry = 0;
constexpr int kSkip = 2;

struct Permission {
  explicit Permission(bool mayPlay) : playlist(mayPlay) {}

  std::atomic<bool> playlist;  // not used yet
};

// HLS, DASH and Smooth Streaming are "Codec/Demuxer/Adaptive", SDP is "Codec/Demuxer/Network/RTP".
bool fetches(GstElementFactory* factory) {
  const gchar* metadata = gst_element_factory_get_metadata(factory, GST_ELEMENT_METADATA_KLASS);
  const std::string_view kind = metadata ? metadata : "";
  return kind.find("Demux") != kind.npos &&
         (kind.find("Adaptive") != kind.npos || kind.find("Network") != kind.npos);
}

int onSelect(GstElement*, GstPad*, GstCaps*, GstElementFactory* factory, gpointer data) {
  if (!fetches(factory)) return kTry;
  const std::string_view name = gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory));
  if (name != kPlaylistDemuxer) return kSkip;
  return static_cast<Permission*>(data)->playlist.exchange(false) ? kTry : kSkip;
}

}  // namespace

void restrictDemuxers(GstElement* decoder, bool playlist) {
  auto permission = std::make_unique<Permission>(playlist);
  tsanRelease(permission.get());
  g_signal_connect_data(
      decoder, "autoplug-select", G_CALLBACK(onSelect), permission.release(),
      [](gpointer data, GClosure*) {
        tsanAcquire(data);
        delete static_cast<Permission*>(data);
      },
      GConnectFlags{});
}

}  // namespace NimboEngine
