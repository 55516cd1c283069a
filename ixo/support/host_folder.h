#pragma once

#include <cstdio>
#include <string>

namespace custom_bidi::device {

enum class Opening { kRead, kAppend };

/// Opens a file of the running executable's folder in binary, and makes one to append to; the caller closes
/// it. The name is plain ASCII. Null when that cannot be done, with ENOENT in errno when there is no such
/// file. `shown_path` receives the whole path as UTF-8.
std::FILE* OpenBesideHost(const char* name, Opening opening, std::string& shown_path);

}  // namespace custom_bidi::device
