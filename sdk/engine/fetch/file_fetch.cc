#include "fetch/file_fetch.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/glib_ptr.h"
#include "platform/open_file.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

constexpr std::size_t kReadBytes = 65536;

// Resolves `reference` in a playlist of that folder to a path; empty if there is none.
std::string pathIn(const std::string& folder, const std::string& reference) {
  if (const GlibPtr<gchar> scheme(g_uri_parse_scheme(reference.c_str())); scheme) {
    const GlibPtr<gchar> path(g_filename_from_uri(reference.c_str(), nullptr, nullptr));
    return path ? path.get() : "";
  }
  const GlibPtr<gchar> plain(g_uri_unescape_string(reference.c_str(), nullptr));
  if (!plain) return {};
  return plain.get()[0] == '/' ? plain.get() : fmt::format("{}/{}", folder, plain.get());
}

}  // namespace

FileFetch::~FileFetch() {
  if (file_ >= 0) close(file_);
}

// Opens without waiting for the writer of a FIFO, since the kind of file is not known yet.
std::optional<FetchFailure> FileFetch::open(const ByteRange& range) {
  file_ = ::open(uri_.address.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file_ < 0) {
    return FetchFailure{errno == ENOENT ? kLumoLiveErrorStreamNotFound : kLumoLiveErrorPlayRejected,
                        fmt::format("a file cannot be opened: {}", g_strerror(errno))};
  }
  struct stat about {};
  if (fstat(file_, &about) != 0 || !S_ISREG(about.st_mode)) {
    return refusedFetch("only regular files can be played");
  }
  path_ = pathOfOpenFile(file_);
  // The address in the playlist was checked with links resolved; a link may have been created
  // since.
  if (uri_.origin && path_ != uri_.address) {
    return refusedFetch("a local playlist may name files of its own folder only");
  }
  length_ = static_cast<uint64_t>(about.st_size);
  position_ = range.start;
  end_ = range.end;
  return std::nullopt;
}

Fetch::Read FileFetch::read(std::vector<uint8_t>& bytes) {
  bytes.clear();
  if (stopped_) return Read::kStopped;
  std::size_t wanted = kReadBytes;
  if (end_) wanted = static_cast<std::size_t>(std::min<uint64_t>(wanted, *end_ - position_));
  bytes.resize(wanted);
  const ssize_t count = pread(file_, bytes.data(), wanted, static_cast<off_t>(position_));
  bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  position_ += bytes.size();
  if (count > 0) return Read::kData;
  if (count == 0) return Read::kEnd;
  failure_ = {kLumoLiveErrorPlayRejected,
              fmt::format("a file cannot be read: {}", g_strerror(errno)), false};
  return Read::kFailed;
}

NameAddress FileFetch::nameAddress() const {
  const std::string folder = std::filesystem::path(path_).parent_path().string();
  return [folder, player = uri_.player](const std::string& reference,
                                        FetchKind kind) -> Result<std::string> {
    std::error_code code;
    const std::string path =
        std::filesystem::weakly_canonical(pathIn(folder, reference), code).string();
    if (code || !path.starts_with(folder.ends_with('/') ? folder : folder + "/")) {
      return refused("a local playlist may name files of its own folder only");
    }
    return FetchUri{player, kind, Origin{SourceScheme::kFile, Reach::kLocal}, path}.text();
  };
}

}  // namespace NimboEngine
