#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ixo/support/secure_text.h"

namespace custom_bidi::support {

/// The whole of a file of the running executable's folder; nullopt when there is none. Throws a
/// std::runtime_error when it cannot be read, is no regular file, or has more than 16 MiB. `shown_path` receives
/// the whole path as UTF-8.
std::optional<SecureText> ReadBesideHost(const char* name, std::string& shown_path);

/// Puts a text at the end of a file of that folder, which is made when there is none. Throws a
/// std::runtime_error when that cannot be done.
void AppendBesideHost(const char* name, std::string_view text);

}  // namespace custom_bidi::support
