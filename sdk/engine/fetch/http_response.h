// Reads one response of an HTTP/1 server: status line, headers and body, for every way of marking
// the body's end. It does no I/O: bytes go in, the body's bytes come out.
//
// Interim responses (100 to 199) are skipped. Content codings are not decoded: an unrequested
// coding is reported in the head.
//
// Thread: one at a time. Memory: the headers up to the limit. The body is passed on as it arrives.
// Failure: kMalformed and kHeaderLimit are final.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace NimboEngine {

struct HttpHead {
  int status = 0;
  std::optional<uint64_t> length;  // of the body
  bool chunked = false;
  bool refusesRanges = false;
  std::string location;
  std::string contentCoding;            // empty: none
  std::optional<uint64_t> rangeStart;   // of a partial answer: where it begins ...
  std::optional<uint64_t> wholeLength;  // ... and how long the whole is
};

class HttpResponse {
 public:
  enum class Status { kHead, kBody, kComplete, kMalformed, kHeaderLimit };

  explicit HttpResponse(std::size_t headerLimit) : headerLimit_(headerLimit) {}

  // Consumes all of `input` and appends its part of the body to `body`. What follows the end of the
  // response is ignored.
  Status feed(std::span<const uint8_t> input, std::vector<uint8_t>& body);

  // To be called when the server has closed the connection. Returns kMalformed if the response is
  // incomplete.
  Status end();

  // Complete from kBody on.
  const HttpHead& head() const { return head_; }

 private:
  enum class Part {
    kStatusLine,
    kHeaders,
    kCounted,  // a body whose remaining bytes are known
    kUntilClose,
    kChunkSize,
    kChunk,
    kChunkEnd,
    kTrailers,
    kComplete,
    kMalformed,
    kHeaderLimit,
  };

  bool takesLines() const;
  std::size_t takeLine(std::span<const uint8_t> input);
  std::size_t takeBody(std::span<const uint8_t> input, std::vector<uint8_t>& body);
  void readLine();
  Part readStatusLine(std::string_view line);
  Part readHeader(std::string_view line);
  Part readLength(std::string_view value);
  Part readContentRange(std::string_view value);
  Part readChunkSize(std::string_view line);
  Part bodyPart();
  Status status() const;

  const std::size_t headerLimit_;
  std::size_t headerBytes_ = 0;
  Part part_ = Part::kStatusLine;
  std::string line_;
  uint64_t left_ = 0;  // of the counted body, or of a chunk
  HttpHead head_;
};

}  // namespace NimboEngine
