#include <cstdlib>
#include <stdexcept>

#include "pal/home.h"
#include "pal/registry_file.h"
#include "pal/test_hooks.h"
#include "tests/support/machine.h"

namespace custom_bidi_test {
namespace {

WString KeyOf(const std::string& queue) {
  return W("HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\") + ToWide(queue);
}

template <class Change>
void ChangeRegistry(Change change) {
  const std::string path = pal::RegistryFilePath();
  pal::RegistryFile registry;
  if (pal::RegistryFile::Load(path, &registry) != 0 || !change(registry) || registry.Save(path) != 0)
    throw std::runtime_error(path + " cannot be changed");
}

}  // namespace

std::filesystem::path ProgramPath() {
  return std::filesystem::read_symlink("/proc/self/exe");
}

void SetDriverValue(const std::string& queue, const std::string& name, const RegistryBytes& value) {
  ChangeRegistry([&](pal::RegistryFile& registry) {
    return registry.SetValue(KeyOf(queue) + W("\\PrinterDriverData"), ToWide(name),
                             {.type = value.type, .data = {value.bytes.begin(), value.bytes.end()}});
  });
}

void RemoveQueueKey(const std::string& queue) {
  ChangeRegistry([&](pal::RegistryFile& registry) {
    registry.RemoveKey(KeyOf(queue));
    return true;
  });
}

void SetVariable(const std::string& name, const std::optional<std::string>& value) {
  if (value)
    setenv(name.c_str(), value->c_str(), 1);
  else
    unsetenv(name.c_str());
}

void HideProcessor() {
  // A variable that is not set has the machine's value.
  pal::FailNthCallOf("GetEnvironmentVariableW", 1);
}

std::string LeftOpen() {
  return pal::LiveObjects() == 0 ? "" : pal::DescribeLiveObjects();
}

long CountOpenHandles() {
  const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
  return std::distance(begin(entries), end(entries));
}

}  // namespace custom_bidi_test
