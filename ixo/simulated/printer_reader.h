#pragma once

#include <string_view>

#include "ixo/simulated/printer.h"
#include "ixo/support/json.h"

namespace custom_bidi::simulated {

/// The text of printer.json of this folder, put in at build time.
extern const std::string_view kDefaultPrinter;

/// Makes a printer of its JSON text. Throws a DescriptionError when that is no JSON, with the line and
/// column, and when it says something that means nothing here.
Printer ReadPrinter(std::string_view json_text);

/// Adds the faults of one operation to those that `printer` has: one fault, or an array of them. With
/// `subject`, which is an item's or OID's name, they concern that alone and name no other.
void AddFaults(const support::Json& json,
               Operation operation,
               const WString* subject,
               const std::string& where,
               Printer& printer);

/// Adds what the file's member "certificate" says, and reads the file that it names.
void AddCertificate(const support::Json& json, const std::string& where, Printer& printer);

/// The name of a file beside the executable: plain ASCII, and no path.
std::string FileNameFrom(const support::Json& json, const std::string& where);

/// Adds the faults listed by operation in the file's member "faults".
void AddFaultsByOperation(const support::Json& json, const std::string& where, Printer& printer);

}  // namespace custom_bidi::simulated
