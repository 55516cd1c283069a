// A configuration and, behind a byte 0, a data map, through a whole call to libraries that answer from memory.

#include <fstream>

#include "fuzz/fuzz_input.h"
#include "include/custom_bidi.h"
#include "pal/test_hooks.h"
#include "tools/bidictl/platform/queue_store.h"

namespace custom_bidi::fuzz {
namespace {

std::filesystem::path PrepareHost() {
  if (custom_bidi_tools::ListQueues().empty()) {
    custom_bidi_tools::AddQueue("Fuzz", "192.0.2.10");
  }
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::filesystem::path host = PrepareHost();
  static std::vector<WCHAR> answer(1 << 20);
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const size_t end = std::min(text.find('\0'), size);
  std::ofstream(host / "fuzz_whole_call.xml") << text.substr(0, end);
  std::ofstream(host / "vexmoixodatamap.xml") << text.substr(std::min(end + 1, size));
  answer[0] = 0;
  const bool is_answered = GetBidiResponse(answer.data(), W("Fuzz"), nullptr, nullptr, 0) != FALSE;
  Demand(is_answered == (answer[0] == '{'), "an answer is written when there is one");
  Demand(!is_answered || WStringView(answer.data()).ends_with(W("\"}")), "an answer is whole");
  Demand(pal::LiveObjects() == 0, "nothing is left open");
  return 0;
}

}  // namespace custom_bidi::fuzz
