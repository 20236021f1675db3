// Feeds a fuzz target every file of its corpus, once: a regression test for the fuzzers' findings.
//
// Usage: fuzz_<target> FOLDER

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

#include "fuzz.h"

namespace {

std::vector<char> contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  std::set<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    files.insert(entry.path());
  }
  for (const auto& file : files) {
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout);  // the last name before a crash matters most
    const std::vector<char> input = contentOf(file);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
  }
  NimboEngine::test::require(!files.empty(), "there are inputs");
}
