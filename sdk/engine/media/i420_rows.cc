#include "media/i420_rows.h"

// Each loop is an inline body and, for each instruction set, a function around it that is compiled
// for that set. Not by the compiler's own clones of functions: their resolvers run before a
// sanitizer's run-time library is ready.
#define NIMBO_INLINE [[gnu::always_inline]] inline
#if defined(__x86_64__)
#define NIMBO_HAS_AVX2 1
#endif

namespace NimboEngine {
namespace {

NIMBO_INLINE int16_t times(int16_t value, int16_t coefficient) {
  return static_cast<int16_t>((int32_t{value} * coefficient) >> 16);
}

// The sum's type matters: what 16 bits hold need not be widened to shift it.
NIMBO_INLINE int16_t sum(int16_t a, int16_t b, int16_t c) {
  return static_cast<int16_t>(a + b + c);
}

NIMBO_INLINE int16_t centred(uint8_t code) {
  return static_cast<int16_t>((code - 128) * 128);
}

NIMBO_INLINE uint8_t clipped(int16_t value) {
  const int16_t low = value < 0 ? int16_t{0} : value;
  return static_cast<uint8_t>(low > 255 ? int16_t{255} : low);
}

NIMBO_INLINE uint8_t mixedChroma(int16_t u, int16_t v, int16_t fromU, int16_t fromV) {
  constexpr int16_t kMiddle = 128 * 32 + 16;  // rounds
  return clipped(static_cast<int16_t>(sum(times(u, fromU), times(v, fromV), kMiddle) >> 5));
}

NIMBO_INLINE void chromaBody(const ChromaRows& rows, const ColourCoefficients& by, size_t count,
                             uint8_t* __restrict raise, uint8_t* __restrict lower) {
  const uint8_t* __restrict fromU = rows.u;
  const uint8_t* __restrict fromV = rows.v;
  uint8_t* __restrict toU = rows.outU;
  uint8_t* __restrict toV = rows.outV;
  const ColourCoefficients k = by;
  for (size_t i = 0; i < count; ++i) {
    const int16_t u = centred(fromU[i]);
    const int16_t v = centred(fromV[i]);
    const auto add = static_cast<int16_t>(sum(times(u, k.yFromU), times(v, k.yFromV), 32) >> 6);
    raise[i] = static_cast<uint8_t>(add > 0 ? add : int16_t{0});
    lower[i] = static_cast<uint8_t>(add < 0 ? -add : 0);
    toU[i] = mixedChroma(u, v, k.uFromU, k.uFromV);
    toV[i] = mixedChroma(u, v, k.vFromU, k.vFromV);
  }
}

NIMBO_INLINE void chromaForScaledLumaBody(const ChromaRows& rows, const ColourCoefficients& by,
                                          size_t count, int16_t* __restrict add) {
  const uint8_t* __restrict fromU = rows.u;
  const uint8_t* __restrict fromV = rows.v;
  uint8_t* __restrict toU = rows.outU;
  uint8_t* __restrict toV = rows.outV;
  const ColourCoefficients k = by;
  for (size_t i = 0; i < count; ++i) {
    const int16_t u = centred(fromU[i]);
    const int16_t v = centred(fromV[i]);
    add[i] = sum(times(u, k.yFromU), times(v, k.yFromV), k.yMiddle);
    toU[i] = mixedChroma(u, v, k.uFromU, k.uFromV);
    toV[i] = mixedChroma(u, v, k.vFromU, k.vFromV);
  }
}

template <class Sample>
NIMBO_INLINE void doubleBody(const Sample* __restrict from, Sample* __restrict to, size_t count) {
  const size_t pairs = count / 2;
  for (size_t i = 0; i < pairs; ++i) {
    to[2 * i] = from[i];
    to[2 * i + 1] = from[i];
  }
  if (count % 2 != 0) to[count - 1] = from[pairs];
}

// Saturating addition and subtraction in the form that needs no wider samples.
NIMBO_INLINE void lumaBody(const uint8_t* __restrict from, uint8_t* __restrict to, size_t count,
                           const uint8_t* __restrict raise, const uint8_t* __restrict lower) {
  for (size_t i = 0; i < count; ++i) {
    const uint8_t value = from[i];
    const uint8_t up = raise[i];
    const uint8_t down = lower[i];
    const auto highest = static_cast<uint8_t>(255 - up);
    const auto raised = static_cast<uint8_t>((value < highest ? value : highest) + up);
    to[i] = static_cast<uint8_t>((raised > down ? raised : down) - down);
  }
}

NIMBO_INLINE void scaledLumaBody(const uint8_t* __restrict from, uint8_t* __restrict to,
                                 size_t count, const int16_t* __restrict add, int16_t scale) {
  for (size_t i = 0; i < count; ++i) {
    to[i] = clipped(static_cast<int16_t>(sum(times(centred(from[i]), scale), add[i], 32) >> 6));
  }
}

NIMBO_INLINE uint8_t mixed(uint8_t nearer, uint8_t farther) {
  return static_cast<uint8_t>((3 * nearer + farther + 2) >> 2);
}

NIMBO_INLINE void mixWithRowBody(const uint8_t* __restrict from, const uint8_t* __restrict other,
                                 uint8_t* __restrict to, size_t count) {
  for (size_t i = 0; i < count; ++i) to[i] = mixed(from[i], other[i]);
}

NIMBO_INLINE void mixWithLeftBody(const uint8_t* __restrict from, uint8_t* __restrict to,
                                  size_t count) {
  if (count > 0) to[0] = from[0];
  for (size_t i = 1; i < count; ++i) to[i] = mixed(from[i], from[i - 1]);
}

// NOLINTBEGIN(bugprone-macro-parentheses): an attribute cannot stand in parentheses.
#define NIMBO_ROW_LOOPS(name, attribute)                                                     \
  struct name {                                                                              \
    attribute static void chroma(const ChromaRows& rows, const ColourCoefficients& by,       \
                                 size_t count, uint8_t* raise, uint8_t* lower) {             \
      chromaBody(rows, by, count, raise, lower);                                             \
    }                                                                                        \
    attribute static void chromaForScaledLuma(const ChromaRows& rows,                        \
                                              const ColourCoefficients& by, size_t count,    \
                                              int16_t* add) {                                \
      chromaForScaledLumaBody(rows, by, count, add);                                         \
    }                                                                                        \
    attribute static void doubleBytes(const uint8_t* from, uint8_t* to, size_t count) {      \
      doubleBody(from, to, count);                                                           \
    }                                                                                        \
    attribute static void doubleWords(const int16_t* from, int16_t* to, size_t count) {      \
      doubleBody(from, to, count);                                                           \
    }                                                                                        \
    attribute static void luma(const uint8_t* from, uint8_t* to, size_t count,               \
                               const uint8_t* raise, const uint8_t* lower) {                 \
      lumaBody(from, to, count, raise, lower);                                               \
    }                                                                                        \
    attribute static void scaledLuma(const uint8_t* from, uint8_t* to, size_t count,         \
                                     const int16_t* add, int16_t scale) {                    \
      scaledLumaBody(from, to, count, add, scale);                                           \
    }                                                                                        \
    attribute static void mixWithRow(const uint8_t* from, const uint8_t* other, uint8_t* to, \
                                     size_t count) {                                         \
      mixWithRowBody(from, other, to, count);                                                \
    }                                                                                        \
    attribute static void mixWithLeft(const uint8_t* from, uint8_t* to, size_t count) {      \
      mixWithLeftBody(from, to, count);                                                      \
    }                                                                                        \
    static constexpr RowLoops kLoops{chroma, chromaForScaledLuma, doubleBytes, doubleWords,  \
                                     luma,   scaledLuma,          mixWithRow,  mixWithLeft}; \
  }

// NOLINTEND(bugprone-macro-parentheses)

NIMBO_ROW_LOOPS(Portable, );
#ifdef NIMBO_HAS_AVX2
NIMBO_ROW_LOOPS(Avx2, [[gnu::target("avx2")]]);
#endif

}  // namespace

const RowLoops& portableRowLoops() {
  return Portable::kLoops;
}

const RowLoops& fastestRowLoops() {
#ifdef NIMBO_HAS_AVX2
  if (__builtin_cpu_supports("avx2")) return Avx2::kLoops;
#endif
  return Portable::kLoops;
}

}  // namespace NimboEngine
