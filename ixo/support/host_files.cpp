#include "ixo/support/host_files.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "ixo/support/host_system.h"
#include "ixo/support/secure_text.h"

namespace custom_bidi::support {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

constexpr size_t kMaxFileBytes = size_t{16} * 1024 * 1024;

}  // namespace

std::optional<SecureText> ReadBesideHost(const char* name, std::string& shown_path) {
  const File file(OpenBesideHost(name, Opening::kRead, shown_path));
  if (!file) {
    if (errno == ENOENT) {
      return std::nullopt;
    }
    if (errno == ENOMEM) {
      throw std::bad_alloc();
    }
    throw std::runtime_error("the file cannot be opened");
  }
  // Wherever it has been it is wiped, since it may hold secrets; so there is no buffer of the system's,
  // either.
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  std::vector<char, WipingAllocator<char>> content;
  std::vector<char, WipingAllocator<char>> block(16384);
  while (const size_t length = std::fread(block.data(), 1, block.size(), file.get())) {
    content.insert(content.end(), block.data(), block.data() + length);
    if (content.size() > kMaxFileBytes) {
      throw std::runtime_error("the file is larger than 16 MiB");
    }
  }
  if (std::ferror(file.get())) {
    throw std::runtime_error("the file cannot be read");
  }
  return SecureText(std::string_view(content.data(), content.size()));
}

void AppendBesideHost(const char* name, std::string_view text) {
  std::string shown_path = name;
  const File file(OpenBesideHost(name, Opening::kAppend, shown_path));
  if (!file || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
      std::fflush(file.get()) != 0) {
    throw std::runtime_error(shown_path + ": the file cannot be written");
  }
}

}  // namespace custom_bidi::support
