#include "play/play_graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <mutex>
#include <string_view>
#include <utility>

#include "base/handover.h"
#include "log/log.h"
#include "play/play_ends.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

// RTP packets may overtake each other on their way for so long.
constexpr int kRtpLatencyMs = 150;
// What must be decoded ahead of a timed stream from the network before it goes on.
constexpr guint64 kBufferedTime = 2 * GST_SECOND;

// What the signals of one pipeline's elements share.
class Wiring : public std::enable_shared_from_this<Wiring> {
 public:
  Wiring(GstElement* pipeline, PlayProtocol protocol, std::shared_ptr<PlayOutlets> outlets)
      : pipeline_(pipeline), protocol_(protocol), outlets_(std::move(outlets)) {}

  void begin();

 private:
  void onType(GstElement* typefind, const GstCaps* caps);
  void onElement(GstElement* element) { tuneDecoder(element, outlets_); }
  void decode(GstPad* pad);
  void deliver(GstPad* pad);
  void setLive(bool live);
  bool isLive() const { return outlets_->mode == kLumoLivePlayModeLive; }
  bool claim(Media media);
  GstElement* add(const char* factory);

  template <auto use, class... Arguments>
  void connect(GstElement* element, const char* signal);

  GstElement* const pipeline_;  // owns the elements, whose signals share this
  const PlayProtocol protocol_;
  const std::shared_ptr<PlayOutlets> outlets_;

  std::mutex mutex_;
  std::array<bool, 2> claimed_{};  // whether there is a video, an audio stream already
};

using SharedWiring = std::shared_ptr<Wiring>;

// Has `(this->*use)` called with the signal's arguments.
template <auto use, class... Arguments>
void Wiring::connect(GstElement* element, const char* signal) {
  auto shared = std::make_unique<SharedWiring>(shared_from_this());
  offerHandover(shared.get());
  const auto callback = +[](GstElement* emitter, Arguments... arguments, gpointer data) {
    acceptHandover(data);
    use(**static_cast<SharedWiring*>(data), emitter, arguments...);
    offerHandover(data);
  };
  g_signal_connect_data(
      element, signal, G_CALLBACK(callback), shared.release(),
      [](gpointer data, GClosure*) {
        acceptHandover(data);
        std::unique_ptr<SharedWiring>(static_cast<SharedWiring*>(data)).reset();
      },
      GConnectFlags{});
}

void Wiring::begin() {
  constexpr auto decodePad = [](Wiring& self, GstElement*, GstPad* pad) { self.decode(pad); };
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
  if (protocol_ == PlayProtocol::kFile) {
    setLive(false);
    connect<deliverPad, GstPad*>(element("decoder").get(), "pad-added");
  } else if (protocol_ == PlayProtocol::kRtsp) {
    setLive(true);
    connect<decodePad, GstPad*>(element("source").get(), "pad-added");
  } else {
    connect<onType, guint, GstCaps*>(element("type").get(), "have-type");
  }
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

void Wiring::setLive(bool live) {
  outlets_->mode = live ? kLumoLivePlayModeLive : kLumoLivePlayModeTimed;
}

// FLV gets its demultiplexer from here: decodebin would wait until both streams have shown
// themselves, seconds where one of them is missing.
void Wiring::onType(GstElement* typefind, const GstCaps* caps) {
  // An RTMP source states its type before it is connected.
  if (protocol_ != PlayProtocol::kRtmp) outlets_->answered = true;
  const std::string_view type = gst_structure_get_name(gst_caps_get_structure(caps, 0));
  gint64 size = 0;
  const bool endless = !gst_element_query_duration(typefind, GST_FORMAT_BYTES, &size) || size <= 0;
  setLive(endless && type != "application/x-hls");
  const GstPtr<GstPad> pad(gst_element_get_static_pad(typefind, "src"));
  if (type != "video/x-flv" || !isLive()) return decode(pad.get());
  GstElement* demuxer = add("flvdemux");
  if (!demuxer) return;
  constexpr auto decodePad = [](Wiring& self, GstElement*, GstPad* added) { self.decode(added); };
  connect<decodePad, GstPad*>(demuxer, "pad-added");
  gst_element_link(typefind, demuxer);
  gst_element_sync_state_with_parent(demuxer);
}

// Decodes what comes from `pad`: a container, packets, or one stream.
void Wiring::decode(GstPad* pad) {
  GstElement* decoder = add("decodebin");
  if (!decoder) return;
  // Pictures are wanted in plain memory.
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

// Whether that is the first stream of its kind.
bool Wiring::claim(Media media) {
  std::lock_guard lock(mutex_);
  return !std::exchange(claimed_[static_cast<size_t>(media)], true);
}

void Wiring::deliver(GstPad* pad) {
  const GstPtr<GstCaps> caps(gst_pad_query_caps(pad, nullptr));
  if (gst_caps_is_empty(caps.get()) || gst_caps_is_any(caps.get())) return;
  const std::string_view type = gst_structure_get_name(gst_caps_get_structure(caps.get(), 0));
  const bool video = type.starts_with("video/");
  const Media media = video ? Media::kVideo : Media::kAudio;
  if ((!video && !type.starts_with("audio/")) || !claim(media)) return;
  GstElement* end = makePlayEnd(media, isLive(), outlets_);
  if (!end) return;
  gst_bin_add(GST_BIN(pipeline_), end);
  gst_element_sync_state_with_parent(end);
  const GstPtr<GstPad> sink(gst_element_get_static_pad(end, "sink"));
  gst_pad_link(pad, sink.get());
}

struct SourceElement {
  PlayProtocol protocol;
  const char* description;
  const char* address;  // the property that takes the URL
};

// The watch over the playback has its own time-outs, the same for all sources. A file's decoder is
// there from the beginning: it reads of its own accord, and to start that from the source's thread
// while the pipeline starts would lock the two up.
constexpr SourceElement kSources[] = {
    {PlayProtocol::kRtmp, "rtmp2src name=source timeout=0 ! typefind name=type", "location"},
    {PlayProtocol::kHttp, "souphttpsrc name=source timeout=0 ! typefind name=type", "location"},
    {PlayProtocol::kSrt, "srtsrc name=source auto-reconnect=false ! typefind name=type", "uri"},
    {PlayProtocol::kFile, "filesrc name=source ! decodebin name=decoder force-sw-decoders=true",
     "location"},
    {PlayProtocol::kRtsp, "pipeline.( rtspsrc name=source )", "location"},
};

}  // namespace

std::unique_ptr<Pipeline> buildPlayGraph(const PlayUrl& url, std::shared_ptr<PlayOutlets> outlets,
                                         Pipeline::Handler handler) {
  const auto* source =
      std::find_if(std::begin(kSources), std::end(kSources),
                   [&](const auto& entry) { return entry.protocol == url.protocol; });
  auto pipeline = Pipeline::parse("player", source->description, std::move(handler));
  if (!pipeline) return nullptr;
  const GstPtr<GstElement> element = pipeline->element("source");
  g_object_set(element.get(), source->address, url.text.c_str(), nullptr);
  if (url.protocol == PlayProtocol::kRtsp) {
    g_object_set(element.get(), "latency", kRtpLatencyMs, nullptr);
  }
  std::make_shared<Wiring>(pipeline->get(), url.protocol, std::move(outlets))->begin();
  return pipeline;
}

}  // namespace NimboEngine
