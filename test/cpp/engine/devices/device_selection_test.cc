// Device selection, with devices that the test plugs and unplugs.

#include "devices/device_selection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace NimboEngine {
namespace {

constexpr auto kCamera = DeviceKind::kCamera;
constexpr auto kMicrophone = DeviceKind::kMicrophone;
constexpr auto kUnplugged = DeviceSelection::Cause::kUnplugged;
constexpr auto kFailed = DeviceSelection::Cause::kFailed;
constexpr char kFile[] = "file:/films/holiday in rome.mp4";

class DeviceSelectionTest : public testing::Test {
 protected:
  DeviceSelection select(const std::string& camera, const std::string& microphone) {
    return {camera, microphone,
            [this](DeviceKind kind) { return kind == kCamera ? cameras : microphones; }};
  }

  static void plug(std::vector<PluggedDevice>& devices, const std::string& id,
                   bool isDefault = false) {
    devices.push_back({{id, "Name of " + id, Transport::kUsb}, isDefault});
  }

  static void unplug(std::vector<PluggedDevice>& devices, const std::string& id) {
    std::erase_if(devices, [&](const auto& plugged) { return plugged.device.id == id; });
  }

  std::vector<PluggedDevice> cameras;
  std::vector<PluggedDevice> microphones;
};

std::vector<std::string> ids(const std::vector<Device>& devices) {
  std::vector<std::string> ids;
  for (const Device& device : devices) ids.push_back(device.id);
  return ids;
}

using Ids = std::vector<std::string>;

TEST_F(DeviceSelectionTest, TheListEndsWithTheFixedEntries) {
  plug(cameras, "a");
  plug(microphones, "m");
  const DeviceSelection selection = select(kFile, "");
  EXPECT_EQ(ids(selection.list(kCamera)), (Ids{"a", kFile, "test"}));
  EXPECT_EQ(ids(selection.list(kMicrophone)), (Ids{"m", "file", "test"}));
  EXPECT_EQ(selection.list(kCamera)[1].name, "holiday in rome.mp4");
  EXPECT_EQ(selection.list(kCamera)[2].name, "Test pattern");
  EXPECT_EQ(selection.list(kMicrophone)[1].name, "Sound of holiday in rome.mp4");
  EXPECT_EQ(selection.list(kMicrophone)[2].name, "Test tone");
  EXPECT_EQ(selection.list(kMicrophone)[2].transport, Transport::kVirtual);
  EXPECT_EQ(ids(select("test", "").list(kCamera)), (Ids{"a", "test"}));
}

TEST_F(DeviceSelectionTest, NothingConfiguredMeansTheFirstCameraAndTheDefaultMicrophone) {
  EXPECT_EQ(select("", "").current(kCamera).id, "test");
  EXPECT_EQ(select("", "").current(kMicrophone).id, "test");
  plug(cameras, "a");
  plug(cameras, "b");
  plug(microphones, "m");
  EXPECT_EQ(select("", "").current(kMicrophone).id, "m");
  plug(microphones, "n", true);
  EXPECT_EQ(select("", "").current(kCamera).id, "a");
  EXPECT_EQ(select("", "").current(kMicrophone).id, "n");
}

TEST_F(DeviceSelectionTest, NothingConfiguredMeansTheAudioOfTheFile) {
  plug(microphones, "m", true);
  EXPECT_EQ(select(kFile, "").current(kMicrophone).id, "file");
  EXPECT_EQ(select(kFile, "").sources().microphone, kFile);
}

TEST_F(DeviceSelectionTest, TheDefaultMicrophoneIsARealOne) {
  EXPECT_EQ(select("", "default").current(kMicrophone).id, "");
  EXPECT_EQ(select("", "default").sources().microphone, "default");
  plug(microphones, "m");
  EXPECT_EQ(select("", "default").current(kMicrophone).id, "m");
}

TEST_F(DeviceSelectionTest, AMissingDeviceIsNotCurrent) {
  DeviceSelection selection = select("gone", "file");
  selection.beginCapture();
  EXPECT_EQ(selection.current(kCamera).id, "");
  EXPECT_EQ(selection.current(kMicrophone).id, "");
  EXPECT_EQ(selection.sources().camera, "gone");
  EXPECT_EQ(selection.sources().microphone, "file") << "without a file it has no audio";
}

TEST_F(DeviceSelectionTest, ADeviceIsChosenByIdOrName) {
  plug(cameras, "a");
  plug(microphones, "m");
  DeviceSelection selection = select("test", "test");
  for (const bool capturing : {false, true}) {
    if (capturing) selection.beginCapture();
    EXPECT_TRUE(selection.chooseId(kCamera, "a"));
    EXPECT_EQ(selection.current(kCamera).name, "Name of a");
    EXPECT_EQ(selection.sources().camera, "a");
    EXPECT_TRUE(selection.chooseName(kCamera, "Test pattern"));
    EXPECT_EQ(selection.current(kCamera).id, "test");
    EXPECT_TRUE(selection.chooseName(kMicrophone, "Name of m"));
    EXPECT_EQ(selection.current(kMicrophone).id, "m");
    EXPECT_TRUE(selection.chooseId(kMicrophone, "test"));
    EXPECT_EQ(selection.sources().microphone, "test");
  }
}

TEST_F(DeviceSelectionTest, OfTwoOfOneNameTheFirstIsChosen) {
  cameras = {{{"a", "Webcam", {}}, false}, {{"b", "Webcam", {}}, false}};
  DeviceSelection selection = select("test", "");
  EXPECT_TRUE(selection.chooseName(kCamera, "Webcam"));
  EXPECT_EQ(selection.current(kCamera).id, "a");
}

TEST_F(DeviceSelectionTest, UnknownIdentifiersChangeNothing) {
  plug(cameras, "a");
  DeviceSelection selection = select("", "test");
  for (const bool capturing : {false, true}) {
    if (capturing) selection.beginCapture();
    for (const char* id : {"b", "A", "Name of a", "file", kFile, "default"}) {
      EXPECT_FALSE(selection.chooseId(kCamera, id)) << id;
    }
    for (const char* name : {"", "a", "name of a"}) {
      EXPECT_FALSE(selection.chooseName(kCamera, name)) << name;
    }
    EXPECT_FALSE(selection.chooseId(kMicrophone, "file"));
    EXPECT_FALSE(selection.chooseId(kMicrophone, "default"));
    EXPECT_EQ(selection.current(kCamera).id, "a");
    EXPECT_EQ(selection.current(kMicrophone).id, "test");
  }
}

TEST_F(DeviceSelectionTest, TheEmptyIdentifierGoesBackToTheSettings) {
  plug(cameras, "a");
  plug(microphones, "m");
  DeviceSelection named = select(kFile, "default");
  ASSERT_TRUE(named.chooseId(kCamera, "test"));
  ASSERT_TRUE(named.chooseId(kMicrophone, "test"));
  EXPECT_TRUE(named.chooseId(kCamera, ""));
  EXPECT_TRUE(named.chooseId(kMicrophone, ""));
  EXPECT_EQ(named.current(kCamera).id, kFile);
  EXPECT_EQ(named.current(kMicrophone).id, "m");
  DeviceSelection automatic = select("", "");
  ASSERT_TRUE(automatic.chooseId(kCamera, "test"));
  EXPECT_TRUE(automatic.chooseId(kCamera, ""));
  EXPECT_EQ(automatic.current(kCamera).id, "a");
}

TEST_F(DeviceSelectionTest, AMicrophoneThatWasNotChosenFollowsTheFile) {
  DeviceSelection selection = select(kFile, "");
  selection.beginCapture();
  ASSERT_TRUE(selection.chooseId(kCamera, "test"));
  EXPECT_EQ(selection.current(kMicrophone).id, "test");
  ASSERT_TRUE(selection.chooseId(kCamera, kFile));
  EXPECT_EQ(selection.current(kMicrophone).id, "file");
  ASSERT_TRUE(selection.chooseId(kMicrophone, "file"));
  ASSERT_TRUE(selection.chooseId(kCamera, "test"));
  EXPECT_EQ(selection.current(kMicrophone).id, "file") << "chosen, it stays";
  EXPECT_EQ(selection.sources().microphone, kFile);
}

TEST_F(DeviceSelectionTest, PluggingChangesNothingWhileCapturing) {
  plug(cameras, "b");
  plug(microphones, "m");
  DeviceSelection selection = select("", "");
  selection.beginCapture();
  cameras.insert(cameras.begin(), {{"a", "A", {}}, false});
  plug(microphones, "n", true);
  ASSERT_TRUE(selection.chooseId(kCamera, "b"));  // as it was
  EXPECT_EQ(selection.current(kCamera).id, "b");
  EXPECT_EQ(selection.current(kMicrophone).id, "m");
  EXPECT_EQ(selection.list(kCamera).size(), 3U);
}

TEST_F(DeviceSelectionTest, TheNextInTheListReplacesALostCamera) {
  for (const char* id : {"a", "b", "c"}) plug(cameras, id);
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  ASSERT_TRUE(selection.chooseId(kCamera, "b"));
  unplug(cameras, "b");
  const auto loss = selection.lose(kCamera, "b", kUnplugged);
  ASSERT_TRUE(loss);
  EXPECT_EQ(loss->lost.name, "Name of b");
  EXPECT_EQ(loss->next.name, "Name of a");
  EXPECT_EQ(selection.sources().camera, "a");
  unplug(cameras, "c");
  EXPECT_FALSE(selection.lose(kCamera, "c", kUnplugged)) << "not in use";
  unplug(cameras, "a");
  EXPECT_EQ(selection.lose(kCamera, "a", kUnplugged).value().next.id, "test");
  EXPECT_EQ(selection.current(kCamera).id, "test");
}

TEST_F(DeviceSelectionTest, TheDefaultReplacesALostMicrophone) {
  plug(microphones, "m");
  plug(microphones, "n");
  plug(microphones, "o", true);
  DeviceSelection selection = select(kFile, "m");
  selection.beginCapture();
  unplug(microphones, "m");
  EXPECT_EQ(selection.lose(kMicrophone, "m", kUnplugged).value().next.id, "o");
  microphones.clear();
  EXPECT_EQ(selection.lose(kMicrophone, "o", kUnplugged).value().next.id, "file");
}

TEST_F(DeviceSelectionTest, AReturningDeviceIsNotUsedAgain) {
  plug(cameras, "a");
  plug(cameras, "b");
  DeviceSelection selection = select("test", "test");
  ASSERT_TRUE(selection.chooseId(kCamera, "a"));
  selection.beginCapture();
  unplug(cameras, "a");
  ASSERT_TRUE(selection.lose(kCamera, "a", kUnplugged));
  plug(cameras, "a");
  EXPECT_EQ(selection.current(kCamera).id, "b");
  selection.endCapture();
  selection.beginCapture();
  EXPECT_EQ(selection.current(kCamera).id, "b") << "it counts as chosen";
  EXPECT_TRUE(selection.chooseId(kCamera, "a"));
  EXPECT_EQ(selection.current(kCamera).id, "a");
}

TEST_F(DeviceSelectionTest, AnUnchosenDeviceIsResolvedAtEachCapture) {
  plug(cameras, "a");
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  unplug(cameras, "a");
  ASSERT_TRUE(selection.lose(kCamera, "a", kUnplugged));
  plug(cameras, "a");
  EXPECT_EQ(selection.current(kCamera).id, "test");
  selection.endCapture();
  selection.beginCapture();
  EXPECT_EQ(selection.current(kCamera).id, "a");
}

TEST_F(DeviceSelectionTest, AChosenDeviceIsReplacedWhileNothingIsCaptured) {
  plug(cameras, "a");
  DeviceSelection selection = select("test", "test");
  ASSERT_TRUE(selection.chooseId(kCamera, "a"));
  unplug(cameras, "a");
  const auto loss = selection.lose(kCamera, "a", kUnplugged);
  ASSERT_TRUE(loss);
  EXPECT_EQ(loss->lost.name, "Name of a");
  EXPECT_EQ(selection.current(kCamera).id, "test");
  DeviceSelection automatic = select("", "test");
  EXPECT_FALSE(automatic.lose(kCamera, "a", kUnplugged)) << "it was not chosen";
}

// It is still in the list, perhaps in use elsewhere.
TEST_F(DeviceSelectionTest, AFailedDeviceIsNoReplacementForALostOne) {
  plug(cameras, "a");
  plug(cameras, "b");
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  EXPECT_EQ(selection.lose(kCamera, "a", kFailed).value().next.id, "b");
  EXPECT_EQ(selection.lose(kCamera, "b", kFailed).value().next.id, "test");
  EXPECT_TRUE(selection.chooseId(kCamera, "b"));
  EXPECT_EQ(selection.lose(kCamera, "b", kFailed).value().next.id, "a")
      << "a choice forgets what failed before";
}

TEST_F(DeviceSelectionTest, AReconnectedFailedDeviceIsAReplacement) {
  plug(cameras, "a");
  plug(cameras, "b");
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  ASSERT_TRUE(selection.lose(kCamera, "a", kFailed));
  EXPECT_FALSE(selection.lose(kCamera, "a", kUnplugged)) << "b is used already";
  unplug(cameras, "b");
  EXPECT_EQ(selection.lose(kCamera, "b", kUnplugged).value().next.id, "a");
}

TEST_F(DeviceSelectionTest, TestSourcesAndFilesAreNotReplaced) {
  plug(cameras, "a");
  DeviceSelection selection = select(kFile, "");
  selection.beginCapture();
  EXPECT_FALSE(selection.lose(kCamera, kFile, kFailed));
  EXPECT_FALSE(selection.lose(kMicrophone, "file", kFailed));
  ASSERT_TRUE(selection.chooseId(kCamera, "test"));
  EXPECT_FALSE(selection.lose(kCamera, "test", kFailed));
  EXPECT_EQ(selection.current(kCamera).id, "test");
}

TEST_F(DeviceSelectionTest, FixedEntriesDoNotWaitForDevices) {
  DeviceSelection selection(kFile, "test", [](DeviceKind) -> std::vector<PluggedDevice> {
    ADD_FAILURE() << "scanned for devices";
    return {};
  });
  selection.beginCapture();
  EXPECT_TRUE(selection.chooseId(kCamera, "test"));
  EXPECT_TRUE(selection.chooseId(kMicrophone, "file"));
  EXPECT_EQ(selection.current(kCamera).id, "test");
}

TEST(Devices, FilesAreRecognisedByTheirPrefix) {
  EXPECT_EQ(cameraFile(kFile), "/films/holiday in rome.mp4");
  EXPECT_EQ(cameraFile("file:"), "");
  EXPECT_FALSE(cameraFile("test"));
  EXPECT_FALSE(cameraFile("/films/file:x"));
}

// Uses the devices of this machine.
TEST(PluggedDevices, EachIsListedOnceAndCanBeFound) {
  for (const DeviceKind kind : {kCamera, kMicrophone}) {
    std::vector<std::string> seen;
    for (const PluggedDevice& plugged : pluggedDevices(kind)) {
      EXPECT_FALSE(plugged.device.name.empty());
      EXPECT_TRUE(isPluggable(plugged.device.id)) << plugged.device.id;
      EXPECT_EQ(std::count(seen.begin(), seen.end(), plugged.device.id), 0);
      EXPECT_TRUE(findPlugged(kind, plugged.device.id));
      seen.push_back(plugged.device.id);
    }
    EXPECT_FALSE(findPlugged(kind, "no such device"));
    EXPECT_FALSE(findPlugged(kind, ""));
  }
}

}  // namespace
}  // namespace NimboEngine
