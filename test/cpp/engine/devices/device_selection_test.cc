// Device selection, with devices that the test plugs and unplugs.

#include "devices/device_selection.h"

#include <gtest/gtest.h>

#include <set>
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
    return {DeviceId(camera), DeviceId(microphone),
            [this](DeviceKind kind) { return kind == kCamera ? cameras : microphones; }};
  }

  static void plug(std::vector<PluggedDevice>& devices, const std::string& id,
                   bool isDefault = false) {
    devices.push_back({{DeviceId(id), "Name of " + id, Transport::kUsb}, isDefault});
  }

  static void unplug(std::vector<PluggedDevice>& devices, const std::string& id) {
    std::erase_if(devices, [&](const auto& plugged) { return plugged.device.id == DeviceId(id); });
  }

  std::vector<PluggedDevice> cameras;
  std::vector<PluggedDevice> microphones;
};

std::vector<std::string> ids(const std::vector<Device>& devices) {
  std::vector<std::string> ids;
  for (const Device& device : devices) ids.push_back(device.id.text());
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
  EXPECT_EQ(select("", "").current(kCamera).id.text(), "test");
  EXPECT_EQ(select("", "").current(kMicrophone).id.text(), "test");
  plug(cameras, "a");
  plug(cameras, "b");
  plug(microphones, "m");
  EXPECT_EQ(select("", "").current(kMicrophone).id.text(), "m");
  plug(microphones, "n", true);
  EXPECT_EQ(select("", "").current(kCamera).id.text(), "a");
  EXPECT_EQ(select("", "").current(kMicrophone).id.text(), "n");
}

TEST_F(DeviceSelectionTest, NothingConfiguredMeansTheAudioOfTheFile) {
  plug(microphones, "m", true);
  EXPECT_EQ(select(kFile, "").current(kMicrophone).id.text(), "file");
  EXPECT_EQ(select(kFile, "").sources().microphone.text(), kFile);
}

TEST_F(DeviceSelectionTest, TheDefaultMicrophoneIsARealOne) {
  EXPECT_EQ(select("", "default").current(kMicrophone).id.text(), "");
  EXPECT_EQ(select("", "default").sources().microphone.text(), "default");
  plug(microphones, "m");
  EXPECT_EQ(select("", "default").current(kMicrophone).id.text(), "m");
}

TEST_F(DeviceSelectionTest, AMissingDeviceIsNotCurrent) {
  DeviceSelection selection = select("gone", "file");
  selection.beginCapture();
  EXPECT_EQ(selection.current(kCamera).id.text(), "");
  EXPECT_EQ(selection.current(kMicrophone).id.text(), "");
  EXPECT_EQ(selection.sources().camera.text(), "gone");
  EXPECT_EQ(selection.sources().microphone.text(), "file") << "without a file it has no audio";
}

TEST_F(DeviceSelectionTest, ADeviceIsChosenByIdOrName) {
  plug(cameras, "a");
  plug(microphones, "m");
  DeviceSelection selection = select("test", "test");
  for (const bool capturing : {false, true}) {
    if (capturing) selection.beginCapture();
    EXPECT_TRUE(selection.chooseId(kCamera, DeviceId("a")));
    EXPECT_EQ(selection.current(kCamera).name, "Name of a");
    EXPECT_EQ(selection.sources().camera.text(), "a");
    EXPECT_TRUE(selection.chooseName(kCamera, "Test pattern"));
    EXPECT_EQ(selection.current(kCamera).id.text(), "test");
    EXPECT_TRUE(selection.chooseName(kMicrophone, "Name of m"));
    EXPECT_EQ(selection.current(kMicrophone).id.text(), "m");
    EXPECT_TRUE(selection.chooseId(kMicrophone, DeviceId("test")));
    EXPECT_EQ(selection.sources().microphone.text(), "test");
  }
}

TEST_F(DeviceSelectionTest, OfTwoOfOneNameTheFirstIsChosen) {
  cameras = {{{DeviceId("a"), "Webcam", {}}, false}, {{DeviceId("b"), "Webcam", {}}, false}};
  DeviceSelection selection = select("test", "");
  EXPECT_TRUE(selection.chooseName(kCamera, "Webcam"));
  EXPECT_EQ(selection.current(kCamera).id.text(), "a");
}

TEST_F(DeviceSelectionTest, UnknownIdentifiersChangeNothing) {
  plug(cameras, "a");
  DeviceSelection selection = select("", "test");
  for (const bool capturing : {false, true}) {
    if (capturing) selection.beginCapture();
    for (const char* id : {"b", "A", "Name of a", "file", kFile, "default"}) {
      EXPECT_FALSE(selection.chooseId(kCamera, DeviceId(id))) << id;
    }
    for (const char* name : {"", "a", "name of a"}) {
      EXPECT_FALSE(selection.chooseName(kCamera, name)) << name;
    }
    EXPECT_FALSE(selection.chooseId(kMicrophone, DeviceId("file")));
    EXPECT_FALSE(selection.chooseId(kMicrophone, DeviceId("default")));
    EXPECT_EQ(selection.current(kCamera).id.text(), "a");
    EXPECT_EQ(selection.current(kMicrophone).id.text(), "test");
  }
}

TEST_F(DeviceSelectionTest, TheEmptyIdentifierGoesBackToTheSettings) {
  plug(cameras, "a");
  plug(microphones, "m");
  DeviceSelection named = select(kFile, "default");
  ASSERT_TRUE(named.chooseId(kCamera, DeviceId("test")));
  ASSERT_TRUE(named.chooseId(kMicrophone, DeviceId("test")));
  EXPECT_TRUE(named.chooseId(kCamera, DeviceId("")));
  EXPECT_TRUE(named.chooseId(kMicrophone, DeviceId("")));
  EXPECT_EQ(named.current(kCamera).id.text(), kFile);
  EXPECT_EQ(named.current(kMicrophone).id.text(), "m");
  DeviceSelection automatic = select("", "");
  ASSERT_TRUE(automatic.chooseId(kCamera, DeviceId("test")));
  EXPECT_TRUE(automatic.chooseId(kCamera, DeviceId("")));
  EXPECT_EQ(automatic.current(kCamera).id.text(), "a");
}

TEST_F(DeviceSelectionTest, AMicrophoneThatWasNotChosenFollowsTheFile) {
  DeviceSelection selection = select(kFile, "");
  selection.beginCapture();
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId("test")));
  EXPECT_EQ(selection.current(kMicrophone).id.text(), "test");
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId(kFile)));
  EXPECT_EQ(selection.current(kMicrophone).id.text(), "file");
  ASSERT_TRUE(selection.chooseId(kMicrophone, DeviceId("file")));
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId("test")));
  EXPECT_EQ(selection.current(kMicrophone).id.text(), "file") << "chosen, it stays";
  EXPECT_EQ(selection.sources().microphone.text(), kFile);
}

TEST_F(DeviceSelectionTest, PluggingChangesNothingWhileCapturing) {
  plug(cameras, "b");
  plug(microphones, "m");
  DeviceSelection selection = select("", "");
  selection.beginCapture();
  cameras.insert(cameras.begin(), {{DeviceId("a"), "A", {}}, false});
  plug(microphones, "n", true);
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId("b")));  // as it was
  EXPECT_EQ(selection.current(kCamera).id.text(), "b");
  EXPECT_EQ(selection.current(kMicrophone).id.text(), "m");
  EXPECT_EQ(selection.list(kCamera).size(), 3U);
}

TEST_F(DeviceSelectionTest, TheNextInTheListReplacesALostCamera) {
  for (const char* id : {"a", "b", "c"}) plug(cameras, id);
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId("b")));
  unplug(cameras, "b");
  const auto loss = selection.lose(kCamera, DeviceId("b"), kUnplugged);
  ASSERT_TRUE(loss);
  EXPECT_EQ(loss->lost.name, "Name of b");
  EXPECT_EQ(loss->next.name, "Name of a");
  EXPECT_EQ(selection.sources().camera.text(), "a");
  unplug(cameras, "c");
  EXPECT_FALSE(selection.lose(kCamera, DeviceId("c"), kUnplugged)) << "not in use";
  unplug(cameras, "a");
  EXPECT_EQ(selection.lose(kCamera, DeviceId("a"), kUnplugged).value().next.id.text(), "test");
  EXPECT_EQ(selection.current(kCamera).id.text(), "test");
}

TEST_F(DeviceSelectionTest, TheDefaultReplacesALostMicrophone) {
  plug(microphones, "m");
  plug(microphones, "n");
  plug(microphones, "o", true);
  DeviceSelection selection = select(kFile, "m");
  selection.beginCapture();
  unplug(microphones, "m");
  EXPECT_EQ(selection.lose(kMicrophone, DeviceId("m"), kUnplugged).value().next.id.text(), "o");
  microphones.clear();
  EXPECT_EQ(selection.lose(kMicrophone, DeviceId("o"), kUnplugged).value().next.id.text(), "file");
}

TEST_F(DeviceSelectionTest, AReturningDeviceIsNotUsedAgain) {
  plug(cameras, "a");
  plug(cameras, "b");
  DeviceSelection selection = select("test", "test");
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId("a")));
  selection.beginCapture();
  unplug(cameras, "a");
  ASSERT_TRUE(selection.lose(kCamera, DeviceId("a"), kUnplugged));
  plug(cameras, "a");
  EXPECT_EQ(selection.current(kCamera).id.text(), "b");
  selection.endCapture();
  selection.beginCapture();
  EXPECT_EQ(selection.current(kCamera).id.text(), "b") << "it counts as chosen";
  EXPECT_TRUE(selection.chooseId(kCamera, DeviceId("a")));
  EXPECT_EQ(selection.current(kCamera).id.text(), "a");
}

TEST_F(DeviceSelectionTest, AnUnchosenDeviceIsResolvedAtEachCapture) {
  plug(cameras, "a");
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  unplug(cameras, "a");
  ASSERT_TRUE(selection.lose(kCamera, DeviceId("a"), kUnplugged));
  plug(cameras, "a");
  EXPECT_EQ(selection.current(kCamera).id.text(), "test");
  selection.endCapture();
  selection.beginCapture();
  EXPECT_EQ(selection.current(kCamera).id.text(), "a");
}

TEST_F(DeviceSelectionTest, AChosenDeviceIsReplacedWhileNothingIsCaptured) {
  plug(cameras, "a");
  DeviceSelection selection = select("test", "test");
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId("a")));
  unplug(cameras, "a");
  const auto loss = selection.lose(kCamera, DeviceId("a"), kUnplugged);
  ASSERT_TRUE(loss);
  EXPECT_EQ(loss->lost.name, "Name of a");
  EXPECT_EQ(selection.current(kCamera).id.text(), "test");
  DeviceSelection automatic = select("", "test");
  EXPECT_FALSE(automatic.lose(kCamera, DeviceId("a"), kUnplugged)) << "it was not chosen";
}

// It is still in the list, perhaps in use elsewhere.
TEST_F(DeviceSelectionTest, AFailedDeviceIsNoReplacementForALostOne) {
  plug(cameras, "a");
  plug(cameras, "b");
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  EXPECT_EQ(selection.lose(kCamera, DeviceId("a"), kFailed).value().next.id.text(), "b");
  EXPECT_EQ(selection.lose(kCamera, DeviceId("b"), kFailed).value().next.id.text(), "test");
  EXPECT_TRUE(selection.chooseId(kCamera, DeviceId("b")));
  EXPECT_EQ(selection.lose(kCamera, DeviceId("b"), kFailed).value().next.id.text(), "a")
      << "a choice forgets what failed before";
}

TEST_F(DeviceSelectionTest, AReconnectedFailedDeviceIsAReplacement) {
  plug(cameras, "a");
  plug(cameras, "b");
  DeviceSelection selection = select("", "test");
  selection.beginCapture();
  ASSERT_TRUE(selection.lose(kCamera, DeviceId("a"), kFailed));
  EXPECT_FALSE(selection.lose(kCamera, DeviceId("a"), kUnplugged)) << "b is used already";
  unplug(cameras, "b");
  EXPECT_EQ(selection.lose(kCamera, DeviceId("b"), kUnplugged).value().next.id.text(), "a");
}

TEST_F(DeviceSelectionTest, TestSourcesAndFilesAreNotReplaced) {
  plug(cameras, "a");
  DeviceSelection selection = select(kFile, "");
  selection.beginCapture();
  EXPECT_FALSE(selection.lose(kCamera, DeviceId(kFile), kFailed));
  EXPECT_FALSE(selection.lose(kMicrophone, DeviceId("file"), kFailed));
  ASSERT_TRUE(selection.chooseId(kCamera, DeviceId("test")));
  EXPECT_FALSE(selection.lose(kCamera, DeviceId("test"), kFailed));
  EXPECT_EQ(selection.current(kCamera).id.text(), "test");
}

TEST_F(DeviceSelectionTest, FixedEntriesDoNotWaitForDevices) {
  DeviceSelection selection(DeviceId(kFile), DeviceId::test(),
                            [](DeviceKind) -> std::vector<PluggedDevice> {
                              ADD_FAILURE() << "scanned for devices";
                              return {};
                            });
  selection.beginCapture();
  EXPECT_TRUE(selection.chooseId(kCamera, DeviceId("test")));
  EXPECT_TRUE(selection.chooseId(kMicrophone, DeviceId("file")));
  EXPECT_EQ(selection.current(kCamera).id.text(), "test");
}

// Uses the devices of this machine.
TEST(PluggedDevices, EachIsListedOnceAndCanBeFound) {
  for (const DeviceKind kind : {kCamera, kMicrophone}) {
    std::set<DeviceId> seen;
    for (const PluggedDevice& plugged : pluggedDevices(kind)) {
      EXPECT_FALSE(plugged.device.name.empty());
      EXPECT_TRUE(plugged.device.id.isPluggable()) << plugged.device.id.text();
      EXPECT_TRUE(seen.insert(plugged.device.id).second) << plugged.device.id.text();
      EXPECT_TRUE(findPlugged(kind, plugged.device.id));
    }
    EXPECT_FALSE(findPlugged(kind, DeviceId("no such device")));
    EXPECT_FALSE(findPlugged(kind, DeviceId()));
  }
}

}  // namespace
}  // namespace NimboEngine
