// Which libraries are loaded from where.

#include "tests/support/call_test.h"

namespace custom_bidi_test {
namespace {

class Configuration : public CallTest {
 protected:
  void SetUp() override {
    CallTest::SetUp();
    SetTrace(true);
  }

  /// The files of one call, as traced; `answered` tells whether it succeeded.
  Lines FilesOf(const Answer& answer, bool answered = true) {
    EXPECT_EQ(answer.ok, answered);
    Lines files;
    for (const std::string& line : TakeTrace()) {
      for (const char* start :
           {"IXO_DLL: [", "XDM_DLL: [", "IXOCert_DLL: [", "CreateDataCollection from xml: ["}) {
        if (line.starts_with(start))
          files.push_back(line.substr(line.find('[') + 1, line.rfind(']') - line.find('[') - 1));
      }
    }
    return files;
  }
};

Lines Files(const std::string& ixo, const std::string& xdm, const std::string& cert, const std::string& map) {
  return {HostFolder::Text(ixo), HostFolder::Text(xdm), HostFolder::Text(cert), HostFolder::Text(map)};
}

const char* const kDefaults[] = {"//vexmoixo.dll", "//vexmoixodm.dll", "//vexmobixocert.dll",
                                 "//vexmoixodatamap.xml"};

TEST_F(Configuration, DefaultNamesWhereNothingIsSet) {
  const Lines defaults = Files(kDefaults[0], kDefaults[1], kDefaults[2], kDefaults[3]);
  for (const char* content :
       {"", "<FILE_INFO64/>", "<FILE_INFO64 IXO_DLL='other.dll'/>", "<FILE_INFO ixo_dll='o.dll'/>",
        "<Deeper><FILE_INFO64 ixo_dll='other.dll'/></Deeper>",
        "<FILE_INFO64/><FILE_INFO64 ixo_dll='other.dll'/>"}) {
    SCOPED_TRACE(content);
    WriteConfiguration(content);
    EXPECT_EQ(FilesOf(Bidi()), defaults);
  }
  host.Write(HostFolder::ConfigurationName(),
             "\xEF\xBB\xBF<?xml version='1.0'?><FILE_INFO64 ixo_dll='other.dll'/>");
  EXPECT_EQ(FilesOf(Bidi()), defaults) << "the element is not the root";
}

TEST_F(Configuration, EachNameCanBeSetForItself) {
  const struct {
    const char* attribute;
    const char* file;
    const char* copy;
  } rows[] = {
      {"ixo_dll", "vexmoixo.dll", "lib\\io.dll"},
      {"xdm_dll", "vexmoixodm.dll", "lib\\dm.dll"},
      {"ixo_cert_dll", "vexmobixocert.dll", "lib\\cert.dll"},
      {"xdm_xml", "vexmoixodatamap.xml", "lib\\map.xml"},
  };
  Lines all;
  std::string attributes;
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].attribute);
    std::string copy = rows[i].copy;
    std::ranges::replace(copy, '\\', '/');
    host.Copy(rows[i].file, copy);
    const std::string attribute = rows[i].attribute + std::string("='") + rows[i].copy + "' ";
    WriteConfiguration("<FILE_INFO64 " + attribute + "/>");
    Lines expected = Files(kDefaults[0], kDefaults[1], kDefaults[2], kDefaults[3]);
    expected[i] = HostFolder::Text("\\" + std::string(rows[i].copy));
    EXPECT_EQ(FilesOf(Bidi()), expected);
    all.push_back(expected[i]);
    attributes += attribute;
  }
  WriteConfiguration("<FILE_INFO64 " + attributes + "/>");
  EXPECT_EQ(FilesOf(Bidi()), all);
  for (const auto& row : rows)
    host.Remove(row.file);
  EXPECT_EQ(FilesOf(Bidi()), all);
  EXPECT_EQ(Port(), (PortAnswer{true, 1}));
}

TEST_F(Configuration, EmptyNameIsSetAllTheSame) {
  WriteConfiguration("<FILE_INFO64 ixo_dll=''/>");
  EXPECT_EQ(FilesOf(Bidi(), false), Lines{HostFolder::Text("\\")});
}

TEST_F(Configuration, NameCountsUpTo255Characters) {
  const std::string name(255, 'n');
  WriteConfiguration("<FILE_INFO64 ixo_dll='" + name + std::string(45, 'x') + "'/>");
  EXPECT_EQ(FilesOf(Bidi(), false), Lines{HostFolder::Text("\\" + name)});
  EXPECT_EQ(Port(), (PortAnswer{false, kUntouchedStatus}));
}

TEST_F(Configuration, MissingFileByItsConfiguredName) {
  WriteConfiguration("<FILE_INFO64 xdm_dll='none.dll'/>");
  EXPECT_EQ(FilesOf(Bidi(), false), (Lines{HostFolder::Text(kDefaults[0]), HostFolder::Text("\\none.dll")}));
}

TEST_F(Configuration, NamesOutsideAscii) {
  const std::string name = "ger\xC3\xA4t \xE6\x97\xA5.dll";
  host.Copy("vexmoixo.dll", name);
  WriteConfiguration("<FILE_INFO64 ixo_dll='" + name + "'/>");
  EXPECT_EQ(FilesOf(Bidi()).front(), HostFolder::Text("\\" + name));
}

}  // namespace
}  // namespace custom_bidi_test
