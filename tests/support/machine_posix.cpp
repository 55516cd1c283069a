#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "base/files.h"
#include "base/home_registry.h"
#include "pal/test_hooks.h"
#include "tests/support/machine.h"

namespace custom_bidi_test {
namespace {

WString KeyOf(const std::string& queue) {
  return W("HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\") + ToWide(queue);
}

void ChangeRegistry(const std::function<void(base::RegistryFile& registry)>& change) {
  base::RegistryFile registry;
  const std::string path = base::RegistryFilePath();
  EXPECT_EQ(base::RegistryFile::Load(path, &registry), 0) << path;
  change(registry);
  EXPECT_EQ(registry.Save(path), 0) << path;
}

}  // namespace

std::filesystem::path ProgramPath() {
  return std::filesystem::read_symlink("/proc/self/exe");
}

void SetDriverValue(const std::string& queue, const std::string& name, const RegistryBytes& value) {
  ChangeRegistry([&](base::RegistryFile& registry) {
    EXPECT_TRUE(registry.SetValue(KeyOf(queue) + W("\\PrinterDriverData"), ToWide(name),
                                  {.type = value.type, .data = {value.bytes.begin(), value.bytes.end()}}));
  });
}

void RemoveQueueKey(const std::string& queue) {
  ChangeRegistry([&](base::RegistryFile& registry) { registry.RemoveKey(KeyOf(queue)); });
}

void SetVariable(const std::string& name, const std::string& value) {
  setenv(name.c_str(), value.c_str(), 1);
}

std::string LeftOpen() {
  return pal::LiveObjects() == 0 ? "" : pal::DescribeLiveObjects();
}

long CountOpenHandles() {
  const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
  return std::distance(begin(entries), end(entries));
}

}  // namespace custom_bidi_test
