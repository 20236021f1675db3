// Properties of an open file, from the kernel.
//
// Thread: any.

#pragma once

#include <string>

namespace NimboEngine {

// Returns the path with symbolic links resolved; empty if `file` is not open or its path is
// unknown.
std::string pathOfOpenFile(int file);

}  // namespace NimboEngine
