// Memory that is valid only during a callback, and overwritten afterwards: code that has kept a
// pointer into it instead of a copy reads something else.
//
// Thread: one owner at a time.

#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "scripted_sdk/json_values.h"

namespace ScriptedSdk {

template <class Item>
class Temporary {
 public:
  explicit Temporary(std::vector<Item> items) : items_(std::move(items)) {}
  explicit Temporary(const Text& text) requires std::is_same_v<Item, char> {
    if (text) items_.assign(text->c_str(), text->c_str() + text->size() + 1);
  }
  ~Temporary() {
    // volatile: the compiler must not drop writes to memory that is about to be freed.
    auto* bytes = reinterpret_cast<volatile unsigned char*>(items_.data());
    for (size_t i = 0; i < items_.size() * sizeof(Item); ++i) bytes[i] = '#';
  }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  // Null if it was created from a null text or from no items.
  Item* get() { return items_.empty() ? nullptr : items_.data(); }

 private:
  static_assert(std::is_trivially_destructible_v<Item>);
  std::vector<Item> items_;
};

}  // namespace ScriptedSdk
