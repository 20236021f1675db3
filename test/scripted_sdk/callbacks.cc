#include "scripted_sdk/callbacks.h"

#include <array>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "scripted_sdk/arguments.h"
#include "scripted_sdk/objects.h"
#include "scripted_sdk/registry.h"

namespace ScriptedSdk {

namespace {

using Parser = std::function<Callback(Fields&, const Aim&)>;

// Makes a callback through a listener of the object aimed at. `use` gets the listener, the object,
// and the result to add to.
template <class Object, class Listener, class Use>
Json deliver(const Aim& aim, const Use& use) {
  const auto object = Registry<Object>::instance().find(aim.target);
  if (!object) {
    return {{"delivered", false}, {"reason", std::string("no ") + Object::kArgument}};
  }
  Json result = {{"delivered", true}};
  auto& slot = object->listeners.template slot<Listener>();
  const bool delivered =
      slot.call(aim.through, [&](Listener& listener) { use(listener, *object, result); });
  if (!delivered) return {{"delivered", false}, {"reason", "no listener"}};
  return result;
}

template <class Listener, class Result, class... Types, class Object>
void make(Result (Listener::*operation)(Types...), const std::tuple<Argument<Types>...>& arguments,
          Listener& listener, Object& object, Json& result) {
  std::apply(
      [&](const auto&... argument) {
        std::tuple living(argument.on(object)...);
        std::apply(
            [&](auto&... one) {
              if constexpr (std::is_void_v<Result>) {
                (listener.*operation)(one.get()...);
              } else {
                result["result"] = (listener.*operation)(one.get()...);
              }
              (one.report(result), ...);
            },
            living);
      },
      arguments);
}

// A callback whose arguments a test gives under `names`.
template <class Object, class Listener, class Result, class... Types>
Parser callback(Result (Listener::*operation)(Types...),
                const std::array<const char*, sizeof...(Types)>& names) {
  return [=](Fields& fields, const Aim& aim) -> Callback {
    const auto arguments = std::apply(
        [&](auto... name) {
          return std::make_shared<const std::tuple<Argument<Types>...>>(
              Argument<Types>(fields, name)...);
        },
        names);
    return [=] {
      return deliver<Object, Listener>(aim, [&](Listener& listener, Object& object, Json& result) {
        make(operation, *arguments, listener, object, result);
      });
    };
  };
}

using Parsers = std::map<std::string, Parser>;

const Parsers& parsers() {
  static const auto& all = *new Parsers{
#include "generated/scripted_sdk/callbacks.inc"
  };
  return all;
}

}  // namespace

Callback readCallback(const std::string& name, Fields& arguments, const Aim& aim) {
  const bool whole = name.find('.') != std::string::npos;
  const auto onPusher = parsers().find(whole ? name : "pusher." + name);
  const auto onPlayer = whole ? parsers().end() : parsers().find("player." + name);
  if (onPusher != parsers().end() && onPlayer != parsers().end()) {
    arguments.refuse("'" + name + "' may be " + onPusher->first + " or " + onPlayer->first);
  }
  const auto found = onPusher != parsers().end() ? onPusher : onPlayer;
  if (found == parsers().end()) arguments.refuse("no callback '" + name + "'");
  return found->second(arguments, aim);
}

Json callbackNames() {
  Json names = Json::array();
  for (const auto& [name, parser] : parsers()) names.push_back(name);
  return names;
}

}  // namespace ScriptedSdk
