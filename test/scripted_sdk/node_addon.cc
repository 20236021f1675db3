// The bridge between JavaScript and the scripted SDK's control(): texts in, texts out.
//
// Plain Node-API, so that one build suits every version of Node. Thread: JavaScript.

#include <node_api.h>

#include <sstream>
#include <string>

#include "scripted_sdk/control.h"

namespace {

napi_value throwTypeError(napi_env env, const char* message) {
  napi_throw_type_error(env, nullptr, message);
  return nullptr;
}

napi_value firstArgument(napi_env env, napi_callback_info info) {
  size_t count = 1;
  napi_value argument = nullptr;
  napi_get_cb_info(env, info, &count, &argument, nullptr, nullptr);
  return argument;
}

napi_value makeText(napi_env env, const std::string& text) {
  napi_value result = nullptr;
  napi_create_string_utf8(env, text.data(), text.size(), &result);
  return result;
}

// control(request: string): string
napi_value control(napi_env env, napi_callback_info info) {
  const napi_value argument = firstArgument(env, info);
  size_t length = 0;
  if (napi_get_value_string_utf8(env, argument, nullptr, 0, &length) != napi_ok) {
    return throwTypeError(env, "control: expected a string");
  }
  std::string request(length + 1, '\0');  // room for the terminator that is always written
  napi_get_value_string_utf8(env, argument, request.data(), request.size(), &length);
  request.resize(length);
  return makeText(env, ScriptedSdk::control(request));
}

// addressOf(buffer: Buffer): string, the pointer to the bytes as the records show pointers
napi_value addressOf(napi_env env, napi_callback_info info) {
  napi_value argument = firstArgument(env, info);
  bool isBuffer = false;
  // Checked before: Node 18 aborts on anything else instead of refusing it.
  if (napi_is_buffer(env, argument, &isBuffer) != napi_ok || !isBuffer) {
    return throwTypeError(env, "addressOf: expected a Buffer");
  }
  void* data = nullptr;
  napi_get_buffer_info(env, argument, &data, nullptr);
  std::ostringstream text;
  text << data;
  return makeText(env, text.str());
}

void exportFunction(napi_env env, napi_value exports, const char* name, napi_callback callback) {
  napi_value function = nullptr;
  napi_create_function(env, name, NAPI_AUTO_LENGTH, callback, nullptr, &function);
  napi_set_named_property(env, exports, name, function);
}

napi_value initialize(napi_env env, napi_value exports) {
  exportFunction(env, exports, "control", control);
  exportFunction(env, exports, "addressOf", addressOf);
  return exports;
}

}  // namespace

NAPI_MODULE(scripted_sdk_control, initialize)
