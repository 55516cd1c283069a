#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The numbers of a status answer in words. The names are those of RFC 2790.
namespace custom_bidi_tools {

/// The answer's three members.
struct StatusAnswer {
  int64_t printer_state = 0;
  int64_t response_code = 0;
  uint32_t status_code = 0;
};

/// Takes an answer's text apart; false when it is not a status answer.
bool TryParseStatus(const std::string& json, StatusAnswer& answer);

std::string PrinterStateName(int64_t state);
std::string ResponseCodeText(int64_t code);

/// The error state that a status code stands for. The code is the hexadecimal text of
/// hrPrinterDetectedErrorState read as a number, so the count of bytes is lost: a code up to 0xFF is read as
/// one byte, a longer one by its first two bytes. The two bytes 00 80 are thus taken for the single byte 80.
struct ErrorState {
  std::vector<std::string> names;  ///< in the order of the bits
  bool has_unknown_bits = false;   ///< a bit without a name is set, or something behind the second byte
};
ErrorState ReadErrorState(uint32_t status_code);

/// The whole answer, one line for each member. A printer that could not be read is told in one line.
std::string ExplainStatus(const StatusAnswer& answer);

}  // namespace custom_bidi_tools
