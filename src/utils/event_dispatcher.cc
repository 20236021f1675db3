#include "utils/event_dispatcher.h"

#include "utils/lumolivepush_js_define.h"
#include "utils/video_render_data_cache.h"

namespace LumoLivePushElectronSDK {

void EventDispatcher::AddEventListener(const std::string& name,
                                       v8::Persistent<v8::Object>& receiver,
                                       v8::Persistent<v8::Function>& callback) {
  auto* isolate = v8::Isolate::GetCurrent();
  auto* record = new ListenerRecord;  // never released, see the header
  record->callback.Reset(isolate, callback);
  record->receiver.Reset(isolate, receiver);
  mListeners[name] = record;
  if (name == Event_VideoRenderData) VideoRenderDataManager::GetInstance()->Start();
}

void EventDispatcher::RemoveEventListener(const std::string& name) {
  mListeners.erase(name);
}

bool EventDispatcher::HasEventListener(const std::string& name) const {
  return mListeners.contains(name);
}

void EventDispatcher::DispatchEvent(const std::string& name, int argc, v8::Local<v8::Value>* argv) {
  const auto found = mListeners.find(name);
  if (found == mListeners.end()) return;
  auto* isolate = v8::Isolate::GetCurrent();
  const v8::HandleScope scope(isolate);
  const auto callback = found->second->callback.Get(isolate);
  const auto receiver = found->second->receiver.Get(isolate);
  // The scope settles promises and ticks when it ends, and reports an exception as uncaught.
  const node::CallbackScope callback_scope(isolate, receiver, node::async_context{0, 0});
  [[maybe_unused]] const auto result =
      callback->Call(isolate->GetCurrentContext(), receiver, argc, argv);
}

}  // namespace LumoLivePushElectronSDK
