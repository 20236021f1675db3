#include "flv/flv_parser.h"

#include <algorithm>
#include <utility>

namespace NimboEngine {
namespace {

using Bytes = std::span<const uint8_t>;

// A tag: type (1 byte), body size (3), time stamp (3, then its upper byte), stream (3), the body,
// and the size of all that (4).
constexpr std::size_t kTagHeaderSize = 11;
constexpr std::size_t kTrailerSize = 4;
constexpr std::size_t kTimestampAt = 4;
constexpr std::size_t kStreamAt = 8;

constexpr uint8_t kReservedBits = 0xc0;
constexpr uint8_t kEncryptedBit = 0x20;
constexpr uint8_t kTypeBits = 0x1f;

// A file header: "FLV", version, flags, its own size (4), and an empty tag's trailer.
constexpr std::size_t kFileHeaderSize = 9;
constexpr std::size_t kHeaderSizeAt = 5;
constexpr std::size_t kMaxFileHeaderSize = 1024;
constexpr uint8_t kVersion = 1;

// The longest tag that is waited for during resynchronisation, to verify its trailer.
constexpr std::size_t kMaxCandidateSize = std::size_t{1} << 20;

uint32_t read24(Bytes bytes, std::size_t at) {
  return static_cast<uint32_t>(bytes[at]) << 16 | static_cast<uint32_t>(bytes[at + 1]) << 8 |
         bytes[at + 2];
}

uint32_t read32(Bytes bytes, std::size_t at) {
  return static_cast<uint32_t>(bytes[at]) << 24 | read24(bytes, at + 1);
}

bool isTagType(uint8_t byte) {
  if (byte & kReservedBits) return false;
  switch (static_cast<FlvTagType>(byte & kTypeBits)) {
    case FlvTagType::kAudio:
    case FlvTagType::kVideo:
    case FlvTagType::kScript:
      return true;
  }
  return false;
}

std::size_t bodySize(Bytes bytes) {
  return read24(bytes, 1);
}

enum class Match { kNo, kYes, kNeedData };

// Returns whether a file header begins here.
Match matchFileHeader(Bytes bytes) {
  constexpr uint8_t kSignature[] = {'F', 'L', 'V', kVersion};
  const std::size_t count = std::min(bytes.size(), std::size(kSignature));
  if (!std::equal(kSignature, kSignature + count, bytes.begin())) return Match::kNo;
  if (bytes.size() < kFileHeaderSize) return Match::kNeedData;
  const std::size_t size = read32(bytes, kHeaderSizeAt);
  return size >= kFileHeaderSize && size <= kMaxFileHeaderSize ? Match::kYes : Match::kNo;
}

// Returns whether a complete tag begins here whose trailer agrees with its header. Random data does
// not match by accident.
Match matchTag(Bytes bytes) {
  if (!isTagType(bytes[0])) return Match::kNo;
  if (bytes.size() < kTagHeaderSize) return Match::kNeedData;
  const std::size_t size = kTagHeaderSize + bodySize(bytes);
  if (size > kMaxCandidateSize || read24(bytes, kStreamAt) != 0) return Match::kNo;
  if (bytes.size() < size + kTrailerSize) return Match::kNeedData;
  return read32(bytes, size) == size ? Match::kYes : Match::kNo;
}

}  // namespace

void FlvParser::feed(Bytes data) {
  if (pending_.empty()) {
    input_ = data;
    return;
  }
  // input_ is the end of pending_; the part before it has been consumed.
  pending_.erase(pending_.begin(), pending_.end() - static_cast<std::ptrdiff_t>(input_.size()));
  pending_.insert(pending_.end(), data.begin(), data.end());
  input_ = pending_;
}

FlvParser::Status FlvParser::next(RawFlvTag& tag) {
  while (skipped_ <= kMaxSkippedBytes) {
    Step step = Step::kAgain;
    switch (place_) {
      case Place::kBoundary:
        step = atBoundary(tag);
        break;
      case Place::kTrailer:
        step = atTrailer();
        break;
      case Place::kLost:
        step = whileLost();
        break;
    }
    if (step == Step::kTag) return Status::kTag;
    if (step == Step::kNeedData) {
      keepRest();
      return Status::kNeedData;
    }
  }
  return Status::kError;
}

void FlvParser::reset() {
  *this = FlvParser();
}

FlvParser::Step FlvParser::atBoundary(RawFlvTag& tag) {
  if (input_.empty()) return Step::kNeedData;
  const Match header = matchFileHeader(input_);
  if (header == Match::kNeedData) return Step::kNeedData;
  if (header == Match::kYes) return takeFileHeader();
  if (!isTagType(input_[0])) return lose();
  if (input_.size() < kTagHeaderSize) return Step::kNeedData;
  const std::size_t size = bodySize(input_);
  if (size > kMaxTagSize) return lose();
  if (input_.size() < kTagHeaderSize + size) return Step::kNeedData;
  tag.type = static_cast<FlvTagType>(input_[0] & kTypeBits);
  tag.encrypted = (input_[0] & kEncryptedBit) != 0;
  tag.timestampMs =
      static_cast<uint32_t>(input_[kTimestampAt + 3]) << 24 | read24(input_, kTimestampAt);
  tag.body = input_.subspan(kTagHeaderSize, size);
  tag.afterGap = std::exchange(gap_, false);
  skipped_ = 0;
  skip(kTagHeaderSize + size);
  place_ = Place::kTrailer;
  return Step::kTag;
}

// A state of its own: delivering a live tag must not wait for the bytes behind it.
FlvParser::Step FlvParser::atTrailer() {
  if (input_.size() < kTrailerSize) return Step::kNeedData;
  skip(kTrailerSize);
  place_ = Place::kBoundary;
  return Step::kAgain;
}

FlvParser::Step FlvParser::whileLost() {
  std::size_t at = 0;
  Match match = Match::kNo;
  while (at < input_.size()) {
    const Bytes bytes = input_.subspan(at);
    match = matchFileHeader(bytes);
    if (match == Match::kNo) match = matchTag(bytes);
    if (match != Match::kNo) break;
    ++at;
  }
  skip(at);
  skipped_ += at;
  if (match != Match::kYes) return skipped_ > kMaxSkippedBytes ? Step::kAgain : Step::kNeedData;
  place_ = Place::kBoundary;
  return Step::kAgain;
}

FlvParser::Step FlvParser::lose() {
  place_ = Place::kLost;
  gap_ = true;
  return Step::kAgain;
}

// A header ends with an empty tag's trailer.
FlvParser::Step FlvParser::takeFileHeader() {
  const std::size_t size = read32(input_, kHeaderSizeAt);
  if (input_.size() < size) return Step::kNeedData;
  skip(size);
  gap_ = true;
  place_ = Place::kTrailer;
  return Step::kAgain;
}

void FlvParser::skip(std::size_t count) {
  input_ = input_.subspan(count);
}

// Ends the reference to the caller's data.
void FlvParser::keepRest() {
  if (!pending_.empty() && !input_.empty()) return;  // input_ is a part of pending_ already
  pending_.assign(input_.begin(), input_.end());
  input_ = pending_;
}

}  // namespace NimboEngine
