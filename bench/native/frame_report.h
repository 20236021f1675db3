// Reads a test clip's frame and prints when it arrived: the line "frame NANOSECONDS CODE LUMA",
// with the monotonic clock's time, the number coded in the frame's upper sixteenth (32 black or
// white columns, highest bit first; -1 where there is none) and the mean luma of the rest.
//
// Thread: any; a line is written whole. Failure: none, a frame too small for a code has code -1.

#pragma once

#include <csignal>
#include <cstdint>

namespace AvBench {

struct LumaPlane {
  const uint8_t* data;
  int stride;  // bytes
  int width;   // pixels
  int height;  // pixels
};

void reportFrame(const LumaPlane& luma);

// Prints "WORD TEXT", unbuffered.
void reportEvent(const char* word, const char* text);

// Blocks SIGTERM and SIGINT in all threads that are started later, until wait() has received one:
// the program ends in order. Thread: main, before any other exists.
class Termination {
 public:
  Termination();
  void wait() const;
  // Returns whether one has been received, without waiting.
  bool requested() const;

 private:
  sigset_t signals_;
};

}  // namespace AvBench
