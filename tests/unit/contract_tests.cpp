// The positions of the device libraries' operations, called as a foreign library's would be: by number.

#include <gtest/gtest.h>

#include <string>

#include "src/deviceio/ixo_contract.h"

namespace custom_bidi {
namespace {

/// Calls the operation at `position` of an object's table. On 64-bit machines the object is the first
/// argument.
template <class Result, class... Arguments>
Result CallPosition(void* object, size_t position, Arguments... arguments) {
  using Operation = Result (*)(void*, Arguments...);
  void* const* const table = *static_cast<void***>(object);
  return reinterpret_cast<Operation>(table[position])(object, arguments...);
}

class FakeAddress final : public ixo::PrinterAddress {
 public:
  LONG IsActive() override { return 42; }
  const WCHAR* GetAddressString() override { return W("address"); }
};

/// Both readers have their one operation behind the same reserved positions.
template <class Interface>
class FakeReader : public Interface {
 public:
  void Reserved0() override { last_call = "Reserved0"; }
  void Reserved1() override { last_call = "Reserved1"; }
  void Reserved2() override { last_call = "Reserved2"; }
  void Reserved3() override { last_call = "Reserved3"; }
  void Reserved4() override { last_call = "Reserved4"; }

  HRESULT Answer(const WCHAR* name, VARIANT* value, LONG flag) {
    last_call = "GetValue";
    last_name = name;
    last_flag = flag;
    value->vt = VT_I4;
    value->lVal = 7;
    return S_FALSE;
  }

  std::string last_call;
  WString last_name;
  LONG last_flag = 0;

 protected:
  ~FakeReader() = default;
};

class FakeCollection final : public FakeReader<ixo::DataCollection> {
 public:
  HRESULT GetValue(const WCHAR* name, VARIANT* value, LONG flag) override {
    return Answer(name, value, flag);
  }
};

class FakeProvider final : public FakeReader<ixo::OidProvider> {
 public:
  HRESULT GetValue(const WCHAR* oid, VARIANT* value) override { return Answer(oid, value, 0); }
};

template <class Interface, class Fake>
void ExpectReservedPositions(Fake& fake) {
  void* const object = static_cast<Interface*>(&fake);
  for (size_t position = 0; position < 5; ++position) {
    CallPosition<void>(object, position);
    EXPECT_EQ(fake.last_call, "Reserved" + std::to_string(position));
  }
}

TEST(Contract, PrinterAddressPositions) {
  FakeAddress fake;
  void* const object = static_cast<ixo::PrinterAddress*>(&fake);
  EXPECT_EQ(CallPosition<LONG>(object, 0), 42);
  EXPECT_EQ(WString(CallPosition<const WCHAR*>(object, 1)), W("address"));
}

TEST(Contract, DataCollectionPositions) {
  FakeCollection fake;
  ExpectReservedPositions<ixo::DataCollection>(fake);
  void* const object = static_cast<ixo::DataCollection*>(&fake);
  VARIANT value;
  VariantInit(&value);
  EXPECT_EQ((CallPosition<HRESULT, const WCHAR*, VARIANT*, LONG>(object, 5, W("Name"), &value, 1)), S_FALSE);
  EXPECT_EQ(fake.last_call, "GetValue");
  EXPECT_EQ(fake.last_name, W("Name"));
  EXPECT_EQ(fake.last_flag, 1);
  EXPECT_EQ(value.lVal, 7);
}

TEST(Contract, OidProviderPositions) {
  FakeProvider fake;
  ExpectReservedPositions<ixo::OidProvider>(fake);
  void* const object = static_cast<ixo::OidProvider*>(&fake);
  VARIANT value;
  VariantInit(&value);
  EXPECT_EQ((CallPosition<HRESULT, const WCHAR*, VARIANT*>(object, 5, W("1.3.6.1"), &value)), S_FALSE);
  EXPECT_EQ(fake.last_call, "GetValue");
  EXPECT_EQ(fake.last_name, W("1.3.6.1"));
  EXPECT_EQ(value.lVal, 7);
}

}  // namespace
}  // namespace custom_bidi
