// The scripted results of operations, by type: the default, the check of a result that a test
// gives, and its conversion.
//
// Thread: any.
// Failure: check() throws std::invalid_argument; to() does not throw, its result has been checked.

#pragma once

#include <concepts>

#include "scripted_sdk/call.h"
#include "scripted_sdk/lists.h"
#include "scripted_sdk/values.h"

namespace ScriptedSdk {

template <class Result>
struct Answer;

// Results that are read from the answer and recorded as it is.
template <class Result>
struct PlainAnswer {
  static void check(const Json& answer) { (void)Answer<Result>::read(answer); }
  static Result to(Call call) {
    const Json answer = call.answer();
    call.recordResult(answer);
    return Answer<Result>::read(answer);
  }
};

template <std::integral Number>
struct Answer<Number> : PlainAnswer<Number> {
  static Json initial() { return Number{}; }
  static Number read(const Json& answer) {
    const Json object = {{"answer", answer}};
    Fields fields(object, "answer");
    Number number{};
    readField(fields, "answer", number);
    return number;
  }
};

template <>
struct Answer<LumoRtc::String> : PlainAnswer<LumoRtc::String> {
  static Json initial() { return ""; }
  static LumoRtc::String read(const Json& answer) { return makeString(readText(answer)); }
};

template <>
struct Answer<const char*> : PlainAnswer<const char*> {
  static Json initial() { return ""; }
  static const char* read(const Json& answer) { return immortalText(readText(answer)); }
};

// Any of the record's fields, the others 0.
template <IsRecord Record>
struct Answer<Record> {
  static Json initial() { return Json::object(); }
  static void check(const Json& answer) { (void)readRecord<Record>(answer); }
  static Record to(Call call) {
    const auto record = readRecord<Record>(call.answer());
    call.recordResult(toJson(record));
    return record;
  }
};

// An array as lists.h describes it, or null. `List` is the class that implements the interface's.
template <class Interface, class List>
struct ListAnswer {
  static Json initial() { return Json::array(); }
  static void check(const Json& answer) {
    if (!answer.is_null()) (void)List::read(answer);
  }
  static Interface* to(Call call) {
    const Json answer = call.answer();
    Interface* const list = answer.is_null() ? nullptr : List::give(List::read(answer), call);
    call.recordResult(pointerJson(list));
    return list;
  }
};

template <>
struct Answer<LumoRtc::LumoLiveDeviceList*> : ListAnswer<LumoRtc::LumoLiveDeviceList, DeviceList> {
};
template <>
struct Answer<LumoRtc::LumoLiveScreenSourceList*>
    : ListAnswer<LumoRtc::LumoLiveScreenSourceList, ScreenSourceList> {};

// The creation of an object: "new", or null to let it fail.
template <class Object>
struct Answer<Object*> {
  static Json initial() { return "new"; }
  static void check(const Json& answer) {
    if (!answer.is_null() && answer != "new") {
      throw std::invalid_argument("must be null or \"new\"");
    }
  }
};

template <>
struct Answer<void> {
  static Json initial() { return nullptr; }
  static void check(const Json&) { throw std::invalid_argument("the operation has no result"); }
  static void to(const Call&) {}
};

}  // namespace ScriptedSdk
