#pragma once

#include <cstdio>
#include <string>

namespace custom_bidi::simulated {

/// Opens a file of the running executable's folder for reading in binary; the caller closes it. Null when
/// that cannot be done, with ENOENT in errno when there is no such file. `shown_path` receives the whole path
/// as UTF-8.
std::FILE* OpenBesideHost(const char* name, std::string& shown_path);

}  // namespace custom_bidi::simulated
