// An I420 frame over exactly its own bytes, including the padding of the rows. Shares no code with
// the plug-ins on purpose.

#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <random>
#include <vector>

#include "plugin/IVideoFramePlugin.h"

namespace ExamplePluginTests {

struct Shape {
  int width;
  int height;
  // Bytes of padding at the end of the rows of Y, U and V.
  int padY = 0;
  int padU = 0;
  int padV = 0;
};

// Even and odd, without and with padding, down to the smallest.
inline std::vector<Shape> shapes() {
  return {{16, 8}, {6, 4, 3, 1, 2}, {5, 3}, {7, 5, 1, 4, 2},
          {8, 3},  {5, 4, 0, 3, 0}, {2, 1}, {1, 1}};
}

class Frame {
 public:
  Frame(const Shape& shape, unsigned char y, unsigned char chroma) : shape_(shape) {
    bytes_.assign(startOf(3), y);
    for (std::size_t i = startOf(1); i < bytes_.size(); ++i) bytes_[i] = chroma;
  }

  static Frame noise(const Shape& shape, uint32_t seed = 1) {
    Frame frame(shape, 0, 0);
    std::mt19937 random(seed);
    for (auto& byte : frame.bytes_) byte = static_cast<unsigned char>(random());
    return frame;
  }

  // Planes: 0 is Y, 1 is U, 2 is V.
  int width(int plane) const { return plane == 0 ? shape_.width : (shape_.width + 1) / 2; }
  int height(int plane) const { return plane == 0 ? shape_.height : (shape_.height + 1) / 2; }
  unsigned char& at(int plane, int x, int y) {
    return bytes_.at(startOf(plane) + static_cast<std::size_t>(y * stride(plane) + x));
  }
  unsigned char at(int plane, int x, int y) const {
    return const_cast<Frame*>(this)->at(plane, x, y);
  }

  LumoLivePushElectronSDK::VideoFrame record() {
    return {bytes_.data(), stride(0), stride(1), stride(2), shape_.height, shape_.width};
  }

  const Shape& shape() const { return shape_; }
  const std::vector<unsigned char>& bytes() const { return bytes_; }
  bool operator==(const Frame& other) const { return bytes_ == other.bytes_; }

 private:
  int stride(int plane) const {
    const int padding[] = {shape_.padY, shape_.padU, shape_.padV};
    return width(plane) + padding[plane];
  }
  std::size_t startOf(int plane) const {
    std::size_t start = 0;
    for (int i = 0; i < plane; ++i) start += static_cast<std::size_t>(stride(i) * height(i));
    return start;
  }

  Shape shape_;
  std::vector<unsigned char> bytes_;
};

inline std::ostream& operator<<(std::ostream& out, const Frame& frame) {
  const Shape& shape = frame.shape();
  return out << "frame of " << shape.width << "x" << shape.height << ", padding " << shape.padY
             << "," << shape.padU << "," << shape.padV;
}

}  // namespace ExamplePluginTests
