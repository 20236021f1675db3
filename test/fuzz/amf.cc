// AmfReader: the values of a command, until the reader stops.

#include "rtmp/amf.h"

#include <algorithm>

#include "fuzz.h"

using namespace NimboEngine;
using NimboEngine::test::require;

namespace {

std::size_t depthOf(const AmfValue& value) {
  std::size_t deepest = 0;
  for (const AmfProperty& property : value.properties) {
    require(property.name.size() <= kMaxAmfStringBytes, "a name is within its limit");
    deepest = std::max(deepest, depthOf(property.value));
  }
  for (const AmfValue& element : value.elements) deepest = std::max(deepest, depthOf(element));
  require(value.string.size() <= kMaxAmfStringBytes, "a text is within its limit");
  return deepest + 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  AmfReader reader({data, size});
  std::size_t count = 0;
  while (!reader.atEnd()) {
    const auto value = reader.read();
    if (!value) {
      require(reader.error() != AmfError::kNone, "a reader that stops says why");
      return 0;
    }
    require(depthOf(*value) <= kMaxAmfDepth + 1, "values are within their depth");
    require(++count <= kMaxAmfValues, "values are within their number");
  }
  return 0;
}
