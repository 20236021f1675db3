// Helpers of the fuzz targets.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

// Called with one input after the other; must not keep references to it. Always returns 0.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

namespace NimboEngine::test {

// Ends the process, which a fuzzer detects.
inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "not true: %s\n", what);
  std::abort();
}

// Returns the input as a text, up to its first zero.
inline std::string textOf(const uint8_t* data, std::size_t size) {
  const auto* text = reinterpret_cast<const char*>(data);
  return {text, strnlen(text, size)};
}

}  // namespace NimboEngine::test
