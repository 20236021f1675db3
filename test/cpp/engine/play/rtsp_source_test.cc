#include "play/rtsp_source.h"

#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "gst/gst_ptr.h"
#include "gst/pipeline.h"
#include "gst/runtime.h"
#include "support/rtsp_server.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr auto kTimeout = 20s;

// Plays a server's stream and notes the running times, in milliseconds, at which a flash and a beep
// begin.
class BeatPlayer {
 public:
  BeatPlayer(const std::string& url, const char* transport, bool aligned) {
    pipeline_ = Pipeline::parse("test", "pipeline.( rtspsrc name=source )", [](const auto&) {});
    const auto source = pipeline_->element("source");
    g_object_set(source.get(), "location", url.c_str(), nullptr);
    if (aligned) configureRtspSource(source.get());
    gst_util_set_object_arg(G_OBJECT(source.get()), "protocols", transport);
    g_signal_connect(source.get(), "pad-added", G_CALLBACK(onPad), this);
    pipeline_->play();
  }

  // Waits for `count` beats and returns audio minus video of each.
  std::vector<double> beats(size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, kTimeout,
                      [&] { return flashes_.size() >= count + 1 && beeps_.size() >= count + 1; });
    std::vector<double> differences;
    for (const double flash : flashes_) {
      const auto closer = [&](double a, double b) {
        return std::abs(a - flash) < std::abs(b - flash);
      };
      const auto beep = std::min_element(beeps_.begin(), beeps_.end(), closer);
      // The first or the last flash may have no matching beep.
      if (beep != beeps_.end() && std::abs(*beep - flash) < 250) {
        differences.push_back(*beep - flash);
      }
    }
    return differences;
  }

 private:
  static void onPad(GstElement* source, GstPad* pad, gpointer self) {
    const GstPtr<GstCaps> caps(gst_pad_get_current_caps(pad));
    const std::string_view media =
        gst_structure_get_string(gst_caps_get_structure(caps.get(), 0), "media");
    const bool video = media == "video";
    const char* const description =
        video ? "rtpjpegdepay ! jpegdec ! appsink name=sink sync=false async=false"
              : "rtpL16depay ! audioconvert ! audio/x-raw,format=" GST_AUDIO_NE(S16) " !"
                " appsink name=sink sync=false async=false";
    GstElement* branch = gst_parse_bin_from_description(description, TRUE, nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = video ? onFrame : onSamples;
    const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(branch), "sink"));
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, self, nullptr);
    const GstPtr<GstElement> pipeline(GST_ELEMENT(gst_element_get_parent(source)));
    gst_bin_add(GST_BIN(pipeline.get()), branch);
    const GstPtr<GstPad> input(gst_element_get_static_pad(branch, "sink"));
    gst_pad_link(pad, input.get());
    gst_element_sync_state_with_parent(branch);
  }

  static double runningTime(GstSample* sample) {
    const GstClockTime time =
        gst_segment_to_running_time(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                    GST_BUFFER_PTS(gst_sample_get_buffer(sample)));
    return static_cast<double>(time) / GST_MSECOND;
  }

  // Adds `time` at each change from off to on. A signal that is on from the beginning may have
  // started before.
  void note(bool on, double time, bool& was, std::vector<double>& begins) {
    std::lock_guard lock(mutex_);
    if (on && !was) begins.push_back(time);
    was = on;
    changed_.notify_all();
  }

  static GstFlowReturn onFrame(GstAppSink* sink, gpointer data) {
    auto& self = *static_cast<BeatPlayer*>(data);
    const GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (!sample) return GST_FLOW_EOS;
    guint8 luma = 0;
    gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, &luma, 1);
    self.note(luma > 128, runningTime(sample.get()), self.white_, self.flashes_);
    return GST_FLOW_OK;
  }

  static GstFlowReturn onSamples(GstAppSink* sink, gpointer data) {
    auto& self = *static_cast<BeatPlayer*>(data);
    const GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
    if (!sample) return GST_FLOW_EOS;
    std::array<gint16, 480> samples{};
    gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, samples.data(), sizeof samples);
    const bool loud = std::any_of(samples.begin(), samples.end(),
                                  [](gint16 value) { return std::abs(value) > 1000; });
    self.note(loud, runningTime(sample.get()), self.loud_, self.beeps_);
    return GST_FLOW_OK;
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool white_ = true;
  bool loud_ = true;
  std::vector<double> flashes_;
  std::vector<double> beeps_;
  std::unique_ptr<Pipeline> pipeline_;  // last: its sinks use the rest
};

class RtspSourceTest : public testing::Test {
 protected:
  static constexpr auto kVideoDelay = 150ms;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  static constexpr double kTolerance = 20;  // ms; the measuring code is slow, too
#else
  static constexpr double kTolerance = 10;
#endif

  static void SetUpTestSuite() {
    ASSERT_TRUE(startGstreamer());
  }
};

TEST_F(RtspSourceTest, AlignsAudioAndVideoAtEveryStart) {
  for (const char* transport : {"tcp", "udp"}) {
    const test::RtspServer running(kVideoDelay);
    // The others join a stream that runs already.
    BeatPlayer first(running.url(), transport, true);
    ASSERT_FALSE(first.beats(1).empty());
    for (int start = 0; start < 5; ++start) {
      BeatPlayer player(running.url(), transport, true);
      const auto beats = player.beats(1);
      ASSERT_FALSE(beats.empty()) << transport;
      for (const double beat : beats) {
        EXPECT_NEAR(beat, 0, kTolerance) << transport << " start " << start;
      }
    }
  }
}

// Without the set-up the delay is visible, so the server of the test above needs it.
TEST_F(RtspSourceTest, TheServersVideoComesLate) {
  const test::RtspServer server(kVideoDelay);
  BeatPlayer player(server.url(), "tcp", false);
  const auto beats = player.beats(1);
  ASSERT_FALSE(beats.empty());
  EXPECT_LT(beats.front(), -50);
}

}  // namespace
}  // namespace NimboEngine
