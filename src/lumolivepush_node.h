// The module's entry point, which the runtime calls when it loads the add-on.

#pragma once

#include <node.h>

namespace LumoLivePushElectronSDK {

// Fills the module's exports: the class LumoLivePushJSWrapper and the factory createLivePush.
//
// Thread: the main thread. Loading on any other (a worker's) throws a JavaScript error: events are
//   delivered on libuv's default loop, so a second isolate would be called on the wrong thread.
void Initialize(v8::Local<v8::Object> exports, v8::Local<v8::Value> module,
                v8::Local<v8::Context> context);

// The export `createLivePush`.
void CreateLivePush(const v8::FunctionCallbackInfo<v8::Value>& args);

}  // namespace LumoLivePushElectronSDK
