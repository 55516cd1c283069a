// What is made of the texts that a device gives: its error state, and its strings.

#include <gtest/gtest.h>

#include <vector>

#include "src/deviceio/locale_strings.h"
#include "src/deviceio/snmp_status.h"

namespace custom_bidi {
namespace {

TEST(ParseErrorState, ReadsHexadecimalDigitsAsTheCLibraryDoes) {
  // A number and the texts that give it.
  const std::pair<DWORD, std::vector<WStringView>> cases[] = {
      {0, {W(""), W("0x"), W("0xg"), W("x40"), W("- 1"), W("+-1"), W("0x0x40"), W("g1"), W("-")}},
      {0x40, {W(" \t\r\n\v\f40"), W("+40"), W("40 80"), W("40h"), W("00000000000000000040")}},
      {0xFFFFFFFF, {W("-1"), W("FFFFFFFF"), W("100000000"), W("-100000000"), W("FFFFFFFFFFFFFFFFFF80")}},
      {0x8000, {W("8000"), W("0x8000"), W("0X8000")}},
      {0xABCDEF, {W("aBcDeF"), W("AbCdEf"), W("aBcDeFG")}},
      {0xFFFFFFF0, {W("-0x10")}},
      // A full-width 2, a letter whose low byte is the digit 1, and a NUL.
      {1, {W("-FFFFFFFF"), W("1\uFF12"), W("1\u0131"), WStringView(W("1\0002"), 3)}},
  };
  for (const auto& [number, texts] : cases) {
    for (const WStringView text : texts) {
      EXPECT_EQ(ParseErrorState(text), number);
    }
  }
}

TEST(CleanLocaleStrings, RemovesLineFeedsAndQuotesThenClosesUpEquals) {
  const std::pair<WStringView, WStringView> cases[] = {
      {W("\"\n\"\n"), W("")},
      {W("\"a\" = \"b\";\n\"c\" = \"d\";"), W("a=b;c=d;")},
      {W("a\r\nb"), W("a\rb")},
      {W("a  =  b"), W("a = b")},  // what a replacement leaves is not looked at again
      {W(" = = = "), W("===")},
      {W("a =\n b \"=\" c"), W("a=b=c")},
      {W("a =\r b"), W("a =\r b")},
  };
  for (const auto& [strings, cleaned] : cases) {
    EXPECT_EQ(CleanLocaleStrings(strings), cleaned);
  }
}

/// With the names in full: `@` stands for what they all begin with.
WString InFull(WString text) {
  for (size_t at = text.find(W('@')); at != WString::npos; at = text.find(W('@'))) {
    text.replace(at, 1, W("vexmo-print-quality-supported.com.vexmo."));
  }
  return text;
}

TEST(PrintQualityEntries, AreThoseOfTheEightNames) {
  // Entries as lines of a name, a colon and a text, in the order of their names.
  const std::pair<const WCHAR*, const WCHAR*> cases[] = {
      {W("@pq-mode.22=8;@optimal-resolution.22=7;@display-string.22=5;@display-string.22._tooltip=6;"
         "@pq-mode.21=4;@optimal-resolution.21=3;@display-string.21=1;@display-string.21._tooltip=2;"),
       W("@display-string.21:1\n@display-string.21._tooltip:2\n"
         "@display-string.22:5\n@display-string.22._tooltip:6\n"
         "@optimal-resolution.21:3\n@optimal-resolution.22:7\n@pq-mode.21:4\n@pq-mode.22:8\n")},
      {W("@pq-mode.21=;@pq-mode.22=a=b c"), W("@pq-mode.22:a=b c\n")},
      {W("@pq-mode.21 nothing;"), W("@pq-mode.21 nothing:@pq-mode.21 nothing\n")},
      // A longer name that comes first hides the plain one.
      {W("@display-string.21._tooltip=Tip;@display-string.21=Plain;"),
       W("@display-string.21._tooltip:Tip\n")},
      {W("@pq-mode.210=No;@pq-mode.21=Yes;"), W("@pq-mode.210:No\n")},
      {W("@pq-mode.1=a;@pq-mode.20=b;@pq-mode.23=c;"), W("")},
      {W("@pq-mode.21=a;@pq-mode.21=b;"), W("@pq-mode.21:a\n")},
      {W("x=@pq-mode.21;@pq-mode.21=a;"), W("@pq-mode.21:@pq-mode.21\n")},
      {W("@display-string.21=a\r@pq-mode.21=b"), W("@display-string.21:a\r@pq-mode.21=b\n@pq-mode.21:b\n")},
  };
  for (const auto& [strings, lines] : cases) {
    std::map<WString, WString> entries;
    AddPrintQualityEntries(InFull(strings), entries);
    WString found;
    for (const auto& [name, text] : entries) {
      found += name + W(":") + text + W("\n");
    }
    EXPECT_EQ(found, InFull(lines));
  }
}

}  // namespace
}  // namespace custom_bidi
