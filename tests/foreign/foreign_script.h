#pragma once

/// What the test and the foreign family tell one another, in one record that the test program exports. Read by
/// two compilers, so nothing but plain numbers and pointers.

enum class ForeignKind : int { kDword, kObject, kRethrownDword, kAccessViolation };

struct ForeignScript {
  // Set by the test.
  const char* point = nullptr;  // what raises, by the name that the family calls it; null: nothing does
  int nth_call = 1;             // of the point raises, counted from 1
  ForeignKind kind = ForeignKind::kDword;
  unsigned code = 0;
  const unsigned char* certificate = nullptr;
  unsigned certificate_bytes = 0;
  // Counted by the family.
  int calls = 0;  // of the point
  int alive = 0;  // frames not left, thrown objects not destroyed and providers not given back; each once
  int wrong = 0;  // arguments that the contract does not allow
};
