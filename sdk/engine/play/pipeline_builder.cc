#include "play/pipeline_builder.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "base/tsan_annotations.h"
#include "fetch/fetch_source.h"
#include "flv/flv_demuxer.h"
#include "gst/demuxers.h"
#include "play/media_guard.h"
#include "play/output_branch.h"
#include "play/rtsp_source.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

// How much of a timed network stream must be buffered before it continues.
constexpr guint64 kBufferedTime = 2 * GST_SECOND;

// The demultiplexers of live streams. decodebin would wait until all streams have appeared, which
// takes seconds if one of them is missing.
struct LiveContainer {
  std::string_view type;
  const char* demuxer;
  const char* flag;  // a property to set; null: none
};
constexpr LiveContainer kLiveContainers[] = {
    {"video/x-flv", kFlvDemuxerFactory, nullptr},
    // The demultiplexer's clock recovery moves time stamps by some 60 ms in the first seconds, and
    // each stream by itself; without it they are the sender's.
    {"video/mpegts", "tsdemux", "ignore-pcr"},
};

// Returns whether a pad has video or audio, raw, encoded or in RTP packets; none for anything else.
std::optional<Media> mediaOf(const GstCaps* caps) {
  if (gst_caps_is_empty(caps) || gst_caps_is_any(caps)) return std::nullopt;
  const GstStructure* structure = gst_caps_get_structure(caps, 0);
  const std::string_view type = gst_structure_get_name(structure);
  if (type == "application/x-rtp") {
    const gchar* kind = gst_structure_get_string(structure, "media");
    if (kind && std::string_view(kind) == "video") return Media::kVideo;
    if (kind && std::string_view(kind) == "audio") return Media::kAudio;
  }
  if (type.starts_with("video/") || type.starts_with("image/")) return Media::kVideo;
  if (type.starts_with("audio/")) return Media::kAudio;
  return std::nullopt;
}

// State shared by the signal handlers of one pipeline's elements.
class Wiring : public std::enable_shared_from_this<Wiring> {
 public:
  Wiring(GstElement* pipeline, PlayProtocol protocol, std::shared_ptr<DecodedMediaSink> output)
      : pipeline_(pipeline), protocol_(protocol), output_(std::move(output)) {}

  void begin();

  void decodeStream(GstPad* pad);

 private:
  void onType(GstElement* typefind, const GstCaps* caps);
  void onElement(GstElement* element);
  void demux(GstElement* typefind, const LiveContainer& container);
  void decode(GstPad* pad, bool playlist = false);
  void deliver(GstPad* pad);
  void setMode(bool live, bool followsArrival);
  bool isLive() const { return output_->mode() == kLumoLivePlayModeLive; }
  GstElement* add(const char* factory);

  template <auto use, class... Arguments>
  void connect(GstElement* element, const char* signal);

  GstElement* const pipeline_;  // owns the elements, whose signals share this
  const PlayProtocol protocol_;
  const std::shared_ptr<DecodedMediaSink> output_;

  // Whether there already is a video and an audio stream.
  std::array<std::atomic<bool>, 2> decoded_{};
  std::array<std::atomic<bool>, 2> delivered_{};
};

using SharedWiring = std::shared_ptr<Wiring>;

constexpr auto decodeStreamPad = [](Wiring& self, GstElement*, GstPad* pad) {
  self.decodeStream(pad);
};

// Connects `(this->*use)` to a signal.
template <auto use, class... Arguments>
void Wiring::connect(GstElement* element, const char* signal) {
  auto shared = std::make_unique<SharedWiring>(shared_from_this());
  tsanRelease(shared.get());
  const auto callback = +[](GstElement* emitter, Arguments... arguments, gpointer data) {
    tsanAcquire(data);
    use(**static_cast<SharedWiring*>(data), emitter, arguments...);
    tsanRelease(data);
  };
  g_signal_connect_data(
      element, signal, G_CALLBACK(callback), shared.release(),
      [](gpointer data, GClosure*) {
        tsanAcquire(data);
        std::unique_ptr<SharedWiring>(static_cast<SharedWiring*>(data)).reset();
      },
      GConnectFlags{});
}

void Wiring::begin() {
  constexpr auto deliverPad = [](Wiring& self, GstElement*, GstPad* pad) { self.deliver(pad); };
  constexpr auto onType = [](Wiring& self, GstElement* typefind, guint, GstCaps* caps) {
    self.onType(typefind, caps);
  };
  constexpr auto onElement = [](Wiring& self, GstElement*, GstBin*, GstElement* element) {
    self.onElement(element);
  };
  connect<onElement, GstBin*, GstElement*>(pipeline_, "deep-element-added");
  const auto element = [this](const char* name) {
    return GstPtr<GstElement>(gst_bin_get_by_name(GST_BIN(pipeline_), name));
  };
  if (const auto source = element("source")) this->onElement(source.get());
  if (protocol_ == PlayProtocol::kRtmp) {
    const GstPtr<GstPad> input(gst_element_get_static_pad(element("streams").get(), "sink"));
    guardArrival(input.get(), output_);
  }
  if (protocol_ == PlayProtocol::kFile) {
    setMode(false, false);
    restrictDemuxers(element("decoder").get(), false);
    connect<deliverPad, GstPad*>(element("decoder").get(), "pad-added");
  } else if (protocol_ == PlayProtocol::kRtsp || protocol_ == PlayProtocol::kRtmp) {
    setMode(true, true);
    connect<decodeStreamPad, GstPad*>(element("streams").get(), "pad-added");
  } else {
    connect<onType, guint, GstCaps*>(element("type").get(), "have-type");
  }
}

void Wiring::onElement(GstElement* element) {
  tuneDecoder(element, output_);
  // The segments of HLS have sources of their own. RTP is counted at the stream pads.
  const gchar* kind = gst_element_get_metadata(element, GST_ELEMENT_METADATA_KLASS);
  if (!kind || protocol_ == PlayProtocol::kRtsp || !std::string_view(kind).starts_with("Source")) {
    return;
  }
  const GstPtr<GstPad> pad(gst_element_get_static_pad(element, "src"));
  if (pad) guardArrival(pad.get(), output_);
}

GstElement* Wiring::add(const char* factory) {
  GstElement* element = gst_element_factory_make(factory, nullptr);
  if (element) {
    gst_bin_add(GST_BIN(pipeline_), element);
  } else {
    GST_ELEMENT_ERROR(pipeline_, CORE, MISSING_PLUGIN, ("%s is missing", factory), (nullptr));
  }
  return element;
}

void Wiring::setMode(bool live, bool followsArrival) {
  output_->setMode(live ? kLumoLivePlayModeLive : kLumoLivePlayModeTimed, followsArrival);
}

void Wiring::onType(GstElement* typefind, const GstCaps* caps) {
  output_->answered = true;
  const std::string_view type = gst_structure_get_name(gst_caps_get_structure(caps, 0));
  gint64 size = 0;
  const bool endless = !gst_element_query_duration(typefind, GST_FORMAT_BYTES, &size) || size <= 0;
  const bool live = endless && type != "application/x-hls";
  const auto* container =
      std::find_if(std::begin(kLiveContainers), std::end(kLiveContainers),
                   [&](const LiveContainer& known) { return type == known.type; });
  const bool known = container != std::end(kLiveContainers);
  setMode(live, live && known);
  if (live && known) return demux(typefind, *container);
  const GstPtr<GstPad> pad(gst_element_get_static_pad(typefind, "src"));
  // A playlist from this source has been checked.
  decode(pad.get(), protocol_ == PlayProtocol::kHttp && type == "application/x-hls");
}

void Wiring::demux(GstElement* typefind, const LiveContainer& container) {
  GstElement* demuxer = add(container.demuxer);
  if (!demuxer) return;
  if (container.flag) g_object_set(demuxer, container.flag, TRUE, nullptr);
  connect<decodeStreamPad, GstPad*>(demuxer, "pad-added");
  gst_element_link(typefind, demuxer);
  gst_element_sync_state_with_parent(demuxer);
}

// Decodes one stream on a thread of its own: a decoder that reorders frames needs several before it
// outputs one, and until then the other stream's sink may wait, since an incomplete decodebin takes
// the pipeline back to PAUSED. The demultiplexer must keep running meanwhile.
void Wiring::decodeStream(GstPad* pad) {
  const GstPtr<GstCaps> caps(gst_pad_query_caps(pad, nullptr));
  const auto media = mediaOf(caps.get());
  if (!media || decoded_.at(static_cast<size_t>(*media)).exchange(true)) return;
  GstElement* queue = add("queue");
  if (!queue) return;
  const auto most = static_cast<guint>(output_->limits().maxQueuedBytes / decoded_.size());
  g_object_set(queue, "max-size-buffers", 0, "max-size-time", guint64{0}, "max-size-bytes", most,
               nullptr);
  if (protocol_ == PlayProtocol::kRtsp) guardArrival(pad, output_);
  const GstPtr<GstPad> source(gst_element_get_static_pad(queue, "src"));
  const GstPtr<GstPad> sink(gst_element_get_static_pad(queue, "sink"));
  decode(source.get());
  gst_element_sync_state_with_parent(queue);
  gst_pad_link(pad, sink.get());
}

// Decodes the data of `pad`: a container, packets, or one stream.
void Wiring::decode(GstPad* pad, bool playlist) {
  GstElement* decoder = add("decodebin");
  if (!decoder) return;
  restrictDemuxers(decoder, playlist);
  // Frames must be in system memory.
  g_object_set(decoder, "force-sw-decoders", TRUE, nullptr);
  if (!isLive() && protocol_ == PlayProtocol::kHttp) {
    g_object_set(decoder, "use-buffering", TRUE, "max-size-time", kBufferedTime, nullptr);
  }
  constexpr auto deliverPad = [](Wiring& self, GstElement*, GstPad* added) { self.deliver(added); };
  connect<deliverPad, GstPad*>(decoder, "pad-added");
  const GstPtr<GstPad> sink(gst_element_get_static_pad(decoder, "sink"));
  gst_pad_link(pad, sink.get());
  gst_element_sync_state_with_parent(decoder);
}

// Returns whether this is the first stream of its kind.
void Wiring::deliver(GstPad* pad) {
  const GstPtr<GstCaps> caps(gst_pad_query_caps(pad, nullptr));
  const auto media = mediaOf(caps.get());
  if (!media || delivered_.at(static_cast<size_t>(*media)).exchange(true)) return;
  GstElement* branch = makeOutputBranch(*media, output_);
  if (!branch) return;
  gst_bin_add(GST_BIN(pipeline_), branch);
  gst_element_sync_state_with_parent(branch);
  const GstPtr<GstPad> sink(gst_element_get_static_pad(branch, "sink"));
  gst_pad_link(pad, sink.get());
}

struct SourceElement {
  PlayProtocol protocol;
  const char* description;
  const char* address;  // the property that takes the URL; null: it gets none, or a fetch URI
};

// The stall detector of the playback has its own timeouts, the same for all sources. A file's
// decoder exists from the beginning: it runs in pull mode, and starting that from the source's
// thread while the pipeline starts would deadlock.
constexpr SourceElement kSources[] = {
    {PlayProtocol::kRtmp, "pipeline.( nimboflvdemux name=streams )", nullptr},
    {PlayProtocol::kHttp, "nimbosrc name=source ! typefind name=type", nullptr},
    {PlayProtocol::kSrt, "srtsrc name=source auto-reconnect=false ! typefind name=type", "uri"},
    {PlayProtocol::kFile, "filesrc name=source ! decodebin name=decoder force-sw-decoders=true",
     "location"},
    {PlayProtocol::kRtsp, "pipeline.( rtspsrc name=streams )", "location"},
};

}  // namespace

std::unique_ptr<Pipeline> buildPlayPipeline(const PlayUrl& url, const std::string& fetchUri,
                                            std::shared_ptr<DecodedMediaSink> output,
                                            Pipeline::Handler handler) {
  [[maybe_unused]] static const bool registered = registerFlvDemuxer() && registerFetchSource();
  const PlayProtocol protocol = fetchUri.empty() ? url.protocol : PlayProtocol::kHttp;
  const auto* source = std::find_if(std::begin(kSources), std::end(kSources),
                                    [&](const auto& entry) { return entry.protocol == protocol; });
  auto pipeline = Pipeline::parse("player", source->description, std::move(handler));
  if (!pipeline) return nullptr;
  const bool rtsp = protocol == PlayProtocol::kRtsp;
  if (source->address) {
    const GstPtr<GstElement> element = pipeline->element(rtsp ? "streams" : "source");
    g_object_set(element.get(), source->address, url.text.c_str(), nullptr);
    if (rtsp) configureRtspSource(element.get());
  }
  if (!fetchUri.empty()) {
    const GstPtr<GstElement> element = pipeline->element("source");
    gst_uri_handler_set_uri(GST_URI_HANDLER(element.get()), fetchUri.c_str(), nullptr);
  }
  std::make_shared<Wiring>(pipeline->get(), protocol, std::move(output))->begin();
  return pipeline;
}

}  // namespace NimboEngine
