// Loops over rows of I420 frames, written so that compilers vectorize them. On x86 each exists a
// second time for AVX2, chosen at run time.
//
// Multiplications keep the upper 16 of 32 bits, the form that vector units have: a code minus 128,
// times 2^7, times a coefficient in units of 2^-15 or 2^-14, gives units of 2^-6 or 2^-5.
//
// Thread: any.
// Ownership: the rows are the caller's. Rows that are written overlap no others.
// Failure: none.

#pragma once

#include <cstddef>
#include <cstdint>

namespace NimboEngine {

struct ColourCoefficients {
  int16_t yScale = 0;  // units of 2^-15, as the next two
  int16_t yFromU = 0;
  int16_t yFromV = 0;
  int16_t yMiddle = 0;  // what luma 128 becomes, in units of 2^-6
  int16_t uFromU = 0;   // units of 2^-14, like the rest
  int16_t uFromV = 0;
  int16_t vFromU = 0;
  int16_t vFromV = 0;
};

struct ChromaRows {
  const uint8_t* u;
  const uint8_t* v;
  uint8_t* outU;
  uint8_t* outV;
};

// `count` is the number of samples in a row that is written.
struct RowLoops {
  // Converts a row of chroma and computes what it adds to luma whose scale stays: whole codes in
  // `raise` or `lower`, the other of which is 0.
  void (*chroma)(const ChromaRows& rows, const ColourCoefficients& by, size_t count, uint8_t* raise,
                 uint8_t* lower);

  // The same for luma whose scale changes: units of 2^-6 in `add`, with `yMiddle`.
  void (*chromaForScaledLuma)(const ChromaRows& rows, const ColourCoefficients& by, size_t count,
                              int16_t* add);

  // Writes each sample twice; `from` has half of `count` samples, rounded up.
  void (*doubleBytes)(const uint8_t* from, uint8_t* to, size_t count);
  void (*doubleWords)(const int16_t* from, int16_t* to, size_t count);

  void (*luma)(const uint8_t* from, uint8_t* to, size_t count, const uint8_t* raise,
               const uint8_t* lower);
  void (*scaledLuma)(const uint8_t* from, uint8_t* to, size_t count, const int16_t* add,
                     int16_t scale);

  // Three quarters of each sample and one quarter of that at its place in `other`.
  void (*mixWithRow)(const uint8_t* from, const uint8_t* other, uint8_t* to, size_t count);

  // Three quarters of each sample and one quarter of that on its left, if there is one.
  void (*mixWithLeft)(const uint8_t* from, uint8_t* to, size_t count);
};

// The loops for this processor, and the portable ones.
const RowLoops& fastestRowLoops();
const RowLoops& portableRowLoops();

}  // namespace NimboEngine
