// Examines a file before it is played: devices, sockets, FIFOs and folders are refused, and
// playlists, which are played differently, are recognised.
//
// Thread: any. Does not wait for a FIFO's other end.

#pragma once

#include <optional>
#include <string>

#include "fetch/fetch_failure.h"

namespace NimboEngine {

struct LocalFile {
  bool isPlaylist = false;
  std::optional<FetchFailure> failure;
};

LocalFile examineLocalFile(const std::string& path);

}  // namespace NimboEngine
