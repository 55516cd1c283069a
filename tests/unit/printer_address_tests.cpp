#include <gtest/gtest.h>

#include "src/deviceio/ixo_wrapper.h"
#include "src/exports/module_paths.h"
#include "tests/unit/trace_file.h"

namespace custom_bidi {
namespace {

constexpr AddressKind kNoKind{4};

class PrinterAddress : public test::TraceFileTest {
 protected:
  void SetUp() override {
    TraceFileTest::SetUp();
    WCHAR folder[1024] = {};
    ASSERT_EQ(GetModuleFolder(folder, std::size(folder), false), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(ixo_.LoadIxoLibrary((WString(folder) + W("\\fake_io.dll")).c_str()), DWORD{ERROR_SUCCESS});
  }

  /// The trace's message about an address that is not made.
  WString FailureOf(const WCHAR* name, AddressKind kind) {
    return MessageOf(TextOf([&] { EXPECT_EQ(ixo_.GetAddress(name, kind), nullptr); }));
  }

  IxoWrapper ixo_;
};

TEST_F(PrinterAddress, IsMadeByTheEntryPointOfItsKind) {
  struct Case {
    AddressKind kind;
    const WCHAR* made;
  };
  const Case cases[] = {
      {AddressKind::QueueName, W("by queue")},
      {AddressKind::PortName, W("by port")},
      {AddressKind::IpAddress, W("by IP address")},
      {AddressKind::HostName, W("by host")},
  };
  for (const Case& c : cases) {
    ixo::PrinterAddress* address = nullptr;
    const WString line = TextOf([&] { address = ixo_.GetAddress(W("printer"), c.kind); });
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(WString(address->GetAddressString()), c.made);
    EXPECT_EQ(MessageOf(line),
              W("Get the printer address from the name [printer] success ==> [") + WString(c.made) + W("]"));
  }
}

TEST_F(PrinterAddress, OfAnUnknownKindIsNone) {
  const WString line = FailureOf(W("printer"), kNoKind);
  EXPECT_NE(line.find(W("Getting exported function point failed (CreateAddressFunctionFromxxxx)")),
            WString::npos);
}

TEST_F(PrinterAddress, FailsAsTheTraceSays) {
  EXPECT_EQ(FailureOf(W("none"), AddressKind::HostName),
            W("Get the printer address from the name [none] failed!!"));
  // A missing name is not worth a line, nor is a raised code.
  EXPECT_EQ(TextOf([&] {
              EXPECT_EQ(ixo_.GetAddress(W(""), kNoKind), nullptr);
              EXPECT_EQ(ixo_.GetAddress(nullptr, AddressKind::HostName), nullptr);
              EXPECT_EQ(ixo_.GetAddress(W("code"), AddressKind::HostName), nullptr);
            }),
            W(""));
}

TEST_F(PrinterAddress, IsKeptWhenOnlyItsTextFails) {
  const WString line = TextOf([&] { EXPECT_NE(ixo_.GetAddress(W("mute"), AddressKind::HostName), nullptr); });
  EXPECT_EQ(MessageOf(line), W("Error in IxoWrapper::GetAddress!!"));
}

TEST_F(PrinterAddress, NeedsALibrary) {
  IxoWrapper bare;
  EXPECT_EQ(bare.GetAddress(W("printer"), AddressKind::PortName), nullptr);
  DWORD connected = 7;
  EXPECT_EQ(bare.IsPortConnected(W("printer"), connected), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(connected, 0u);
}

TEST_F(PrinterAddress, IsConnectedWhenItsAnswerIsNotZero) {
  DWORD connected = 7;
  EXPECT_EQ(ixo_.IsPortConnected(W("printer"), connected), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(connected, 1u);
  EXPECT_EQ(ixo_.IsPortConnected(W("none"), connected), DWORD{ERROR_INVALID_DATA});
  EXPECT_EQ(connected, 0u);
  EXPECT_EQ(ixo_.IsPortConnected(W(""), connected), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(ixo_.IsPortConnected(W("code"), connected), DWORD{ERROR_GEN_FAILURE});
}

}  // namespace
}  // namespace custom_bidi
