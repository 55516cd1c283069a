#include "tools/bidictl/secret.h"

#include <algorithm>

namespace custom_bidi_tools {

void Wipe(void* memory, size_t size_bytes) {
  auto* byte = static_cast<volatile uint8_t*>(memory);
  for (size_t i = 0; i < size_bytes; ++i)
    byte[i] = 0;
}

Secret::Secret() : block_(std::make_unique<uint8_t[]>(kCapacity)) {}

Secret::~Secret() {
  if (block_)
    Wipe(block_.get(), kCapacity);
}

void Secret::DropLineEnd() {
  if (size_ == 0 || block_[size_ - 1] != '\n')
    return;
  --size_;
  if (size_ > 0 && block_[size_ - 1] == '\r')
    --size_;
}

bool Secret::operator==(const Secret& other) const {
  return std::ranges::equal(bytes(), other.bytes());
}

}  // namespace custom_bidi_tools
