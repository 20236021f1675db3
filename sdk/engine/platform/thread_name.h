// Sets the name under which debuggers and the system's tools list a thread.
//
// Thread: any.
// Failure: a thread that cannot be named keeps its creator's name.

#pragma once

#include <string_view>
#include <thread>

namespace NimboEngine {

// Linux shows 15 characters; longer names are cut. `thread` must be joinable.
void nameThread(std::thread& thread, std::string_view name);

}  // namespace NimboEngine
