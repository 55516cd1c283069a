// Runs a fuzz target over files, and over all files of folders, without a fuzzer.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz_input.h"

namespace {

void Replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  // Copied once more, since a vector may hold more than it shows.
  const std::unique_ptr<uint8_t[]> input(new uint8_t[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), input.get());
  std::printf("%s: %zu bytes\n", path.filename().string().c_str(), bytes.size());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(input.get(), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
  int replayed = 0;
  for (int i = 1; i < count; ++i) {
    if (!std::filesystem::is_directory(arguments[i])) {
      Replay(arguments[i]);
      ++replayed;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
      Replay(entry.path());
      ++replayed;
    }
  }
  std::printf("%d files\n", replayed);
  return replayed > 0 ? 0 : 1;
}
