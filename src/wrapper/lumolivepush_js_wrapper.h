// The class behind every object that createLivePush() returns.
//
// Thread: the JavaScript thread only. SDK threads reach JavaScript through the EventListener's
//   queue and never touch a wrapper.
// Ownership: see the members. A wrapper lives as long as its JavaScript object is reachable.
// Failure: nothing is thrown to JavaScript; each method returns its documented failure value.

#pragma once

#include <node.h>
#include <node_object_wrap.h>

#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLivePusher.h"
#include "generated/method_table.h"
#include "plugin/plugin_obj.h"
#include "utils/lumolivepush_js_define.h"

namespace LumoLivePushElectronSDK {

class EventListener;

using Arguments = v8::FunctionCallbackInfo<v8::Value>;

// The origin of a log line. Take it with LUMO_HERE in the handler itself: lines carry the
// handler's name, which a lambda or a helper would replace by its own.
struct CallSite {
  const char* function;
  int line;
};
#define LUMO_HERE                       \
  ::LumoLivePushElectronSDK::CallSite { \
    __func__, __LINE__                  \
  }

class LumoLivePushJSWrapper : public node::ObjectWrap {
 public:
  // Puts the class and its methods on the module's exports. False, and the exception is pending,
  // when that object throws.
  static bool Init(v8::Local<v8::Object> exports);
  static void CreateLivePush(const Arguments& args);

  // The methods of lib/methods.js, implemented by area in wrapper/methods/.
#define LUMO_DECLARE_HANDLER(jsName, Handler) static void Handler(const Arguments& args);
  LUMO_METHOD_TABLE(LUMO_DECLARE_HANDLER)
#undef LUMO_DECLARE_HANDLER

  // ---- Lookups

  // Null when the receiver was not built by New.
  static LumoLivePushJSWrapper* Find(const Arguments& args);

  // The pusher of the call's wrapper, created when need be; null without a wrapper or a pusher.
  static LumoRtc::LumoLivePusher* GetPusherInstance(const Arguments& args);

  // The player named by the call's first argument; null, after a log line, when there is none.
  static LumoRtc::LumoLivePlayer* GetPlayerInstanceByPlayerID(const Arguments& args);

  // A new player, entered in the map; null, after a log line, when the SDK refuses.
  static LumoRtc::LumoLivePlayer* GetNewPlayerInstance(const Arguments& args);

  // The plug-in named by the call's first argument; null, after a log line, when there is none.
  static PluginObj* GetPluginObjByPluginID(const Arguments& args);

  // ---- Parts of a wrapper

  // With the acquisition flag true: creates the pusher, and with it the listener, on first use.
  // With false: never creates one, but attaches the listener on every call.
  LumoRtc::LumoLivePusher* GetLivePusher();
  void AttachListener();
  void DestroyPusher();
  // The present pusher, without creating one: user code that ran since the lookup may have destroyed
  // the pusher.
  LumoRtc::LumoLivePusher* CurrentPusher() const {
    return mLivePusher;
  }

  // An unknown ID inserts a null entry; an empty ID is not looked up.
  LumoRtc::LumoLivePlayer* GetLivePlayer(const std::string& playerId);
  bool HasPlayer(LumoRtc::LumoLivePlayer* player) const;
  static void DestroyPlayer(LumoRtc::LumoLivePlayer* player);

  // 0 when loaded, 1 when not. `type` only has to be at least 1.
  int InjectPlugin(const std::string& pluginId, const std::string& path, int type);
  // Destroys the instance and closes the library: dlclose's result, or 1 without a handle.
  static int ExjectPlugin(PluginObj* object);
  // uninit, release, ExjectPlugin, and the end of the record. Null is accepted.
  static void UnloadPlugin(PluginObj* object);
  // The same for plug-ins that have just been removed from the map: they may still be processing a
  // frame.
  void UnloadAfterFrame(const PluginMap& plugins);
  // An unknown ID inserts a null entry; an empty ID is not looked up.
  PluginObj* GetPluginObj(const std::string& pluginId);

  // ---- SDK library, log and errors

  // Opens the SDK library in sdk_path and finds its logger there. Returns whether the library opened.
  static bool LoadSDK();

  // Writes a line on behalf of JavaScript. `message` is the logger's format.
  static void WriteLog(const char* message, LumoRtc::LumoLivePushLogLevel level);

  // Reports `code` as "onOccurError", later; dropped while there is no listener.
  static void NotifyError(const Arguments& args, LumoLivePushJSWrapperErrorCode code);

  // Writes a line of the add-on's own; nothing before the SDK's logger was found.
  template <typename... Values>
  static void Log(CallSite site, LumoRtc::LumoLivePushLogLevel level, const char* format,
                  Values... values) {
    if (!sFuncOutputLog) return;
    sFuncOutputLog(kSourceFile, site.function, site.line, "Electron", level, format, values...);
  }
  template <typename... Values>
  static void LogFailure(CallSite site, const char* format, Values... values) {
    Log(site, LumoRtc::kLumoLivePushLogLevelError, format, values...);
  }

  // Directory that holds NimboSdk.framework; set by registPlugin.
  static std::string sdk_path;

  // ---- State; the methods are spread over several files, all of this class
  using OutputLog = void (*)(const char* file, const char* function, int line, const char* tag,
                             int level, const char* format, ...);

 private:
  explicit LumoLivePushJSWrapper(bool autoCreatePusher);
  ~LumoLivePushJSWrapper() override;

  static void New(const Arguments& args);
  static void Construct(const Arguments& args, std::span<v8::Local<v8::Value>> argv);
  static void OnCollected(const v8::WeakCallbackInfo<LumoLivePushJSWrapper>& info);
  void EnsureListener();

  static v8::Persistent<v8::Function> constructor;
  static v8::Persistent<v8::Context> sContext;  // the one that the module was loaded into
  static void* sLibraryHandler;                 // never closed
  static OutputLog sFuncOutputLog;
  static const char* const kSourceFile;  // the same in every line, whichever file writes it

  // Given.
  const bool mAutoCreatePusher;
  std::string mExtraConfig;

  // Owned.
  LumoRtc::LumoLivePusher* mLivePusher = nullptr;  // through LumoLivePusher::destroy()
  std::unique_ptr<EventListener> mEventListener;
  std::map<std::string, LumoRtc::LumoLivePlayer*> mPlayers;  // key: player ID
  PluginMap mPlugins;                                        // read by the listener as well
  std::mutex mPluginMutex;                                   // guards mPlugins
};

}  // namespace LumoLivePushElectronSDK
