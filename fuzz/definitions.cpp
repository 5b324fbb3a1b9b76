// The service definition file: any bytes as the file, read as private-profile sections and as services.
#include <fstream>
#include <set>

#include "fuzz/registry.h"
#include "fuzz/values.h"
#include "profiles/prof_admin.h"
#include "profiles/profile_lock.h"
#include "profiles/service_definitions.h"
#include "profiles/stored_services.h"
#include "support/hive.h"

namespace uab::fuzz {
namespace {

// One folder for all runs.
const TestHive& Place() {
  static const TestHive place;
  return place;
}
const Text& Path() {
  static const Text path = Place().PathOf("fuzz.ini");
  return path;
}

DWORD UAB_CALL ReadFuzzed(const WCHAR* section, WCHAR* buffer, DWORD size, const WCHAR*) {
  return GetPrivateProfileSectionW(section, buffer, size, Path().c_str());
}

// However small the buffer, it gets the beginning of the section.
void CheckCuts(const WCHAR* section) {
  static WCHAR whole[70000], cut[40];
  SetLastError(ERROR_SUCCESS);
  const DWORD all = GetPrivateProfileSectionW(section, whole, static_cast<DWORD>(std::size(whole)), Path().c_str());
  if (all == std::size(whole) - 2) return;
  Expect(whole[all] == 0 && (all != 0 || whole[1] == 0), "a section ends with an empty line");
  for (DWORD at = 0; at < all; at += static_cast<DWORD>(lstrlenW(whole + at)) + 1) {
    Expect(whole[at] > 0x20 && whole[at] != ';', "a line is neither empty nor a comment, and is trimmed");
  }
  for (DWORD size : {3u, 40u}) {
    const DWORD part = GetPrivateProfileSectionW(section, cut, size, Path().c_str());
    Expect(part == (all + 1 <= size ? all : size - 2), "a section that does not fit is cut");
    Expect(cut[part] == 0 && (part == all || cut[part + 1] == 0), "a cut section ends with an empty line");
    for (DWORD i = 0; i < part; ++i) Expect(cut[i] == whole[i] || cut[i] == 0, "a cut section is a beginning");
  }
}

// Every row is complete in itself: what is not given is null, 0 or empty.
void CheckRows(const SRowSet& rows) {
  std::set<Text> names;
  for (ULONG i = 0; i < rows.cRows; ++i) {
    Expect(rows.aRow[i].cValues == kServiceRowValues, "a row has all values");
    const SPropValue* values = rows.aRow[i].lpProps;
    const WCHAR* name = values[kServiceNameValue].Value.lpszW;
    Expect(name != nullptr && names.insert(name).second, "a name comes once");
    Expect(values[kInstanceKeyValue].Value.bin.cb == Text(name).size() * sizeof(WCHAR) + 1, "a key is the name");
    Expect(!Text(values[kProviderDisplayValue].Value.lpszW).empty(), "a service has a text");
    for (ULONG column : {kSupportFilesValue, kDeleteFilesValue}) {
      const SWStringArray& files = values[column].Value.MVszW;
      for (ULONG file = 0; file < files.cValues; ++file) {
        Expect(Text(files.lppszW[file]).find(UAB_TEXT(',')) == Text::npos, "files stand between commas");
      }
    }
  }
}

// A profile with the default services has the rows of their section.
void CheckProfile(const SRowSet& rows) {
  WCHAR name[] = UAB_TEXT("p");
  ComPtr<ProfAdmin> profiles;
  ComPtr<MemTable> stored;
  Expect(Succeeded(ProfAdmin::Create(UAB_TEXT("Fuzz"), nullptr, profiles)), "there is memory");
  Expect(Succeeded(profiles->CreateProfile(name, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES)), "a profile can be made");
  ProfileLock lock;
  Expect(Succeeded(lock.AcquireToRead(UAB_TEXT("Fuzz"))), "there is memory");
  Expect(Succeeded(LoadServices(UAB_TEXT("Fuzz"), name, stored)), "it can be read");
  Expect(stored->row_count() == rows.cRows, "it has all services");
  for (ULONG i = 0; i < rows.cRows; ++i) {  // identifiers count up, and order the keys
    for (ULONG column = 0; column < kServiceRowValues; ++column) {
      const SPropValue& given = rows.aRow[i].lpProps[column];
      const PropRecord* record = stored->row(i).Find(given.ulPropTag);
      Expect(record != nullptr, "a service keeps its properties");
      ChainPtr<SPropValue> value;
      Expect(Succeeded(AllocateInto(value)) && Succeeded(ReadPropRecord(*record, value.Get(), *value.Get())),
             "there is memory");
      Expect(column == kServiceUidValue || SameValue(*value.Get(), given), "a service keeps its values");
    }
  }
}

}  // namespace

void FuzzOne(Input input) {
  std::ofstream file(Place().Folder() / "fuzz.ini", std::ios::binary | std::ios::trunc);
  file.write(input.rest().data(), static_cast<std::streamsize>(input.rest().size()));
  file.close();
  Registry registry;
  Sys().get_private_profile_section = &ReadFuzzed;
  CheckCuts(kServicesSection);
  for (const WCHAR* section : {kServicesSection, kDefaultServicesSection}) {
    RowSetPtr rows;
    if (Failed(ReadServiceDefinitions(section, rows))) continue;
    CheckRows(*rows.Get());
    if (section == kDefaultServicesSection) CheckProfile(*rows.Get());
  }
}

}  // namespace uab::fuzz
