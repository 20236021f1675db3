#include "fetch/http_response.h"

#include <algorithm>
#include <charconv>

namespace NimboEngine {
namespace {

constexpr std::size_t kMostDigits = 16;

char lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool equals(std::string_view text, std::string_view lowerCase) {
  return std::ranges::equal(text, lowerCase, {}, lower);
}

std::string_view trimmed(std::string_view text) {
  const auto isSpace = [](char letter) { return letter == ' ' || letter == '\t'; };
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

// A number without sign that takes up the whole of `text`.
std::optional<uint64_t> numberIn(std::string_view text, int base = 10) {
  uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [read, error] = std::from_chars(text.data(), end, number, base);
  if (text.empty() || error != std::errc() || read != end) return std::nullopt;
  return number;
}

}  // namespace

HttpResponse::Status HttpResponse::feed(std::span<const uint8_t> input,
                                        std::vector<uint8_t>& body) {
  while (!input.empty() && (status() == Status::kHead || status() == Status::kBody)) {
    const std::size_t taken = takesLines() ? takeLine(input) : takeBody(input, body);
    input = input.subspan(taken);
  }
  return status();
}

HttpResponse::Status HttpResponse::end() {
  if (part_ == Part::kUntilClose) part_ = Part::kComplete;
  if (status() == Status::kHead || status() == Status::kBody) part_ = Part::kMalformed;
  return status();
}

bool HttpResponse::takesLines() const {
  switch (part_) {
    case Part::kStatusLine:
    case Part::kHeaders:
    case Part::kChunkSize:
    case Part::kChunkEnd:
    case Part::kTrailers:
      return true;
    default:
      return false;
  }
}

// All lines without data between them count against the limit, including trailers and chunk
// extensions.
std::size_t HttpResponse::takeLine(std::span<const uint8_t> input) {
  const auto end = std::find(input.begin(), input.end(), '\n');
  const bool whole = end != input.end();
  const auto count = static_cast<std::size_t>(end - input.begin());
  headerBytes_ += count + (whole ? 1 : 0);
  if (headerBytes_ > headerLimit_) {
    part_ = Part::kHeaderLimit;
    return input.size();
  }
  line_.append(input.begin(), end);
  if (whole) readLine();
  return count + (whole ? 1 : 0);
}

void HttpResponse::readLine() {
  std::string_view line = line_;
  if (line.ends_with('\r')) line.remove_suffix(1);
  switch (part_) {
    case Part::kStatusLine:
      part_ = readStatusLine(line);
      break;
    case Part::kHeaders:
      part_ = line.empty() ? bodyPart() : readHeader(line);
      break;
    case Part::kChunkSize:
      part_ = readChunkSize(line);
      break;
    case Part::kChunkEnd:
      part_ = line.empty() ? Part::kChunkSize : Part::kMalformed;
      break;
    default:  // trailers
      part_ = line.empty() ? Part::kComplete : Part::kTrailers;
      break;
  }
  line_.clear();
}

// "HTTP/1.1 200 OK"; old radio servers send "ICY 200 OK".
HttpResponse::Part HttpResponse::readStatusLine(std::string_view line) {
  if (!line.starts_with("HTTP/1.") && !line.starts_with("ICY ")) return Part::kMalformed;
  const auto space = line.find(' ');
  if (space == line.npos) return Part::kMalformed;
  const auto status = numberIn(line.substr(space + 1, 3));
  if (!status || *status < 100 || *status > 599 || *status == 101) return Part::kMalformed;
  head_ = {};
  head_.status = static_cast<int>(*status);
  return Part::kHeaders;
}

HttpResponse::Part HttpResponse::readHeader(std::string_view line) {
  const auto colon = line.find(':');
  if (colon == line.npos) return Part::kHeaders;  // useless, but harmless
  const std::string_view name = line.substr(0, colon);
  const std::string_view value = trimmed(line.substr(colon + 1));
  if (equals(name, "content-length")) return readLength(value);
  if (equals(name, "content-range")) return readContentRange(value);
  if (equals(name, "transfer-encoding")) {
    if (!equals(value, "chunked")) return Part::kMalformed;
    head_.chunked = true;
  } else if (equals(name, "location")) {
    head_.location = value;
  } else if (equals(name, "content-encoding") && !equals(value, "identity")) {
    head_.contentCoding = value;
  } else if (equals(name, "accept-ranges")) {
    head_.refusesRanges = equals(value, "none");
  }
  return Part::kHeaders;
}

HttpResponse::Part HttpResponse::readLength(std::string_view value) {
  const auto length = numberIn(value);
  if (!length || (head_.length && *head_.length != *length)) return Part::kMalformed;
  head_.length = length;
  return Part::kHeaders;
}

// "bytes 100-199/2000"; the length may be an asterisk.
HttpResponse::Part HttpResponse::readContentRange(std::string_view value) {
  if (!value.starts_with("bytes ")) return Part::kHeaders;
  value.remove_prefix(6);
  const auto dash = value.find('-');
  const auto slash = value.find('/');
  if (slash == value.npos) return Part::kHeaders;
  if (dash < slash) head_.rangeStart = numberIn(value.substr(0, dash));
  head_.wholeLength = numberIn(value.substr(slash + 1));
  return Part::kHeaders;
}

HttpResponse::Part HttpResponse::bodyPart() {
  if (head_.status < 200) return Part::kStatusLine;  // the response itself follows
  if (head_.status == 204 || head_.status == 304) return Part::kComplete;
  if (head_.chunked) {
    head_.length.reset();
    return Part::kChunkSize;
  }
  if (!head_.length) return Part::kUntilClose;
  left_ = *head_.length;
  return left_ == 0 ? Part::kComplete : Part::kCounted;
}

HttpResponse::Part HttpResponse::readChunkSize(std::string_view line) {
  const std::string_view digits = trimmed(line.substr(0, line.find(';')));
  const auto size = numberIn(digits, 16);
  if (!size || digits.size() > kMostDigits) return Part::kMalformed;
  left_ = *size;
  if (left_ == 0) return Part::kTrailers;
  headerBytes_ = 0;
  return Part::kChunk;
}

std::size_t HttpResponse::takeBody(std::span<const uint8_t> input, std::vector<uint8_t>& body) {
  const bool counted = part_ != Part::kUntilClose;
  const std::size_t count =
      counted ? static_cast<std::size_t>(std::min<uint64_t>(input.size(), left_)) : input.size();
  body.insert(body.end(), input.begin(), input.begin() + static_cast<std::ptrdiff_t>(count));
  if (!counted) return count;
  left_ -= count;
  if (left_ == 0) part_ = part_ == Part::kChunk ? Part::kChunkEnd : Part::kComplete;
  return count;
}

HttpResponse::Status HttpResponse::status() const {
  switch (part_) {
    case Part::kStatusLine:
    case Part::kHeaders:
      return Status::kHead;
    case Part::kComplete:
      return Status::kComplete;
    case Part::kMalformed:
      return Status::kMalformed;
    case Part::kHeaderLimit:
      return Status::kHeaderLimit;
    default:
      return Status::kBody;
  }
}

}  // namespace NimboEngine
