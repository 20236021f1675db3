// The list of needed elements against the engine's sources and the installed packages.

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "gst/gst_ptr.h"
#include "gst/runtime.h"
#include "support/child_process.h"

namespace NimboEngine::test {
namespace {

// GStreamer's own plug-ins, which are installed with GStreamer itself.
const std::set<std::string> kCorePlugins{"coreelements", "staticelements"};

// Optional alternatives, used if they are installed.
const std::set<std::string> kAlternatives{"openh264enc", "v4l2h264enc", "vaapih264enc", "vah264enc",
                                          "vah264lpenc"};

// The plug-in that contains an element, and its file; empty if there is no such element.
std::pair<std::string, std::string> pluginOf(const std::string& factory) {
  GstElementFactory* found = gst_element_factory_find(factory.c_str());
  if (!found) return {};
  const GstPtr<GstObject> owned(GST_OBJECT(found));
  GstPlugin* plugin = gst_plugin_feature_get_plugin(GST_PLUGIN_FEATURE(found));
  if (!plugin) return {};
  const GstPtr<GstObject> ownedPlugin(GST_OBJECT(plugin));
  const char* file = gst_plugin_get_filename(plugin);
  return {gst_plugin_get_name(plugin), file ? file : ""};
}

// The elements that the text of a source names: the first word of each part of a description, a
// part being what "!" separates, or a whole literal.
std::set<std::string> elementsIn(const std::string& source) {
  static const std::regex literal(R"re("((?:[^"\\\n]|\\.)*)")re");
  static const std::regex first(R"re((?:^|!)\s*([a-z][a-z0-9_-]*)(?=\s|$))re");
  std::set<std::string> found;
  for (std::sregex_iterator text(source.begin(), source.end(), literal), end; text != end; ++text) {
    const std::string words = (*text)[1];
    for (std::sregex_iterator word(words.begin(), words.end(), first); word != end; ++word) {
      const std::string name = (*word)[1];
      const std::string plugin = pluginOf(name).first;
      if (!plugin.empty() && !kCorePlugins.contains(plugin)) found.insert(name);
    }
  }
  return found;
}

std::string contents(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class NeededElementsTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }
};

TEST_F(NeededElementsTest, ASourceFileIsParsedCorrectly) {
  EXPECT_EQ(elementsIn(R"(run("appsrc name=x ! queue ! h264parse ! video/x-h264 ! mux.video " );
                          const char* word = "pngdec"; text("an x264enc, a volume"); // jpegdec)"),
            (std::set<std::string>{"appsrc", "h264parse", "pngdec"}));
}

TEST_F(NeededElementsTest, ElementsNamedInSourcesAreListed) {
  std::set<std::string> listed = kAlternatives;
  for (const NeededElement& needed : neededElements()) listed.insert(needed.factory);
  size_t files = 0;
  size_t uses = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(ENGINE_SOURCES)) {
    if (entry.path().extension() != ".cc" || entry.path().filename() == "runtime.cc") continue;
    // These contain no pipelines, but terms of a protocol, "level" for example, that are element
    // names too.
    if (entry.path().parent_path().filename() == "rtmp") continue;
    ++files;
    for (const std::string& element : elementsIn(contents(entry.path()))) {
      ++uses;
      EXPECT_TRUE(listed.contains(element))
          << entry.path() << " uses " << element << ", which lib/elements.js does not list";
    }
  }
  EXPECT_GT(files, 50U);
  EXPECT_GT(uses, 30U);
}

// Threads that load concurrently may deadlock, too rarely to be tested directly.
TEST_F(NeededElementsTest, EachIsLoadedAtStart) {
  for (const auto& [feature, factory, package, alternative] : neededElements()) {
    const GstPtr<GstObject> found(GST_OBJECT(gst_element_factory_find(factory)));
    ASSERT_NE(found, nullptr) << factory;
    const GType type = gst_element_factory_get_element_type(GST_ELEMENT_FACTORY(found.get()));
    ASSERT_NE(type, G_TYPE_INVALID) << factory;
    EXPECT_NE(g_type_class_peek(type), nullptr) << factory;
  }
  for (const char* name : {"GInetSocketAddress", "GNetworkAddress", "GSocketClient"}) {
    const GType type = g_type_from_name(name);
    ASSERT_NE(type, G_TYPE_INVALID) << name;
    EXPECT_NE(g_type_class_peek(type), nullptr) << name;
  }
}

TEST_F(NeededElementsTest, EachIsInItsNamedPackage) {
  std::map<std::string, std::string> packageOf;  // of the plug-in's file
  std::vector<std::string> question{"dpkg-query", "-S"};
  for (const auto& [feature, factory, package, alternative] : neededElements()) {
    const std::string file = std::filesystem::weakly_canonical(pluginOf(factory).second);
    ASSERT_FALSE(file.empty()) << factory << " is not installed";
    packageOf[file] = package;
    question.push_back(file);
  }
  if (!std::filesystem::exists("/usr/bin/dpkg-query")) GTEST_SKIP() << "this is no Debian";
  std::istringstream answer(outputOf(question));
  size_t answers = 0;
  for (std::string line; std::getline(answer, line); ++answers) {  // "package:architecture: file"
    const std::string file = line.substr(line.rfind(' ') + 1);
    EXPECT_EQ(line.substr(0, line.find(':')), packageOf[file]) << file;
  }
  EXPECT_GE(answers, packageOf.size());
}

// An element that GStreamer does not find for as long as this lives.
class Hidden {
 public:
  explicit Hidden(const char* factory) : feature_(GST_OBJECT(gst_element_factory_find(factory))) {
    gst_registry_remove_feature(gst_registry_get(), GST_PLUGIN_FEATURE(feature_.get()));
  }
  ~Hidden() {
    gst_registry_add_feature(gst_registry_get(), GST_PLUGIN_FEATURE(feature_.release()));
  }
  Hidden(const Hidden&) = delete;
  Hidden& operator=(const Hidden&) = delete;

 private:
  GstPtr<GstObject> feature_;
};

std::string textWithout(const char* factory, Feature feature) {
  const Hidden hidden(factory);
  const auto complete = checkElements(std::array{Feature::kCapture, feature});
  if (complete) return "";
  EXPECT_EQ(complete.error().code, LumoRtc::kLumoLiveErrorComponentMissing);
  return complete.error().text;
}

TEST_F(NeededElementsTest, OnlyWhatAFeatureNeedsIsMissed) {
  EXPECT_EQ(textWithout("h264parse", Feature::kPublishingVideo),
            "GStreamer elements are missing: h264parse (package gstreamer1.0-plugins-bad)");
  EXPECT_EQ(textWithout("h264parse", Feature::kPlaying), "");
  EXPECT_EQ(textWithout("appsrc", Feature::kPlaying),
            "GStreamer elements are missing: appsrc (package gstreamer1.0-plugins-base)");
}

TEST_F(NeededElementsTest, AnAlternativeServes) {
  if (!haveElement("openh264enc")) GTEST_SKIP() << "there is none";
  EXPECT_EQ(textWithout("x264enc", Feature::kPublishingVideo), "");
  const Hidden alternative("openh264enc");
  EXPECT_EQ(textWithout("x264enc", Feature::kPublishingVideo),
            "GStreamer elements are missing: x264enc (package gstreamer1.0-plugins-ugly)");
}

}  // namespace
}  // namespace NimboEngine::test
