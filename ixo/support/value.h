#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi::support {

/// The value of an item or SNMP object. It owns its text, to which every VARIANT filled from it points: a
/// text lives as long as the printer's description, and a receiver that frees it frees it twice.
class Value {
 public:
  /// VT_EMPTY or VT_NULL.
  static Value Nothing(VARTYPE type);
  /// One of the integer types or VT_BOOL, with `integer` in the type's range; of any other type the payload.
  static Value Integer(VARTYPE type, int64_t integer);
  /// VT_R8.
  static Value Real(double real);
  /// VT_BSTR.
  static Value Text(WStringView text);
  /// VT_BSTR without a text.
  static Value NullText();

  /// Sets the type and the whole payload of `variant` without looking at what it held.
  void CopyTo(VARIANT* variant) const;

 private:
  struct FreeBstr {
    void operator()(OLECHAR* text) const { SysFreeString(text); }
  };

  explicit Value(VARTYPE type) : type_(type) {}

  VARTYPE type_;
  int64_t integer_ = 0;
  double real_ = 0;
  std::unique_ptr<OLECHAR, FreeBstr> text_;
};

/// The range of an integer type; {0, -1}, which holds nothing, for a type that is none.
std::pair<int64_t, int64_t> RangeOf(VARTYPE type);

}  // namespace custom_bidi::support
