#include "play/rtsp_source.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/mutex.h"
#include "base/tsan_annotations.h"
#include "gst/gst_ptr.h"
#include "play/rtp_alignment.h"

namespace NimboEngine {
namespace {

// After so long without a packet over UDP, rtspsrc tries TCP. Behind a firewall that blocks UDP
// every start takes this long.
constexpr guint64 kUdpTimeoutUs = 2'000'000;

// Aligns the streams of one rtspsrc. RTCP identifies a stream by its SSRC, as do the pads' caps.
class Aligner {
 public:
  void addStream(GstPad* pad);
  void addReport(guint ssrc, const GstStructure* sync);

 private:
  struct Report {
    uint32_t rtpTime;
    uint64_t wallClock;
  };

  const std::shared_ptr<RtpAlignment> alignment_ = std::make_shared<RtpAlignment>();
  Mutex mutex_;
  std::map<guint, size_t> streams_ NIMBO_GUARDED_BY(mutex_);
  std::map<guint, Report> early_ NIMBO_GUARDED_BY(mutex_);  // reports of streams without a pad yet
};

using SharedAligner = std::shared_ptr<Aligner>;

// State of the probe on one pad.
struct StreamProbe {
  StreamProbe(std::shared_ptr<RtpAlignment> with, size_t number)
      : alignment(std::move(with)), stream(number) {}
  ~StreamProbe() { alignment->remove(stream); }
  StreamProbe(const StreamProbe&) = delete;
  StreamProbe& operator=(const StreamProbe&) = delete;

  const std::shared_ptr<RtpAlignment> alignment;
  const size_t stream;
  GstClockTimeDiff moved = 0;  // new minus old time stamp of the latest packet
};

// Connects `use(aligner, arguments...)` to a signal. The closure shares the aligner.
template <auto use, class... Arguments>
void connect(gpointer object, const char* signal, const SharedAligner& aligner) {
  auto shared = std::make_unique<SharedAligner>(aligner);
  tsanRelease(shared.get());
  const auto callback = +[](gpointer emitter, Arguments... arguments, gpointer data) {
    tsanAcquire(data);
    use(*static_cast<SharedAligner*>(data), emitter, arguments...);
    tsanRelease(data);
  };
  g_signal_connect_data(
      object, signal, G_CALLBACK(callback), shared.release(),
      [](gpointer data, GClosure*) {
        tsanAcquire(data);
        std::unique_ptr<SharedAligner>(static_cast<SharedAligner*>(data)).reset();
      },
      GConnectFlags{});
}

std::optional<uint32_t> rtpTimeOf(GstBuffer* packet) {
  constexpr gsize kOffset = 4;
  std::array<guint8, 4> field;
  if (gst_buffer_extract(packet, kOffset, field.data(), field.size()) != field.size()) return {};
  return GST_READ_UINT32_BE(field.data());
}

void moveBuffer(StreamProbe& probe, GstPadProbeInfo* info) {
  GstBuffer* packet = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
  GST_PAD_PROBE_INFO_DATA(info) = packet;
  const auto rtpTime = rtpTimeOf(packet);
  if (!rtpTime || !GST_BUFFER_PTS_IS_VALID(packet)) return;
  const auto arrival = static_cast<GstClockTimeDiff>(GST_BUFFER_PTS(packet));
  const GstClockTimeDiff time = probe.alignment->present(probe.stream, *rtpTime, arrival);
  GST_BUFFER_PTS(packet) = time < 0 ? 0 : static_cast<GstClockTime>(time);
  probe.moved = time - arrival;
}

// The event for a lost packet carries its time as computed by the jitter buffer.
void moveLoss(const StreamProbe& probe, GstPadProbeInfo* info) {
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (!gst_event_has_name(event, "GstRTPPacketLost")) return;
  event = gst_event_make_writable(event);
  GST_PAD_PROBE_INFO_DATA(info) = event;
  GstStructure* loss = gst_event_writable_structure(event);
  guint64 time = 0;
  if (!gst_structure_get_uint64(loss, "timestamp", &time)) return;
  const GstClockTimeDiff moved = static_cast<GstClockTimeDiff>(time) + probe.moved;
  gst_structure_set(loss, "timestamp", G_TYPE_UINT64, static_cast<guint64>(moved < 0 ? 0 : moved),
                    nullptr);
}

GstPadProbeReturn onData(GstPad*, GstPadProbeInfo* info, gpointer data) {
  auto& probe = *static_cast<StreamProbe*>(data);
  tsanAcquire(data);
  if (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) {
    moveBuffer(probe, info);
  } else {
    moveLoss(probe, info);
  }
  tsanRelease(data);
  return GST_PAD_PROBE_OK;
}

void Aligner::addStream(GstPad* pad) {
  const GstPtr<GstCaps> caps(gst_pad_get_current_caps(pad));
  if (!caps) return;
  const GstStructure* format = gst_caps_get_structure(caps.get(), 0);
  int clockRate = 0;
  guint ssrc = 0;
  if (!gst_structure_has_name(format, "application/x-rtp") ||
      !gst_structure_get_int(format, "clock-rate", &clockRate) || clockRate <= 0 ||
      !gst_structure_get_uint(format, "ssrc", &ssrc)) {
    return;
  }
  RtpAlignment::Stream stream;
  const char* media = gst_structure_get_string(format, "media");
  stream.audio = media && std::string_view(media) == "audio";
  stream.clockRate = static_cast<uint32_t>(clockRate);
  guint commonInstant = 0;
  if (gst_structure_get_uint(format, "clock-base", &commonInstant)) {
    stream.commonInstant = commonInstant;
  }
  size_t number = 0;
  {
    const MutexLock lock(mutex_);
    number = alignment_->add(stream);
    streams_[ssrc] = number;
    if (const auto early = early_.extract(ssrc)) {
      alignment_->report(number, early.mapped().rtpTime, early.mapped().wallClock);
    }
  }
  auto probe = std::make_unique<StreamProbe>(alignment_, number);
  tsanRelease(probe.get());
  gst_pad_add_probe(
      pad,
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
      onData, probe.release(), [](gpointer data) {
        tsanAcquire(data);
        std::unique_ptr<StreamProbe>(static_cast<StreamProbe*>(data)).reset();
      });
}

void Aligner::addReport(guint ssrc, const GstStructure* sync) {
  guint64 rtpTime = 0;
  guint64 wallClock = 0;
  if (!gst_structure_get_uint64(sync, "sr-ext-rtptime", &rtpTime) ||
      !gst_structure_get_uint64(sync, "sr-ntpnstime", &wallClock)) {
    return;
  }
  const Report report{static_cast<uint32_t>(rtpTime), wallClock};
  const MutexLock lock(mutex_);
  if (const auto stream = streams_.find(ssrc); stream != streams_.end()) {
    alignment_->report(stream->second, report.rtpTime, report.wallClock);
  } else {
    early_[ssrc] = report;
  }
}

void onSync(const SharedAligner& aligner, gpointer, GstStructure* sync) {
  guint ssrc = 0;
  if (gst_structure_get_uint(sync, "ssrc", &ssrc)) aligner->addReport(ssrc, sync);
}

void onJitterBuffer(const SharedAligner& aligner, gpointer, GstElement* buffer, guint, guint) {
  connect<onSync, GstStructure*>(buffer, "handle-sync", aligner);
}

void onManager(const SharedAligner& aligner, gpointer, GstElement* manager) {
  // Offsets below the least one are ignored: rtpbin aligns nothing. An offset would also delay
  // packets in the jitter buffer.
  g_object_set(manager, "min-ts-offset", G_MAXUINT64, nullptr);
  connect<onJitterBuffer, GstElement*, guint, guint>(manager, "new-jitterbuffer", aligner);
}

void onPad(const SharedAligner& aligner, gpointer, GstPad* pad) {
  aligner->addStream(pad);
}

}  // namespace

void configureRtspSource(GstElement* rtspsrc) {
  g_object_set(rtspsrc, "latency", kReorderMs, "timeout", kUdpTimeoutUs, nullptr);
  gst_util_set_object_arg(G_OBJECT(rtspsrc), "buffer-mode", "slave");
  const auto aligner = std::make_shared<Aligner>();
  connect<onManager, GstElement*>(rtspsrc, "new-manager", aligner);
  connect<onPad, GstPad*>(rtspsrc, "pad-added", aligner);
}

}  // namespace NimboEngine
