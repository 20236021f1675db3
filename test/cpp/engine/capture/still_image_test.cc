// Image files, read from the test's own folder.

#include "capture/still_image.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "capture/image_file.h"
#include "gst/pipeline.h"
#include "gst/runtime.h"
#include "media/frame_pool.h"
#include "support/event_log.h"
#include "support/process_usage.h"

namespace NimboEngine::test {
namespace {

using namespace std::chrono_literals;

constexpr VideoFormat kVideoFormat{320, 240, 30};

// In ITU-R BT.709.
constexpr std::array<int, 3> kRed{63, 102, 240};
constexpr std::array<int, 3> kHalfRed{39, 115, 184};
constexpr std::array<int, 3> kBlack{16, 128, 128};
constexpr std::array<int, 3> kGrey{60, 128, 128};

class StillImageTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  StillImageTest() : folder_(makeFolder()) {}
  ~StillImageTest() override { std::filesystem::remove_all(folder_); }

  static std::filesystem::path makeFolder() {
    std::string name = std::filesystem::temp_directory_path() / "still-image-XXXXXX";
    return mkdtemp(name.data());
  }

  std::string file(const std::string& name) const { return folder_ / name; }

  // A red image with the opacity `alpha`, written by `encoder`.
  std::string makeImage(const std::string& name, const std::string& encoder, int width, int height,
                        const std::string& alpha = "1") const {
    EventLog events;
    const auto pipeline = Pipeline::parse(
        "image writer",
        "videotestsrc num-buffers=1 pattern=red ! video/x-raw,format=RGBA,width=" +
            std::to_string(width) + ",height=" + std::to_string(height) +
            " ! alpha method=set alpha=" + alpha + " ! video/x-raw,format=RGBA ! videoconvert ! " +
            encoder + " ! filesink location=" + file(name),
        [&events](const PipelineMessage& message) {
          events.add(message.kind == PipelineMessage::Kind::kEndOfStream ? "end" : "failure");
        });
    EXPECT_TRUE(pipeline && pipeline->play() && events.waitFor("end"));
    return file(name);
  }

  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(file(name), std::ios::binary) << bytes;
  }

  void show(const std::string& path, const VideoFormat& format = kVideoFormat) {
    frames_ = std::make_shared<FrameMailbox>();
    const StillImage image(path, format, frames_);
    for (const auto end = std::chrono::steady_clock::now() + 30s; !frames_->latest();) {
      ASSERT_LT(std::chrono::steady_clock::now(), end);
      std::this_thread::sleep_for(2ms);
    }
  }

  void expectColour(double x, double y, const std::array<int, 3>& yuv) const {
    const GstPtr<GstBuffer> buffer = frames_->latest();
    const GstVideoInfo info = frameInfo(kVideoFormat);
    GstVideoFrame frame;
    ASSERT_TRUE(gst_video_frame_map(&frame, &info, buffer.get(), GST_MAP_READ));
    for (int plane = 0; plane < 3; ++plane) {
      const auto column = static_cast<ptrdiff_t>(x * GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane));
      const auto row = static_cast<ptrdiff_t>(y * GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane));
      const auto* data = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
      EXPECT_NEAR(data[row * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane) + column],
                  yuv.at(static_cast<size_t>(plane)), 4)
          << "plane " << plane << " at " << x << ", " << y;
    }
    gst_video_frame_unmap(&frame);
  }

  // A PNG file of one bit a pixel.
  static std::string blackPng(png_uint_32 width, png_uint_32 height) {
    std::string bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &bytes,
        [](png_structp writer, png_bytep data, png_size_t size) {
          static_cast<std::string*>(png_get_io_ptr(writer))
              ->append(reinterpret_cast<const char*>(data), size);
        },
        nullptr);
    png_set_IHDR(png, info, width, height, 1, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    const std::vector<png_byte> row(width / 8 + 1, 0);
    for (png_uint_32 y = 0; y < height; ++y) png_write_row(png, row.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return bytes;
  }

  static std::string errorOf(const std::string& path) {
    const auto image = decodeImageFile(path);
    EXPECT_FALSE(image);
    return image ? "" : image.error().text;
  }

  const std::filesystem::path folder_;
  std::shared_ptr<FrameMailbox> frames_;
};

TEST_F(StillImageTest, FillsAFrameOfItsAspectRatio) {
  // The range and matrix of JPEG files, which the encoder does not convert to by itself.
  const std::string jpeg = "video/x-raw,format=I420,colorimetry=1:4:0:0 ! jpegenc quality=95";
  for (const std::string& path :
       {makeImage("a.png", "pngenc", 160, 120), makeImage("a.jpg", jpeg, 640, 480)}) {
    show(path);
    expectColour(0.01, 0.01, kRed);
    expectColour(0.99, 0.99, kRed);
  }
}

TEST_F(StillImageTest, KeepsItsAspectRatioBetweenBlackBars) {
  show(makeImage("wide.png", "pngenc", 640, 120));
  expectColour(0.01, 0.5, kRed);
  expectColour(0.5, 0.34, kBlack);
  expectColour(0.5, 0.40, kRed);
  expectColour(0.5, 0.60, kRed);
  expectColour(0.5, 0.66, kBlack);
}

TEST_F(StillImageTest, TransparentPixelsAreBlendedWithBlack) {
  show(makeImage("half.png", "pngenc", 320, 240, "0.5"));
  expectColour(0.5, 0.5, kHalfRed);
  show(makeImage("clear.png", "pngenc", 320, 240, "0"));
  expectColour(0.5, 0.5, kBlack);
}

TEST_F(StillImageTest, AnUnusableFileIsReplacedByGrey) {
  show(file("missing.png"));
  expectColour(0.01, 0.01, kGrey);
  expectColour(0.99, 0.99, kGrey);
}

TEST_F(StillImageTest, EachErrorIsReported) {
  EXPECT_EQ(errorOf(file("missing.png")), "there is no such file");
  EXPECT_EQ(errorOf(folder_), "it is not a regular file");
  EXPECT_EQ(errorOf("/dev/zero"), "it is not a regular file");
  write("empty.png", "");
  EXPECT_EQ(errorOf(file("empty.png")), "it is empty");
  write("text.png", "no image at all, but some text");
  EXPECT_EQ(errorOf(file("text.png")), "it is neither PNG nor JPEG");
  const std::string whole = makeImage("whole.png", "pngenc", 320, 240);
  std::filesystem::resize_file(whole, 60);
  EXPECT_THAT(errorOf(whole), testing::StartsWith("it cannot be decoded: "));
}

TEST_F(StillImageTest, TooLargeImagesAreNotDecoded) {
  using namespace std::string_literals;
  write("bomb.png", blackPng(20'000, 20'000));
  EXPECT_EQ(errorOf(file("bomb.png")), "it has 20000x20000 pixels; 40000000 are allowed");
  const std::string bomb =
      "\xff\xd8\xff\xc0\0\x0b\x08\x9c\x40\x9c\x40\x01\x01\x11\0"s
      "\xff\xda\0\x08\x01\x01\0\0\x3f\0"s;
  write("bomb.jpg", bomb);
  EXPECT_EQ(errorOf(file("bomb.jpg")), "it has 40000x40000 pixels; 40000000 are allowed");
  write("long.png", "");
  std::filesystem::resize_file(file("long.png"), 32'000'001);
  EXPECT_EQ(errorOf(file("long.png")), "it has 32000001 bytes; 32000000 are allowed");
}

// A buffer with fewer bytes than the size needs cannot be mapped.
TEST_F(StillImageTest, PixelsThatCannotBeMappedHaveAText) {
  DecodedImage image;
  gst_video_info_set_format(&image.info, GST_VIDEO_FORMAT_RGBA, 160, 120);
  image.pixels.reset(gst_buffer_new_allocate(nullptr, 16, nullptr));
  const auto frame = fitImage(image, kVideoFormat);
  ASSERT_FALSE(frame);
  EXPECT_EQ(frame.error().text, "its pixels cannot be converted");
}

TEST_F(StillImageTest, OnlyTheFirstImageOfAFileIsDecoded) {
  const std::string first = makeImage("first.png", "pngenc", 160, 120);
  std::ofstream(first, std::ios::binary | std::ios::app) << blackPng(20'000, 20'000);
  const std::string photo = makeImage("first.jpg", "jpegenc", 160, 120);
  const std::string large = makeImage("large.jpg", "jpegenc", 6000, 6000);
  std::ofstream(photo, std::ios::binary | std::ios::app) << std::ifstream(large).rdbuf();
  for (const std::string& path : {first, photo}) {
    resetPeakMemory();
    const ptrdiff_t before = peakMemoryKiB();
    const auto image = decodeImageFile(path);
    ASSERT_TRUE(image) << image.error().text;
    EXPECT_EQ(GST_VIDEO_INFO_WIDTH(&image->info), 160);
    EXPECT_EQ(GST_VIDEO_INFO_HEIGHT(&image->info), 120);
    EXPECT_LT(peakMemoryKiB() - before, 16 * 1024) << path;
  }
}

TEST_F(StillImageTest, APipeIsRefusedAtOnce) {
  ASSERT_EQ(mkfifo(file("pipe.png").c_str(), 0600), 0);
  EXPECT_EQ(errorOf(file("pipe.png")), "it is not a regular file");
}

TEST_F(StillImageTest, DestructionDoesNotWaitForDecoding) {
  const std::string path = makeImage("large.png", "pngenc", 4000, 3000);
  const auto frames = std::make_shared<FrameMailbox>();
  const auto begin = std::chrono::steady_clock::now();
  { const StillImage image(path, kVideoFormat, frames); }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

}  // namespace
}  // namespace NimboEngine::test
