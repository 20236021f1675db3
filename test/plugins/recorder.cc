#include "recorder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

namespace TestPlugins {
namespace {

// One for each library that this file is linked into: it lives from dlopen to dlclose.
class Library {
 public:
  Library() { record("open"); }
  ~Library() { record("close"); }

  // Opened for each line, so that nothing is held when the library ends.
  void record(const char* call, const std::string& argument = {}) const {
    const int file = ::open(log_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (file < 0) return;
    const bool fromLoader = std::this_thread::get_id() == loader_;
    const std::string line =
        name_ + "\t" + call + "\t" + argument + "\t" + (fromLoader ? "loader" : "other") + "\n";
    [[maybe_unused]] const auto written = ::write(file, line.data(), line.size());
    ::close(file);
  }

 private:
  // The file's name without folder and ending.
  std::string fileName() const {
    Dl_info info{};
    if (::dladdr(this, &info) == 0) return "unknown";
    const std::string path = info.dli_fname;
    const std::string file = path.substr(path.rfind('/') + 1);
    return file.substr(0, file.rfind('.'));
  }

  static std::string logOfEnvironment() {
    // Nothing in these tests changes the environment while a library is opened.
    const char* name = std::getenv("LUMO_PLUGIN_LOG");  // NOLINT(concurrency-mt-unsafe)
    return name ? name : "";
  }

  const std::string name_ = fileName();
  const std::string log_ = logOfEnvironment();
  const std::thread::id loader_ = std::this_thread::get_id();
};

const Library library;

}  // namespace

void record(const char* call, const std::string& argument) {
  library.record(call, argument);
}

}  // namespace TestPlugins
