// Measures the tags (ID3, APE) in front of media: GStreamer's tag demultiplexers keep whole tags in
// memory, and the size that a tag states may be up to 256 MiB for ID3.
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

  // Parses the next bytes, cut anywhere. Returns false as soon as the tags are too large.
  bool feed(std::span<const uint8_t> bytes);

 private:
  std::optional<uint64_t> statedSize() const;

  const std::size_t limit_;
  std::vector<uint8_t> header_;  // of the next tag, as far as received
  uint64_t skip_ = 0;            // remaining bytes of the current tag
  uint64_t total_ = 0;
  bool done_ = false;
};

}  // namespace NimboEngine
