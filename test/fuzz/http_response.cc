// HttpResponse: the result does not depend on how a response is split, and its headers are limited.

#include "fetch/http_response.h"

#include <algorithm>

#include "fuzz.h"

using namespace NimboEngine;
using NimboEngine::test::require;

namespace {

using Status = HttpResponse::Status;

constexpr std::size_t kHeaderLimit = 512;

struct Outcome {
  Status status = Status::kHead;
  std::vector<uint8_t> body;
};

Outcome feed(std::span<const uint8_t> input, std::size_t piece) {
  HttpResponse response(kHeaderLimit);
  Outcome outcome;
  while (!input.empty()) {
    const auto part = input.first(std::min(piece, input.size()));
    outcome.status = response.feed(part, outcome.body);
    input = input.subspan(part.size());
  }
  if (outcome.status == Status::kHead || outcome.status == Status::kBody) response.end();
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::span<const uint8_t> input(data, size);
  const Outcome whole = feed(input, size);
  for (const std::size_t piece : {std::size_t{1}, std::size_t{3}}) {
    const Outcome pieces = feed(input, piece);
    require(pieces.status == whole.status, "a split response ends like the whole");
    require(pieces.body == whole.body, "a split response has the same body");
  }
  require(whole.body.size() <= size, "nothing is made up");
  require(whole.status != Status::kHead || size <= kHeaderLimit, "headers have a limit");
  return 0;
}
