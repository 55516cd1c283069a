#include <functional>
#include <thread>

#include "tests/pal/pal_fixture.h"

namespace {

constexpr CLSID kDocumentClass = {0x88D96A05,
                                  0xF192,
                                  0x11D4,
                                  {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr IID kDocument3 = {0x2933BF96, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

class HooksTest : public PalTest {
 protected:
  void SetUp() override {
    PalTest::SetUp();
    WriteRegistry(
        "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Q]\n\"Port\"=\"p\"\n");
    path_ = u"Z:" + WriteFileIn("document.xml", "<r><a n='1'/></r>").u16string();
  }

  // Loads the document and reads the attribute of its one item; every answer on the way is checked.
  bool ReadDocument();

  std::u16string path_;
};

template <class T>
struct Releaser {
  T* object = nullptr;
  ~Releaser() {
    if (object)
      object->Release();
  }
};

bool ReadItem(IXMLDOMElement* root) {
  Releaser<IXMLDOMNodeList> list;
  Releaser<IXMLDOMNode> item;
  Releaser<IXMLDOMNamedNodeMap> attributes;
  Releaser<IXMLDOMNode> attribute;
  LONG length = 0;
  BSTR query = SysAllocString(u"a");
  BSTR name = SysAllocString(u"n");
  BSTR text = nullptr;
  const bool is_read =
      root->selectNodes(query, &list.object) == S_OK && list.object->get_length(&length) == S_OK &&
      length == 1 && list.object->get_item(0, &item.object) == S_OK &&
      item.object->get_attributes(&attributes.object) == S_OK &&
      attributes.object->getNamedItem(name, &attribute.object) == S_OK &&
      attribute.object->get_text(&text) == S_OK && SysStringLen(text) == 1 && text[0] == u'1';
  SysFreeString(query);
  SysFreeString(name);
  SysFreeString(text);
  return is_read;
}

bool HooksTest::ReadDocument() {
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
    return false;
  bool is_read = false;
  {
    Releaser<IXMLDOMDocument3> document;
    Releaser<IXMLDOMElement> root;
    VARIANT source{};
    source.vt = VT_BSTR;
    source.bstrVal = SysAllocString(path_.c_str());
    VARIANT_BOOL is_loaded = VARIANT_FALSE;
    is_read = CoCreateInstance(kDocumentClass, nullptr, CLSCTX_INPROC_SERVER, kDocument3,
                               reinterpret_cast<void**>(&document.object)) == S_OK &&
              document.object->load(source, &is_loaded) == S_OK && is_loaded == VARIANT_TRUE &&
              document.object->get_documentElement(&root.object) == S_OK && ReadItem(root.object);
    VariantClear(&source);
  }
  CoUninitialize();
  return is_read;
}

TEST_F(HooksTest, EachCallOfAReadingFailsOnce) {
  int n = 1;
  for (;; ++n) {
    pal::FailNthCall(n);
    const bool is_read = ReadDocument();
    EXPECT_EQ(pal::LiveObjects(), 0) << "call " << n << " failed: " << pal::DescribeLiveObjects();
    EXPECT_NE(is_read, pal::FaultFired()) << n;
    if (!pal::FaultFired())
      break;
  }
  // CoInitializeEx, CoCreateInstance, three texts, and seven methods of the DOM.
  EXPECT_EQ(n, 14);
}

TEST_F(HooksTest, EveryFunctionFailsWithACodeOfItsOwn) {
  WCHAR buffer[1024];
  WCHAR queue[] = u"Q";
  HANDLE handle = nullptr;
  HKEY key = nullptr;
  HMODULE module = nullptr;
  WCHAR* text = nullptr;
  DWORD size = 0;
  const auto last_error = [](bool is_failure) { return is_failure ? GetLastError() : 0; };
  const std::pair<const char*, std::function<DWORD()>> cases[] = {
      {"CreateFileW",
       [&] {
         return last_error(CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                       nullptr) == INVALID_HANDLE_VALUE);
       }},
      {"GlobalAlloc", [&] { return last_error(!GlobalAlloc(GPTR, 1)); }},
      {"FormatMessageW",
       [&] {
         return last_error(
             !FormatMessageW(0x1100, nullptr, 5, 0x400, reinterpret_cast<WCHAR*>(&text), 0, nullptr));
       }},
      {"GetModuleFileNameW", [&] { return last_error(!GetModuleFileNameW(nullptr, buffer, 1024)); }},
      {"GetModuleHandleExW",
       [&] {
         return last_error(!GetModuleHandleExW(6, reinterpret_cast<const WCHAR*>(&ReadItem), &module));
       }},
      {"LoadLibraryW", [&] { return last_error(!LoadLibraryW(path_.c_str())); }},
      {"GetProcAddress", [&] { return last_error(!GetProcAddress(module, "x")); }},
      {"GetEnvironmentVariableW",
       [&] { return last_error(!GetEnvironmentVariableW(u"CUSTOMBIDI_HOME", buffer, 1024)); }},
      {"GetLocaleInfoW",
       [&] { return last_error(!GetLocaleInfoW(0, LOCALE_SISO639LANGNAME, buffer, 1024)); }},
      {"OpenPrinterW", [&] { return last_error(!OpenPrinterW(queue, &handle, nullptr)); }},
      {"GetPrinterW", [&] { return last_error(!GetPrinterW(handle, 2, nullptr, 0, &size)); }},
      {"RegOpenKeyExW",
       [&] { return static_cast<DWORD>(RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"SYSTEM", 0, KEY_READ, &key)); }},
      {"RegQueryValueExW",
       [&] { return static_cast<DWORD>(RegQueryValueExW(key, u"x", nullptr, nullptr, nullptr, &size)); }},
      {"SetFilePointer",
       [&] { return last_error(SetFilePointer(handle, 0, nullptr, FILE_END) == INVALID_SET_FILE_POINTER); }},
      {"CoTaskMemAlloc", [&] { return static_cast<DWORD>(CoTaskMemAlloc(1) ? 0 : 1); }},
      {"CertCreateCertificateContext",
       [&] { return last_error(!CertCreateCertificateContext(X509_ASN_ENCODING, nullptr, 0)); }},
      {"CertGetCertificateContextProperty",
       [&] {
         return last_error(
             !CertGetCertificateContextProperty(nullptr, CERT_SHA1_HASH_PROP_ID, nullptr, &size));
       }},
      {"WriteFile", [&] { return last_error(!WriteFile(handle, "x", 1, &size, nullptr)); }},
  };
  for (const auto& [name, call] : cases) {
    SetLastError(0);
    pal::FailNthCallOf(name, 1);
    EXPECT_NE(call(), 0u) << name;
    EXPECT_TRUE(pal::FaultFired()) << name;
  }
}

TEST_F(HooksTest, OnlyTheNthCallOfThatFunctionAndThread) {
  pal::FailNthCallOf("GlobalAlloc", 2);
  SysFreeString(SysAllocString(u"x"));
  HGLOBAL first = GlobalAlloc(GPTR, 1);
  HGLOBAL elsewhere = nullptr;
  std::thread([&] { elsewhere = GlobalAlloc(GPTR, 1); }).join();
  EXPECT_FALSE(pal::FaultFired());
  HGLOBAL second = GlobalAlloc(GPTR, 1);
  EXPECT_TRUE(pal::FaultFired());
  HGLOBAL third = GlobalAlloc(GPTR, 1);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(elsewhere, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(third, nullptr);
  EXPECT_EQ(pal::CountLiveObjects().blocks, 3);
  EXPECT_EQ(pal::DescribeLiveObjects(), "3 blocks");
  for (HGLOBAL block : {first, elsewhere, third})
    GlobalFree(block);
  EXPECT_EQ(pal::DescribeLiveObjects(), "nothing");
}

TEST_F(HooksTest, FaultsCanBeCalledOff) {
  pal::FailNthCall(1);
  pal::ClearFaults();
  HGLOBAL block = GlobalAlloc(GPTR, 1);
  EXPECT_NE(block, nullptr);
  GlobalFree(block);
  EXPECT_FALSE(pal::FaultFired());
}

}  // namespace
