#include <thread>

#include "tests/platform/platform_fixture.h"

namespace custom_bidi {
namespace {

constexpr CLSID kDocumentClass = {0x88D96A05,
                                  0xF192,
                                  0x11D4,
                                  {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr CLSID kNoClass = {0x12345678, 0x1234, 0x1234, {0, 1, 2, 3, 4, 5, 6, 7}};
constexpr IID kDocument3 = {0x2933BF96, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

HRESULT CreateDocument(const CLSID& class_id, Owned<IXMLDOMDocument3>& document) {
  return CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, kDocument3,
                          reinterpret_cast<void**>(document.Put()));
}

using ComTest = PlatformTest;

TEST_F(ComTest, ApartmentsAreCountedPerThread) {
  std::thread([] {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE) << "one is left";
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
  }).join();
}

TEST_F(ComTest, NothingIsMadeWithoutAnApartment) {
  std::thread([] {
    Owned<IXMLDOMDocument3> document;
    EXPECT_EQ(CreateDocument(kDocumentClass, document), CO_E_NOTINITIALIZED);
    EXPECT_FALSE(document);
  }).join();
}

class DomTest : public PlatformTest {
 protected:
  void SetUp() override {
    PlatformTest::SetUp();
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ASSERT_EQ(CreateDocument(kDocumentClass, document_), S_OK);
    ASSERT_EQ(document_->put_async(VARIANT_FALSE), S_OK);
  }
  void TearDown() override {
    document_.Reset();
    CoUninitialize();
    PlatformTest::TearDown();
  }

  bool Load(const std::filesystem::path& path) {
    const Text name(PlatformPath(path));
    VARIANT source;
    VariantInit(&source);
    source.vt = VT_BSTR;
    source.bstrVal = name.Get();
    VARIANT_BOOL is_loaded = 42;
    const HRESULT result = document_->load(source, &is_loaded);
    EXPECT_EQ(result, is_loaded == VARIANT_TRUE ? S_OK : S_FALSE);
    return is_loaded == VARIANT_TRUE;
  }
  bool LoadText(std::string_view text) { return Load(WriteFileIn("document.xml", text)); }

  void GetRoot(Owned<IXMLDOMElement>& root) { ASSERT_EQ(document_->get_documentElement(root.Put()), S_OK); }

  Owned<IXMLDOMDocument3> document_;
};

LONG CountOf(IXMLDOMNode* node, WStringView query) {
  Owned<IXMLDOMNodeList> list;
  LONG length = -1;
  if (node->selectNodes(Text(query).Get(), list.Put()) != S_OK)
    return -1;
  EXPECT_EQ(list->get_length(&length), S_OK);
  return length;
}

std::string AttributeOf(IXMLDOMNode* node, WStringView name) {
  Owned<IXMLDOMNamedNodeMap> attributes;
  Owned<IXMLDOMNode> attribute;
  Text value;
  EXPECT_EQ(node->get_attributes(attributes.Put()), S_OK);
  if (attributes->getNamedItem(Text(name).Get(), attribute.Put()) != S_OK) {
    EXPECT_FALSE(attribute);
    return "(none)";
  }
  EXPECT_EQ(attribute->get_text(value.Put()), S_OK);
  return value.Utf8();
}

struct ErrorRecord {
  LONG code = 42;
  LONG line = 42;
  LONG position = 42;
  std::string reason;
};

void GetError(IXMLDOMDocument* document, ErrorRecord* record) {
  Owned<IXMLDOMParseError> error;
  Text reason;
  ASSERT_EQ(document->get_parseError(error.Put()), S_OK);
  EXPECT_GE(error->get_errorCode(&record->code), 0);
  EXPECT_GE(error->get_line(&record->line), 0);
  EXPECT_GE(error->get_linepos(&record->position), 0);
  EXPECT_GE(error->get_reason(reason.Put()), 0);
  record->reason = reason.Utf8();
}

TEST_F(DomTest, UnknownClass) {
  Owned<IXMLDOMDocument3> document;
  EXPECT_EQ(CreateDocument(kNoClass, document), REGDB_E_CLASSNOTREG);
  EXPECT_FALSE(document);
}

TEST_F(DomTest, QueriesAreRelativeToTheirNode) {
  ASSERT_TRUE(LoadText("<root><item n='1'/><group><item n='2'/><item n='3'/></group></root>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  EXPECT_EQ(CountOf(root.Get(), W("item")), 1);
  EXPECT_EQ(CountOf(root.Get(), W("group/item")), 2);
  EXPECT_EQ(CountOf(root.Get(), W("//root//item")), 3);
  EXPECT_EQ(CountOf(root.Get(), W("none")), 0) << "an empty list is no failure";

  Owned<IXMLDOMNode> group;
  ASSERT_EQ(root->selectSingleNode(Text(W("group")).Get(), group.Put()), S_OK);
  EXPECT_EQ(CountOf(group.Get(), W("item")), 2);
  Owned<IXMLDOMNode> first;
  ASSERT_EQ(group->selectSingleNode(Text(W("item")).Get(), first.Put()), S_OK);
  EXPECT_EQ(AttributeOf(first.Get(), W("n")), "2");

  Owned<IXMLDOMNode> none;
  EXPECT_EQ(root->selectSingleNode(Text(W("none")).Get(), none.Put()), S_FALSE);
  EXPECT_FALSE(none);
}

TEST_F(DomTest, NodesComeInDocumentOrder) {
  ASSERT_TRUE(LoadText("<root><a n='1'/><b n='2'/><a n='3'/></root>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  Owned<IXMLDOMNode> first;
  ASSERT_EQ(root->selectSingleNode(Text(W("b | a[2] | a[1]")).Get(), first.Put()), S_OK);
  EXPECT_EQ(AttributeOf(first.Get(), W("n")), "1");
}

TEST_F(DomTest, MalformedQueryFails) {
  ASSERT_TRUE(LoadText("<root/>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  for (const WCHAR* query : {W("item["), W("//"), W("")}) {
    Owned<IXMLDOMNodeList> list;
    EXPECT_LT(root->selectNodes(Text(query).Get(), list.Put()), 0) << ToUtf8(query);
    EXPECT_FALSE(list);
  }
}

TEST_F(DomTest, ItemsOfAList) {
  ASSERT_TRUE(LoadText("<root><item n='1'/><x/><item n='2'/></root>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  Owned<IXMLDOMNodeList> list;
  ASSERT_EQ(root->selectNodes(Text(W("item")).Get(), list.Put()), S_OK);
  for (LONG i = 0; i < 2; ++i) {
    Owned<IXMLDOMNode> item;
    ASSERT_EQ(list->get_item(i, item.Put()), S_OK);
    EXPECT_EQ(AttributeOf(item.Get(), W("n")), std::to_string(i + 1));
  }
  Owned<IXMLDOMNode> beyond;
  EXPECT_EQ(list->get_item(2, beyond.Put()), S_FALSE);
  EXPECT_FALSE(beyond);
}

TEST_F(DomTest, AttributeText) {
  ASSERT_TRUE(LoadText("<root empty='' plain=' two words ' escaped='&lt;&#x20AC;&#x1F600;&quot;'/>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  EXPECT_EQ(AttributeOf(root.Get(), W("plain")), " two words ");
  EXPECT_EQ(AttributeOf(root.Get(), W("escaped")), "<\u20AC\U0001F600\"");
  EXPECT_EQ(AttributeOf(root.Get(), W("Plain")), "(none)") << "names are case-sensitive";
  Text value(W("x"));
  Owned<IXMLDOMNamedNodeMap> attributes;
  Owned<IXMLDOMNode> empty;
  ASSERT_EQ(root->get_attributes(attributes.Put()), S_OK);
  ASSERT_EQ(attributes->getNamedItem(Text(W("empty")).Get(), empty.Put()), S_OK);
  EXPECT_EQ(empty->get_text(value.Put()), S_OK);
  EXPECT_EQ(SysStringLen(value.Get()), 0u);
}

TEST_F(DomTest, OnlyElementsHaveAttributes) {
  ASSERT_TRUE(LoadText("<root n='1'>text</root>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  for (const WCHAR* query : {W("text()"), W("@n")}) {
    Owned<IXMLDOMNode> node;
    ASSERT_EQ(root->selectSingleNode(Text(query).Get(), node.Put()), S_OK);
    Owned<IXMLDOMNamedNodeMap> attributes;
    EXPECT_EQ(node->get_attributes(attributes.Put()), S_FALSE) << ToUtf8(query);
    EXPECT_FALSE(attributes);
  }
}

TEST_F(DomTest, TextOfAnElement) {
  ASSERT_TRUE(LoadText("<root><a> some\n<b>more</b> </a><c><![CDATA[<&>]]></c><d/></root>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  const std::pair<const WCHAR*, const char*> cases[] = {{W("c"), "<&>"}, {W("d"), ""}, {W("a/b"), "more"}};
  for (const auto& [query, expected] : cases) {
    Owned<IXMLDOMNode> node;
    Text text;
    ASSERT_EQ(root->selectSingleNode(Text(query).Get(), node.Put()), S_OK);
    EXPECT_EQ(node->get_text(text.Put()), S_OK);
    EXPECT_EQ(SysStringLen(text.Get()) == 0 ? "" : text.Utf8(), expected);
  }
}

TEST_F(DomTest, NodeOutlivesItsDocument) {
  ASSERT_TRUE(LoadText("<root><item n='1'/></root>"));
  Owned<IXMLDOMNode> item;
  {
    Owned<IXMLDOMElement> root;
    GetRoot(root);
    ASSERT_EQ(root->selectSingleNode(Text(W("item")).Get(), item.Put()), S_OK);
  }
  document_.Reset();
  EXPECT_EQ(AttributeOf(item.Get(), W("n")), "1");
}

TEST_F(DomTest, OwnerDocumentHasTheParseError) {
  ASSERT_TRUE(LoadText("<root/>"));
  Owned<IXMLDOMElement> root;
  GetRoot(root);
  Owned<IXMLDOMDocument> owner;
  ASSERT_EQ(root->get_ownerDocument(owner.Put()), S_OK);
  ErrorRecord record;
  GetError(owner.Get(), &record);
  EXPECT_EQ(record.code, 0);
  EXPECT_EQ(record.line, 0);
  EXPECT_EQ(record.position, 0);
}

TEST_F(DomTest, EmptyDocumentHasNoRoot) {
  Owned<IXMLDOMElement> root;
  EXPECT_EQ(document_->get_documentElement(root.Put()), S_FALSE);
  EXPECT_FALSE(root);
}

TEST_F(DomTest, EncodingsAreRead) {
  const std::pair<const char*, std::string> cases[] = {
      {"UTF-8 with a mark", "\xEF\xBB\xBF<r n='\xC3\xA4'/>"},
      {"ISO 8859-1", "<?xml version='1.0' encoding='ISO-8859-1'?><r n='\xE4'/>"},
      {"UTF-16", std::string("\xFF\xFE<\0r\0 \0n\0=\0'\0\xE4\0'\0/\0>\0", 22)},
  };
  for (const auto& [name, document] : cases) {
    ASSERT_TRUE(LoadText(document)) << name;
    Owned<IXMLDOMElement> root;
    GetRoot(root);
    EXPECT_EQ(AttributeOf(root.Get(), W("n")), "\u00E4") << name;
  }
}

TEST_F(DomTest, MissingFile) {
  EXPECT_FALSE(Load(folder_ / "none.xml"));
  ErrorRecord record;
  GetError(document_.Get(), &record);
  EXPECT_LT(record.code, 0);
  EXPECT_EQ(record.line, 0);
  EXPECT_EQ(record.position, 0);
  if (!IsWine()) {
    EXPECT_EQ(static_cast<DWORD>(record.code), 0x800C0006);
    EXPECT_EQ(record.reason.substr(record.reason.size() - 2), "\r\n");
  }
}

TEST_F(DomTest, MalformedDocument) {
  const struct {
    const char* name;
    const char* text;
    LONG line;
  } cases[] = {
      {"unclosed", "<root>\n<item>\n", 3},
      {"mismatched end tag", "<root>\n  <a>\n  </b>\n</root>", 3},
      {"attribute twice", "<root\n n='1'\n n='2'/>", 3},
      {"two roots", "<root/>\n<root/>", 2},
      {"no markup", "text", 1},
  };
  for (const auto& c : cases) {
    EXPECT_FALSE(LoadText(c.text)) << c.name;
    ErrorRecord record;
    GetError(document_.Get(), &record);
    EXPECT_LT(record.code, 0) << c.name;
    Owned<IXMLDOMElement> root;
    EXPECT_EQ(document_->get_documentElement(root.Put()), S_FALSE) << c.name;
    if (IsWine()) {
      // Wine does not say where the error is. When it does, this goes.
      EXPECT_EQ(record.line, 0) << c.name;
      continue;
    }
    EXPECT_EQ(record.line, c.line) << c.name;
    EXPECT_GT(record.position, 0) << c.name;
    EXPECT_EQ(record.reason.substr(record.reason.size() - 2), "\r\n") << c.name << ": " << record.reason;
  }
}

TEST_F(DomTest, PrefixWithoutANamespace) {
  // Wine loads it. When it does not, this goes.
  EXPECT_EQ(LoadText("<root><x:a/></root>"), IsWine());
}

TEST_F(DomTest, FailedLoadLeavesNoDocument) {
  ASSERT_TRUE(LoadText("<root/>"));
  EXPECT_FALSE(LoadText("<root>"));
  Owned<IXMLDOMElement> root;
  EXPECT_EQ(document_->get_documentElement(root.Put()), S_FALSE);
  EXPECT_TRUE(LoadText("<root/>"));
  ErrorRecord record;
  GetError(document_.Get(), &record);
  EXPECT_EQ(record.code, 0);
}

}  // namespace
}  // namespace custom_bidi
