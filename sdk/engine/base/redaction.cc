#include "base/redaction.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace NimboEngine {
namespace {

using View = std::string_view;

constexpr View kHidden = "…";
constexpr std::size_t kShortestSecret = 6;
constexpr std::size_t kShortestToken = 20;
// How far behind a URL its closing quotation mark is searched for.
constexpr std::size_t kLongestQuotation = 8192;
constexpr View kDelimiters = ":/?#@&=";

// Values behind "name=" or "name":
constexpr View kSecretNames[] = {"passphrase", "password", "passwd",   "streamid",
                                 "token",      "secret",   "signature"};
// Whole lines behind "name:".
constexpr View kSecretHeaders[] = {"authorization", "cookie"};

constexpr std::pair<View, View> kQuotations[] = {{"\"", "\""}, {"'", "'"}, {"`", "`"},
                                                 {"“", "”"},   {"‘", "’"}, {"<", ">"}};

bool isAlphanumeric(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0;
}

bool isSchemeCharacter(char character) {
  return isAlphanumeric(character) || character == '+' || character == '-' || character == '.';
}

bool isSpace(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code <= ' ' || code == 0x7f;
}

// The character at a position of a URL: a delimiter, in any of its encodings, or 0 for anything
// else.
struct Symbol {
  char delimiter = 0;
  std::size_t length = 1;
};

int hexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  const char lower = static_cast<char>(character | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

Symbol symbolAt(View text, std::size_t at) {
  if (text[at] == '\\' && text.substr(at + 1, 1) == "/") return {'/', 2};
  if (text[at] != '%') return {kDelimiters.find(text[at]) == View::npos ? '\0' : text[at], 1};
  std::size_t code = at + 1;
  while (text.substr(code, 2) == "25") code += 2;  // encoded more than once
  if (code + 2 > text.size()) return {};
  const int value = hexDigit(text[code]) * 16 + hexDigit(text[code + 1]);
  const bool known = value > 0 && kDelimiters.find(static_cast<char>(value)) != View::npos;
  return known ? Symbol{static_cast<char>(value), code + 2 - at} : Symbol{};
}

// Returns the length of "://" at a position, 0 if there is none.
std::size_t separatorAt(View text, std::size_t at) {
  std::size_t length = 0;
  for (const char wanted : {':', '/', '/'}) {
    if (at + length >= text.size()) return 0;
    const Symbol symbol = symbolAt(text, at + length);
    if (symbol.delimiter != wanted) return 0;
    length += symbol.length;
  }
  return length;
}

std::size_t findSymbol(View text, View delimiters, std::size_t at = 0) {
  while (at < text.size()) {
    const Symbol symbol = symbolAt(text, at);
    if (symbol.delimiter && delimiters.find(symbol.delimiter) != View::npos) return at;
    at += symbol.length;
  }
  return text.size();
}

// Returns the position after the last "@", 0 if there is none.
std::size_t behindUser(View text) {
  std::size_t found = 0;
  for (std::size_t at = findSymbol(text, "@"); at < text.size();
       at = findSymbol(text, "@", found)) {
    found = at + symbolAt(text, at).length;
  }
  return found;
}

void appendPart(std::string& out, View part, bool last) {
  const bool token = part.size() >= kShortestToken || findSymbol(part, "=:") < part.size();
  out += !part.empty() && (last || token) ? kHidden : part;
}

void appendPath(std::string& out, View path, bool lastIsSecret) {
  std::size_t end = path.size();  // of the last part that is not empty
  while (end > 0 && path[end - 1] == '/') --end;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t slash = findSymbol(path, "/", at);
    appendPart(out, path.substr(at, slash - at), lastIsSecret && slash >= end);
    if (slash == path.size()) return;
    at = slash + symbolAt(path, slash).length;
    out += path.substr(slash, at - slash);
  }
}

bool isParameterName(View name) {
  return name.size() < kShortestToken && std::ranges::all_of(name, [](char character) {
           return isSchemeCharacter(character) || character == '_';
         });
}

// `query` begins with "?".
void appendQuery(std::string& out, View query) {
  for (std::size_t at = 0; at < query.size();) {
    const std::size_t begin = at + symbolAt(query, at).length;
    out += query.substr(at, begin - at);
    at = findSymbol(query, "&", begin);
    const View parameter = query.substr(begin, at - begin);
    const std::size_t equals = findSymbol(parameter, "=");
    if (parameter.empty()) continue;
    if (equals < parameter.size() && isParameterName(parameter.substr(0, equals))) {
      out += parameter.substr(0, equals + symbolAt(parameter, equals).length);
    }
    out += kHidden;
  }
}

// Checks for host and port. Anything else behind ":" is the beginning of a password.
bool isAuthority(View text) {
  const std::size_t bracket = text.rfind(']');
  const std::size_t colon = findSymbol(text, ":", bracket == View::npos ? 0 : bracket);
  if (colon == text.size()) return true;
  const View port = text.substr(colon + symbolAt(text, colon).length);
  return port == kHidden || (port.size() <= 5 && std::ranges::all_of(port, [](char character) {
                               return character >= '0' && character <= '9';
                             }));
}

// `url` is the part after "://". One that is `cut` may end within any of its components.
void appendUrl(std::string& out, View url, bool cut) {
  const std::size_t queryAt = findSymbol(url, "?#");
  View rest = url.substr(0, queryAt);
  if (const std::size_t host = behindUser(rest); host > 0) {
    out += kHidden;
    out += '@';
    rest.remove_prefix(host);
  }
  const View authority = rest.substr(0, findSymbol(rest, "/"));
  const bool whole = !cut || authority.size() < rest.size() || queryAt < url.size();
  const bool port = findSymbol(authority, ":") < authority.size();
  if (!isAuthority(authority)) {  // a user without a host, followed by anything
    out += kHidden;
    return;
  }
  out += !whole && port ? authority.substr(0, findSymbol(authority, ":")) : authority;
  if (!whole && port) out += ":…";
  appendPath(out, rest.substr(authority.size()), true);
  const std::size_t fragmentAt = findSymbol(url, "#", queryAt);
  appendQuery(out, url.substr(queryAt, fragmentAt - queryAt));
  if (fragmentAt == url.size()) return;
  out += '#';
  out += kHidden;
}

// Returns the end of the URL that begins at `at`, its scheme at `scheme`.
std::size_t endOfUrl(View text, std::size_t scheme, std::size_t at) {
  for (const auto& [open, close] : kQuotations) {
    if (!text.substr(0, scheme).ends_with(open)) continue;
    const View quotation = text.substr(at, kLongestQuotation);
    const std::size_t end = quotation.find(close);
    if (end != View::npos && quotation.substr(0, end).find('\n') == View::npos) return at + end;
  }
  std::size_t end = at;
  while (end < text.size() && !isSpace(text[end])) ++end;
  if (end == text.size()) return end;  // it may have been cut off: its end is unknown
  while (end > at && View(").,;:!]}>'\"`").find(text[end - 1]) != View::npos) --end;
  return end;
}

bool startsWithIgnoringCase(View text, View lower) {
  return text.size() >= lower.size() &&
         std::equal(lower.begin(), lower.end(), text.begin(), [](char wanted, char given) {
           return wanted == std::tolower(static_cast<unsigned char>(given));
         });
}

template <std::size_t count>
std::size_t nameAt(View text, const View (&names)[count]) {
  for (const View name : names) {
    if (startsWithIgnoringCase(text, name)) return name.size();
  }
  return 0;
}

std::size_t skip(View text, std::size_t at, View characters) {
  return std::min(text.find_first_not_of(characters, at), text.size());
}

struct Secret {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// Returns the value of the secret whose name `text` begins with; empty if there is none.
Secret secretAt(View text) {
  if (const std::size_t name = nameAt(text, kSecretHeaders); name && text.substr(name, 1) == ":") {
    return {skip(text, name + 1, " \t"), std::min(text.find_first_of("\r\n"), text.size())};
  }
  const std::size_t name = nameAt(text, kSecretNames);
  const std::size_t sign = skip(text, name, "\"' ");
  if (name == 0 || sign == text.size()) return {};
  const bool json = sign > name && text[sign] == ':';
  if (text[sign] != '=' && !json) return {};
  const std::size_t begin = skip(text, sign + 1, " \"'");
  const bool quoted = text[begin - 1] == '"' || text[begin - 1] == '\'';
  const View ends = quoted ? "\"'\n" : " \t\r\n&\"'";
  return {begin, std::min(text.find_first_of(ends, begin), text.size())};
}

}  // namespace

std::string redact(View text) {
  text = text.substr(0, kLongestText);
  std::string out;
  out.reserve(text.size());
  std::size_t scheme = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (const std::size_t separator = separatorAt(text, at); separator > 0) {
      out += text.substr(at, separator);
      const bool file = text.substr(scheme, at - scheme) == "file";
      at += separator;
      if (!file) {
        const std::size_t end = endOfUrl(text, scheme, at);
        appendUrl(out, text.substr(at, end - at), end == text.size());
        at = end;
      }
      scheme = at;
      continue;
    }
    if (at == 0 || !isAlphanumeric(text[at - 1])) {
      const Secret secret = secretAt(text.substr(at));
      if (secret.end > secret.begin) {
        out += text.substr(at, secret.begin);
        out += kHidden;
        scheme = at += secret.end;
        continue;
      }
    }
    if (!isSchemeCharacter(text[at])) scheme = at + 1;
    out += text[at++];
  }
  return out.substr(0, kLongestText);
}

std::string redact(View text, View secret) {
  if (secret.size() < kShortestSecret) return redact(text);
  std::string without;
  for (std::size_t at = 0;;) {
    const std::size_t found = std::min(text.find(secret, at), text.size());
    without += text.substr(at, found - at);
    if (found == text.size()) return redact(without);
    without += kHidden;
    at = found + secret.size();
  }
}

std::string redactPath(View path) {
  std::string out;
  const std::size_t behind = behindUser(path);
  if (behind > 0) out = "…@";
  appendPath(out, path.substr(behind), false);
  return out;
}

}  // namespace NimboEngine
