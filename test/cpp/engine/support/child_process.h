// A program run by a test. It ends with the test at the latest, also when the test crashes.
//
// Thread: one at a time.
// Failure: a program that cannot be started throws std::system_error.

#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace NimboEngine::test {

class ChildProcess {
 public:
  // `arguments[0]` is searched on the path. Its output goes to `outputFile`, "" for nowhere.
  explicit ChildProcess(std::vector<std::string> arguments, const std::string& outputFile = "");
  ~ChildProcess();  // kills it and waits
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void signal(int number) const;

  // Waits for its end; the exit code, or -1 when a signal ended it.
  int wait();

 private:
  pid_t pid_ = -1;
};

// Runs a program to its end and returns what it wrote to standard output.
std::string outputOf(std::vector<std::string> arguments);

}  // namespace NimboEngine::test
