// The logging entry point. It has its own file because one build of the library omits it.

#include <cstdarg>
#include <cstring>

#include "NimboSdk/LumoRtcExport.h"
#include "scripted_sdk/printf_arguments.h"
#include "scripted_sdk/recorder.h"

using ScriptedSdk::Json;
using ScriptedSdk::textJson;

extern "C" LUMO_RTC_EXPORT void NimboEngineOutputLog(const char* file, const char* function,
                                                     int line, const char* tag, int level,
                                                     const char* format, ...) {
  Json arguments = Json::array();
  // Lines that come from JavaScript are plain text: their '%' takes no arguments.
  if (format && tag && std::strcmp(tag, "Electron-JS") != 0) {
    va_list list;
    va_start(list, format);
    arguments = ScriptedSdk::printfArguments(format, list);
    va_end(list);
  }
  ScriptedSdk::recorder().add(ScriptedSdk::Kind::kLog, {{"file", textJson(file)},
                                                        {"function", textJson(function)},
                                                        {"line", line},
                                                        {"tag", textJson(tag)},
                                                        {"level", level},
                                                        {"format", textJson(format)},
                                                        {"args", std::move(arguments)}});
}
