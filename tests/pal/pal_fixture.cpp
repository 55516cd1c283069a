#include "tests/pal/pal_fixture.h"

#include <cstdlib>
#include <fstream>

namespace fs = std::filesystem;

namespace {

void SetVariable(const std::string& name, const char* value) {
  if (value)
    setenv(name.c_str(), value, 1);
  else
    unsetenv(name.c_str());
}

}  // namespace

ScopedVariable::ScopedVariable(std::string name, const char* value) : name_(std::move(name)) {
  if (const char* former = std::getenv(name_.c_str()))
    former_ = former;
  SetVariable(name_, value);
}

ScopedVariable::~ScopedVariable() {
  SetVariable(name_, former_ ? former_->c_str() : nullptr);
}

void PalTest::SetUp() {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  home_ = fs::current_path() / "pal_tests.tmp" / (std::string(test->test_suite_name()) + '.' + test->name());
  fs::remove_all(home_);
  fs::create_directories(home_);
  home_variable_.emplace("CUSTOMBIDI_HOME", home_.c_str());
}

void PalTest::TearDown() {
  pal::ClearFaults();
  home_variable_.reset();
  fs::remove_all(home_);
  EXPECT_EQ(pal::LiveObjects(), 0) << pal::DescribeLiveObjects();
}

fs::path PalTest::WriteFileIn(std::string_view name, std::string_view content) {
  const fs::path path = home_ / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path;
}
