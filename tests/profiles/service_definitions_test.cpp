#include "profiles/service_definitions.h"

#include <gtest/gtest.h>

#include "support/hive.h"
#include "support/module_place.h"

namespace uab {
namespace {

std::string Narrow(const WCHAR* text) { return text == nullptr ? "-" : std::string(text, text + lstrlenW(text)); }

std::string Narrow(const SWStringArray& list) {
  std::string text = "[";
  for (ULONG i = 0; i < list.cValues; ++i) text.append(i > 0 ? "|" : "").append(Narrow(list.lppszW[i]));
  return text + "]";
}

std::string Describe(const SRowSet& rows) {
  std::string text;
  for (ULONG i = 0; i < rows.cRows; ++i) {
    const SPropValue* row = rows.aRow[i].lpProps;
    const char* entry = row[kEntryNameValue].Value.lpszA;
    text += Narrow(row[kServiceNameValue].Value.lpszW) + "/" + Narrow(row[kProviderDisplayValue].Value.lpszW) + "/" +
            Narrow(row[kDisplayNameValue].Value.lpszW) + "/" + Narrow(row[kLibraryNameValue].Value.lpszW) + "/" +
            (entry != nullptr ? entry : "-") + "/" + Narrow(row[kSupportFilesValue].Value.MVszW) + "/" +
            Narrow(row[kDeleteFilesValue].Value.MVszW) + "/" + std::to_string(row[kResourceFlagsValue].Value.ul) + ";";
  }
  return text;
}

class ServiceDefinitions : public testing::Test {
 protected:
  void Write(std::string_view content) { hive_.WriteFile("KELUAB.ini", content); }
  HRESULT Read() { return ReadServiceDefinitions(kServicesSection, rows_); }
  std::string ReadAndDescribe(std::string_view content) {
    Write(content);
    rows_.Reset();
    HRESULT hr = Read();
    EXPECT_EQ(Succeeded(hr), static_cast<bool>(rows_));
    if (Succeeded(hr)) return Describe(*rows_.Get());
    char code[16];
    std::snprintf(code, sizeof code, "%08X", static_cast<unsigned>(hr));
    return code;
  }

  TestHive hive_;
  ModulePlace place_{hive_.Folder()};
  RowSetPtr rows_;
};

TEST_F(ServiceDefinitions, FilesAndWhatTheyGive) {
  struct {
    const char *file, *result;
  } cases[] = {
      // list lines
      {"[Services]\nA=Text", "80070057"},  // no section of its own
      {"[Services]\n  A \t = \t Text  here\n[A]\nX=1", "A/Text  here/-/-/-/[]/[]/0;"},
      {"[services]\nA=a=b\nB=b\n[A]\nx\n[B]\n=", "A/a=b/-/-/-/[]/[]/0;B/b/-/-/-/[]/[]/0;"},
      {"[Services]\nA   =   \n[A]\nX=1", "80040301"},
      {"[Services]\nA\n[A]\nX=1", "80040301"},
      {"[Services]\nA B=C\n[A]\nX=1", "80040301"},
      {"[Services]\nA=1\nA=2\nbad\n[A]\nX=1", "80040301"},  // each line first, then the names, then the sections
      {"[Services]\nA=1\nB=1\nA=2\n[A]\nX=1", "80040604"},
      {"[Services]\nA=1\nAA=1\na=2\n[A]\nX=1\n[AA]\nX=1", "A/1/-/-/-/[]/[]/0;AA/1/-/-/-/[]/[]/0;a/2/-/-/-/[]/[]/0;"},
      {"[Services]\n", "80070057"},
      {"", "80070057"},
      // service lines
      {"[Services]\nA=1\n[A]\nPR_DISPLAY_NAME = N \nPR_SERVICE_DLL_NAME=a b.dll\nPR_SERVICE_ENTRY_NAME=E",
       "A/1/N/a b.dll/E/[]/[]/0;"},
      {"[Services]\nA=1\n[A]\npr_display_name=N\nPR_DISPLAY_NAMES=N\nPR_DISPLAY_NAME N\nPR_SERVICE_UID=1",
       "A/1/-/-/-/[]/[]/0;"},
      {"[Services]\nA=1\n[A]\nPR_DISPLAY_NAME=\nPR_SERVICE_ENTRY_NAME=\nPR_SERVICE_DELETE_FILES=", "A/1//-//[]/[]/0;"},
      {"[Services]\nA=1\n[A]\nPR_SERVICE_SUPPORT_FILES=,a.dat, b.dat,,\nPR_SERVICE_DELETE_FILES=x",
       "A/1/-/-/-/[|a.dat| b.dat||]/[x]/0;"},
      {"[Services]\nA=1\n[A]\nPR_DISPLAY_NAME=X\nPR_SERVICE_DELETE_FILES=a,b\nPR_DISPLAY_NAME=Y\nPR_SERVICE_DELETE_"
       "FILES=c",
       "A/1/Y/-/-/[]/[c]/0;"},
      // flags
      {"[Services]\nA=1\n[A]\nPR_RESOURCE_FLAGS = SERVICE_SINGLE_COPY | OTHER_WORD", "A/1/-/-/-/[]/[]/2;"},
      {"[Services]\nA=1\n[A]\nPR_RESOURCE_FLAGS=service_single_copy", "A/1/-/-/-/[]/[]/0;"},
      {"[Services]\nA=1\n[A]\nPR_RESOURCE_FLAGS=| X||\tSERVICE_SINGLE_COPY|", "A/1/-/-/-/[]/[]/2;"},
      {"[Services]\nA=1\n[A]\nPR_RESOURCE_FLAGS=X Y | SERVICE_SINGLE_COPY", "A/1/-/-/-/[]/[]/0;"},
      {"[Services]\nA=1\n[A]\nPR_RESOURCE_FLAGS=SERVICE_SINGLE_COPY\nPR_RESOURCE_FLAGS=X", "A/1/-/-/-/[]/[]/2;"},
  };
  for (const auto& each : cases) EXPECT_EQ(ReadAndDescribe(each.file), each.result) << each.file;
}

TEST_F(ServiceDefinitions, RowHasTheTenValuesInOrder) {
  Write("[Services]\nNet=N\n[Net]\nPR_SERVICE_SUPPORT_FILES=a,bc");
  ASSERT_EQ(Read(), S_OK);
  const ULONG tags[] = {0x0FF60102, 0x3D09001F, 0x3006001F, 0x3001001F, 0x3D0A001F,
                        0x3D0B001E, 0x3D0F101F, 0x3D10101F, 0x3D0C0102, 0x30090003};
  ASSERT_EQ(rows_->aRow[0].cValues, 10u);
  const SPropValue* row = rows_->aRow[0].lpProps;
  for (ULONG i = 0; i < 10; ++i) EXPECT_EQ(row[i].ulPropTag, tags[i]) << i;
  const SBinary& key = row[kInstanceKeyValue].Value.bin;
  EXPECT_EQ(std::string(key.lpb, key.lpb + key.cb), std::string("N\0e\0t\0\0", 7));
  EXPECT_EQ(row[kServiceUidValue].Value.bin.cb, 0u);
  WCHAR** list = row[kSupportFilesValue].Value.MVszW.lppszW;
  EXPECT_EQ((reinterpret_cast<BlockHeader*>(list) - 1)->size, (4u + 4 * 2) * 2 + 2);
  EXPECT_EQ(list[0], reinterpret_cast<WCHAR*>(list + 2));
}

TEST_F(ServiceDefinitions, SectionsOfEverySizeComeBackWhole) {
  PathBuffer path;
  ASSERT_EQ(GetServiceDefinitionPath(path), S_OK);
  for (std::size_t chars : {2043u, 2044u, 2045u, 2046u, 2047u, 2048u, 4093u, 4094u, 4095u, 100'000u, 524'288u}) {
    std::string lines;  // "x" lines of two characters, terminator included, before the last one
    std::size_t last = chars >= 100'000 ? 100'000 : 7;
    while (lines.size() + last + 2 <= chars) lines += "x\n";
    lines.append(chars - lines.size() - 1, 'y');
    Write("[Services]\n" + lines + "\n[End]\nz=1");
    ChainPtr<WCHAR> read;
    ASSERT_EQ(ReadIniSection(path, kServicesSection, read), S_OK) << chars;
    for (char& c : lines) c = c == '\n' ? '\0' : c;
    EXPECT_TRUE(std::equal(lines.begin(), lines.end(), read.Get())) << chars;
    EXPECT_EQ(read.Get()[chars - 1] + read.Get()[chars], 0) << chars;
    EXPECT_EQ(CountLines(read.Get()), static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\0')) + 1);
  }
}

TEST_F(ServiceDefinitions, SystemErrorsAreTranslated) {
  EXPECT_EQ(Read(), E_FAIL) << "no file";
  auto before = Sys().get_private_profile_section;
  Sys().get_private_profile_section = [](const WCHAR*, WCHAR*, DWORD, const WCHAR*) -> DWORD {
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
  };
  EXPECT_EQ(Read(), E_INVALIDARG);
  Sys().get_private_profile_section = before;
  Sys().get_module_file_name = [](HMODULE, WCHAR*, DWORD) -> DWORD { return 0; };
  EXPECT_EQ(Read(), E_FAIL) << "no path";
}

}  // namespace
}  // namespace uab
