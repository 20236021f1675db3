// Properties of an open file, from the kernel.
//
// Thread: any.

#pragma once

#include <string>

namespace NimboEngine {

// The path without symbolic links; empty when `file` is not open or the kernel does not answer.
std::string pathOfOpenFile(int file);

}  // namespace NimboEngine
