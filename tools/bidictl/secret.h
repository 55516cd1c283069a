#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace custom_bidi_tools {

/// Overwrites memory in a way that no compiler leaves out.
void Wipe(void* memory, size_t size_bytes);

/// Bytes that are nobody else's business: they lie in one block, which is never copied and is wiped when the
/// object goes.
class Secret {
 public:
  static constexpr size_t kMaxBytes = 65536;

  Secret();
  Secret(Secret&&) noexcept = default;
  Secret& operator=(Secret&&) = delete;
  ~Secret();

  std::span<const uint8_t> bytes() const { return {block_.get(), size_}; }
  /// Where the next bytes may be written; there is room for one line end more than kMaxBytes.
  std::span<uint8_t> room() { return {block_.get() + size_, kCapacity - size_}; }
  /// Takes that many of the bytes written there as the secret's.
  void Grow(size_t size_bytes) { size_ += size_bytes; }
  /// Drops one LF or CR LF at the end.
  void DropLineEnd();
  bool operator==(const Secret& other) const;

 private:
  static constexpr size_t kCapacity = kMaxBytes + 2;

  std::unique_ptr<uint8_t[]> block_;
  size_t size_ = 0;
};

}  // namespace custom_bidi_tools
