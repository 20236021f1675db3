// Which servers are trusted on encrypted connections. Without a word from here, those whose
// certificates the system's authorities have signed.
//
// Thread: any.
// Failure: logged; what was trusted before stays so.

#pragma once

#include <string>

namespace NimboEngine {

// From now on, in the whole process, `file`'s authorities (PEM) are the trusted ones. An empty name
// changes nothing.
void trustCertificates(const std::string& file);

}  // namespace NimboEngine
