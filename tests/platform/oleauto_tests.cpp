#include <cstring>

#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

using OleAutoTest = PlatformTest;

TEST_F(OleAutoTest, LengthStandsInFrontOfTheText) {
  const Text text(WStringView(W("a\0b"), 3));
  UINT bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text.Get()) - 4, 4);
  EXPECT_EQ(bytes, 6u);
  EXPECT_EQ(SysStringByteLen(text.Get()), 6u);
  EXPECT_EQ(SysStringLen(text.Get()), 3u);
  EXPECT_EQ(text.Get()[2], W('b'));
  EXPECT_EQ(text.Get()[3], 0);
}

TEST_F(OleAutoTest, CopyEndsAtTheFirstNul) {
  BSTR copy = SysAllocString(W("a\0b"));
  EXPECT_EQ(SysStringLen(copy), 1u);
  SysFreeString(copy);
}

TEST_F(OleAutoTest, OddNumberOfBytes) {
  BSTR text = SysAllocStringByteLen("abc", 3);
  EXPECT_EQ(SysStringByteLen(text), 3u);
  EXPECT_EQ(SysStringLen(text), 1u);
  EXPECT_EQ(std::memcmp(text, "abc\0", 4), 0);
  SysFreeString(text);
}

TEST_F(OleAutoTest, NullIsAnEmptyText) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  EXPECT_EQ(SysStringByteLen(nullptr), 0u);
  SysFreeString(nullptr);
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = VT_BSTR;
  variant.bstrVal = nullptr;
  EXPECT_EQ(VariantClear(&variant), S_OK);
}

TEST_F(OleAutoTest, ClearMakesAVariantEmpty) {
  VARIANT variant;
  VariantInit(&variant);
  EXPECT_EQ(variant.vt, VT_EMPTY);
  variant.vt = VT_BSTR;
  variant.bstrVal = SysAllocString(W("text"));
  EXPECT_EQ(VariantClear(&variant), S_OK);
  EXPECT_EQ(variant.vt, VT_EMPTY);
  for (const int type : {VT_NULL, VT_I2, VT_I4, VT_R8, VT_DATE, VT_BOOL, VT_I1, VT_UI1, VT_UI4, VT_UI8}) {
    variant.vt = static_cast<VARTYPE>(type);
    variant.llVal = -1;
    EXPECT_EQ(VariantClear(&variant), S_OK) << type;
    EXPECT_EQ(variant.vt, VT_EMPTY) << type;
  }
}

TEST_F(OleAutoTest, UnknownTypeIsNotCleared) {
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = 0x0FFF;
  EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE);
  EXPECT_EQ(variant.vt, 0x0FFF);
}

}  // namespace
}  // namespace custom_bidi
