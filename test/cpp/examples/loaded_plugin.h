// An example plug-in, loaded from its library and released like in the add-on.

#pragma once

#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "frame.h"
#include "plugin/IVideoFramePlugin.h"

namespace ExamplePluginTests {

class LoadedPlugin {
 public:
  // Throws std::runtime_error when `name` cannot be loaded or is no plug-in for frames.
  explicit LoadedPlugin(const std::string& name) {
    const std::string file = EXAMPLE_PLUGIN_FOLDER "/" + name + ".so";
    library_ = dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (!library_) throw std::runtime_error(dlerror());
    plugin_ = symbol<Plugin* (*)()>("createNimboPlugin")();
    frames_ = dynamic_cast<LumoLivePushElectronSDK::IVideoFramePlugin*>(plugin_);
    if (!frames_ || !plugin_->init()) throw std::runtime_error(name + " does not start");
    plugin_->setPluginDirectory(EXAMPLE_PLUGIN_FOLDER "/");
  }
  LoadedPlugin(const LoadedPlugin&) = delete;
  LoadedPlugin& operator=(const LoadedPlugin&) = delete;
  ~LoadedPlugin() {
    plugin_->uninit();
    plugin_->release();
    symbol<void (*)(Plugin*)>("destoryNimboPlugin")(plugin_);
    dlclose(library_);
  }

  bool enable(bool on) { return plugin_->enable(on); }
  bool set(const std::string& parameter) { return plugin_->setParameter(parameter.c_str()); }

  Frame process(Frame frame) {
    auto record = frame.record();
    frames_->processVideoFrame(&record, &record);
    return frame;
  }

 private:
  using Plugin = LumoLivePushElectronSDK::INimboPlugin;

  template <typename Function>
  Function symbol(const char* name) {
    return reinterpret_cast<Function>(dlsym(library_, name));
  }

  void* library_ = nullptr;
  Plugin* plugin_ = nullptr;
  LumoLivePushElectronSDK::IVideoFramePlugin* frames_ = nullptr;
};

}  // namespace ExamplePluginTests
