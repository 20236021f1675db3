#include "fetch/playlist.h"

#include <fmt/format.h>
#include <glib.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace NimboEngine {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view kFirstLine = "#EXTM3U";

struct AddressTag {
  std::string_view name;
  FetchKind kind;
};
// The tags with an attribute URI that the demultiplexer supports.
constexpr AddressTag kAddressTags[] = {
    {"#EXT-X-KEY", FetchKind::kKey},
    {"#EXT-X-MAP", FetchKind::kMap},
    {"#EXT-X-MEDIA", FetchKind::kPlaylist},
    {"#EXT-X-I-FRAME-STREAM-INF", FetchKind::kPlaylist},
};

struct Attribute {
  std::string_view name;
  std::string_view value;  // with its quotation marks
};

// Parses NAME=value,NAME="value". None if `list` has another form.
std::optional<std::vector<Attribute>> attributesIn(std::string_view list) {
  std::vector<Attribute> attributes;
  while (!list.empty()) {
    const auto equals = list.find('=');
    if (equals == list.npos) return std::nullopt;
    const std::string_view name = list.substr(0, equals);
    const bool isName = !name.empty() && std::ranges::all_of(name, [](char letter) {
      return g_ascii_isupper(letter) || g_ascii_isdigit(letter) || letter == '-';
    });
    if (!isName) return std::nullopt;
    list.remove_prefix(equals + 1);
    std::size_t end = std::min(list.find(','), list.size());
    if (list.starts_with('"')) {
      const auto quote = list.find('"', 1);
      if (quote == list.npos) return std::nullopt;
      end = quote + 1;
      if (end < list.size() && list[end] != ',') return std::nullopt;
    } else if (list.substr(0, end).find('"') != list.npos) {
      return std::nullopt;
    }
    attributes.push_back({name, list.substr(0, end)});
    list.remove_prefix(std::min(end + 1, list.size()));
    while (list.starts_with(' ')) list.remove_prefix(1);
  }
  return attributes;
}

class Rewriter {
 public:
  Rewriter(std::size_t most, const NameAddress& nameAddress)
      : most_(most), nameAddress_(nameAddress) {}

  Result<void> add(std::string_view line) {
    if (line.empty()) return {};
    if (!line.starts_with('#')) return addAddress(line);
    if (line.starts_with(kFirstLine)) return append(kFirstLine);
    if (!line.starts_with("#EXT")) return {};  // a comment
    const auto colon = line.find(':');
    const std::string_view name = line.substr(0, colon);
    if (name == "#EXT-X-STREAM-INF") {
      nextIsPlaylist_ = true;
      return append(line);
    }
    if (line.find("URI=") == line.npos) return append(line);
    const auto* tag = std::ranges::find(kAddressTags, name, &AddressTag::name);
    if (tag != std::end(kAddressTags)) return addTag(*tag, line.substr(name.size() + 1));
    // A title may contain anything; it is not an address.
    const auto comma = line.find(',');
    if (name != "#EXTINF" || comma == line.npos) return {};
    return append(line.substr(0, comma + 1));
  }

  std::string take() { return std::move(result_); }

 private:
  Result<void> append(std::string_view line) {
    if (result_.size() + line.size() + 1 > most_) {
      return refused("the addresses of the playlist take more than {} MiB", most_ >> 20);
    }
    result_.append(line).push_back('\n');
    return {};
  }

  Result<std::string> approved(std::string_view reference, FetchKind kind) {
    if (++entries_ > kMostPlaylistEntries) {
      return refused("the playlist has more than {} entries", kMostPlaylistEntries);
    }
    auto address = nameAddress_(std::string(reference), kind);
    // It has to fit between quotation marks, on one line.
    if (address && address->find_first_of("\"\r\n") != address->npos) {
      return refused("an address of the playlist has quotation marks");
    }
    return address;
  }

  Result<void> addAddress(std::string_view line) {
    const bool playlist = std::exchange(nextIsPlaylist_, false);
    const auto address = approved(line, playlist ? FetchKind::kPlaylist : FetchKind::kMedia);
    if (!address) return tl::unexpected(address.error());
    return append(*address);
  }

  Result<void> addTag(const AddressTag& tag, std::string_view list) {
    const auto attributes = attributesIn(list);
    if (!attributes) return refused("the tag {} of the playlist cannot be read", tag.name);
    std::string line = fmt::format("{}:", tag.name);
    for (const Attribute& attribute : *attributes) {
      if (!line.ends_with(':')) line += ',';
      line += fmt::format("{}=", attribute.name);
      if (attribute.name != "URI") {
        line += attribute.value;
        continue;
      }
      std::string_view reference = attribute.value;
      if (reference.starts_with('"')) reference = reference.substr(1, reference.size() - 2);
      const auto address = approved(reference, tag.kind);
      if (!address) return tl::unexpected(address.error());
      line += fmt::format("\"{}\"", *address);
    }
    return append(line);
  }

  const std::size_t most_;
  const NameAddress& nameAddress_;
  std::string result_;
  std::size_t entries_ = 0;
  bool nextIsPlaylist_ = false;
};

// Takes the next line, up to the first end of line of any kind, like the demultiplexer: text after
// a lone carriage return on the same line is ignored.
std::string_view takeLine(std::string_view& text) {
  const auto end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line.substr(0, line.find('\r'));
}

}  // namespace

std::optional<bool> beginsPlaylist(std::span<const uint8_t> bytes) {
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.size() < kByteOrderMark.size() && kByteOrderMark.starts_with(text)) return std::nullopt;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  if (text.size() < kFirstLine.size() && kFirstLine.starts_with(text)) return std::nullopt;
  return text.starts_with(kFirstLine);
}

Result<std::string> rewritePlaylist(std::string_view text, std::size_t most,
                                    const NameAddress& nameAddress) {
  if (text.find('\0') != text.npos ||
      !g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
    return refused("the playlist is not text");
  }
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  Rewriter rewriter(most, nameAddress);
  while (!text.empty()) {
    if (const auto added = rewriter.add(takeLine(text)); !added) {
      return tl::unexpected(added.error());
    }
  }
  return rewriter.take();
}

}  // namespace NimboEngine
