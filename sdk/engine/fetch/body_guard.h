// Examines fetched data before it is passed on: a playlist is held back until it is complete, and
// passed on rewritten; limits are enforced on data that the receiver keeps in memory, and on the
// tags in front of media; everything else passes unchanged.
//
// Thread: one at a time.
// Memory: a playlist, up to its limit, and its rewritten form.
// Failure: returned by feed() and finish(); final.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "fetch/fetch_failure.h"
#include "fetch/leading_tag.h"
#include "fetch/playlist.h"
#include "fetch/source_settings.h"

namespace NimboEngine {

class BodyGuard {
 public:
  BodyGuard(FetchKind kind, const SourceSettings& settings, NameAddress nameAddress);

  // Takes `bytes` and leaves in them what may be passed on.
  std::optional<FetchFailure> feed(std::vector<uint8_t>& bytes);

  // Ends the body. `rest` becomes the data that was held back.
  std::optional<FetchFailure> finish(std::vector<uint8_t>& rest);

  // Whether the body is a playlist; known once something was passed on, or finish() was called.
  bool isPlaylist() const { return isPlaylist_; }

 private:
  std::optional<FetchFailure> pass(std::vector<uint8_t>& bytes);

  const FetchKind kind_;
  const SourceSettings settings_;
  const NameAddress nameAddress_;
  bool isKnown_ = false;
  bool isPlaylist_ = false;
  std::vector<uint8_t> held_;
  std::size_t passed_ = 0;
  LeadingTag tag_;
};

}  // namespace NimboEngine
