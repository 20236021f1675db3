// rewritePlaylist: for any input the result contains only approved addresses.

#include "fetch/playlist.h"

#include <algorithm>
#include <string_view>

#include "fuzz.h"

using namespace NimboEngine;
using NimboEngine::test::require;

namespace {

constexpr std::string_view kApproved = "approved:";
constexpr std::size_t kMost = 1 << 20;

Result<std::string> approve(const std::string& reference, FetchKind) {
  if (reference.find('!') != reference.npos) return refused("not that one");
  return std::string(kApproved);
}

// As simple as a reader can be.
void requireApproved(std::string_view line) {
  if (!line.starts_with('#')) return require(line == kApproved, "an address is approved");
  require(line.starts_with("#EXT"), "only tags are passed on");
  if (line.starts_with("#EXTINF") || line.starts_with("#EXT-X-STREAM-INF")) return;
  for (auto at = line.find("URI="); at != line.npos; at = line.find("URI=", at + 1)) {
    // As part of a longer name, or within quotation marks, it is not an attribute.
    if (at != line.find(':') + 1 && line[at - 1] != ',') continue;
    const auto quotes = std::count(line.begin(), line.begin() + static_cast<long>(at), '"');
    if (quotes % 2 != 0) continue;
    require(line.substr(at + 4).starts_with("\"approved:\""), "an attribute is approved");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  beginsPlaylist({data, size});
  const auto rewritten = rewritePlaylist(text, kMost, approve);
  require(rewritten || !rewritten.error().text.empty(), "a refusal has an error");
  if (!rewritten) return 0;
  require(rewritten->size() <= kMost, "the result stays within its limit");
  require(rewritten->find_first_of(std::string_view("\r\0", 2)) == rewritten->npos,
          "lines have one kind of end");
  std::string_view rest = *rewritten;
  while (!rest.empty()) {
    const auto end = rest.find('\n');
    require(end != rest.npos, "the last line ends too");
    requireApproved(rest.substr(0, end));
    rest.remove_prefix(end + 1);
  }
  return 0;
}
