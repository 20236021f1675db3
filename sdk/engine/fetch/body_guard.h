// Examines what is fetched, before anything else gets it: a playlist is kept until it is whole, and
// passed on as rewritten; what is kept in memory by those who asked for it, and the tags in front
// of media, are held to their limits; all else passes as it comes.
//
// Thread: one at a time.
// Memory: a playlist, up to its limit, and its rewritten form.
// Failure: what feed() and finish() answer; final.

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

  // Nothing more comes. `rest` becomes what was held back.
  std::optional<FetchFailure> finish(std::vector<uint8_t>& rest);

  // Whether it is a playlist; known once something was passed on, or finish() was called.
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
