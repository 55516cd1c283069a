#pragma once

#include <cstdlib>
#include <map>
#include <optional>

#include "base/utf.h"
#include "tests/platform/platform_fixture.h"

/// The folder of the test is its home.
class PalTest : public custom_bidi::PlatformTest {
 protected:
  PalTest() { SetVariable("CUSTOMBIDI_HOME", folder_.c_str()); }
  ~PalTest() override {
    for (const auto& [name, value] : former_) {
      SetVariable(name, value ? value->c_str() : nullptr);
    }
  }

  /// Sets a variable of the process until the test ends, or removes it when the value is null.
  void SetVariable(const std::string& name, const char* value) {
    const char* const former = std::getenv(name.c_str());
    former_.try_emplace(name, former != nullptr ? std::optional<std::string>(former) : std::nullopt);
    value != nullptr ? setenv(name.c_str(), value, 1) : unsetenv(name.c_str());
  }

 private:
  std::map<std::string, std::optional<std::string>> former_;
};
