// The forms of an identifier, and the texts that only resemble them.

#include "devices/device_id.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace NimboEngine {
namespace {

using Form = DeviceId::Form;

TEST(DeviceId, TheWholeTextDecidesOnTheForm) {
  const std::pair<const char*, Form> forms[] = {
      {"", Form::kAutomatic},
      {"test", Form::kTest},
      {"file:/films/holiday in rome.mp4", Form::kFile},
      {"file", Form::kFileAudio},
      {"default", Form::kDefault},
      {"/dev/video0", Form::kPlugged},
      {"alsa_input.pci-0000_00_1f.3.analog-stereo", Form::kPlugged},
      // Malformed ones are devices that nobody plugs in.
      {" ", Form::kPlugged},
      {"Test", Form::kPlugged},
      {"test ", Form::kPlugged},
      {"test:", Form::kPlugged},
      {"FILE:/films/a.mp4", Form::kPlugged},
      {" file:/films/a.mp4", Form::kPlugged},
      {"/films/file:a", Form::kPlugged},
      {"file/films/a.mp4", Form::kPlugged},
      {"default:", Form::kPlugged},
  };
  for (const auto& [text, form] : forms) {
    const DeviceId id(text);
    EXPECT_EQ(id.form(), form) << text;
    EXPECT_EQ(id.text(), text);
    EXPECT_EQ(id.isAutomatic(), form == Form::kAutomatic) << text;
    EXPECT_EQ(id.isTest(), form == Form::kTest) << text;
    EXPECT_EQ(id.isFile(), form == Form::kFile) << text;
    EXPECT_EQ(id.isFileAudio(), form == Form::kFileAudio) << text;
    EXPECT_EQ(id.isDefault(), form == Form::kDefault) << text;
    EXPECT_EQ(id.path().has_value(), form == Form::kFile) << text;
  }
  EXPECT_TRUE(DeviceId().isAutomatic());
}

TEST(DeviceId, AFileHasTheRestOfTheTextAsItsPath) {
  EXPECT_EQ(DeviceId("file:/films/holiday in rome.mp4").path(), "/films/holiday in rome.mp4");
  EXPECT_EQ(DeviceId("file:relative.mp4").path(), "relative.mp4");
  EXPECT_EQ(DeviceId("file:file:a").path(), "file:a");
  EXPECT_EQ(DeviceId("file:").path(), "");
}

TEST(DeviceId, OnlyDevicesCanBeUnplugged) {
  for (const char* id : {"/dev/video0", "default", "tests"}) {
    EXPECT_TRUE(DeviceId(id).isPluggable()) << id;
  }
  for (const char* id : {"", "test", "file", "file:", "file:/films/a.mp4"}) {
    EXPECT_FALSE(DeviceId(id).isPluggable()) << id;
  }
}

TEST(DeviceId, EqualityIsThatOfTheTexts) {
  EXPECT_EQ(DeviceId("test"), DeviceId::test());
  EXPECT_EQ(DeviceId("file"), DeviceId::fileAudio());
  EXPECT_NE(DeviceId("file:a"), DeviceId("file:b"));
  EXPECT_NE(DeviceId("file:"), DeviceId::fileAudio());
  const std::set<DeviceId> ids = {DeviceId("a"), DeviceId("b"), DeviceId("a"), DeviceId()};
  EXPECT_EQ(ids.size(), 3U);
}

}  // namespace
}  // namespace NimboEngine
