#include "wrapper/lumolivepush_js_wrapper.h"

#include "utils/type_converter.h"
#include "wrapper/lumolivelistener_js_wrapper.h"

namespace LumoLivePushElectronSDK {
namespace {

struct Method {
  const char* jsName;
  v8::FunctionCallback handler;
};

constexpr Method kMethods[] = {
#define LUMO_TABLE_ROW(jsName, Handler) {#jsName, &LumoLivePushJSWrapper::Handler},
    LUMO_METHOD_TABLE(LUMO_TABLE_ROW)
#undef LUMO_TABLE_ROW
};

}  // namespace

// An empty handle does not throw, although V8 does not declare so.
// NOLINTBEGIN(bugprone-throwing-static-initialization)
v8::Persistent<v8::Function> LumoLivePushJSWrapper::constructor;
v8::Persistent<v8::Context> LumoLivePushJSWrapper::sContext;
// NOLINTEND(bugprone-throwing-static-initialization)
const char* const LumoLivePushJSWrapper::kSourceFile = __FILE__;

// ------------------------------------------------------------------------------ registration

bool LumoLivePushJSWrapper::Init(v8::Local<v8::Object> exports) {
  auto* isolate = v8::Isolate::GetCurrent();
  const auto context = isolate->GetCurrentContext();
  const auto className = TypeConverterUtils::CreateStringParam(isolate, "LumoLivePushJSWrapper");

  const auto classTemplate = v8::FunctionTemplate::New(isolate, New);
  classTemplate->SetClassName(className);
  classTemplate->InstanceTemplate()->SetInternalFieldCount(1);

  // The signature makes V8 reject foreign receivers before a handler runs. The methods are not
  // constructors: an object made by `new w.stopPreview()` would have no room for a wrapper.
  const auto signature = v8::Signature::New(isolate, classTemplate);
  for (const auto& method : kMethods) {
    const auto name = TypeConverterUtils::CreateStringParam(isolate, method.jsName);
    const auto function = v8::FunctionTemplate::New(isolate, method.handler, {}, signature, 0,
                                                    v8::ConstructorBehavior::kThrow);
    function->SetClassName(name);
    classTemplate->PrototypeTemplate()->Set(name, function);
  }

  v8::Local<v8::Function> function;
  if (!classTemplate->GetFunction(context).ToLocal(&function)) return false;  // it throws
  constructor.Reset(isolate, function);  // a second registration wins
  sContext.Reset(isolate, context);
  return exports->Set(context, className, function).FromMaybe(false);
}

// Returns a new wrapper, or throws what its construction throws, for example a stack overflow.
void LumoLivePushJSWrapper::Construct(const Arguments& args, std::span<v8::Local<v8::Value>> argv) {
  auto* isolate = args.GetIsolate();
  v8::Local<v8::Object> instance;
  if (constructor.Get(isolate)
          ->NewInstance(isolate->GetCurrentContext(), static_cast<int>(argv.size()), argv.data())
          .ToLocal(&instance)) {
    args.GetReturnValue().Set(instance);
  }
}

void LumoLivePushJSWrapper::CreateLivePush(const Arguments& args) {
  auto* isolate = args.GetIsolate();
  v8::Local<v8::Value> argv[] = {v8::True(isolate)};
  Construct(args, argv);
}

void LumoLivePushJSWrapper::New(const Arguments& args) {
  if (args.NewTarget()->IsUndefined()) {
    v8::Local<v8::Value> argv[] = {args[0], args[1]};  // undefined where absent
    return Construct(args, argv);
  }
  const bool autoCreatePusher = !args[0]->IsBoolean() || args[0]->IsTrue();
  auto* wrapper = new LumoLivePushJSWrapper(autoCreatePusher);  // deleted with its JS object
  wrapper->Wrap(args.This());
  wrapper->persistent().SetWeak(wrapper, OnCollected, v8::WeakCallbackType::kParameter);
  args.GetReturnValue().Set(args.This());
}

// ---------------------------------------------------------------------------------- lifetime

LumoLivePushJSWrapper::LumoLivePushJSWrapper(bool autoCreatePusher)
    : mAutoCreatePusher(autoCreatePusher) {}

// Explicit, because the order matters: the SDK must be detached before the listener goes, and the
// listener, which reads the plug-in map, before the plug-ins.
LumoLivePushJSWrapper::~LumoLivePushJSWrapper() {
  DestroyPusher();
  for (const auto& [id, player] : mPlayers) DestroyPlayer(player);
  mPlayers.clear();
  mEventListener.reset();
  for (const auto& [id, object] : mPlugins) UnloadPlugin(object);
  mPlugins.clear();
}

// Does what the base's own callback does, but in a context: from Node 24 on the base's destructor
// needs a current one, and a collection may come outside of every context.
void LumoLivePushJSWrapper::OnCollected(const v8::WeakCallbackInfo<LumoLivePushJSWrapper>& info) {
  auto* isolate = info.GetIsolate();
  const v8::HandleScope handles(isolate);
  const v8::Context::Scope current(sContext.Get(isolate));
  auto* wrapper = info.GetParameter();
  wrapper->persistent().Reset();
  delete wrapper;
}

LumoLivePushJSWrapper* LumoLivePushJSWrapper::Find(const Arguments& args) {
  return node::ObjectWrap::Unwrap<LumoLivePushJSWrapper>(args.This());
}

// ------------------------------------------------------------------------ pusher and listener

LumoRtc::LumoLivePusher* LumoLivePushJSWrapper::GetPusherInstance(const Arguments& args) {
  auto* wrapper = Find(args);
  return wrapper ? wrapper->GetLivePusher() : nullptr;
}

LumoRtc::LumoLivePusher* LumoLivePushJSWrapper::GetLivePusher() {
  if (!mAutoCreatePusher) {
    if (!mLivePusher) return nullptr;
    EnsureListener();
    AttachListener();
    return mLivePusher;
  }
  if (mLivePusher) return mLivePusher;
  mLivePusher = LumoRtc::LumoLivePusher::Create(mExtraConfig.c_str());
  if (!mLivePusher) {
    LogFailure(LUMO_HERE, "Create livePusher failed");
    return nullptr;
  }
  EnsureListener();
  return mLivePusher;
}

void LumoLivePushJSWrapper::EnsureListener() {
  if (!mEventListener) mEventListener = std::make_unique<EventListener>(mPlugins, mPluginMutex);
}

void LumoLivePushJSWrapper::AttachListener() {
  if (!mLivePusher || !mEventListener) return;
  auto* listener = mEventListener.get();
  mLivePusher->setPushErrorListener(listener);
  mLivePusher->setPushInfoListener(listener);
  mLivePusher->setVideoFrameListener(listener);
  mLivePusher->setPushNetworkListener(listener);
}

void LumoLivePushJSWrapper::DestroyPusher() {
  if (!mLivePusher) return;
  auto* pusher = mLivePusher;
  pusher->setPushErrorListener(nullptr);
  pusher->setPushInfoListener(nullptr);
  pusher->setVideoFrameListener(nullptr);
  pusher->setPushNetworkListener(nullptr);
  mLivePusher = nullptr;
  LumoRtc::LumoLivePusher::destroy();
}

// ------------------------------------------------------------------------------------- errors

void LumoLivePushJSWrapper::NotifyError(const Arguments& args,
                                        LumoLivePushJSWrapperErrorCode code) {
  auto* wrapper = Find(args);
  if (wrapper && wrapper->mEventListener) wrapper->mEventListener->NotifyError(code);
}

}  // namespace LumoLivePushElectronSDK
