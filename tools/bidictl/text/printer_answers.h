#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/bidictl/text/bidictl_text.h"

/// The library's answers, which are JSON, as they are shown: items as rows, and the numbers of a status in
/// words. The names are those of RFC 2790. And what `--json` gives for answers that are none.
namespace custom_bidi_tools {

/// The rows of a bidi answer, in the order of their names. An item that is "Valid" with a list of values
/// beside it becomes one row with the list. Nothing when the answer is not well-formed JSON, as happens when
/// the device's text holds a quote or a control character, for the library copies it as it is.
std::optional<std::vector<Row>> ItemRows(const std::string& answer);

/// The three members of a status answer.
struct StatusAnswer {
  int64_t printer_state = 0;
  int64_t response_code = 0;
  uint32_t status_code = 0;

  /// False when the answer says that the printer could not be read.
  bool WasRead() const { return response_code != 1; }
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

/// A JSON object (RFC 8259) as it is printed: on one line, in UTF-8, its members in the order in which they came.
/// A text's bytes that are not UTF-8 become U+FFFD.
class JsonObject {
 public:
  JsonObject& Add(const std::string& name, const std::string& text);
  JsonObject& Add(const std::string& name, const char* text) { return Add(name, std::string(text)); }
  JsonObject& Add(const std::string& name, int64_t number);
  JsonObject& Add(const std::string& name, const std::vector<JsonObject>& list);

  std::string ToText() const { return '{' + members_ + '}'; }

 private:
  JsonObject& AddValue(const std::string& name, const std::string& value);

  std::string members_;
};

/// A list of objects, on one line.
std::string JsonList(const std::vector<JsonObject>& list);

/// The whole status answer, one row for each member. A printer that could not be read is one
/// row without a value.
std::vector<Row> ExplainStatus(const StatusAnswer& answer);

}  // namespace custom_bidi_tools
