// Sharing through the desktop's portal: the test implements the portal, which provides a real
// stream of the test's own PipeWire.

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>
#include <thread>

#include "capture/screen/screen_capture.h"
#include "gst/pipeline.h"
#include "gst/runtime.h"
#include "platform/desktop/portal_reader.h"
#include "support/event_log.h"
#include "support/fake_portal.h"
#include "support/session_bus.h"

namespace NimboEngine::test {
namespace {

using namespace std::chrono_literals;

constexpr VideoFormat kFormat{320, 240, 30};

class PortalSharingTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  void share() {
    frames_ = std::make_shared<FrameMailbox>();
    capture_ = std::make_unique<ScreenCapture>(
        kPortalSource, kFormat, frames_, [this](ScreenError error, const std::string& message) {
          messages_.add(message);
          errors_.add(error == ScreenError::kRefused ? "refused" : "lost");
        });
  }

  template <class Condition>
  static bool eventually(Condition&& condition) {
    for (int i = 0; i < 6000; ++i) {
      if (condition()) return true;
      std::this_thread::sleep_for(10ms);
    }
    return false;
  }

  const SessionBus bus_;
  EventLog errors_;
  EventLog messages_;
  std::shared_ptr<FrameMailbox> frames_;
  std::unique_ptr<ScreenCapture> capture_;
};

// A screen of one colour, as offered by a desktop's PipeWire.
class OfferedScreen {
 public:
  explicit OfferedScreen(const SessionBus& bus)
      : pipewire_({"pipewire"}), socket_(bus.folder() / "pipewire-0") {
    close(connectToSocket(socket_));
    manager_ = std::make_unique<ChildProcess>(std::vector<std::string>{"wireplumber"});
    stream_ = Pipeline::parse(
        "offered screen",
        "videotestsrc is-live=true pattern=red ! "
        "video/x-raw,format=BGRx,width=640,height=360,framerate=15/1 ! pipewiresink mode=provide "
        "stream-properties=\"p,media.class=Video/Source,node.name=offered_screen\"",
        [](const PipelineMessage&) {});
    EXPECT_TRUE(stream_ && stream_->play());
  }

  // The portal's result: a connection to PipeWire.
  int connection() const { return connectToSocket(socket_); }

  // Its number in PipeWire; 0 while it has none.
  uint32_t node() const {
    std::istringstream nodes(outputOf({"pw-cli", "ls", "Node"}));
    uint32_t id = 0;
    for (std::string line; std::getline(nodes, line);) {
      std::sscanf(line.c_str(), " id %u,", &id);
      if (line.find("offered_screen") != std::string::npos) return id;
    }
    return 0;
  }

 private:
  const ChildProcess pipewire_;
  const std::string socket_;
  std::unique_ptr<ChildProcess> manager_;
  std::unique_ptr<Pipeline> stream_;
};

bool isRed(GstBuffer* frame) {
  GstMapInfo map;
  if (!frame || !gst_buffer_map(frame, &map, GST_MAP_READ)) return false;
  // The stream is wider than the frame: black above, red in the middle.
  const int above = map.data[10 * kFormat.width + 160];
  const int middle = map.data[120 * kFormat.width + 160];
  gst_buffer_unmap(frame, &map);
  return std::abs(above - 16) < 4 && std::abs(middle - 63) < 4;
}

TEST_F(PortalSharingTest, TheStreamsFramesArriveUntilTheDesktopEndsIt) {
  const OfferedScreen screen(bus_);
  uint32_t node = 0;
  ASSERT_TRUE(eventually([&] { return (node = screen.node()) != 0; }));
  FakePortal desktop({.node = node, .openRemote = [&] { return screen.connection(); }});
  share();
  ASSERT_TRUE(eventually([&] { return isRed(frames_->latest().get()) || !errors_.all().empty(); }));
  ASSERT_TRUE(errors_.all().empty()) << messages_.all().at(0);
  desktop.endSession();
  EXPECT_TRUE(errors_.waitFor("lost"));
  EXPECT_TRUE(isRed(frames_->latest().get())) << "the last frame stays";
}

TEST_F(PortalSharingTest, ARefusalIsReported) {
  FakePortal desktop({.start = 1});
  share();
  EXPECT_TRUE(errors_.waitFor("refused"));
  EXPECT_FALSE(frames_->latest());
}

TEST_F(PortalSharingTest, AFailedPortalIsReportedAsLost) {
  FakePortal desktop({.start = 2});
  share();
  EXPECT_TRUE(errors_.waitFor("lost"));
}

TEST_F(PortalSharingTest, AnEndDoesNotWaitForTheUser) {
  FakePortal desktop({.start = FakePortal::kSilent});
  share();
  ASSERT_TRUE(desktop.calls.waitFor("Start"));
  const auto begin = std::chrono::steady_clock::now();
  capture_.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
  EXPECT_TRUE(desktop.calls.waitFor("gone"));
  EXPECT_TRUE(errors_.all().empty());
}

}  // namespace
}  // namespace NimboEngine::test
