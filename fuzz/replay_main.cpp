// Runs a fuzz target over files, and over all files of folders, without a fuzzer.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz_input.h"

namespace {

int g_replayed = 0;

void Replay(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      Replay(entry.path());
    }
    return;
  }
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  // Copied once more, since a vector may hold more than it shows.
  const std::unique_ptr<uint8_t[]> input(new uint8_t[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), input.get());
  std::printf("%d: %s, %zu bytes\n", ++g_replayed, path.filename().string().c_str(), bytes.size());
  std::fflush(stdout);
  custom_bidi::fuzz::LLVMFuzzerTestOneInput(input.get(), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) {
    Replay(arguments[i]);
  }
  return g_replayed > 0 ? 0 : 1;
}
