#pragma once

#include <string>

namespace custom_bidi::network {

/// The address of the user's session bus; empty when there is none, or only a bus that would first have to be
/// started, or when the process runs with other rights than its user's.
std::string SessionBusAddress();

}  // namespace custom_bidi::network
