#include "ixo/support/value.h"

#include <limits>
#include <new>

namespace custom_bidi::support {
namespace {

template <class Integer>
std::pair<int64_t, int64_t> Range() {
  return {std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max()};
}

}  // namespace

Value Value::Nothing(VARTYPE type) {
  return Value(type);
}

Value Value::Integer(VARTYPE type, int64_t integer) {
  Value value(type);
  value.integer_ = integer;
  return value;
}

Value Value::Real(double real) {
  Value value(VT_R8);
  value.real_ = real;
  return value;
}

Value Value::Text(WStringView text) {
  Value value(VT_BSTR);
  value.text_.reset(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
  if (!value.text_) {
    throw std::bad_alloc();
  }
  return value;
}

Value Value::NullText() {
  return Value(VT_BSTR);
}

void Value::CopyTo(VARIANT* variant) const {
  // Receivers read the 32-bit payload whatever the type says, so what lies beyond a shorter one is always
  // zero.
  variant->llVal = 0;
  variant->vt = type_;
  switch (type_) {
    case VT_I1:
      variant->cVal = static_cast<decltype(variant->cVal)>(integer_);
      break;
    case VT_UI1:
      variant->bVal = static_cast<decltype(variant->bVal)>(integer_);
      break;
    case VT_I2:
      variant->iVal = static_cast<decltype(variant->iVal)>(integer_);
      break;
    case VT_UI2:
      variant->uiVal = static_cast<decltype(variant->uiVal)>(integer_);
      break;
    case VT_I4:
      variant->lVal = static_cast<decltype(variant->lVal)>(integer_);
      break;
    case VT_UI4:
      variant->ulVal = static_cast<decltype(variant->ulVal)>(integer_);
      break;
    case VT_BOOL:
      variant->boolVal = integer_ != 0 ? VARIANT_TRUE : VARIANT_FALSE;
      break;
    case VT_R8:
      variant->dblVal = real_;
      break;
    case VT_BSTR:
      variant->bstrVal = text_.get();
      break;
    default:
      variant->llVal = integer_;
      break;
  }
}

std::pair<int64_t, int64_t> RangeOf(VARTYPE type) {
  switch (type) {
    case VT_I1:
      return Range<int8_t>();
    case VT_UI1:
      return Range<uint8_t>();
    case VT_I2:
      return Range<int16_t>();
    case VT_UI2:
      return Range<uint16_t>();
    case VT_I4:
      return Range<int32_t>();
    case VT_UI4:
      return Range<uint32_t>();
    default:
      return {0, -1};
  }
}

}  // namespace custom_bidi::support
