// Calls the JavaScript function that was registered for an event's name.
//
// Thread: the JavaScript thread only; there is no lock.
// Ownership: holds the function and its receiver strongly. A replaced or removed record is not
//   released, nor are the records when the dispatcher ends: they live as long as the process.
// Failure: an event without a listener is dropped silently.

#pragma once

#include <node.h>

#include <map>
#include <string>

namespace LumoLivePushElectronSDK {

class EventDispatcher {
 public:
  // The last registration for a name wins. "onVideoRenderData" also starts the delivery of frames.
  void AddEventListener(const std::string& name, v8::Persistent<v8::Object>& receiver,
                        v8::Persistent<v8::Function>& callback);
  void RemoveEventListener(const std::string& name);

  // To be called before a payload is built: without a listener the allocation could collect the
  // wrapper, and with it this dispatcher. With a listener the record keeps the wrapper alive.
  bool HasEventListener(const std::string& name) const;

  // Calls the listener with `argc` arguments and the registered receiver as `this`; its promises
  // and ticks are settled before the return. Its exceptions become uncaught exceptions.
  void DispatchEvent(const std::string& name, int argc, v8::Local<v8::Value>* argv);

 private:
  struct ListenerRecord {
    v8::Persistent<v8::Function> callback;
    v8::Persistent<v8::Object> receiver;
  };

  std::map<std::string, ListenerRecord*> mListeners;
};

}  // namespace LumoLivePushElectronSDK
