// A module for tests: the add-on's class once more, and ways to what JavaScript has no way to.
// Compiled without access control.

#include <node.h>

#include <string>

#include "wrapper/lumolivelistener_js_wrapper.h"
#include "wrapper/lumolivepush_js_wrapper.h"

namespace {

using LumoLivePushElectronSDK::LumoLivePushJSWrapper;
using Arguments = v8::FunctionCallbackInfo<v8::Value>;

LumoLivePushJSWrapper& WrapperAt(const Arguments& args, int index) {
  return *node::ObjectWrap::Unwrap<LumoLivePushJSWrapper>(args[index].As<v8::Object>());
}

// (wrapper): gives it a new pusher, which one without the acquisition flag cannot come by itself.
void GivePusher(const Arguments& args) {
  WrapperAt(args, 0).mLivePusher = LumoRtc::LumoLivePusher::Create("given");
}

// (wrapper, name)
void RemoveEventListener(const Arguments& args) {
  const v8::String::Utf8Value name(args.GetIsolate(), args[1]);
  WrapperAt(args, 0).mEventListener->RemoveEventListener(*name);
}

void Initialize(v8::Local<v8::Object> exports, v8::Local<v8::Value>, v8::Local<v8::Context>) {
  LumoLivePushJSWrapper::Init(exports);
  NODE_SET_METHOD(exports, "givePusher", GivePusher);
  NODE_SET_METHOD(exports, "removeEventListener", RemoveEventListener);
}

}  // namespace

NODE_MODULE_CONTEXT_AWARE(wrapper_probe, Initialize)
