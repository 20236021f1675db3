#include "platform/open_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace NimboEngine {
namespace {

namespace fs = std::filesystem;

TEST(OpenFile, HasThePathWithoutLinks) {
  const fs::path folder = fs::canonical(fs::path(testing::TempDir()));
  const fs::path target = folder / "open_file_target";
  const fs::path link = folder / "open_file_link";
  std::ofstream(target) << "content";
  fs::remove(link);
  fs::create_symlink(target, link);
  const int file = open(link.c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(pathOfOpenFile(file), target);
  close(file);
  fs::remove(link);
  fs::remove(target);
}

TEST(OpenFile, HasNoPathWhenItIsNotOpen) {
  EXPECT_EQ(pathOfOpenFile(-1), "");
}

}  // namespace
}  // namespace NimboEngine
