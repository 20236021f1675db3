#include "scripted_sdk/frame.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ScriptedSdk {

namespace {

constexpr int64_t kLargestFrame = int64_t{1} << 28;  // a larger one is a mistake in the test

struct Plane {
  int64_t rows;
  int64_t stride;
};

std::array<Plane, 3> planes(const LumoRtc::LumoLiveVideoRawData& shape) {
  const auto extent = [](int64_t value) { return std::max<int64_t>(value, 0); };
  const int64_t rows = extent(shape.height);
  const int64_t halfRows = (rows + 1) / 2;
  return {{{rows, extent(shape.strideY)},
           {halfRows, extent(shape.strideU)},
           {halfRows, extent(shape.strideV)}}};
}

int64_t naturalSize(const LumoRtc::LumoLiveVideoRawData& shape) {
  int64_t size = 0;
  for (const Plane& plane : planes(shape)) size += plane.rows * plane.stride;
  return size;
}

}  // namespace

FrameDescription FrameDescription::read(const Json& value) {
  Fields fields(value, "frame");
  FrameDescription frame;
  auto& shape = frame.shape_;
  shape.width = fields.number<int32_t>("width", 0);
  shape.height = fields.number<int32_t>("height", 0);
  const int32_t halfWidth = shape.width / 2 + shape.width % 2;
  shape.strideY = fields.number<int32_t>("strideY", shape.width);
  shape.strideU = fields.number<int32_t>("strideU", halfWidth);
  shape.strideV = fields.number<int32_t>("strideV", halfWidth);
  if (fields.has("fill")) frame.fill_ = readFill(fields.required("fill"));
  const int64_t size = fields.number<int64_t>("size", naturalSize(shape));
  if (size < 0 || size > kLargestFrame) fields.refuse("give a 'size' that fits into memory");
  frame.size_ = static_cast<size_t>(size);
  fields.finish();
  return frame;
}

FrameDescription::Fill FrameDescription::readFill(const Json& value) {
  if (value.is_null()) return nullptr;
  const Json object = value.is_object() ? value : Json{{"constant", value}};
  if (object.contains("hex")) return readBytes(object);
  Fields fields(object, "fill");
  Fill fill = fields.number<int32_t>("constant", 0);
  if (fields.has("gradient")) fill = Gradient{fields.number<int32_t>("gradient", 0)};
  fields.finish();
  return fill;
}

std::unique_ptr<unsigned char[]> FrameDescription::paint() const {
  if (std::holds_alternative<std::nullptr_t>(fill_)) return nullptr;
  auto data = std::make_unique<unsigned char[]>(size_);
  if (const auto* constant = std::get_if<int>(&fill_)) {
    std::memset(data.get(), *constant, size_);
  } else if (const auto* gradient = std::get_if<Gradient>(&fill_)) {
    paintGradient(gradient->seed, data.get());
  } else if (const auto* bytes = std::get_if<std::string>(&fill_)) {
    std::copy_n(bytes->begin(), std::min(bytes->size(), size_), data.get());
  }
  return data;
}

void FrameDescription::paintGradient(int seed, unsigned char* data) const {
  size_t at = 0;
  int64_t planeStart = seed;
  for (const Plane& plane : planes(shape_)) {
    for (int64_t row = 0; row < plane.rows; ++row) {
      for (int64_t column = 0; column < plane.stride && at < size_; ++column) {
        data[at++] = static_cast<unsigned char>(planeStart + 7 * row + 3 * column);
      }
    }
    planeStart += 61;
  }
}

LumoRtc::LumoLiveVideoRawData FrameDescription::frame(unsigned char* data) const {
  auto frame = shape_;
  frame.data = data;
  return frame;
}

Json frameJson(const LumoRtc::LumoLiveVideoRawData& frame, const unsigned char* data, size_t size) {
  return {{"width", frame.width},
          {"height", frame.height},
          {"strideY", frame.strideY},
          {"strideU", frame.strideU},
          {"strideV", frame.strideV},
          {"dataMoved", frame.data != data},
          {"bytes", data ? bytesJson({reinterpret_cast<const char*>(data), size}) : Json()}};
}

}  // namespace ScriptedSdk
