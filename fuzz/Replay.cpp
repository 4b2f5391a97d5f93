// Runs a fuzz target on every file that is named, or that lies in a directory that is: for builds without libFuzzer.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/Target.h"

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    fs::path const path = argv[i];
    if (!fs::is_directory(path)) {
      files.push_back(path);
      continue;
    }
    for (auto const& entry : fs::recursive_directory_iterator(path)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  for (fs::path const& path : files) {
    std::ifstream file(path, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), {}};
    std::fprintf(stderr, "%s\n", path.c_str());  // the last one is the one that failed
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs replayed\n", files.size());
  return files.empty() ? 1 : 0;
}
