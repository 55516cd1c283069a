#pragma once

#include <string>

namespace pal {

/// The folder that holds `drive_c/` and `registry.reg`, as a POSIX path without a slash at its end:
/// $CUSTOMBIDI_HOME, else $XDG_DATA_HOME/custom-bidi, else ~/.local/share/custom-bidi. A variable that is
/// empty counts as not set. Read anew at each call; the folder need not exist.
std::string HomeFolder();

/// The file that holds the registry.
std::string RegistryFilePath();

}  // namespace pal
