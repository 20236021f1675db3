#include <dlfcn.h>

#include "scripted_sdk_test.h"

namespace {

using Log = ScriptedSdkTest;

using OutputLog = void (*)(const char* file, const char* function, int line, const char* tag,
                           int level, const char* format, ...);

// Found as the add-on finds it.
OutputLog outputLog() {
  static void* const library = dlopen(SCRIPTED_SDK_FILE, RTLD_NOW | RTLD_GLOBAL);
  return library ? reinterpret_cast<OutputLog>(dlsym(library, "NimboEngineOutputLog")) : nullptr;
}

template <class... Arguments>
Json argumentsOf(const char* format, Arguments... arguments) {
  outputLog()("file", "function", 1, "Electron", 5, format, arguments...);
  return recordsOf("log").back()["args"];
}

TEST_F(Log, LinesAreRecordedInWhole) {
  ASSERT_NE(outputLog(), nullptr);
  outputLog()("src/a.cc", "InitPusher", 42, "Electron", 3, "GetLivePusher failed: %s",
              "InitPusher");
  const Json line = recordsOf("log").back();
  EXPECT_EQ(line["file"], "src/a.cc");
  EXPECT_EQ(line["function"], "InitPusher");
  EXPECT_EQ(line["line"], 42);
  EXPECT_EQ(line["tag"], "Electron");
  EXPECT_EQ(line["level"], 3);
  EXPECT_EQ(line["format"], "GetLivePusher failed: %s");
  EXPECT_EQ(line["args"], Json::array({"InitPusher"}));
  EXPECT_EQ(line["thread"]["js"], true);
}

TEST_F(Log, ArgumentsAreDecodedAsTheFormatAsks) {
  int local = 0;
  EXPECT_EQ(argumentsOf("%s|%d|%i|%u", "a", -1, -2, 4294967295U), (Json{"a", -1, -2, 4294967295U}));
  EXPECT_EQ(argumentsOf("%x %X %o", 255U, 16U, 8U), (Json{255, 16, 8}));
  EXPECT_EQ(argumentsOf("%ld %lld %lu", -1L, -9007199254740993LL, 7UL),
            (Json{-1, -9007199254740993LL, 7}));
  EXPECT_EQ(argumentsOf("%zu", sizeof local), (Json::array({sizeof local})));
  EXPECT_EQ(argumentsOf("%p", &local), Json::array({pointerJson(&local)}));
  EXPECT_EQ(argumentsOf("%f %g %c", 1.5, -0.25, 'x'), (Json{1.5, -0.25, "x"}));
  EXPECT_EQ(argumentsOf("100%% %s", "a"), Json::array({"a"}));
  EXPECT_EQ(argumentsOf("%-08.3f|%+5d|%hhd", 2.0, 3, 4), (Json{2.0, 3, 4}));
  EXPECT_EQ(argumentsOf("%*d %.*s", 5, 6, 2, "abc"), (Json{5, 6, 2, "ab"}));
  EXPECT_EQ(argumentsOf("%.2s", "xyz"), Json::array({"xy"}));
  EXPECT_EQ(argumentsOf("%s", static_cast<const char*>(nullptr)), Json::array({nullptr}));
  EXPECT_EQ(argumentsOf("plain"), Json::array());
}

TEST_F(Log, UnknownConversionsEndTheDecoding) {
  EXPECT_EQ(argumentsOf("%d %y %d", 1, 2, 3), (Json{1, {{"unknown", "%y"}}}));
  EXPECT_EQ(argumentsOf("end %"), (Json::array({{{"unknown", "%"}}})));
}

TEST_F(Log, LinesFromJavaScriptCarryNoArguments) {
  outputLog()("f", "WriteLog", 1, "Electron-JS", 3, "100 %s %n");
  EXPECT_EQ(recordsOf("log").back()["format"], "100 %s %n");
  EXPECT_EQ(recordsOf("log").back()["args"], Json::array());
}

TEST_F(Log, NullTextsAreKept) {
  outputLog()(nullptr, nullptr, 0, nullptr, 0, nullptr);
  EXPECT_EQ(recordsOf("log").back()["format"], nullptr);
}

TEST_F(Log, IsMissingFromTheOtherBuildOnly) {
  void* const other = dlopen(SCRIPTED_SDK_WITHOUT_LOGGER_FILE, RTLD_NOW | RTLD_GLOBAL);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(dlsym(other, "NimboEngineOutputLog"), nullptr);
  const char* const create = "_ZN7LumoRtc14LumoLivePusher6CreateEPKc";
  EXPECT_NE(dlsym(other, create), nullptr);
  // It is a library of its own: calls of this program still reach the first.
  EXPECT_NE(dlsym(other, create), dlsym(RTLD_DEFAULT, create));
}

}  // namespace
