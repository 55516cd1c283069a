// What the password and certificate exports do with arguments that are missing.

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

class EntryChecks : public CallTest {};

TEST_F(EntryChecks, MissingNamesAreRefused) {
  const WString name = ToWide("name");
  const WString queue = ToWide(kQueue);
  const WString empty;
  const uint8_t password[] = {'s', 0};
  for (const CustomBidiChar* missing : {static_cast<const CustomBidiChar*>(nullptr), empty.c_str()}) {
    const CustomBidiChar* const rows[][3] = {{missing, name.c_str(), queue.c_str()},
                                             {name.c_str(), missing, queue.c_str()},
                                             {name.c_str(), name.c_str(), missing},
                                             {missing, missing, missing}};
    for (const auto& [user, target, queue_name] : rows) {
      EXPECT_EQ(SavePassword(password, 2, user, target, queue_name), 0);
      EXPECT_EQ(DeletePassword(user, target, queue_name), 0);
      EXPECT_EQ(IsPasswordPresent(user, target, queue_name), 0);
    }
    EXPECT_EQ(SavePassword(nullptr, 0, missing, name.c_str(), queue.c_str()), 0);
    DeviceCertificate record = {};
    for (const CustomBidiDword mode : {0U, 1U, 7U}) {
      EXPECT_EQ(GetDeviceCertificate(name.c_str(), missing, mode), nullptr);
      EXPECT_EQ(VerifyCertificateValidity(name.c_str(), missing, mode, &record), 0);
      EXPECT_EQ(VerifyCertificateValidity(nullptr, missing, mode, nullptr), 0);
    }
    EXPECT_EQ(record.warning_count, 0U);
  }
  EXPECT_EQ(LeftOpen(), "");
}

TEST_F(EntryChecks, ReleasingARecordThatHoldsNothing) {
  EXPECT_TRUE(DeleteDeviceCertificate(nullptr));
  DeviceCertificate record = {};
  EXPECT_TRUE(DeleteDeviceCertificate(&record));
  EXPECT_TRUE(DeleteDeviceCertificate(&record)) << "a second release does no harm";
  EXPECT_EQ(record.identifier, nullptr);
  EXPECT_EQ(record.certificate, nullptr);
  EXPECT_EQ(record.warnings, nullptr);
}

}  // namespace
}  // namespace custom_bidi_test
