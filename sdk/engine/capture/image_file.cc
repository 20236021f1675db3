#include "capture/image_file.h"

#include <fmt/format.h>
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <utility>
#include <vector>

#include "capture/image_header.h"
#include "gst/pipeline.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uint64_t kMostBytes = 32'000'000;
constexpr uint64_t kMostPixels = 40'000'000;
constexpr std::chrono::seconds kPatience{10};
constexpr GstClockTime kLook = 50 * GST_MSECOND;  // how often it is asked whether to go on

// Only what is a file: reading from a pipe or a device may never end.
std::vector<uint8_t> read(const std::string& file, std::string& problem) {
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  const uint64_t size = is_regular_file(status) ? std::filesystem::file_size(file, error) : 0;
  if (!exists(status)) {
    problem = "there is no such file";
  } else if (!is_regular_file(status)) {
    problem = "it is no file";
  } else if (size > kMostBytes) {
    problem = fmt::format("it has {} bytes; {} are allowed", size, kMostBytes);
  }
  if (!problem.empty()) return {};
  std::vector<uint8_t> bytes(size);
  std::ifstream stream(file, std::ios::binary);
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (stream) return bytes;
  problem = "it cannot be read";
  return {};
}

bool isAcceptable(std::span<const uint8_t> bytes, const std::optional<ImageHeader>& header,
                  std::string& problem) {
  if (!header) {
    problem = bytes.empty() ? "it is empty" : "it is neither PNG nor JPEG";
  } else if (uint64_t{header->width} * header->height > kMostPixels) {
    problem = fmt::format("it has {}x{} pixels; {} are allowed", header->width, header->height,
                          kMostPixels);
  }
  return problem.empty();
}

// Runs to its end: a decoder of GStreamer's that is interrupted loses its picture.
GstPtr<GstSample> decode(std::span<const uint8_t> bytes, ImageKind kind, std::string& problem) {
  std::atomic<bool> failed{false};
  const auto pipeline = Pipeline::parse(
      "image",
      fmt::format("appsrc name=file ! {} ! videoconvertscale ! video/x-raw,format=RGBA ! "
                  "appsink name=picture sync=false",
                  kind == ImageKind::kPng ? "pngdec" : "jpegdec"),
      [&failed](const PipelineMessage& message) {
        if (message.kind == PipelineMessage::Kind::kError) failed = true;
      });
  if (!pipeline || !pipeline->play()) {
    problem = "its decoder cannot be started";
    return nullptr;
  }
  const GstPtr<GstElement> source = pipeline->element("file");
  const GstPtr<GstElement> sink = pipeline->element("picture");
  // Both calls take what they are given.
  gst_app_src_push_buffer(GST_APP_SRC(source.get()),
                          gst_buffer_new_memdup(bytes.data(), bytes.size()));
  gst_app_src_end_of_stream(GST_APP_SRC(source.get()));
  const auto end = Clock::now() + kPatience;
  while (!failed && Clock::now() < end) {
    GstPtr<GstSample> sample(gst_app_sink_try_pull_sample(GST_APP_SINK(sink.get()), kLook));
    if (sample) return sample;
    if (gst_app_sink_is_eos(GST_APP_SINK(sink.get()))) break;
  }
  problem = "it cannot be decoded";
  return nullptr;
}

// What is transparent takes on the black behind it.
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

}  // namespace

DecodedImage decodeImageFile(const std::string& file, std::string& problem) {
  problem.clear();
  const std::vector<uint8_t> bytes = read(file, problem);
  if (!problem.empty()) return {};
  const auto header = readImageHeader(bytes);
  if (!isAcceptable(bytes, header, problem)) return {};
  const GstPtr<GstSample> sample = decode(bytes, header->kind, problem);
  DecodedImage image;
  if (!sample || !gst_video_info_from_caps(&image.info, gst_sample_get_caps(sample.get()))) {
    return {};
  }
  image.pixels.reset(gst_buffer_copy_deep(gst_sample_get_buffer(sample.get())));
  GstMapInfo map;
  if (!gst_buffer_map(image.pixels.get(), &map, GST_MAP_READWRITE)) return {};
  flatten(map.data, map.size);
  gst_buffer_unmap(image.pixels.get(), &map);
  return image;
}

}  // namespace NimboEngine
