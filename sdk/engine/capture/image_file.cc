#include "capture/image_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <png.h>
#include <sys/stat.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint64_t kMostBytes = 32'000'000;
constexpr uint64_t kMostPixels = 40'000'000;

constexpr std::array<uint8_t, 8> kPngSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::array<uint8_t, 2> kJpegSignature{0xff, 0xd8};

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return number_; }

 private:
  const int number_;
};

// Reads regular files only: opening or reading a pipe or a device might block forever.
Result<std::vector<uint8_t>> read(const std::string& file) {
  const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (descriptor.get() < 0) {
    return failed(LumoRtc::kLumoLiveNotFound, "{}",
                  errno == ENOENT ? "there is no such file" : "it cannot be read");
  }
  if (fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return refused("it is not a regular file");
  }
  if (static_cast<uint64_t>(status.st_size) > kMostBytes) {
    return refused("it has {} bytes; {} are allowed", status.st_size, kMostBytes);
  }
  if (status.st_size == 0) return refused("it is empty");
  std::vector<uint8_t> bytes(static_cast<size_t>(status.st_size));
  for (size_t at = 0; at < bytes.size();) {
    const ssize_t count = ::read(descriptor.get(), bytes.data() + at, bytes.size() - at);
    if (count <= 0) return failed(LumoRtc::kLumoLiveNotFound, "it cannot be read");
    at += static_cast<size_t>(count);
  }
  return bytes;
}

template <size_t Length>
bool beginsWith(Bytes file, const std::array<uint8_t, Length>& signature) {
  return file.size() >= Length && std::equal(signature.begin(), signature.end(), file.begin());
}

tl::unexpected<Error<>> undecodable(const char* reason) {
  return refused("it cannot be decoded: {}", reason);
}

// Blends transparent pixels with a black background.
void flatten(uint8_t* pixel, size_t bytes) {
  const uint8_t* const end = pixel + bytes;
  for (; pixel != end; pixel += 4) {
    const unsigned alpha = pixel[3];
    if (alpha == 255) continue;
    for (int colour = 0; colour < 3; ++colour) {
      pixel[colour] = static_cast<uint8_t>((pixel[colour] * alpha + 127) / 255);
    }
    pixel[3] = 255;
  }
}

// Allocates an image of that size, whose pixels `fill` writes.
template <class Fill>
Result<DecodedImage> makeImage(uint64_t width, uint64_t height, Fill fill) {
  if (width * height > kMostPixels) {
    return refused("it has {}x{} pixels; {} are allowed", width, height, kMostPixels);
  }
  // Not GStreamer's allocator: it ends the process when memory is exhausted.
  const size_t bytes = width * height * 4;
  std::unique_ptr<uint8_t, decltype(&std::free)> pixels(static_cast<uint8_t*>(std::malloc(bytes)),
                                                        &std::free);
  if (!pixels) return refused("there is no memory for its pixels");
  if (const Result<void> filled = fill(pixels.get()); !filled) {
    return tl::unexpected(filled.error());
  }
  flatten(pixels.get(), bytes);
  DecodedImage image;
  gst_video_info_set_format(&image.info, GST_VIDEO_FORMAT_RGBA, static_cast<guint>(width),
                            static_cast<guint>(height));
  uint8_t* const owned = pixels.release();
  image.pixels.reset(
      gst_buffer_new_wrapped_full(GstMemoryFlags{}, owned, bytes, 0, bytes, owned, &std::free));
  return image;
}

Result<DecodedImage> decodePng(Bytes file) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  const std::unique_ptr<png_image, decltype(&png_image_free)> release(&png, &png_image_free);
  if (!png_image_begin_read_from_memory(&png, file.data(), file.size())) {
    return undecodable(png.message);
  }
  png.format = PNG_FORMAT_RGBA;
  return makeImage(png.width, png.height, [&](uint8_t* pixels) -> Result<void> {
    if (png_image_finish_read(&png, nullptr, pixels, 0, nullptr)) return {};
    return undecodable(png.message);
  });
}

Result<DecodedImage> decodeJpeg(Bytes file) {
  const std::unique_ptr<void, decltype(&tjDestroy)> jpeg(tjInitDecompress(), &tjDestroy);
  if (!jpeg) return refused("its decoder cannot be started");
  int width = 0;
  int height = 0;
  int subsampling = 0;
  int colours = 0;
  const auto size = static_cast<unsigned long>(file.size());
  if (tjDecompressHeader3(jpeg.get(), file.data(), size, &width, &height, &subsampling, &colours) !=
      0) {
    return undecodable(tjGetErrorStr2(jpeg.get()));
  }
  return makeImage(static_cast<uint64_t>(width), static_cast<uint64_t>(height),
                   [&](uint8_t* pixels) -> Result<void> {
                     const int result = tjDecompress2(jpeg.get(), file.data(), size, pixels, width,
                                                      0, height, TJPF_RGBA, TJFLAG_LIMITSCANS);
                     // A warning leaves a flawed image, for example from a truncated file.
                     if (result == 0 || tjGetErrorCode(jpeg.get()) == TJERR_WARNING) return {};
                     return undecodable(tjGetErrorStr2(jpeg.get()));
                   });
}

}  // namespace

Result<DecodedImage> decodeImage(Bytes file) {
  if (beginsWith(file, kPngSignature)) return decodePng(file);
  if (beginsWith(file, kJpegSignature)) return decodeJpeg(file);
  return refused("it is neither PNG nor JPEG");
}

Result<DecodedImage> decodeImageFile(const std::string& file) {
  const auto bytes = read(file);
  if (!bytes) return tl::unexpected(bytes.error());
  return decodeImage(*bytes);
}

}  // namespace NimboEngine
