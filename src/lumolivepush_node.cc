#include "lumolivepush_node.h"

#include <uv.h>

#include "utils/type_converter.h"
#include "wrapper/lumolivepush_js_wrapper.h"

namespace LumoLivePushElectronSDK {

void CreateLivePush(const v8::FunctionCallbackInfo<v8::Value>& args) {
  LumoLivePushJSWrapper::CreateLivePush(args);
}

void Initialize(v8::Local<v8::Object> exports, v8::Local<v8::Value> /*module*/,
                v8::Local<v8::Context> context) {
  auto* isolate = v8::Isolate::GetCurrent();
  if (node::GetCurrentEventLoop(isolate) != uv_default_loop()) {
    isolate->ThrowException(v8::Exception::Error(TypeConverterUtils::CreateStringParam(
        isolate,
        "lumolivepush_electron_sdk works on the main thread only, not in a worker thread")));
    return;
  }
  if (!LumoLivePushJSWrapper::Init(exports)) return;
  const auto name = TypeConverterUtils::CreateStringParam(isolate, "createLivePush");
  v8::Local<v8::Function> function;
  const auto factory = v8::FunctionTemplate::New(isolate, CreateLivePush);
  if (!factory->GetFunction(context).ToLocal(&function)) return;  // it throws
  function->SetName(name);
  [[maybe_unused]] const auto set = exports->Set(context, name, function);  // or it throws
}

}  // namespace LumoLivePushElectronSDK

NODE_MODULE_CONTEXT_AWARE(lumolivepush_electron_sdk, LumoLivePushElectronSDK::Initialize)

// Registration happens once, when the library is loaded. A refused worker's registration is undone,
// but the library stays loaded; later loads enter through this symbol.
extern "C" NODE_MODULE_EXPORT void NODE_MODULE_INITIALIZER(v8::Local<v8::Object> exports,
                                                           v8::Local<v8::Value> module,
                                                           v8::Local<v8::Context> context) {
  LumoLivePushElectronSDK::Initialize(exports, module, context);
}
