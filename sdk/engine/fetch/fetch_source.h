// GStreamer element "nimbosrc": the only source of players for http and https, and for playlists in
// files. GStreamer's HLS demultiplexer creates its own sources, for any address that a playlist
// names; this one accepts only addresses of the scheme of fetch_uri.h, into which it rewrites every
// playlist that passes through it. So each address that is fetched was approved here.
//
// Pads: "src". Format BYTES, push only. Seeking: if the server supports ranges and states the
// length.
// Failure: an error message of the domain RESOURCE; the player's FetchAccess has been notified
//   before.
//
// Thread: any, as for every element.
// Ownership: as for every element.

#pragma once

namespace NimboEngine {

inline constexpr char kFetchSourceFactory[] = "nimbosrc";

// Registers the element's factory; GStreamer must be initialised.
bool registerFetchSource();

}  // namespace NimboEngine
