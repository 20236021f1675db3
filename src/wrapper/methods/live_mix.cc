// setLiveMixTranscodingConfig: the layout of a mixed stream.

#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLiveMixStream;
using LumoRtc::LumoLiveMixStreamArray;
using LumoRtc::LumoLiveTranscodingConfig;

constexpr OptionTable<LumoLiveMixStream, 6> kMixStreamKeys{
    option<&LumoLiveMixStream::userId>("userId"), option<&LumoLiveMixStream::x>("x"),
    option<&LumoLiveMixStream::y>("y"),           option<&LumoLiveMixStream::width>("width"),
    option<&LumoLiveMixStream::height>("height"), option<&LumoLiveMixStream::zOrder>("zOrder"),
};

// The element at `index` as an object; an empty one when a getter throws.
v8::Local<v8::Object> ElementAt(v8::Isolate* isolate, v8::Local<v8::Array> elements,
                                uint32_t index) {
  const auto context = isolate->GetCurrentContext();
  const v8::TryCatch swallow(isolate);
  v8::Local<v8::Value> element;
  if (!elements->Get(context, index).ToLocal(&element)) return v8::Object::New(isolate);
  // Deliberate: fatal for null and undefined, the only values that are no object and become none.
  return element->ToObject(context).ToLocalChecked();
}

// Anything but an array of at least one element leaves the streams as they are.
void ReadMixStreams(v8::Isolate* isolate, v8::Local<v8::Value> value,
                    LumoLiveTranscodingConfig& config) {
  if (!value->IsArray()) return;
  const auto elements = value.As<v8::Array>();
  if (elements->Length() == 0) return;
  LumoLiveMixStreamArray streams;
  // Deliberate: one working stream serves all elements, so a number that an element leaves out
  // keeps the previous element's value. Only the user ID starts afresh.
  LumoLiveMixStream stream{};
  for (uint32_t i = 0; i < elements->Length(); ++i) {
    const auto element = ElementAt(isolate, elements, i);
    if (IsBeingStopped(isolate)) return;
    stream.userId = LumoRtc::String(nullptr);
    ReadOptions(isolate, element, kMixStreamKeys, stream);
    if (IsBeingStopped(isolate)) return;
    streams.Add(stream);
  }
  config.mixStreams = streams;
}

constexpr OptionTable<LumoLiveTranscodingConfig, 3> kTranscodingKeys{
    option<&LumoLiveTranscodingConfig::backgroundColor>("backgroundColor"),
    option<&LumoLiveTranscodingConfig::cropMode>("cropMode"),
    Option<LumoLiveTranscodingConfig>{"mixStreams", ReadMixStreams},
};

}  // namespace

void LumoLivePushJSWrapper::SetLiveMixTranscodingConfig(const Arguments& args) {
  if (args.Length() >= 1 && args[0]->IsNull()) {
    return CallPusher(args, LUMO_HERE, kFailedLater,
                      [](auto& pusher) { return pusher.setLiveMixTranscodingConfig(nullptr); });
  }
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, kFailedLater);
  CallPusherWithOptions(args, LUMO_HERE, kFailedLater, kTranscodingKeys,
                        [](auto& pusher, auto& config) {
                          const int result = pusher.setLiveMixTranscodingConfig(&config);
                          config.mixStreams.Clear();
                          return result;
                        });
}

}  // namespace LumoLivePushElectronSDK
