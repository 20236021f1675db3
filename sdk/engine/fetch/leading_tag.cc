#include "fetch/leading_tag.h"

#include <algorithm>
#include <string_view>

namespace NimboEngine {
namespace {

constexpr std::string_view kId3 = "ID3";
constexpr std::size_t kId3Header = 10;
constexpr uint8_t kId3HasFooter = 0x10;
constexpr std::string_view kApe = "APETAGEX";
constexpr std::size_t kApeHeader = 32;

bool begins(std::span<const uint8_t> bytes, std::string_view text) {
  const std::size_t count = std::min(bytes.size(), text.size());
  return std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count), text.begin(),
                    [](uint8_t byte, char letter) { return byte == static_cast<uint8_t>(letter); });
}

}  // namespace

bool LeadingTag::feed(std::span<const uint8_t> bytes) {
  while (!done_ && !bytes.empty()) {
    if (skip_ > 0) {
      const auto count = static_cast<std::size_t>(std::min<uint64_t>(skip_, bytes.size()));
      skip_ -= count;
      bytes = bytes.subspan(count);
      continue;
    }
    header_.push_back(bytes.front());
    bytes = bytes.subspan(1);
    if (!begins(header_, kId3) && !begins(header_, kApe)) {
      done_ = true;
    } else if (const auto size = statedSize()) {
      total_ += *size;
      if (total_ > limit_) return false;
      skip_ = *size - header_.size();
      header_.clear();
    }
  }
  return true;
}

// With header and footer; none until the header is complete.
std::optional<uint64_t> LeadingTag::statedSize() const {
  if (begins(header_, kId3) && header_.size() == kId3Header) {
    uint64_t size = 0;
    for (std::size_t i = 6; i < kId3Header; ++i) size = size << 7 | (header_[i] & 0x7f);
    return size + kId3Header + ((header_[5] & kId3HasFooter) != 0 ? kId3Header : 0);
  }
  if (begins(header_, kApe) && header_.size() == kApeHeader) {
    uint64_t size = 0;
    for (std::size_t i = 15; i >= 12; --i) size = size << 8 | header_[i];
    return size + kApeHeader;
  }
  return std::nullopt;
}

}  // namespace NimboEngine
