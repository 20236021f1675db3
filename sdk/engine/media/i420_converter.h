// Converts I420 frames of 8 bits from one colour matrix and range to another, moves chroma to the
// left siting, and copies in the same pass. The luma of a pixel is corrected by the chroma sample
// of its block of 2x2 pixels. Results are within one code of exact arithmetic.
//
// Thread: one thread at a time.
// Ownership: keeps rows of intermediate results. The planes are the caller's; target and source do
//   not overlap.
// Failure: none. The transform must not widen the range of luma (yScale is 1 at most).

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/colour_transform.h"
#include "media/i420_rows.h"

namespace NimboEngine {

struct ConstPlane {
  const uint8_t* data;
  ptrdiff_t stride;  // bytes
};

struct Plane {
  uint8_t* data;
  ptrdiff_t stride;  // bytes
};

using ConstI420 = std::array<ConstPlane, 3>;
using I420 = std::array<Plane, 3>;

// The chroma siting of a source that is to be converted to the left siting: between two columns of
// luma instead of on the left one; on the upper row of luma instead of between two rows.
struct ChromaSiting {
  bool betweenColumns = false;
  bool onUpperRow = false;
  bool isLeft() const { return !betweenColumns && !onUpperRow; }
};

class I420Converter {
 public:
  I420Converter(const ColourTransform& transform, ChromaSiting siting,
                const RowLoops& loops = fastestRowLoops());

  // Writes `width` columns of `height` rows, and in each row the last column again up to
  // `paddedWidth`, which is even.
  void convert(const ConstI420& from, const I420& to, int width, int height, int paddedWidth);

 private:
  // Rows of intermediate results, as wide as luma.
  enum Scratch : size_t { kU, kV, kRow, kHalf, kHalf2, kRaise, kLower, kScratchRows };

  uint8_t* scratch(Scratch row) { return bytes_.data() + row * rowBytes_; }
  void reserve(int width);
  const uint8_t* chromaRow(const ConstPlane& plane, int row, int rows, size_t columns,
                           Scratch result);
  void convertRows(const ConstI420& from, const I420& to, int row, int lumaRows, size_t width,
                   const ChromaRows& chroma);

  const RowLoops& loops_;
  const ChromaSiting siting_;
  const bool keepsColours_;
  const bool scalesLuma_;
  const ColourCoefficients by_;
  size_t rowBytes_ = 0;
  std::vector<uint8_t> bytes_;
  std::vector<int16_t> words_;  // two rows
};

// Repeats the last of `width` samples of each of `rows` rows up to `paddedWidth`.
void repeatLastColumn(const Plane& plane, int width, int rows, int paddedWidth);

}  // namespace NimboEngine
