// The outcome of a function that can fail: a value, or an error with a code and a text.
//
//   Result<Size> parseSize(std::string_view text);
//
//   const Result<Size> size = parseSize(text);
//   if (!size) return tl::unexpected(size.error());
//   use(*size);
//
// A function whose failure needs no explanation returns std::optional or a null pointer.
//
// Thread: plain values.

#pragma once

#include <fmt/format.h>

#include <string>
#include <tl/expected.hpp>
#include <utility>

#include "NimboSdk/LumoLiveResult.h"

namespace NimboEngine {

// `Code` is an enumeration of the area where the SDK's own results say too little.
template <class Code = LumoRtc::LumoLiveResult>
struct Error {
  Code code{};
  std::string text;  // never empty; may hold what redact() removes
};

template <class Value, class Code = LumoRtc::LumoLiveResult>
using Result = tl::expected<Value, Error<Code>>;

// The return value of a function that fails.
template <class Code, class... Arguments>
tl::unexpected<Error<Code>> failed(Code code, fmt::format_string<Arguments...> format,
                                   Arguments&&... arguments) {
  return tl::unexpected(
      Error<Code>{code, fmt::format(format, std::forward<Arguments>(arguments)...)});
}

// The most frequent failure: an invalid argument.
template <class... Arguments>
tl::unexpected<Error<>> refused(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  return failed(LumoRtc::kLumoLiveInvalidArgument, format, std::forward<Arguments>(arguments)...);
}

}  // namespace NimboEngine
