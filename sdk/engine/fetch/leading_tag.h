// Measures the tags (ID3, APE) in front of media: GStreamer's demultiplexers of tags keep them
// whole in memory, and a tag states its size, up to 256 MiB of ID3, itself.
//
// Thread: one at a time.
// Failure: the size of all leading tags together exceeds the limit.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace NimboEngine {

class LeadingTag {
 public:
  explicit LeadingTag(std::size_t limit) : limit_(limit) {}

  // Reads on, in whatever pieces it comes. False as soon as the tags are too large.
  bool feed(std::span<const uint8_t> bytes);

 private:
  std::optional<uint64_t> statedSize() const;

  const std::size_t limit_;
  std::vector<uint8_t> header_;  // of what comes next, as far as it is here
  uint64_t skip_ = 0;            // what is left of the tag that was found
  uint64_t total_ = 0;
  bool done_ = false;
};

}  // namespace NimboEngine
