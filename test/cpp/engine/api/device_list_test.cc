#include "api/device_list.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

TEST(DeviceList, ReturnsTheRecordsInOrder) {
  DeviceList list;
  list.assign(
      {{DeviceId("id-a"), "A", Transport::kUsb}, {DeviceId("id-b"), "B", Transport::kVirtual}});
  ASSERT_EQ(list.getCount(), 2u);
  EXPECT_STREQ(list.getDevice(0).deviceName.c_str(), "A");
  EXPECT_STREQ(list.getDevice(0).deviceId.c_str(), "id-a");
  EXPECT_EQ(list.getDevice(0).transportType, 2);
  EXPECT_STREQ(list.getDevice(1).deviceName.c_str(), "B");
  EXPECT_EQ(list.getDevice(1).transportType, 4);
}

TEST(DeviceList, AnIndexPastTheEndGivesAnEmptyRecord) {
  DeviceList list;
  list.assign({{DeviceId("id"), "name", Transport::kUnknown}});
  EXPECT_STREQ(list.getDevice(1).deviceName.c_str(), "");
  list.assign({});
  EXPECT_EQ(list.getCount(), 0u);
  EXPECT_STREQ(list.getDevice(0).deviceId.c_str(), "");
}

}  // namespace
}  // namespace NimboEngine
