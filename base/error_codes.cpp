#include "base/error_codes.h"

#include <algorithm>
#include <iterator>

namespace base {
namespace {

struct Message {
  DWORD code;
  std::u16string_view text;  // without its CR LF
};

// Sorted by code.
constexpr Message kMessages[] = {
    {0, u"The operation completed successfully."},
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {8, u"Not enough memory resources are available to process this command."},
    {13, u"The data is invalid."},
    {14, u"Not enough memory resources are available to complete this operation."},
    {29, u"The system cannot write to the specified device."},
    {31, u"A device attached to the system is not functioning."},
    {33, u"The process cannot access the file because another process has locked a portion of the file."},
    {50, u"The request is not supported."},
    {53, u"The network path was not found."},
    {80, u"The file exists."},
    {87, u"The parameter is incorrect."},
    {112, u"There is not enough space on the disk."},
    {122, u"The data area passed to a system call is too small."},
    {123, u"The filename, directory name, or volume label syntax is incorrect."},
    {124, u"The system call level is not correct."},
    {126, u"The specified module could not be found."},
    {127, u"The specified procedure could not be found."},
    {183, u"Cannot create a file when that file already exists."},
    {193, u"%1 is not a valid Win32 application."},
    {203, u"The system could not find the environment option that was entered."},
    {206, u"The filename or extension is too long."},
    {223, u"The file size exceeds the limit allowed and cannot be saved."},
    {234, u"More data is available."},
    {317, u"The system cannot find message text for message number 0x%1 in the message file for %2."},
    {1062, u"The service has not been started."},
    {1168, u"Element not found."},
    {1169, u"There was no match for the specified key in the index."},
    {1225, u"The remote computer refused the network connection."},
    {1232,
     u"The network location cannot be reached. For information about network troubleshooting, see Windows "
     u"Help."},
    {1236, u"The network connection was aborted by the local system."},
    {1312, u"A specified logon session does not exist. It may already have been terminated."},
    {1460, u"This operation returned because the timeout period expired."},
    {1801, u"The printer name is invalid."},
    {6000, u"The specified file could not be encrypted."},
    {6001, u"The specified file could not be decrypted."},
    {11001, u"No such host is known."},
    {0x80004005, u"Unspecified error"},
    {0x8009310B, u"ASN1 bad tag value met."},
};
static_assert(std::is_sorted(std::begin(kMessages),
                             std::end(kMessages),
                             [](const Message& a, const Message& b) { return a.code < b.code; }));

}  // namespace

std::u16string_view TextOfCode(DWORD code) {
  if ((code & 0xFFFF0000) == 0x80070000) {
    code &= 0xFFFF;
  }
  const auto found =
      std::lower_bound(std::begin(kMessages), std::end(kMessages), code,
                       [](const Message& message, DWORD wanted) { return message.code < wanted; });
  return found != std::end(kMessages) && found->code == code ? found->text : std::u16string_view();
}

}  // namespace base
