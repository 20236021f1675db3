#include "support/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace NimboEngine::test {

ChildProcess::ChildProcess(std::vector<std::string> arguments, const std::string& outputFile) {
  // setpriv becomes the program, which then dies with this process.
  arguments.insert(arguments.begin(), {"setpriv", "--pdeathsig", "KILL", "--"});
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const std::string& output = outputFile.empty() ? "/dev/null" : outputFile;
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const int error = posix_spawnp(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), arguments[4]);
}

ChildProcess::~ChildProcess() {
  signal(SIGKILL);
  wait();
}

void ChildProcess::signal(int number) const {
  if (pid_ > 0) kill(pid_, number);
}

int ChildProcess::wait() {
  if (pid_ <= 0) return -1;
  int status = 0;
  waitpid(std::exchange(pid_, -1), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string outputOf(std::vector<std::string> arguments) {
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("nimbo-test-output-" + std::to_string(getpid()));
  ChildProcess(std::move(arguments), file).wait();
  std::ifstream stream(file);
  std::string text{std::istreambuf_iterator<char>(stream), {}};
  std::filesystem::remove(file);
  return text;
}

}  // namespace NimboEngine::test
