// Splits an FLV byte stream into tags, however the bytes are cut into pieces.
//
// What real sources do wrong is accepted: a file header is optional and may come again in
// mid-stream (a restarted source), the size behind a tag may be wrong, a tag may be empty. Where no
// tag can begin, the parser skips bytes until one does whose trailing size agrees with its header;
// after kMaxSkippedBytes without such a tag it fails.
//
// Memory: at most one incomplete tag, hence kMaxTagSize, plus what is fed at once.
//
// Thread: any, one thread at a time.
// Ownership: a tag's body is the parser's or the caller's memory (see feed()) and is valid until
// the
//   next call of any member.
// Failure: next() returns kError, and keeps doing so until reset().

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace NimboEngine {

enum class FlvTagType : uint8_t { kAudio = 8, kVideo = 9, kScript = 18 };

struct RawFlvTag {
  FlvTagType type = FlvTagType::kScript;
  bool encrypted = false;
  bool afterGap = false;  // bytes were skipped, or a file header came, since the tag before
  uint32_t timestampMs = 0;
  std::span<const uint8_t> body;
};

class FlvParser {
 public:
  // The format's own limit is 16 MiB. Half of it is more than a key frame of 8K video needs.
  static constexpr std::size_t kMaxTagSize = std::size_t{8} << 20;
  static constexpr std::size_t kMaxSkippedBytes = std::size_t{4} << 20;

  enum class Status { kTag, kNeedData, kError };

  // Adds bytes. All tags must have been taken: the parser refers to `data`, without a copy, until
  // next() has returned kNeedData, and keeps only the incomplete tag beyond that.
  void feed(std::span<const uint8_t> data);

  Status next(RawFlvTag& tag);

  // Forgets everything, as if newly made.
  void reset();

 private:
  enum class Place { kBoundary, kTrailer, kLost };
  enum class Step { kAgain, kTag, kNeedData };

  Step atBoundary(RawFlvTag& tag);
  Step atTrailer();
  Step whileLost();
  Step lose();
  Step takeFileHeader();
  void skip(std::size_t count);
  void keepRest();

  std::span<const uint8_t> input_;  // what is left of pending_, or of the caller's bytes
  std::vector<uint8_t> pending_;
  Place place_ = Place::kBoundary;
  bool gap_ = false;
  std::size_t skipped_ = 0;  // since the last tag
};

}  // namespace NimboEngine
