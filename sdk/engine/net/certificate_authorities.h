// TLS trust: the certificate authorities that are trusted on encrypted connections, in the whole
// process. Initially the system's.
//
// Thread: any; GStreamer must have been started (see gst/runtime.h), since this registers GIO
//   types.
// Failure: a Result; the previous authorities stay trusted.

#pragma once

#include <string>

#include "base/result.h"

namespace NimboEngine {

// Trusts the authorities in `file` (PEM) from now on, and only those. An empty name changes
// nothing.
Result<void> trustCertificates(const std::string& file);

}  // namespace NimboEngine
