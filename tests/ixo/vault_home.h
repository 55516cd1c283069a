#pragma once

#include <filesystem>

namespace custom_bidi::vault {

/// Has the vault in a home of the test's own from now on, which need not exist, and gives its path. Empty
/// where the vault has no home.
std::filesystem::path UseOwnHome();

}  // namespace custom_bidi::vault
