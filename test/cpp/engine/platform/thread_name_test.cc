#include "platform/thread_name.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <future>
#include <string>

namespace NimboEngine {
namespace {

std::string shownName(const char* name) {
  std::promise<void> release;
  std::thread thread([&release] { release.get_future().wait(); });
  nameThread(thread, name);
  std::array<char, 16> shown{};
  pthread_getname_np(thread.native_handle(), shown.data(), shown.size());
  release.set_value();
  thread.join();
  return shown.data();
}

TEST(ThreadName, IsWhatTheSystemShows) {
  EXPECT_EQ(shownName("view"), "view");
}

TEST(ThreadName, IsCutWhereTheSystemWouldRefuseIt) {
  EXPECT_EQ(shownName("a name of 21 letters."), "a name of 21 le");
}

}  // namespace
}  // namespace NimboEngine
