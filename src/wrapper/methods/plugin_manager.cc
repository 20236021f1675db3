// The plug-in manager: loading and unloading plug-in libraries, and calling their instances. 0 means
// success and 1 failure everywhere, also where the plug-in itself returns a bool.

#include <dlfcn.h>

#include <climits>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "wrapper/lumolivelistener_js_wrapper.h"
#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {
namespace {

constexpr int kDone = 0;

struct PluginOptions {
  std::string id;
  std::string path;
  uint32_t type = 1;
};

constexpr OptionTable<PluginOptions, 3> kPluginKeys{
    option<&PluginOptions::id>("id"),
    option<&PluginOptions::path>("path"),
    option<&PluginOptions::type>("type"),
};

// Missing symbols are reported on standard output, not in the log.
template <typename Function>
Function FindSymbol(void* library, const char* name) {
  auto* function = reinterpret_cast<Function>(dlsym(library, name));
  if (!function) {
    std::printf("Function:%s load failed", name);
    std::fflush(stdout);
  }
  return function;
}

struct CloseLibrary {
  void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, CloseLibrary>;

// Returns null and sets `error` when it cannot be opened.
Library OpenLibrary(const std::string& path, const char*& error) {
  // The loader copies a bare name to its stack, so a huge one would end the process.
  if (path.size() >= PATH_MAX) {
    error = "the path is too long";
    return nullptr;
  }
  Library library(dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL));
  if (!library) error = dlerror();
  return library;
}

}  // namespace

// ---------------------------------------------------------------------------- loading, unloading

int LumoLivePushJSWrapper::InjectPlugin(const std::string& pluginId, const std::string& path,
                                        int type) {
  if (pluginId.empty() || type < 1 || path.empty()) return kFailed;
  const char* error = nullptr;
  Library library = OpenLibrary(path, error);
  if (!library) {
    LogFailure(LUMO_HERE, "Load Plugin Failed, Path: %s, Error: %s", path.c_str(), error);
    return kFailed;
  }
  Log(LUMO_HERE, LumoRtc::kLumoLivePushLogLevelInfo, "Load BeautySDK Finish");
  auto* create = FindSymbol<INimboPlugin* (*)()>(library.get(), "createNimboPlugin");
  auto* plugin = create ? create() : nullptr;
  if (!plugin) return kFailed;
  const bool accepted = plugin->init();
  const auto directory = path.substr(0, path.rfind('/') + 1);  // "" when there is no "/"
  plugin->setPluginDirectory(directory.c_str());
  auto* object = new PluginObj{plugin, library.release()};  // deleted by UnloadPlugin
  if (!accepted) {
    UnloadPlugin(object);
    return kFailed;
  }
  const std::lock_guard lock(mPluginMutex);
  mPlugins[pluginId] = object;  // deliberate: an object that stood here stays loaded
  return kDone;
}

int LumoLivePushJSWrapper::ExjectPlugin(PluginObj* object) {
  if (!object->handle) return kFailed;
  if (object->plugin) {
    auto* destroy = FindSymbol<void (*)(INimboPlugin*)>(object->handle, "destoryNimboPlugin");
    if (destroy) destroy(object->plugin);
  }
  return dlclose(object->handle);
}

void LumoLivePushJSWrapper::UnloadPlugin(PluginObj* object) {
  if (!object) return;
  object->plugin->uninit();
  object->plugin->release();
  ExjectPlugin(object);
  delete object;
}

void LumoLivePushJSWrapper::UnloadAfterFrame(const PluginMap& plugins) {
  if (mEventListener) mEventListener->AwaitCapturedFrame();
  for (const auto& [id, object] : plugins) UnloadPlugin(object);
}

PluginObj* LumoLivePushJSWrapper::GetPluginObj(const std::string& pluginId) {
  if (pluginId.empty()) return nullptr;
  const std::lock_guard lock(mPluginMutex);
  return mPlugins[pluginId];  // deliberate: a miss leaves a null entry
}

PluginObj* LumoLivePushJSWrapper::GetPluginObjByPluginID(const Arguments& args) {
  auto* wrapper = FirstIsString(args) ? Find(args) : nullptr;
  auto* object = wrapper ? wrapper->GetPluginObj(StringAt(args, 0)) : nullptr;
  if (!object) LogFailure(LUMO_HERE, "Get pluginObj failed");
  return object;
}

// ---------------------------------------------------------------------------------- the methods

// A placeholder of the interface.
void LumoLivePushJSWrapper::InitializePluginManager(const Arguments& args) {
  SetResult(args, kDone);
}

void LumoLivePushJSWrapper::ReleasePluginManager(const Arguments& args) {
  if (auto* wrapper = Find(args)) {
    PluginMap all;
    {
      const std::lock_guard lock(wrapper->mPluginMutex);
      all.swap(wrapper->mPlugins);
    }
    wrapper->UnloadAfterFrame(all);
  }
  SetResult(args, kDone);
}

void LumoLivePushJSWrapper::AddPlugin(const Arguments& args) {
  SetResult(args, kFailed);
  if (!FirstIsObject(args)) return;
  PluginOptions options;
  ReadOptions(args.GetIsolate(), args[0], kPluginKeys, options);
  if (auto* wrapper = Find(args)) {
    // From 2147483648 upward the type is negative, and so refused.
    const int type = static_cast<int>(options.type);
    SetResult(args, wrapper->InjectPlugin(options.id, options.path, type));
  }
}

void LumoLivePushJSWrapper::RemovePlugin(const Arguments& args) {
  auto* object = GetPluginObjByPluginID(args);
  if (!object) return SetResult(args, kFailed);
  auto* wrapper = Find(args);
  const std::string id = StringAt(args, 0);
  {
    const std::lock_guard lock(wrapper->mPluginMutex);
    wrapper->mPlugins.erase(id);
  }
  wrapper->UnloadAfterFrame({{id, object}});
  SetResult(args, kDone);
}

void LumoLivePushJSWrapper::GetPlugins(const Arguments& args) {
  auto* isolate = args.GetIsolate();
  std::vector<std::string> ids;
  if (auto* wrapper = Find(args)) {
    // Collected first: no V8 object is made while the lock is held.
    const std::lock_guard lock(wrapper->mPluginMutex);
    for (const auto& [id, object] : wrapper->mPlugins) ids.push_back(id);
  }
  const auto plugins = v8::Array::New(isolate);
  for (uint32_t i = 0; i < ids.size(); ++i) {
    const auto entry = ObjectBuilder(isolate).Set("id", ids[i]).object();
    SetElement(isolate, plugins, i, entry);
  }
  SetResult(args, plugins.As<v8::Object>());
}

void LumoLivePushJSWrapper::EnablePlugin(const Arguments& args) {
  auto* object = GetPluginObjByPluginID(args);
  const bool accepted = object && args.Length() >= 2 && args[1]->IsBoolean();
  SetResult(args, accepted && object->plugin->enable(args[1]->IsTrue()) ? kDone : kFailed);
}

void LumoLivePushJSWrapper::SetPluginParameter(const Arguments& args) {
  auto* object = GetPluginObjByPluginID(args);
  const bool accepted = object && args.Length() >= 2 && args[1]->IsString();
  SetResult(args,
            accepted && object->plugin->setParameter(StringAt(args, 1).c_str()) ? kDone : kFailed);
}

// A placeholder of the interface.
void LumoLivePushJSWrapper::GetPluginParameter(const Arguments& args) {
  SetResult(args, kDone);
}

}  // namespace LumoLivePushElectronSDK
