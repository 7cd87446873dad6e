// The driver of a fuzz target in builds without libFuzzer: gives it every file of the directories
// and files that are named, whole and cut at every length.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/FuzzRequire.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t LONGEST_CUT = 512;

std::vector<fs::path> inputsOf(const fs::path& place) {
  if (!fs::is_directory(place)) return {place};
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(place)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  return files;
}

void replay(const fs::path& path) {
  std::cout << path.filename().string() << std::endl;  // the last one printed is the one that ends
  std::ifstream file(path, std::ios::binary);
  const std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  for (size_t size = 0; size < std::min(bytes.size(), LONGEST_CUT); ++size) {
    // In a block of its own size, so that a sanitizer sees a read past its end.
    const std::vector<unsigned char> cut(bytes.begin(),
                                         bytes.begin() + static_cast<std::ptrdiff_t>(size));
    LLVMFuzzerTestOneInput(cut.data(), cut.size());
  }
}

}  // namespace

int main(int argc, char** argv) {
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const fs::path& path : inputsOf(argv[i])) {
      replay(path);
      ++count;
    }
  }
  std::cout << count << " inputs replayed" << std::endl;
  return count == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
