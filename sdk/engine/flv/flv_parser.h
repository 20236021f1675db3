// Incremental parser that splits an FLV byte stream into tags; the input may be cut anywhere.
//
// Common defects of real sources are tolerated: the file header is optional and may be repeated in
// mid-stream (a restarted source), the previous-tag-size field may be wrong, a tag may be empty.
// Where no tag can begin, the parser resynchronises: it skips bytes up to a file header, or to a
// tag whose previous-tag-size field agrees with its header. After kMaxSkippedBytes without one it
// fails.
//
// Memory: at most one incomplete tag (kMaxTagSize) plus one input.
//
// Thread: any, one thread at a time.
// Ownership: a tag's body refers to memory of the parser or of the caller (see feed()) and is valid
//   until the next call of any member.
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
  bool afterGap = false;  // bytes were skipped or there was a file header since the previous tag
  uint32_t timestampMs = 0;
  std::span<const uint8_t> body;
};

class FlvParser {
 public:
  // The format's own limit is 16 MiB. Half of it is more than a key frame of 8K video needs.
  static constexpr std::size_t kMaxTagSize = std::size_t{8} << 20;
  static constexpr std::size_t kMaxSkippedBytes = std::size_t{4} << 20;

  enum class Status { kTag, kNeedData, kError };

  // Adds input; next() must have returned kNeedData before. The parser refers to `data` without a
  // copy until next() returns kNeedData again; then it copies the incomplete tag at the end.
  void feed(std::span<const uint8_t> data);

  Status next(RawFlvTag& tag);

  // Returns to the initial state.
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

  std::span<const uint8_t> input_;  // unparsed rest of pending_ or of the caller's data
  std::vector<uint8_t> pending_;
  Place place_ = Place::kBoundary;
  bool gap_ = false;
  std::size_t skipped_ = 0;  // since the last tag
};

}  // namespace NimboEngine
