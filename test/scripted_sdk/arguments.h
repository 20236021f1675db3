// The arguments of callbacks, by type: how a test gives them, and what the listener gets.
//
// Argument<Type> reads one from the test's fields. on(object) creates the value for the duration of
// the callback: get() is passed on, and report() adds to the result afterwards.
//
// Thread: an argument may be used by several threads at once.
// Failure: reading throws std::invalid_argument.

#pragma once

#include <memory>
#include <vector>

#include "NimboSdk/LumoLivePusher.h"
#include "scripted_sdk/frame.h"
#include "scripted_sdk/temporary.h"
#include "scripted_sdk/values.h"

namespace ScriptedSdk {

template <class Value>
struct LiveValue {
  Value value;
  Value get() const { return value; }
  static void report(Json&) {}
};

// Memory that is overwritten after the callback has returned.
template <class Item>
struct LiveMemory {
  std::unique_ptr<Temporary<Item>> memory;
  Item* get() const { return memory->get(); }
  static void report(Json&) {}
};

// Numbers and enumerations, 0 when absent.
template <class Type>
class Argument {
 public:
  Argument(Fields& fields, const char* name) { readField(fields, name, value_); }
  template <class Object>
  LiveValue<Type> on(Object&) const {
    return {value_};
  }

 private:
  Type value_{};
};

// The pusher or the player: the object itself, unless the test gives another pointer.
template <class Interface>
class ObjectArgument {
 public:
  ObjectArgument(Fields& fields, const char* name) : given_(fields.has(name)) {
    pointer_ = fields.pointer(name, nullptr);
  }
  LiveValue<Interface*> on(Interface& object) const {
    return {given_ ? static_cast<Interface*>(pointer_) : &object};
  }

 private:
  bool given_;
  void* pointer_;
};

template <>
class Argument<LumoRtc::LumoLivePusher*> : public ObjectArgument<LumoRtc::LumoLivePusher> {
  using ObjectArgument::ObjectArgument;
};
template <>
class Argument<LumoRtc::LumoLivePlayer*> : public ObjectArgument<LumoRtc::LumoLivePlayer> {
  using ObjectArgument::ObjectArgument;
};

template <>
class Argument<const char*> {
 public:
  Argument(Fields& fields, const char* name) : text_(fields.text(name, "")) {}
  template <class Object>
  LiveMemory<char> on(Object&) const {
    return {std::make_unique<Temporary<char>>(text_)};
  }

 private:
  Text text_;
};

template <>
class Argument<LumoRtc::String> {
 public:
  Argument(Fields& fields, const char* name) : text_(fields.text(name, "")) {}
  template <class Object>
  LiveValue<LumoRtc::String> on(Object&) const {
    return {makeString(text_)};
  }

 private:
  Text text_;
};

// A record: its fields are among the test's own. Its texts are valid for the life of the process.
template <IsRecord Record>
class Argument<Record> {
 public:
  Argument(Fields& fields, const char*) {
    visitFields(record_, [&](const char* key, auto& field) { readField(fields, key, field); });
  }
  template <class Object>
  LiveValue<Record> on(Object&) const {
    return {record_};
  }

 private:
  Record record_;
};

// An error's text is valid only during the callback.
template <>
class Argument<LumoRtc::LumoLivePushError> {
 public:
  Argument(Fields& fields, const char*) : code_(fields, "code"), text_(fields, "msg") {}

  struct Live {
    int32_t code;
    LiveMemory<char> text;
    LumoRtc::LumoLivePushError get() const { return {code, text.get()}; }
    static void report(Json&) {}
  };
  template <class Object>
  Live on(Object& object) const {
    return {code_.on(object).get(), text_.on(object)};
  }

 private:
  Argument<int32_t> code_;
  Argument<const char*> text_;
};

// An array of records; an absent or empty one is a null pointer.
template <IsRecord Record>
class Argument<const Record*> {
 public:
  Argument(Fields& fields, const char* name) {
    if (!fields.has(name)) return;
    for (const Json& record : fields.required(name)) all_.push_back(readRecord<Record>(record));
  }
  template <class Object>
  LiveMemory<Record> on(Object&) const {
    return {std::make_unique<Temporary<Record>>(all_)};
  }

 private:
  std::vector<Record> all_;
};

// A frame, see frame.h; with "readBack" the result shows its state after the listener.
template <>
class Argument<LumoRtc::LumoLiveVideoRawData&> {
 public:
  Argument(Fields& fields, const char* name)
      : description_(
            std::make_shared<FrameDescription>(FrameDescription::read(fields.required(name)))),
        readBack_(fields.boolean("readBack", false)) {}

  struct Live {
    std::unique_ptr<unsigned char[]> pixels;
    LumoRtc::LumoLiveVideoRawData frame;
    size_t size;
    bool readBack;
    LumoRtc::LumoLiveVideoRawData& get() { return frame; }
    void report(Json& result) const {
      if (readBack) result["frame"] = frameJson(frame, pixels.get(), size);
    }
  };
  template <class Object>
  Live on(Object&) const {
    auto pixels = description_->paint();
    const auto frame = description_->frame(pixels.get());
    return {std::move(pixels), frame, description_->size(), readBack_};
  }

 private:
  std::shared_ptr<const FrameDescription> description_;
  bool readBack_;
};

}  // namespace ScriptedSdk
