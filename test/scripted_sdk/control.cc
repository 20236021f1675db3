#include "scripted_sdk/control.h"

#include <map>

#include "scripted_sdk/fire.h"
#include "scripted_sdk/lists.h"
#include "scripted_sdk/mix_stream_array.h"
#include "scripted_sdk/objects.h"
#include "scripted_sdk/recorder.h"
#include "scripted_sdk/registry.h"
#include "scripted_sdk/script.h"
#include "scripted_sdk/strings.h"
#include "scripted_sdk/threads.h"

namespace ScriptedSdk {

namespace {

const Operation& readOperation(Fields& fields) {
  return findOperation(fields.name("operation"));
}

// {"operation", "answers": […], "once"}: with "once" the answers are queued, else the only one
// stands until the next reset.
Json answer(Fields& fields) {
  const Operation& operation = readOperation(fields);
  const Json& answers = fields.required("answers");
  const bool once = fields.boolean("once", false);
  for (const Json& value : answers) checkAnswer(operation, value);
  for (const Json& value : answers) {
    if (once) {
      script().queueAnswer(operation, value);
    } else {
      script().setStandingAnswer(operation, value);
    }
  }
  return nullptr;
}

// {"operation", "fires": […], "times"}
Json onCall(Fields& fields) {
  const Operation& operation = readOperation(fields);
  std::vector<Script::Action> actions;
  for (const Json& value : fields.required("fires")) {
    actions.emplace_back([fire = Fire::read(value)] { return fire.perform(); });
  }
  script().onCall(operation, std::move(actions), fields.number<int32_t>("times", 1));
  return nullptr;
}

// The living objects, independent of any reset.
Json alive(Fields&) {
  return {{"strings", stringsAlive()},
          {"arrays", mixStreamArraysAlive()},
          {"screenLists", ScreenSourceList::unreleased()},
          {"pushers", Registry<Pusher>::instance().living()},
          {"players", Registry<Player>::instance().living()}};
}

Json forget(Fields&) {
  recorder().forget();
  return nullptr;
}

// Living objects stay usable; destroyed ones are freed now.
Json reset(Fields&) {
  settleNativeThreads();
  script().forget();
  recorder().recordStrings(false);
  recorder().forget();
  ScreenSourceList::forgetReleased();
  Registry<Pusher>::instance().forgetRetired();
  Registry<Player>::instance().forgetRetired();
  return nullptr;
}

Json recordStrings(Fields& fields) {
  recorder().recordStrings(fields.boolean("on", true));
  return nullptr;
}

Json settle(Fields&) {
  settleNativeThreads();
  return nullptr;
}

Json names(Fields&) {
  Json all = Json::array();
  for (const Operation& operation : operations()) all.push_back(operation.name);
  return {{"operations", all}, {"callbacks", callbackNames()}};
}

Json perform(Fields& fields) {
  static const auto& handlers = *new std::map<std::string, Json (*)(Fields&)>{
      {"records", [](Fields&) { return recorder().entries(); }},
      {"recordStrings", recordStrings},
      {"forget", forget},
      {"reset", reset},
      {"alive", alive},
      {"lateCalls", [](Fields&) { return Json(recorder().lateCalls()); }},
      {"answer", answer},
      {"onCall", onCall},
      {"fire", [](Fields& f) { return Fire::read(f.required("fire")).perform(); }},
      {"start", [](Fields& f) { return Json(startBurst(f.required("lanes"))); }},
      {"collect", [](Fields& f) { return collectBurst(f.number<uint64_t>("ticket", 0)); }},
      {"settle", settle},
      {"names", names},
  };
  const auto op = fields.name("op");
  const auto handler = handlers.find(op);
  if (handler == handlers.end()) fields.refuse("no operation '" + op + "'");
  return handler->second(fields);
}

}  // namespace

std::string control(const std::string& request) noexcept {
  try {
    const Json object = Json::parse(request);
    Fields fields(object, "request");
    const Json value = perform(fields);
    fields.finish();
    return Json{{"value", value}}.dump();
  } catch (const std::exception& error) {
    return Json{{"error", error.what()}}.dump(-1, ' ', false, Json::error_handler_t::replace);
  }
}

}  // namespace ScriptedSdk
