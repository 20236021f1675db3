#include "scripted_sdk/printf_arguments.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ScriptedSdk {

namespace {

// One conversion, from behind its '%' to its letter.
struct Conversion {
  bool starWidth = false;
  bool starPrecision = false;
  int precision = -1;  // -1: none
  std::string length;  // "", "hh", "h", "l", "ll", "z", "j", "t" or "L"
  char letter = '\0';
};

// Reads a number or a star. The result is the number, 0 without digits.
int readExtent(const char*& at, bool& star) {
  star = *at == '*';
  if (star) {
    ++at;
    return 0;
  }
  int extent = 0;
  for (; *at >= '0' && *at <= '9'; ++at) extent = extent * 10 + (*at - '0');
  return extent;
}

// `at` stands behind the '%' and is moved behind the letter, or onto the format's end.
Conversion readConversion(const char*& at) {
  Conversion conversion;
  at += std::strspn(at, "-+ #0");
  readExtent(at, conversion.starWidth);
  if (*at == '.') conversion.precision = readExtent(++at, conversion.starPrecision);
  const size_t length = std::strspn(at, "hlzjtL");
  conversion.length.assign(at, length);
  at += length;
  conversion.letter = *at;
  if (*at) ++at;
  return conversion;
}

// The arguments that have not been read yet.
class Arguments {
 public:
  explicit Arguments(va_list list) { va_copy(list_, list); }
  ~Arguments() { va_end(list_); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  template <class T>
  T next() {
    return va_arg(list_, T);
  }

 private:
  va_list list_;
};

Json signedArgument(const std::string& length, Arguments& arguments) {
  if (length == "l") return arguments.next<long>();
  if (length == "ll") return arguments.next<long long>();
  if (length == "j") return arguments.next<intmax_t>();
  if (length == "z" || length == "t") return arguments.next<ptrdiff_t>();
  return arguments.next<int>();
}

Json unsignedArgument(const std::string& length, Arguments& arguments) {
  if (length == "l") return arguments.next<unsigned long>();
  if (length == "ll") return arguments.next<unsigned long long>();
  if (length == "j") return arguments.next<uintmax_t>();
  if (length == "z" || length == "t") return arguments.next<size_t>();
  return arguments.next<unsigned int>();
}

Json textArgument(int precision, Arguments& arguments) {
  const char* const text = arguments.next<const char*>();
  if (!text || precision < 0) return textJson(text);
  // With a precision the text need not be terminated.
  return textJson(std::string(text, strnlen(text, static_cast<size_t>(precision))).c_str());
}

}  // namespace

Json printfArguments(const char* format, va_list given) {
  Json all = Json::array();
  Arguments arguments(given);
  for (const char* at = format; (at = std::strchr(at, '%'));) {
    const char* const start = at++;
    Conversion conversion = readConversion(at);
    if (conversion.letter == '%') continue;
    if (conversion.starWidth) all.push_back(arguments.next<int>());
    if (conversion.starPrecision) {
      conversion.precision = arguments.next<int>();
      all.push_back(conversion.precision);
    }
    const auto isOneOf = [&](const char* letters) {
      return conversion.letter && std::strchr(letters, conversion.letter);
    };
    if (isOneOf("di")) {
      all.push_back(signedArgument(conversion.length, arguments));
    } else if (isOneOf("uxXo")) {
      all.push_back(unsignedArgument(conversion.length, arguments));
    } else if (isOneOf("fFeEgGaA")) {
      all.push_back(conversion.length == "L" ? static_cast<double>(arguments.next<long double>())
                                             : arguments.next<double>());
    } else if (isOneOf("c")) {
      const char text[] = {static_cast<char>(arguments.next<int>()), '\0'};
      all.push_back(textJson(text));
    } else if (isOneOf("s")) {
      all.push_back(textArgument(conversion.precision, arguments));
    } else if (isOneOf("p")) {
      all.push_back(pointerJson(arguments.next<void*>()));
    } else {
      all.push_back({{"unknown", std::string(start, at)}});
      break;
    }
  }
  return all;
}

}  // namespace ScriptedSdk
