#include "media/i420_converter.h"

#include <cmath>
#include <cstring>

namespace NimboEngine {
namespace {

int16_t inUnits(double value, int bits) {
  return static_cast<int16_t>(std::lround(std::ldexp(value, bits)));
}

ColourCoefficients coefficientsOf(const ColourTransform& transform) {
  return {.yScale = inUnits(transform.yScale, 15),
          .yFromU = inUnits(transform.yFromU, 15),
          .yFromV = inUnits(transform.yFromV, 15),
          .yMiddle = inUnits(transform.yOffset + 128 * transform.yScale, 6),
          .uFromU = inUnits(transform.uFromU, 14),
          .uFromV = inUnits(transform.uFromV, 14),
          .vFromU = inUnits(transform.vFromU, 14),
          .vFromV = inUnits(transform.vFromV, 14)};
}

template <class Kind>
auto rowOf(const Kind& plane, int row) {
  return plane.data + row * plane.stride;
}

void repeatLast(uint8_t* row, size_t width, size_t paddedWidth) {
  if (paddedWidth > width) std::memset(row + width, row[width - 1], paddedWidth - width);
}

}  // namespace

I420Converter::I420Converter(const ColourTransform& transform, ChromaSiting siting,
                             const RowLoops& loops)
    : loops_(loops),
      siting_(siting),
      keepsColours_(transform == ColourTransform{}),
      scalesLuma_(transform.yScale != 1),
      by_(coefficientsOf(transform)) {}

void I420Converter::convert(const ConstI420& from, const I420& to, int width, int height,
                            int paddedWidth) {
  reserve(width);
  const auto columns = static_cast<size_t>(width);
  const auto padded = static_cast<size_t>(paddedWidth);
  const size_t chromaColumns = (columns + 1) / 2;
  const int chromaRows = (height + 1) / 2;
  for (int row = 0; row < chromaRows; ++row) {
    const ChromaRows chroma{chromaRow(from[1], row, chromaRows, chromaColumns, kU),
                            chromaRow(from[2], row, chromaRows, chromaColumns, kV),
                            rowOf(to[1], row), rowOf(to[2], row)};
    const int lumaRows = 2 * row + 1 < height ? 2 : 1;
    convertRows(from, to, row, lumaRows, columns, chroma);
    repeatLast(chroma.outU, chromaColumns, padded / 2);
    repeatLast(chroma.outV, chromaColumns, padded / 2);
    for (int i = 0; i < lumaRows; ++i) repeatLast(rowOf(to[0], 2 * row + i), columns, padded);
  }
}

// One row of chroma and its one or two rows of luma.
void I420Converter::convertRows(const ConstI420& from, const I420& to, int row, int lumaRows,
                                size_t width, const ChromaRows& chroma) {
  const size_t chromaWidth = (width + 1) / 2;
  if (keepsColours_) {
    std::memcpy(chroma.outU, chroma.u, chromaWidth);
    std::memcpy(chroma.outV, chroma.v, chromaWidth);
  } else if (scalesLuma_) {
    loops_.chromaForScaledLuma(chroma, by_, chromaWidth, words_.data());
    loops_.doubleWords(words_.data(), words_.data() + rowBytes_, width);
  } else {
    loops_.chroma(chroma, by_, chromaWidth, scratch(kHalf), scratch(kHalf2));
    loops_.doubleBytes(scratch(kHalf), scratch(kRaise), width);
    loops_.doubleBytes(scratch(kHalf2), scratch(kLower), width);
  }
  for (int i = 0; i < lumaRows; ++i) {
    const uint8_t* source = rowOf(from[0], 2 * row + i);
    uint8_t* target = rowOf(to[0], 2 * row + i);
    if (keepsColours_) {
      std::memcpy(target, source, width);
    } else if (scalesLuma_) {
      loops_.scaledLuma(source, target, width, words_.data() + rowBytes_, by_.yScale);
    } else {
      loops_.luma(source, target, width, scratch(kRaise), scratch(kLower));
    }
  }
}

// A row of chroma with the left siting; in `result` when it had to be computed.
const uint8_t* I420Converter::chromaRow(const ConstPlane& plane, int row, int rows, size_t columns,
                                        Scratch result) {
  const uint8_t* source = rowOf(plane, row);
  if (siting_.isLeft()) return source;
  if (siting_.onUpperRow) {
    const uint8_t* below = rowOf(plane, row + 1 < rows ? row + 1 : row);
    uint8_t* mixed = scratch(siting_.betweenColumns ? kRow : result);
    loops_.mixWithRow(source, below, mixed, columns);
    source = mixed;
  }
  if (siting_.betweenColumns) {
    loops_.mixWithLeft(source, scratch(result), columns);
    source = scratch(result);
  }
  return source;
}

void I420Converter::reserve(int width) {
  const auto bytes = static_cast<size_t>(width) + 1;
  if (bytes <= rowBytes_) return;
  rowBytes_ = bytes;
  bytes_.resize(kScratchRows * rowBytes_);
  words_.resize(2 * rowBytes_);
}

void repeatLastColumn(const Plane& plane, int width, int rows, int paddedWidth) {
  for (int row = 0; row < rows; ++row) {
    repeatLast(rowOf(plane, row), static_cast<size_t>(width), static_cast<size_t>(paddedWidth));
  }
}

}  // namespace NimboEngine
