// Runs a fuzz target on every file of a directory, without a fuzzer.
//
//   fuzz_replay_path_finder fuzz/corpus/path_finder
//
// Fails when an input fails (the last name printed is its own), when there is none, and when the
// inputs together leave a mark of the target unreached.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz_target.hpp"

namespace {

void replay(const std::filesystem::path& path) {
  std::cerr << path.string() << std::endl;
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  // A copy of its own size, so that a sanitizer sees a read past the end.
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " DIRECTORY\n";
    return 2;
  }
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const std::filesystem::path& file : files) replay(file);
  if (files.empty()) std::cerr << argv[1] << ": no inputs\n";
  const bool complete = korrin_fuzz::Mark::areAllReached();
  if (!complete) std::cerr << "The inputs leave something unreached:\n";
  return files.empty() || !complete ? 1 : 0;
}
