#pragma once

/// What this layer keeps for its tests: the books on what it has handed out, and the calls that are to fail.
/// Costs a call one relaxed increment and one look at a thread-local number.

namespace pal {

enum class Kind {
  kHandle,
  kModule,
  kComInitialisation,
  kBstr,
  kDomObject,
  kBlock,
  kRegistryKey,
  kPrinter,
  kCertificate
};
inline constexpr int kKindCount = 9;

void CountUp(Kind kind);
void CountDown(Kind kind);
long LiveCount(Kind kind);

/// True when the call of `function` that asks is the one that a test wants to fail. Each function that can
/// fail asks once, before it has done anything.
bool MustFail(const char* function);

}  // namespace pal
