#include "tools/bidictl/platform/queue_store.h"

#include <algorithm>

#include "tools/bidictl/text/bidictl_text.h"

namespace custom_bidi_tools {

namespace {

void CheckText(const std::string& what, const std::string& text) {
  if (text.empty()) {
    throw QueueError("the " + what + " is empty");
  }
  if (!ToWide(text)) {
    throw QueueError("the " + what + " is not valid UTF-8");
  }
  const auto is_control = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
  if (std::ranges::any_of(text, is_control)) {
    throw QueueError("the " + what + " holds a control character");
  }
}

}  // namespace

void CheckQueueName(const std::string& name) {
  CheckText("queue name", name);
  if (name.find_first_of("\\,") != std::string::npos) {
    throw QueueError("a queue name must not hold a backslash or a comma: '" + name + "'");
  }
}

void CheckPortName(const std::string& port) {
  CheckText("port name", port);
}

void MakeFolder(const std::filesystem::path& folder) {
  std::error_code code;
  std::filesystem::create_directories(folder, code);
  if (code) {
    throw QueueError("the folder " + folder.string() + " cannot be made: " + code.message());
  }
}

void MakeTraceFolder() {
  MakeFolder(TraceFilePath().parent_path());
}

}  // namespace custom_bidi_tools
