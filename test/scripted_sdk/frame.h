// Raw frames from a test's description.
//
//   {"width", "height", "strideY", "strideU", "strideV", "fill", "size"}
// Strides default to the tightest: the width, and half the width rounded up. "fill" is one of
//   a number            every byte
//   {"gradient": seed}  byte of plane p, row r, column c = (seed + 61 p + 7 r + 3 c) mod 256, where
//                       a row is as long as its stride
// {"hex": "…"}        these bytes, 0 behind them null                no frame: the data pointer is
// null and 0 by default. The buffer is exactly as large as strides and height ask for, so that a
// memory checker sees every access beyond; "size" makes it another size. Invalid numbers are passed
// on unchanged.
//
// Thread: a description may be used by several threads at once.
// Failure: reading throws std::invalid_argument.

#pragma once

#include <memory>
#include <optional>
#include <variant>

#include "NimboSdk/LumoLiveDefine.h"
#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

class FrameDescription {
 public:
  static FrameDescription read(const Json& value);

  // A new buffer with the frame; null if the description says so.
  std::unique_ptr<unsigned char[]> paint() const;

  // The frame as the callback gets it, its pixels in `data`.
  LumoRtc::LumoLiveVideoRawData frame(unsigned char* data) const;

  size_t size() const { return size_; }

 private:
  struct Gradient {
    int seed;
  };
  using Fill = std::variant<std::nullptr_t, int, Gradient, std::string>;

  static Fill readFill(const Json& value);
  void paintGradient(int seed, unsigned char* data) const;

  LumoRtc::LumoLiveVideoRawData shape_;
  size_t size_ = 0;
  Fill fill_ = 0;
};

// The state of a frame and its pixels, to compare with the original.
Json frameJson(const LumoRtc::LumoLiveVideoRawData& frame, const unsigned char* data, size_t size);

}  // namespace ScriptedSdk
