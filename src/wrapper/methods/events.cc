// addEventListener.

#include <system_error>

#include "wrapper/lumolivelistener_js_wrapper.h"
#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {

void LumoLivePushJSWrapper::AddEventListener(const Arguments& args) {
  SetResult(args, false);
  if (args.Length() != 2 || !args[0]->IsString() || !args[1]->IsFunction()) {
    NotifyError(args, kInvalidParam);
    return LogFailure(LUMO_HERE, "%s: invaild param", __func__);
  }
  const std::string name = StringAt(args, 0);
  // The listener that owns the dispatcher is created together with the pusher.
  if (!GetPusherInstance(args)) return FailWithoutPusher(args, LUMO_HERE, kListenerNeedsPusher);
  auto* isolate = args.GetIsolate();
  v8::Persistent<v8::Function> callback(isolate, args[1].As<v8::Function>());
  v8::Persistent<v8::Object> receiver(isolate, args.This());
  auto* wrapper = Find(args);
  if (wrapper && wrapper->mEventListener) {
    try {
      wrapper->mEventListener->AddEventListener(name, receiver, callback);
    } catch (const std::system_error& error) {
      // Registered all the same: the next registration of a listener for frames tries again.
      LogFailure(LUMO_HERE, "no thread for %s: %s", name.c_str(), error.what());
    }
    SetResult(args, true);
  }
  callback.Reset();
  receiver.Reset();
}

}  // namespace LumoLivePushElectronSDK
