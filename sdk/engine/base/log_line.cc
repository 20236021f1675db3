#include "base/log_line.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <iterator>

#include "base/redaction.h"

namespace NimboEngine {
namespace {

constexpr std::array<std::string_view, 6> kLevels = {"trace", "debug",   "verbose",
                                                     "info",  "warning", "error"};

std::string_view nameOfFile(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

bool isControl(unsigned char byte) {
  return byte < 0x20 || byte == 0x7f;
}

void appendControl(std::string& out, unsigned char byte) {
  switch (byte) {
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      fmt::format_to(std::back_inserter(out), "\\x{:02x}", byte);
  }
}

// U+0080 to U+009F, and the separators of lines and paragraphs U+2028 and U+2029, which log viewers
// may treat as line ends; 0 for anything else.
unsigned codeOfSeparator(std::string_view text) {
  const auto byte = [text](std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
  };
  if (byte(0) == 0xc2 && byte(1) >= 0x80 && byte(1) < 0xa0) return byte(1);
  if (byte(0) == 0xe2 && byte(1) == 0x80 && (byte(2) == 0xa8 || byte(2) == 0xa9)) {
    return 0x2000 + (byte(2) & 0x3fU);
  }
  return 0;
}

}  // namespace

std::string logText(std::string_view given) {
  const std::string text = redact(given);
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (isControl(byte)) {
      appendControl(out, byte);
    } else if (const unsigned code = codeOfSeparator(std::string_view(text).substr(at))) {
      fmt::format_to(std::back_inserter(out), "\\u{:04x}", code);
      at += code < 0x100 ? 2 : 3;
      continue;
    } else {
      out += text[at];
    }
    ++at;
  }
  return out.substr(0, kLongestText);
}

std::string logLine(int level, const char* tag, const LogSite& site, std::string_view text) {
  using namespace std::chrono;
  const auto now = system_clock::now();
  const std::time_t seconds = system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&seconds, &local);
  const auto milliseconds = duration_cast<std::chrono::milliseconds>(now.time_since_epoch()) % 1000;
  const auto number = static_cast<std::size_t>(std::clamp(level, 0, int{kLevels.size()} - 1));
  return fmt::format("{:%Y-%m-%d %H:%M:%S}.{:03} [{}] [{}] [{}] {}:{} {} {}\n", local,
                     milliseconds.count(), kLevels.at(number), tag, gettid(), nameOfFile(site.file),
                     site.line, site.function, logText(text));
}

}  // namespace NimboEngine
