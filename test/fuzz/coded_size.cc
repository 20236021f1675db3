// largestCodedSize and largestConfiguredSize: the frame size in a stream. The input's first byte
// chooses the codec and the framing.

#include "media/coded_size.h"

#include <iterator>

#include "fuzz.h"

using namespace NimboEngine;
using NimboEngine::test::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  constexpr std::string_view kTypes[] = {"video/x-h264", "video/x-h265", "video/x-vp8",
                                         "video/x-flash-video"};
  if (size == 0) return 0;
  const std::string_view type = kTypes[data[0] % std::size(kTypes)];
  const std::size_t lengthBytes = data[0] >> 2 & 7;
  const std::span<const uint8_t> input(data + 1, size - 1);
  for (const auto& found :
       {largestCodedSize(type, lengthBytes, input), largestConfiguredSize(type, input)}) {
    require(!found || found->pixels() > 0, "a size has pixels");
  }
  require(unitLengthBytes(type, input) <= 4, "lengths have four bytes at most");
  return 0;
}
