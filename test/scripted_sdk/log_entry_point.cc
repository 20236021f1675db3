// The logging entry point. It stands alone in this file because one build of the library leaves it
// out.

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
  // Lines that come from JavaScript are plain text: their '%' asks for no arguments.
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
