#include "src/deviceio/locale_strings.h"

#include <gtest/gtest.h>

namespace custom_bidi {
namespace {

using Entries = std::map<WString, WString>;

const WString kPrefix = W("vexmo-print-quality-supported.com.vexmo.");

/// The full name of an attribute.
WString Name(const WCHAR* rest) {
  return kPrefix + rest;
}

TEST(CleanLocaleStrings, RemovesLineFeedsAndQuotesThenClosesUpEquals) {
  struct Case {
    WString strings;
    WString cleaned;
  };
  const Case cases[] = {
      {W(""), W("")},
      {W("\"\n\"\n"), W("")},
      {W("\"a\" = \"b\";\n\"c\" = \"d\";"), W("a=b;c=d;")},
      {W("a\r\nb"), W("a\rb")},
      {W("a= b =c"), W("a= b =c")},
      {W("a  =  b"), W("a = b")},  // what a replacement leaves is not looked at again
      {W(" = "), W("=")},
      {W(" = = "), W("== ")},
      {W(" = = = "), W("===")},
      {W("a =\n b"), W("a=b")},
      {W("a \"=\" b"), W("a=b")},
      {W("a =\r b"), W("a =\r b")},
      {W(" ="), W(" =")},
  };
  for (const Case& c : cases)
    EXPECT_EQ(CleanLocaleStrings(c.strings), c.cleaned);
}

struct EntriesCase {
  const char* name;
  WString strings;
  Entries entries;
};

class PrintQualityEntries : public testing::TestWithParam<EntriesCase> {};

TEST_P(PrintQualityEntries, AreFound) {
  Entries entries;
  AddPrintQualityEntries(GetParam().strings, entries);
  EXPECT_EQ(entries, GetParam().entries);
}

const EntriesCase kEntriesCases[] = {
    {"NoText", W(""), {}},
    {"AllEight",
     Name(W("pq-mode.22=8;")) + Name(W("optimal-resolution.22=7;")) + Name(W("display-string.22=5;")) +
         Name(W("display-string.22._tooltip=6;")) + Name(W("pq-mode.21=4;")) +
         Name(W("optimal-resolution.21=3;")) + Name(W("display-string.21=1;")) +
         Name(W("display-string.21._tooltip=2;")),
     {{Name(W("display-string.21")), W("1")},
      {Name(W("display-string.21._tooltip")), W("2")},
      {Name(W("optimal-resolution.21")), W("3")},
      {Name(W("pq-mode.21")), W("4")},
      {Name(W("display-string.22")), W("5")},
      {Name(W("display-string.22._tooltip")), W("6")},
      {Name(W("optimal-resolution.22")), W("7")},
      {Name(W("pq-mode.22")), W("8")}}},
    {"LastEntryWithoutSemicolon",
     Name(W("pq-mode.21=Best quality")),
     {{Name(W("pq-mode.21")), W("Best quality")}}},
    {"EmptyValue", Name(W("pq-mode.21=;")) + Name(W("pq-mode.22=2;")), {{Name(W("pq-mode.22")), W("2")}}},
    {"ValueWithEquals", Name(W("pq-mode.21=a=b;")), {{Name(W("pq-mode.21")), W("a=b")}}},
    {"WithoutEqualsStandsForItself",
     Name(W("pq-mode.21 nothing;")),
     {{Name(W("pq-mode.21 nothing")), Name(W("pq-mode.21 nothing"))}}},
    {"TooltipFirstHidesThePlainName",
     Name(W("display-string.21._tooltip=Tip;")) + Name(W("display-string.21=Plain;")),
     {{Name(W("display-string.21._tooltip")), W("Tip")}}},
    {"LongerIndexFirstHidesTheWantedOne",
     Name(W("pq-mode.210=No;")) + Name(W("pq-mode.21=Yes;")),
     {{Name(W("pq-mode.210")), W("No")}}},
    {"OtherIndices", Name(W("pq-mode.1=a;")) + Name(W("pq-mode.20=b;")) + Name(W("pq-mode.23=c;")), {}},
    {"FirstOfTwoWins",
     Name(W("pq-mode.21=a;")) + Name(W("pq-mode.21=b;")),
     {{Name(W("pq-mode.21")), W("a")}}},
    {"NameAsAValueBeforeItsEntry",
     W("x=") + Name(W("pq-mode.21;")) + Name(W("pq-mode.21=a;")),
     {{Name(W("pq-mode.21")), Name(W("pq-mode.21"))}}},
    {"SeparatedByLinesOnly",
     Name(W("display-string.21=a\r")) + Name(W("pq-mode.21=b")),
     {{Name(W("display-string.21")), W("a\r") + Name(W("pq-mode.21=b"))}, {Name(W("pq-mode.21")), W("b")}}},
};

INSTANTIATE_TEST_SUITE_P(Table, PrintQualityEntries, testing::ValuesIn(kEntriesCases), [](const auto& info) {
  return info.param.name;
});

TEST(PrintQualityEntries, LeaveEarlierOnesInPlace) {
  Entries entries = {{Name(W("pq-mode.21")), W("earlier")}};
  AddPrintQualityEntries(Name(W("pq-mode.21=later;")), entries);
  EXPECT_EQ(entries, (Entries{{Name(W("pq-mode.21")), W("earlier")}}));
}

}  // namespace
}  // namespace custom_bidi
