// Media files as camera. The clips are made here with GStreamer.

#include "capture/file_source.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "capture/capture_probe.h"
#include "capture/capture_session.h"
#include "gst/runtime.h"
#include "support/child_process.h"
#include "support/colour_bars.h"
#include "support/event_log.h"

namespace NimboEngine::test {
namespace {

class FileSourceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  void SetUp() override {
    folder_ =
        std::filesystem::temp_directory_path() / ("nimbo-file-source-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder_);
  }

  void TearDown() override {
    if (session_) session_->removeConsumer(&probe_);
    session_.reset();
    std::filesystem::remove_all(folder_);
  }

  // Runs a pipeline that ends in a file; `description` ends with "! " before the sink.
  std::string make(const std::string& name, const std::string& description) {
    std::string path = folder_ / name;
    const GstPtr<GstElement> pipeline(
        gst_parse_launch((description + "filesink location=" + path).c_str(), nullptr));
    EXPECT_TRUE(pipeline);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const GstPtr<GstBus> bus(gst_element_get_bus(pipeline.get()));
    const GstPtr<GstMessage> end(gst_bus_timed_pop_filtered(
        bus.get(), 60 * GST_SECOND,
        static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    EXPECT_TRUE(end && GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_EOS) << description;
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return path;
  }

  void open(const std::string& path, bool audioOnly = false) {
    CaptureSettings settings;
    settings.video = {320, 180, 30};
    settings.audioOnly = audioOnly;
    settings.camera = DeviceId("file:" + path);
    settings.microphone = settings.camera;
    session_ = std::make_unique<CaptureSession>(
        settings, nullptr, [this](DeviceKind kind, const DeviceId&, const std::string&) {
          failures_.add(kindName(kind));
        });
    session_->addConsumer(&probe_);
  }

  // A clip of half a second with audio is played more than twice.
  void expectLooping(const std::string& path);

  std::filesystem::path folder_;
  CaptureProbe probe_;
  EventLog failures_;
  std::unique_ptr<CaptureSession> session_;
};

// Half a second of colour bars, and of a tone.
constexpr char kFrame[] =
    "videotestsrc pattern=smpte num-buffers=15 ! "
    "video/x-raw,width=160,height=120,framerate=30/1,pixel-aspect-ratio=1/1 ! ";
constexpr char kAudio[] =
    "audiotestsrc num-buffers=24 samplesperbuffer=1000 ! audio/x-raw,rate=48000 ! ";

bool showsBars(const Frame& frame) {
  return frame.at(0.2, 0.5)[0] > 180;
}
bool isLoud(const AudioChunk& chunk) {
  return !chunk.isSilent();
}

void FileSourceTest::expectLooping(const std::string& path) {
  open(path);
  size_t changes = 0;
  std::vector<uint8_t> last;
  EXPECT_TRUE(probe_.waitForFrame([&](const Frame& frame) {
    changes += frame.bytes != last;
    last = frame.bytes;
    return changes > 40;
  })) << "the video stopped after "
      << changes;
  EXPECT_TRUE(probe_.waitForAudio(isLoud));
  EXPECT_TRUE(failures_.all().empty());
}

struct Container {
  const char* name;
  const char* video;
  const char* audio;
  const char* mux;
};

class Containers : public FileSourceTest, public testing::WithParamInterface<Container> {};

// Plays more than twice, counted in the snow of the pattern, which changes with every frame.
TEST_P(Containers, LoopsWithAudio) {
  const Container& kind = GetParam();
  expectLooping(make(kind.name, std::string(kFrame) + kind.video + " ! mux. " + kAudio +
                                    kind.audio + " ! mux. " + kind.mux + " name=mux ! "));
}

// Created by ffmpeg: GStreamer's encoder for it leaks.
TEST_F(FileSourceTest, AnMpegProgramStreamLoops) {
  const std::string path = folder_ / "a.mpg";
  ASSERT_EQ(ChildProcess({"ffmpeg", "-v", "error", "-nostdin", "-f", "lavfi", "-i",
                          "testsrc2=size=160x120:rate=30:duration=0.5", "-f", "lavfi", "-i",
                          "sine=duration=0.5", path})
                .wait(),
            0);
  expectLooping(path);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Containers,
                         testing::Values(Container{"a.mp4", "x264enc", "avenc_aac", "mp4mux"},
                                         Container{"a.mkv", "x264enc", "vorbisenc", "matroskamux"},
                                         Container{"a.ts", "x264enc", "avenc_aac", "mpegtsmux"},
                                         Container{"a.flv", "x264enc", "avenc_aac", "flvmux"},
                                         Container{"a.avi", "jpegenc", "audioconvert", "avimux"}),
                         [](const auto& test) { return std::string(test.param.name).substr(2); });

TEST_F(FileSourceTest, AFileWithoutAudioIsSilent) {
  open(make("silent.avi", std::string(kFrame) + "jpegenc ! avimux ! "));
  ASSERT_TRUE(probe_.waitForFrame(showsBars));
  for (const AudioChunk& chunk : probe_.audioChunks(20)) EXPECT_TRUE(chunk.isSilent());
  EXPECT_TRUE(failures_.all().empty());
}

TEST_F(FileSourceTest, AnotherAspectRatioGetsBlackBorders) {
  open(make("narrow.avi", std::string(kFrame) + "jpegenc ! avimux ! "));
  ASSERT_TRUE(probe_.waitForFrame(showsBars));
  const Frame frame = probe_.frames(1).at(0);
  // 4:3 in 16:9 covers the middle three quarters.
  for (const double x : {0.02, 0.1, 0.9, 0.98}) EXPECT_NEAR(frame.at(x, 0.5)[0], 16, 3) << x;
  EXPECT_GT(frame.at(0.15, 0.5)[0], 200);       // the white bar on the left
  EXPECT_NEAR(frame.at(0.85, 0.5)[0], 41, 25);  // the blue bar on the right
}

TEST_F(FileSourceTest, OblongPixelsBecomeSquare) {
  open(make("oblong.mkv",
            "videotestsrc pattern=white num-buffers=15 ! "
            "video/x-raw,width=160,height=120,framerate=30/1,pixel-aspect-ratio=4/3 ! "
            "x264enc ! matroskamux ! "));
  ASSERT_TRUE(probe_.waitForFrame(showsBars));
  const Frame frame = probe_.frames(1).at(0);
  EXPECT_GT(frame.at(0.02, 0.5)[0], 200) << "160 by 120 with 4:3 pixels fills 16:9";
  EXPECT_GT(frame.at(0.98, 0.5)[0], 200);
}

// range:matrix:transfer:primaries as GStreamer's enumerators; the first digit is 1 for full range.
class FileColours : public FileSourceTest, public testing::WithParamInterface<const char*> {};

TEST_P(FileColours, AreConvertedToThoseOfTheEngine) {
  open(make("bars.mkv", std::string("videotestsrc pattern=smpte num-buffers=15 ! "
                                    "video/x-raw,format=RGB,width=320,height=180,framerate=30/1 ! "
                                    "videoconvert ! video/x-raw,format=I420,colorimetry=") +
                            GetParam() + " ! x264enc bitrate=20000 ! matroskamux ! "));
  ASSERT_TRUE(probe_.waitForFrame(showsBars));
  const Frame frame = probe_.frames(1).at(0);
  for (size_t bar = 0; bar < 7; ++bar) {
    const auto seen = frame.at((static_cast<double>(bar) + 0.5) / 7, 0.3);
    const Codes wanted = formCodesOf(kColourBars[bar]);
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(seen[i], wanted[i], 3) << "bar " << bar;
  }
}

INSTANTIATE_TEST_SUITE_P(Codings, FileColours,
                         testing::Values("2:4:16:4", "1:4:16:4", "2:3:5:1", "1:3:5:1", "2:6:13:7",
                                         "1:5:9:6"));

TEST_F(FileSourceTest, OnlyTheAudioOfAFile) {
  open(make("both.avi", std::string(kFrame) + "jpegenc ! mux. " + kAudio +
                            "audioconvert ! mux. avimux name=mux ! "),
       true);
  EXPECT_TRUE(probe_.waitForAudio(isLoud));
  EXPECT_EQ(probe_.frameCount(), 0U);
}

TEST_F(FileSourceTest, AStoppedFileIsSilentAndBeginsAgain) {
  open(make("both.avi", std::string(kFrame) + "jpegenc ! mux. " + kAudio +
                            "audioconvert ! mux. avimux name=mux ! "));
  ASSERT_TRUE(probe_.waitForAudio(isLoud));
  session_->setCameraRunning(false);
  ASSERT_TRUE(probe_.waitForAudio(&AudioChunk::isSilent));
  for (const AudioChunk& chunk : probe_.audioChunks(10)) EXPECT_TRUE(chunk.isSilent());
  session_->setCameraRunning(true);
  EXPECT_TRUE(probe_.waitForAudio(isLoud));
}

TEST_F(FileSourceTest, ItsAudioIsDeliveredWithAndWithoutItsVideo) {
  const std::string path = make("both.avi", std::string(kFrame) + "jpegenc ! mux. " + kAudio +
                                                "audioconvert ! mux. avimux name=mux ! ");
  open(path);
  ASSERT_TRUE(probe_.waitForAudio(isLoud));
  const DeviceId file("file:" + path);
  session_->setDevices(file, DeviceId("no such microphone"));
  ASSERT_TRUE(failures_.waitFor("microphone"));
  ASSERT_TRUE(probe_.waitForAudio(&AudioChunk::isSilent));
  session_->setDevices(file, file);
  EXPECT_TRUE(probe_.waitForAudio(isLoud)) << "with its video";
  session_->setDevices(DeviceId("no such camera"), DeviceId("no such microphone"));
  ASSERT_TRUE(failures_.waitFor("microphone", 2));
  ASSERT_TRUE(probe_.waitForAudio(&AudioChunk::isSilent));
  session_->setDevices(DeviceId("no such camera"), file);
  EXPECT_TRUE(probe_.waitForAudio(isLoud)) << "without";
  session_->setDevices(file, file);
  EXPECT_TRUE(probe_.waitForAudio(isLoud)) << "with it again";
}

class BrokenFiles : public FileSourceTest {
 protected:
  void expectFailureAndBlack(const std::string& path) {
    open(path);
    ASSERT_TRUE(failures_.waitFor("camera"));
    for (const Frame& frame : probe_.frames(3)) EXPECT_TRUE(frame.isBlack());
    for (const AudioChunk& chunk : probe_.audioChunks(3)) EXPECT_TRUE(chunk.isSilent());
  }
};

TEST_F(BrokenFiles, Missing) {
  expectFailureAndBlack(folder_ / "missing.mp4");
}

TEST_F(BrokenFiles, Text) {
  std::ofstream(folder_ / "text.mp4") << "this is no film\n";
  expectFailureAndBlack(folder_ / "text.mp4");
}

TEST_F(BrokenFiles, Empty) {
  std::ofstream(folder_ / "empty.mp4").flush();
  expectFailureAndBlack(folder_ / "empty.mp4");
}

TEST_F(BrokenFiles, Folder) {
  expectFailureAndBlack(folder_);
}

TEST_F(BrokenFiles, AudioWithoutVideo) {
  expectFailureAndBlack(make("sound.mp4", std::string(kAudio) + "avenc_aac ! mp4mux ! "));
}

TEST_F(BrokenFiles, CutOff) {
  const std::string whole =
      make("whole.mp4", std::string(kFrame) + "x264enc ! mp4mux faststart=false ! ");
  std::filesystem::resize_file(whole, std::filesystem::file_size(whole) / 2);
  expectFailureAndBlack(whole);
}

}  // namespace
}  // namespace NimboEngine::test
