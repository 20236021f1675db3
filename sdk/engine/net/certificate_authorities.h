// TLS trust: the certificate authorities that are trusted on encrypted connections, in the whole
// process. Initially the system's.
//
// Thread: any; GStreamer must have been started (see gst/runtime.h), since this registers GIO
//   types.
// Failure: an error text; the previous authorities stay trusted.

#pragma once

#include <string>

namespace NimboEngine {

// Trusts the authorities in `file` (PEM) from now on, and only those. An empty name changes
// nothing. Returns an empty text, or an error text if they cannot be used.
std::string trustCertificates(const std::string& file);

}  // namespace NimboEngine
