// Documents that mean harm, and what the stand-in promises beyond what both systems do.

#include <thread>

#include "pal/text.h"
#include "tests/pal/pal_fixture.h"

namespace {

constexpr CLSID kClasses[] = {
    {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}},
    {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}},
    {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}},
};
constexpr IID kDocument3 = {0x2933BF96, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr IID kUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct Loaded {
  bool is_loaded = false;
  DWORD code = 0;
  std::string reason;
  std::string root_text;
};

void TakeText(BSTR text, std::string* utf8) {
  *utf8 = pal::ToUtf8({text ? text : u"", SysStringLen(text)});
  SysFreeString(text);
}

void DescribeError(IXMLDOMDocument3* document, Loaded* loaded) {
  IXMLDOMParseError* error = nullptr;
  ASSERT_EQ(document->get_parseError(&error), S_OK);
  LONG code = 0;
  BSTR reason = nullptr;
  error->get_errorCode(&code);
  error->get_reason(&reason);
  loaded->code = static_cast<DWORD>(code);
  TakeText(reason, &loaded->reason);
  error->Release();
}

void DescribeRoot(IXMLDOMDocument3* document, Loaded* loaded) {
  IXMLDOMElement* root = nullptr;
  ASSERT_EQ(document->get_documentElement(&root), S_OK);
  BSTR text = nullptr;
  EXPECT_EQ(root->get_text(&text), S_OK);
  TakeText(text, &loaded->root_text);
  root->Release();
}

Loaded Load(const std::filesystem::path& path, const CLSID& class_id = kClasses[0]) {
  Loaded loaded;
  EXPECT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0);
  void* object = nullptr;
  EXPECT_EQ(CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, kDocument3, &object), S_OK);
  auto* document = static_cast<IXMLDOMDocument3*>(object);
  VARIANT source{};
  source.vt = VT_BSTR;
  source.bstrVal = SysAllocString((u"Z:" + path.u16string()).c_str());
  VARIANT_BOOL is_loaded = VARIANT_FALSE;
  document->load(source, &is_loaded);
  loaded.is_loaded = is_loaded == VARIANT_TRUE;
  DescribeError(document, &loaded);
  if (loaded.is_loaded)
    DescribeRoot(document, &loaded);
  EXPECT_EQ(VariantClear(&source), S_OK);
  EXPECT_EQ(document->Release(), 0u);
  CoUninitialize();
  return loaded;
}

class DomTest : public PalTest {
 protected:
  Loaded LoadText(std::string_view text) { return Load(WriteFileIn("document.xml", text)); }
};

TEST_F(DomTest, AllClassesMakeDocuments) {
  const auto path = WriteFileIn("document.xml", "<r>text</r>");
  for (const CLSID& class_id : kClasses)
    EXPECT_EQ(Load(path, class_id).root_text, "text");
}

TEST_F(DomTest, DoctypeIsRefused) {
  WriteFileIn("secret", "secret");
  const std::string bomb =
      "<!DOCTYPE r [<!ENTITY a 'xxxxxxxxxx'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;'>]><r>&b;</r>";
  const std::string file =
      "<!DOCTYPE r [<!ENTITY e SYSTEM '" + (home_ / "secret").string() + "'>]><r>&e;</r>";
  for (const std::string& text : {bomb, file, std::string("<!DOCTYPE r><r/>"),
                                  std::string("<?xml version='1.0'?>\n<!DOCTYPE r SYSTEM 'x.dtd'>\n<r/>"),
                                  std::string("<!DOCTYPE r [")}) {
    const Loaded loaded = LoadText(text);
    EXPECT_FALSE(loaded.is_loaded) << text;
    EXPECT_EQ(loaded.code, 0xC00CE584u) << text;
    EXPECT_EQ(loaded.reason, "DTD is prohibited.\r\n") << text;
  }
}

TEST_F(DomTest, NothingIsPrinted) {
  testing::internal::CaptureStderr();
  LoadText("<r>&undefined;<");
  LoadText("<?xml version='1.0' encoding='UTF-8'?><r>\xFF\xFE\x80</r>");
  LoadText("<?xml version='1.0' encoding='no-such'?><r/>");
  LoadText(std::string("\xFF\xFE<\0r\0/\0>\0\x00\xD8", 12));
  LoadText("<x:r/>");
  LoadText("");
  Load(home_ / "none");
  Load(home_);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(DomTest, FilesThatCannotBeRead) {
  EXPECT_EQ(Load(home_ / "none").code, 0x800C0006u);
  EXPECT_EQ(Load(home_ / "none").reason, "The system cannot locate the object specified.\r\n");
  EXPECT_EQ(Load(home_).code, 0x80070005u) << "a folder";
  EXPECT_EQ(Load("/dev/zero").code, 0x80070005u) << "a file without an end";
  EXPECT_EQ(LoadText("").code, 0xC00CE558u);
}

TEST_F(DomTest, DeepNestingIsAnErrorOfTheDocument) {
  std::string text;
  for (int i = 0; i < 200000; ++i)
    text += "<a>";
  EXPECT_LT(static_cast<LONG>(LoadText(text).code), 0);
  for (int i = 0; i < 200000; ++i)
    text += "</a>";
  EXPECT_LT(static_cast<LONG>(LoadText(text).code), 0);
}

TEST_F(DomTest, CutAtEveryLength) {
  const std::string text =
      "<?xml version='1.0'?><!-- c --><r a='1' b='&#65;'><x/><![CDATA[d]]>\xC3\xA4&amp;</r>";
  for (size_t length = 0; length < text.size(); ++length)
    EXPECT_FALSE(LoadText(text.substr(0, length)).is_loaded) << length;
  EXPECT_EQ(LoadText(text).root_text, "d\xC3\xA4&");
}

TEST_F(DomTest, InterfacesOfADocument) {
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  void* object = nullptr;
  ASSERT_EQ(CoCreateInstance(kClasses[0], nullptr, CLSCTX_INPROC_SERVER, kUnknown, &object), S_OK);
  auto* unknown = static_cast<IUnknown*>(object);
  void* document = nullptr;
  EXPECT_EQ(unknown->QueryInterface(kDocument3, &document), S_OK);
  static_cast<IXMLDOMDocument3*>(document)->Release();
  EXPECT_EQ(unknown->QueryInterface(kClasses[0], &document), E_NOINTERFACE);
  EXPECT_EQ(document, nullptr);
  EXPECT_EQ(unknown->AddRef(), 2u);
  EXPECT_EQ(unknown->Release(), 1u);
  EXPECT_EQ(unknown->Release(), 0u);
  CoUninitialize();
}

TEST_F(DomTest, ThreadsLoadAtOnce) {
  const auto good = WriteFileIn("good.xml", "<r>text</r>");
  const auto bad = WriteFileIn("bad.xml", "<r>");
  const auto load = [&] {
    for (int i = 0; i < 50; ++i) {
      EXPECT_EQ(Load(good).root_text, "text");
      EXPECT_EQ(Load(bad).code, 0xC00CE553u);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back(load);
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace
