// TLS trust: the certificate authorities whose servers are trusted on encrypted connections, in the
// whole process. At first the system's.
//
// Thread: any; GStreamer must have been started (see gst/runtime.h), since this makes types of
//   GIO's.
// Failure: a reason, and what was trusted before stays so.

#pragma once

#include <string>

namespace NimboEngine {

// From now on `file`'s authorities (PEM) are the trusted ones. An empty name changes nothing.
// Returns an empty text, or why they cannot be used.
std::string trustCertificates(const std::string& file);

}  // namespace NimboEngine
