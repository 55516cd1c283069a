#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pal/pal.h"
#include "pal/test_hooks.h"

/// Sets a variable of the process, or removes it when the value is null, and puts the former value back at
/// its end.
class ScopedVariable {
 public:
  ScopedVariable(std::string name, const char* value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name_;
  std::optional<std::string> former_;
};

/// Every test has an empty home of its own, and must give back all that it acquired.
class PalTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::filesystem::path WriteFileIn(std::string_view name, std::string_view content);
  void WriteRegistry(std::string_view content) { WriteFileIn("registry.reg", content); }

  std::filesystem::path home_;

 private:
  std::optional<ScopedVariable> home_variable_;
};
