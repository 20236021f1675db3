#include "fetch/file_fetch.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "fetch/local_file.h"

namespace NimboEngine {
namespace {

namespace fs = std::filesystem;

constexpr Origin kLocalFile{SourceScheme::kFile, Reach::kLocal};

class FileFetchTest : public testing::Test {
 protected:
  FileFetchTest() {
    std::string name = (fs::temp_directory_path() / "file_fetch_test_XXXXXX").string();
    folder_ = fs::canonical(mkdtemp(name.data()));
    fs::create_directories(folder_ / "list" / "below");
    write("list/list.m3u8", "#EXTM3U\n");
    write("list/a b.ts", "0123456789");
    write("list/below/c.ts", "c");
    write("outside.ts", "outside");
  }
  ~FileFetchTest() override { fs::remove_all(folder_); }

  void write(const std::string& name, const std::string& text) {
    std::ofstream(folder_ / name) << text;
  }

  std::string path(const std::string& name) const { return (folder_ / name).string(); }

  fs::path folder_;
};

TEST_F(FileFetchTest, ReadsAPart) {
  FileFetch file({1, FetchKind::kMedia, kLocalFile, path("list/a b.ts")});
  ASSERT_FALSE(file.open({2, 5}));
  EXPECT_EQ(file.length(), 10U);
  std::vector<uint8_t> bytes;
  ASSERT_EQ(file.read(bytes), Fetch::Read::kData);
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "234");
  EXPECT_EQ(file.read(bytes), Fetch::Read::kEnd);
}

TEST_F(FileFetchTest, NamesFilesOfItsFolder) {
  FileFetch file({1, FetchKind::kStream, std::nullopt, path("list/list.m3u8")});
  ASSERT_FALSE(file.open({}));
  const NameAddress name = file.nameAddress();
  const auto named = [&](const std::string& reference) {
    return name(reference, FetchKind::kMedia).value_or("refused");
  };
  const std::string prefix = "nimbo:1:media:file:";
  EXPECT_EQ(named("a%20b.ts"), prefix + path("list/a b.ts"));
  EXPECT_EQ(named("below/../below/c.ts"), prefix + path("list/below/c.ts"));
  EXPECT_EQ(named("file://" + path("list/below/c.ts")), prefix + path("list/below/c.ts"));
  EXPECT_EQ(named(path("list/below/c.ts")), prefix + path("list/below/c.ts"));
  EXPECT_EQ(named("missing.ts"), prefix + path("list/missing.ts")) << "it may come into being";
  fs::create_symlink(path("outside.ts"), path("list/link.ts"));
  fs::create_symlink(folder_, path("list/folder"));
  for (const std::string& reference :
       {std::string("../outside.ts"), std::string("%2e%2e/outside.ts"), path("outside.ts"),
        "file://" + path("outside.ts"), std::string("link.ts"), std::string("folder/outside.ts"),
        std::string("/dev/stdin"), std::string("http://host/"), std::string("fd://0"), path("list"),
        std::string("../list2/a.ts"), std::string("..")}) {
    EXPECT_EQ(named(reference), "refused") << reference;
  }
}

TEST_F(FileFetchTest, ALinkThatCameLaterIsNotFollowed) {
  fs::create_symlink(path("outside.ts"), path("list/later.ts"));
  FileFetch file({1, FetchKind::kMedia, kLocalFile, path("list/later.ts")});
  const auto failure = file.open({});
  ASSERT_TRUE(failure);
  EXPECT_TRUE(failure->isFinal);
}

TEST_F(FileFetchTest, OnlyRegularFilesArePlayed) {
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  for (const std::string& name : {path("fifo"), path("list"), std::string("/dev/zero")}) {
    const LocalFile file = examineLocalFile(name);
    ASSERT_TRUE(file.failure) << name;
    EXPECT_EQ(file.failure->code, LumoRtc::kLumoLiveErrorPlayRejected);
    EXPECT_EQ(file.failure->text, "only regular files can be played");
  }
  const LocalFile missing = examineLocalFile(path("missing"));
  ASSERT_TRUE(missing.failure);
  EXPECT_EQ(missing.failure->code, LumoRtc::kLumoLiveErrorStreamNotFound);
}

TEST_F(FileFetchTest, PlaylistsAreRecognised) {
  EXPECT_TRUE(examineLocalFile(path("list/list.m3u8")).isPlaylist);
  EXPECT_FALSE(examineLocalFile(path("list/a b.ts")).isPlaylist);
  EXPECT_FALSE(examineLocalFile(path("list/a b.ts")).failure);
}

}  // namespace
}  // namespace NimboEngine
