#include "fetch/local_file.h"

#include <vector>

#include "fetch/file_fetch.h"

namespace NimboEngine {

LocalFile examineLocalFile(const std::string& path) {
  constexpr uint64_t kBeginning = 16;
  FetchUri uri;
  uri.address = path;
  FileFetch file(uri);
  LocalFile result;
  result.failure = file.open({0, kBeginning});
  std::vector<uint8_t> bytes;
  if (!result.failure && file.read(bytes) == Fetch::Read::kData) {
    result.isPlaylist = beginsPlaylist(bytes).value_or(false);
  }
  return result;
}

}  // namespace NimboEngine
