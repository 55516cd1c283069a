#include "pal/message.h"

#include <algorithm>
#include <string_view>

#include "pal/accounting.h"
#include "pal/allocation.h"
#include "pal/guarded.h"

namespace {

struct Message {
  LONG code;
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
    {234, u"More data is available."},
    {317, u"The system cannot find message text for message number 0x%1 in the message file for %2."},
    {1168, u"Element not found."},
    {1169, u"There was no match for the specified key in the index."},
    {1801, u"The printer name is invalid."},
};
static_assert(std::is_sorted(std::begin(kMessages),
                             std::end(kMessages),
                             [](const Message& a, const Message& b) { return a.code < b.code; }));

const Message* FindMessage(DWORD code) {
  const auto found =
      std::lower_bound(std::begin(kMessages), std::end(kMessages), code,
                       [](const Message& message, DWORD wanted) { return DWORD(message.code) < wanted; });
  return found != std::end(kMessages) && DWORD(found->code) == code ? found : nullptr;
}

}  // namespace

DWORD FormatMessageW(DWORD flags,
                     const void* source,
                     DWORD code,
                     DWORD language,
                     WCHAR* buffer,
                     DWORD size_chars,
                     va_list* arguments) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
  constexpr DWORD kUserDefaultLanguage = 0x400;
  if (flags != kFlags || !buffer)
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});
  WCHAR*& allocated = *reinterpret_cast<WCHAR**>(buffer);
  allocated = nullptr;
  if (pal::MustFail("FormatMessageW"))
    return pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
  if (source || language != kUserDefaultLanguage || size_chars != 0 || arguments)
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});

  const Message* message = FindMessage(code);
  if (!message)
    return pal::FailWith(ERROR_MR_MID_NOT_FOUND, DWORD{0});
  if (message->text.find(u'%') != std::u16string_view::npos)
    return pal::FailWith(ERROR_INVALID_PARAMETER, DWORD{0});

  constexpr std::u16string_view kLineEnd = u"\r\n";
  const size_t length = message->text.size() + kLineEnd.size();
  allocated = static_cast<WCHAR*>(pal::AllocateBlock((length + 1) * sizeof(WCHAR)));
  if (!allocated)
    return pal::FailWith(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
  std::copy(kLineEnd.begin(), kLineEnd.end(),
            std::copy(message->text.begin(), message->text.end(), allocated));
  return static_cast<DWORD>(length);
}
