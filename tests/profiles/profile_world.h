// What a test of profiles works in: a hive, a folder that passes for the library's own with a definition file and a
// service library in it, and the administration object.
#pragma once

#include <gtest/gtest.h>

#include "frame/allocation_chain.h"
#include "frame/module.h"
#include "profiles/msg_service_admin.h"
#include "profiles/prof_admin.h"
#include "profiles/test_service.h"
#include "support/module_place.h"
#include "support/values.h"
#include "tables/registry_contents.h"

namespace uab {

inline WCHAR kAppKey[] = UAB_TEXT("Tests");
inline constexpr const WCHAR* kRoot = UAB_TEXT("Software\\Ostrel\\QUILLDOC\\Tests\\UAB Profiles");

// Slots take strings that they never write to.
inline WCHAR* Mutable(const WCHAR* text) { return const_cast<WCHAR*>(text); }

inline WCHAR* const kA = Mutable(UAB_TEXT("a"));  // names of profiles
inline WCHAR* const kB = Mutable(UAB_TEXT("b"));
inline WCHAR* const kC = Mutable(UAB_TEXT("c"));

using Profiles = std::map<Text, Services>;  // by name

// Everything below the profile root.
inline Profiles ReadProfiles() {
  Profiles profiles;
  UniqueKey root;
  if (Failed(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_READ, &root))) return profiles;
  for (const Text& name : NamesIn(root.Get(), &EnumSubkey)) {
    UniqueKey profile;
    EXPECT_EQ(OpenKey(root.Get(), name.c_str(), KEY_READ, &profile), S_OK);
    profiles[name] = ReadServices(profile.Get());
  }
  return profiles;
}

inline Text RecordedDefault() {
  UniqueKey root;
  if (Failed(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_READ, &root))) return {};
  Data data = ReadBytes(root.Get(), UAB_TEXT("DefaultProfile"));
  return data.empty() ? Text() : Text(reinterpret_cast<const WCHAR*>(data.data()));
}

inline std::vector<SPropValue*> RowsOf(const SRowSet& rows) {
  std::vector<SPropValue*> values;
  for (ULONG i = 0; i < rows.cRows; ++i) values.push_back(rows.aRow[i].lpProps);
  return values;
}

inline Text PropText(IMAPIProp& object, ULONG tag) {
  TagArray<1> tags = {1, {tag}};
  ULONG count;
  ChainPtr<SPropValue> values;
  EXPECT_GE(object.GetProps(tags.address(), MAPI_UNICODE, &count, values.Put()), 0);
  return TextOf(*values.Get());
}

// What the service library does in this process. HostValue() is fixed at its first use.
inline ServiceScript script = {};

class ProfileWorld : public testing::Test {
 protected:
  ProfileWorld() {
    OfferHostValue(reinterpret_cast<ULONG_PTR>(&script));
    script = {[](const EntryCall&) -> HRESULT { return S_OK; }, false};
    Sys().co_create_guid = [](GUID* guid) -> HRESULT {  // services are listed in the order in which they are made
      static ULONG count = 0;
      *guid = {};
      ++count;
      for (int i = 0; i < 4; ++i) guid->Data4[7 - i] = static_cast<BYTE>(count >> 8 * i);
      return S_OK;
    };
    WCHAR program[260];
    GetModuleFileNameW(nullptr, program, 260);
    std::filesystem::copy_file(std::filesystem::path(program).parent_path() / KELUAB_TEST_SERVICE,
                               hive_.Folder() / KELUAB_TEST_SERVICE);
    hive_.WriteFile("KELUAB.ini",
                    "[Default Services]\nFirst = First one\nSecond = Second one\n"
                    "[Services]\nFirst = First one\nSecond = Second one\nBroken = Broken one\nLost = Lost one\n"
                    "Empty = Empty one\n"
                    "[First]\nPR_SERVICE_DLL_NAME = " KELUAB_TEST_SERVICE
                    "\nPR_SERVICE_ENTRY_NAME = TestEntry\n"
                    "[Second]\nPR_DISPLAY_NAME = Number two\nPR_SERVICE_DLL_NAME = " KELUAB_TEST_SERVICE
                    "\n"
                    "PR_SERVICE_ENTRY_NAME = TestEntry\nPR_RESOURCE_FLAGS = SERVICE_SINGLE_COPY\n"
                    "[Broken]\nPR_SERVICE_DLL_NAME = " KELUAB_TEST_SERVICE
                    "\nPR_SERVICE_ENTRY_NAME = NoEntry\n"
                    "[Lost]\nPR_SERVICE_DLL_NAME = missing.lib\nPR_SERVICE_ENTRY_NAME = TestEntry\n"
                    "[Empty]\nPR_SERVICE_DLL_NAME = KELUAB.ini\nPR_SERVICE_ENTRY_NAME = TestEntry\n");
    Empty();
  }
  ~ProfileWorld() override { Sys().co_create_guid = &CoCreateGuid; }

  // No profile is left, and the administration object is a new one.
  void Empty() {
    UniqueKey root;
    WCHAR name[kKeyNameCapacity];
    if (Succeeded(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_ALL_ACCESS, &root))) {
      EXPECT_EQ(DeleteKeyTree(root.Get(), name), S_OK);
      RegDeleteValueW(root.Get(), UAB_TEXT("DefaultProfile"));
    }
    EXPECT_EQ(UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin_.Put(), 0), S_OK);
  }

  HRESULT Create(const WCHAR* name, ULONG flags = 0) {
    return admin_->CreateProfile(Mutable(name), 0, MAPI_UNICODE | flags);
  }

  ComPtr<IMsgServiceAdmin> Admin(const WCHAR* name) {
    ComPtr<IMsgServiceAdmin> admin;
    EXPECT_EQ(admin_->AdminServices(Mutable(name), MAPI_UNICODE, admin.Put()), S_OK);
    return admin;
  }

  // The profiles of the table in its order, the default one with a star.
  std::vector<Text> Table() {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(admin_->GetProfileTable(MAPI_UNICODE, table.Put()), S_OK);
    RowSetPtr rows;
    EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
    EXPECT_EQ(table->QueryRows(1000, 0, rows.Put()), S_OK);
    std::vector<Text> names;
    for (SPropValue* row : RowsOf(*rows.Get())) {
      names.push_back(TextOf(row[0]) + (row[1].Value.b != 0 ? UAB_TEXT("*") : UAB_TEXT("")));
    }
    return names;
  }

  TestHive hive_;
  ModulePlace place_{hive_.Folder()};
  ComPtr<IProfAdmin> admin_;
};

}  // namespace uab
