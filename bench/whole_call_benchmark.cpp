// A whole GetBidiResponse against what no implementation of it can avoid: loading the three libraries and the
// two XML files.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/home_registry.h"
#include "include/custom_bidi.h"
#include "src/deviceio/device_objects.h"
#include "src/xml/ccixml.h"

namespace custom_bidi::bench {
namespace {

constexpr const WCHAR* kQueue = W("Bench");
/// The fixed family answers the items Item0 to Item49, "DeviceID" beside them.
constexpr int kFixedItemCount = 50;

/// A device family: its folder beside the executable, and its files there.
struct Family {
  std::string folder;
  std::string ixo;
  std::string data_map_library;
  std::string certificate;
  std::string data_map = "data_map.xml";
};

std::filesystem::path HostFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

WString Path(const std::string& name) {
  const std::string path = (HostFolder() / name).string();
  return WString(path.begin(), path.end());
}

void Write(const std::string& name, const std::string& text) {
  std::ofstream(HostFolder() / name) << text;
}

/// One queue with a port, as the spooler and the trace find it.
void WriteRegistry() {
  const std::filesystem::path home = HostFolder() / "home";
  setenv("CUSTOMBIDI_HOME", home.c_str(), 1);
  const std::u16string key =
      u"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Bench";
  base::RegistryFile registry;
  registry.SetValue(key, u"Port", base::RegistryValue::FromText(u"192.0.2.10"));
  registry.SetValue(key + u"\\PrinterDriverData", u"DebugTraceEnable", base::RegistryValue::FromDword(0));
  registry.Save(home / "registry.reg");
}

void WriteFiles(const Family& family) {
  WriteRegistry();
  const auto attribute = [&family](const std::string& name, const std::string& file) {
    return " " + name + "=\"" + family.folder + "\\" + file + "\"";
  };
  Write("custom_bidi_bench.xml",
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PrinterExtension>\n  <FILE_INFO64" +
            attribute("ixo_dll", family.ixo) + attribute("xdm_dll", family.data_map_library) +
            attribute("ixo_cert_dll", family.certificate) + attribute("xdm_xml", family.data_map) +
            "/>\n</PrinterExtension>\n");
  std::string items;
  for (int i = 0; i < kFixedItemCount; ++i) {
    items += "    <DataItem Name=\"Item" + std::to_string(i) + "\"/>\n";
  }
  Write("fixed/data_map.xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<DataMap>\n  <IPPDataMap>\n" +
                                  items + "  </IPPDataMap>\n</DataMap>\n");
}

/// The files of a family with their full paths, made beforehand.
class Loads {
 public:
  explicit Loads(const Family& family)
      : libraries_{Path(family.folder + "/" + family.ixo),
                   Path(family.folder + "/" + family.data_map_library),
                   Path(family.folder + "/" + family.certificate)},
        documents_{Path("custom_bidi_bench.xml"), Path(family.folder + "/" + family.data_map)} {}

  bool Run() const {
    bool done = true;
    Module modules[3];
    for (size_t i = 0; i < std::size(modules); ++i) {
      modules[i].Reset(LoadLibraryW(libraries_[i].c_str()));
      done &= static_cast<bool>(modules[i]);
    }
    for (const WString& path : documents_) {
      done &= LoadDocument(path);
    }
    return done;
  }

 private:
  static bool LoadDocument(const WString& path) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    {
      const ComPtr<IXMLDOMDocument3> document = CreateDomDocument();
      const Bstr text = MakeBstr(path.c_str());
      VARIANT source;
      VariantInit(&source);
      source.vt = VT_BSTR;
      source.bstrVal = text.Get();
      document.Get()->put_async(VARIANT_FALSE);
      document.Get()->load(source, &loaded);
    }
    CoUninitialize();
    return loaded != VARIANT_FALSE;
  }

  WString libraries_[3];
  WString documents_[2];
};

double Microseconds(const auto& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// Measures both in turn, each first as often as the other, so that noise meets both alike.
void WholeCall(benchmark::State& state, const Family& family) {
  WriteFiles(family);
  const Loads loads(family);
  std::vector<WCHAR> answer(1 << 20);
  bool done = true;
  const auto run_loads = [&] { done &= loads.Run(); };
  const auto run_whole = [&] {
    done &= GetBidiResponse(answer.data(), kQueue, nullptr, nullptr, 0) != FALSE;
  };

  std::vector<double> loads_us;
  std::vector<double> whole_us;
  for (auto _ : state) {
    if (loads_us.size() % 2 == 0) {
      loads_us.push_back(Microseconds(run_loads));
      whole_us.push_back(Microseconds(run_whole));
    } else {
      whole_us.push_back(Microseconds(run_whole));
      loads_us.push_back(Microseconds(run_loads));
    }
  }
  if (!done || answer[0] != '{') {
    state.SkipWithError("a call or a load failed");
  }
  state.counters["loads_us"] = Median(loads_us);
  state.counters["whole_us"] = Median(whole_us);
  state.counters["ratio"] = Median(whole_us) / Median(loads_us);
}

BENCHMARK_CAPTURE(WholeCall, fixed, Family{"fixed", "io.dll", "data_map.dll", "certificate.dll"})
    ->Name("whole call, 50 fixed items")
    ->Iterations(4001);
BENCHMARK_CAPTURE(WholeCall,
                  simulated,
                  Family{"simulated", "vexmoixo.dll", "vexmoixodm.dll", "vexmobixocert.dll"})
    ->Name("whole call, the simulated printer")
    ->Iterations(1001);

}  // namespace
}  // namespace custom_bidi::bench
