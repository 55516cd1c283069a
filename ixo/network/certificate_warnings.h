#pragma once

#include <bitset>
#include <vector>

#include "src/platform.h"

namespace custom_bidi::network {

/// The problems (X509_V_ERR_...) that the verification of a device's certificate met with.
using VerifyProblems = std::bitset<128>;

/// A contract's reader takes no more than these.
inline constexpr size_t kMaxWarnings = 9;

/// The problems in the codes of wininet.h and wincrypt.h, each once, the most important first, and no more
/// than kMaxWarnings.
std::vector<DWORD> WarningsOf(const VerifyProblems& problems);

}  // namespace custom_bidi::network
