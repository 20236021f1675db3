// The entries that are there on every machine. Real devices may stand in front of them.

#include "devices/devices.h"

#include <gtest/gtest.h>

#include <set>

namespace NimboEngine {
namespace {

constexpr char kFile[] = "file:/films/holiday in rome.mp4";

TEST(Devices, TestSourcesAreAlwaysThere) {
  const Device pattern = listCameras("").back();
  EXPECT_EQ(pattern.id, "test");
  EXPECT_EQ(pattern.name, "Test pattern");
  EXPECT_EQ(pattern.transport, Transport::kVirtual);
  const Device tone = listMicrophones("").back();
  EXPECT_EQ(tone.id, "test");
  EXPECT_EQ(tone.name, "Test tone");
}

TEST(Devices, IdentifiersAreUnique) {
  for (const auto& devices : {listCameras(kFile), listMicrophones(kFile)}) {
    std::set<std::string> ids;
    for (const Device& device : devices) {
      EXPECT_FALSE(device.id.empty());
      EXPECT_FALSE(device.name.empty());
      EXPECT_TRUE(ids.insert(device.id).second) << device.id;
    }
  }
}

TEST(Devices, AConfiguredFileHasEntriesOfItsOwn) {
  const Device camera = findCamera(kFile).value();
  EXPECT_EQ(camera.id, kFile);
  EXPECT_EQ(camera.name, "holiday in rome.mp4");
  const Device microphone = findMicrophone("file", kFile).value();
  EXPECT_EQ(microphone.name, "Sound of holiday in rome.mp4");
  EXPECT_EQ(listCameras(kFile).size(), listCameras("").size() + 1);
}

TEST(Devices, NothingChosenMeansTheFirstCamera) {
  EXPECT_EQ(findCamera("").value().id, listCameras("").front().id);
}

TEST(Devices, NothingChosenMeansTheSoundOfTheFile) {
  EXPECT_EQ(findMicrophone("", kFile).value().id, "file");
}

TEST(Devices, NothingChosenMeansTheDefaultMicrophoneElseTheTone) {
  const auto standard = findMicrophone("default", "");
  EXPECT_EQ(findMicrophone("", "").value().id, standard ? standard->id : "test");
}

TEST(Devices, WhatIsNotThereIsNotFound) {
  EXPECT_FALSE(findCamera("no such camera"));
  EXPECT_FALSE(findMicrophone("no such microphone", ""));
  EXPECT_FALSE(findMicrophone("file", "")) << "without a file it has no sound";
  EXPECT_FALSE(openCamera("no such camera"));
  EXPECT_FALSE(openMicrophone("no such microphone"));
}

TEST(Devices, FilesAreToldByTheirPrefix) {
  EXPECT_EQ(cameraFile(kFile), "/films/holiday in rome.mp4");
  EXPECT_EQ(cameraFile("file:"), "");
  EXPECT_FALSE(cameraFile("test"));
  EXPECT_FALSE(cameraFile("/films/file:x"));
}

}  // namespace
}  // namespace NimboEngine
