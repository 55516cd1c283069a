#pragma once

#include <string>

#include "ixo/simulated/library.h"

namespace custom_bidi::simulated {

/// The certificate library's one load, for its entry points and its objects.
Library& CertificateLibrary();

/// Notes a call in the log that the printer's file names, if it names one: a line of the operation and the
/// object that it is about. The first line of a load goes before it.
void NoteCall(Operation operation, const std::string& object);

/// Notes a call of an object's operation, then enters it.
Course EnterNoted(Operation operation, const std::string& object, WStringView subject = {});

}  // namespace custom_bidi::simulated
