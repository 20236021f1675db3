#include "base/interned_texts.h"

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "base/never_destroyed.h"

namespace NimboEngine {
namespace {

constexpr std::string_view kEllipsis = "…";

using Slot = std::array<char, kTextBytes>;

struct Texts {
  Mutex mutex;
  std::vector<std::unique_ptr<Slot>> slots NIMBO_GUARDED_BY(mutex);
  std::size_t next NIMBO_GUARDED_BY(mutex) = 0;  // the oldest, once all are in use
};

std::string shortened(std::string_view text) {
  if (text.size() < kTextBytes) return std::string(text);
  std::size_t length = kTextBytes - 1 - kEllipsis.size();
  while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xc0) == 0x80) --length;
  return std::string(text.substr(0, length)).append(kEllipsis);
}

}  // namespace

const char* internText(std::string_view given) {
  static NeverDestroyed<Texts> texts;
  const std::string text = shortened(given);
  const MutexLock lock(texts->mutex);
  for (const auto& slot : texts->slots) {
    if (text == slot->data()) return slot->data();
  }
  if (texts->slots.size() < kMostTexts) {
    texts->next = texts->slots.size();
    texts->slots.push_back(std::make_unique<Slot>());
  }
  char* const place = texts->slots[texts->next]->data();
  std::memcpy(place, text.c_str(), text.size() + 1);
  texts->next = (texts->next + 1) % kMostTexts;
  return place;
}

}  // namespace NimboEngine
