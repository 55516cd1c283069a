#include "tests/ixo/simulated_fixture.h"

#include <fstream>
#include <type_traits>

namespace custom_bidi::simulated {
namespace {

/// In the form of Windows in both lanes.
WString ExecutablePath() {
  WString path(1024, WCHAR());
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

}  // namespace

std::filesystem::path TestFolder() {
  if constexpr (std::is_same_v<std::filesystem::path::value_type, WCHAR>) {
    return std::filesystem::path(ExecutablePath()).parent_path();
  } else {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
  }
}

WString TestPath(std::string_view name) {
  WString path = ExecutablePath();
  path.erase(path.find_last_of(W('\\')));
  return path + W("//") + Wide(name);
}

WString Wide(std::string_view ascii) {
  return WString(ascii.begin(), ascii.end());
}

DeviceLibrary::DeviceLibrary(std::string_view file) : module_(LoadLibraryW(TestPath(file).c_str())) {
  EXPECT_NE(module_, nullptr) << file << ": error " << GetLastError();
}

DeviceLibrary::~DeviceLibrary() {
  if (module_) {
    EXPECT_TRUE(FreeLibrary(module_));
  }
}

ixo::DataCollection* Device::Collection() const {
  ixo::DataCollection* collection = nullptr;
  create_collection(Address(), TestPath("vexmoixodatamap.xml").c_str(), &collection, 0);
  return collection;
}

void SimulatedPrinter::WritePrinter(std::string_view json) {
  std::ofstream file(TestFolder() / "printer.json", std::ios::binary);
  file << json;
  ASSERT_TRUE(file.flush());
}

void SimulatedPrinter::RemovePrinter() {
  std::filesystem::remove_all(TestFolder() / "printer.json");
}

}  // namespace custom_bidi::simulated
