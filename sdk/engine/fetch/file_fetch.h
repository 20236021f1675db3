// Fetches a regular file, and decides what a playlist in one may name: regular files in its own
// folder or below, with links resolved.
//
// Thread, memory, failure: see Fetch. Reading a local file is not expected to block for long.

#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "fetch/fetch.h"
#include "fetch/fetch_uri.h"

namespace NimboEngine {

class FileFetch final : public Fetch {
 public:
  explicit FileFetch(FetchUri uri) : uri_(std::move(uri)) {}
  ~FileFetch() override;
  FileFetch(const FileFetch&) = delete;
  FileFetch& operator=(const FileFetch&) = delete;

  std::optional<FetchFailure> open(const ByteRange& range) override;
  Read read(std::vector<uint8_t>& bytes) override;
  void stop() override { stopped_ = true; }
  bool isStopped() const override { return stopped_; }
  std::optional<uint64_t> length() const override { return length_; }
  bool isSeekable() const override { return true; }
  NameAddress nameAddress() const override;

 private:
  const FetchUri uri_;
  std::atomic<bool> stopped_{false};
  int file_ = -1;
  std::string path_;  // with links resolved
  uint64_t length_ = 0;
  uint64_t position_ = 0;
  std::optional<uint64_t> end_;
};

}  // namespace NimboEngine
