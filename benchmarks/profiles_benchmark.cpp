// Reading the table of n profiles, loading and saving a profile of n services, each against the same registry calls
// made by hand on the same keys; and changing n services one by one, against files replaced by hand and against a SQLite
// database on disk with a transaction for each.
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <set>
#include <string>

#include "benchmarks/shared_hive.h"
#include "benchmarks/sqlite.h"
#include "benchmarks/with_floor.h"
#include "keluab/tags.h"
#include "platform/registry.h"
#include "profiles/stored_services.h"
#include "support/values.h"

namespace uab {
namespace {

constexpr const WCHAR* kProfile = UAB_TEXT("profile");

Text Number(std::int64_t number) {
  std::string digits = std::to_string(number);
  return Text(digits.begin(), digits.end());
}

// The identifier of the n-th service.
MAPIUID ServiceUid(std::int64_t number) {
  MAPIUID uid = {};
  std::memcpy(&uid, &number, sizeof number);
  return uid;
}

// An application key for each size.
class Keys {
 public:
  // An application key with as many profiles.
  static Text WithProfiles(std::int64_t count) {
    Text key = UAB_TEXT("Profiles") + Number(count);
    if (!Make(key)) return key;
    for (std::int64_t i = 0; i < count; ++i) {
      UniqueKey profile;
      OpenProfileKey(key.c_str(), (UAB_TEXT("profile ") + Number(i)).c_str(), ProfileKeyMode::kCreate, profile);
    }
    WriteDefaultProfile(key.c_str(), UAB_TEXT("profile 5"));
    return key;
  }

  // An application key with a profile of as many services.
  static Text WithServices(std::int64_t count) {
    Text key = UAB_TEXT("Services") + Number(count);
    if (!Make(key)) return key;
    ComPtr<MemTable> table;
    MemTable::Create(table);
    for (std::int64_t i = 0; i < count; ++i) {
      const MAPIUID uid = ServiceUid(i);
      SPropValue values[10] = {UidValue(uid)};
      for (ULONG j = 1; j < 10; ++j) values[j] = TextValue(PropTag(PT_UNICODE, 0x6600 + j), UAB_TEXT("what a service keeps"));
      table->AddRow(SRow{0, 10, values}, table->row_count());
    }
    SaveServices(key.c_str(), kProfile, *table);
    return key;
  }

 private:
  static bool Make(const Text& key) {
    SharedHive();
    static std::set<Text> made;
    return made.insert(key).second;
  }
};

void ProfileTable(benchmark::State& state) {
  Text key = Keys::WithProfiles(state.range(0));
  for (auto _ : state) {
    ComPtr<MemTable> table;
    if (Failed(BuildProfileTable(key.c_str(), table)) || table->row_count() != static_cast<std::size_t>(state.range(0))) {
      return state.SkipWithError("no table");
    }
  }
}

void ProfileTableFloor(benchmark::State& state) {
  Text key = Keys::WithProfiles(state.range(0));
  RegistryPath path;
  ProfileRootPath(key.c_str(), path);
  WCHAR name[kKeyNameCapacity];
  for (auto _ : state) {
    UniqueKey root;
    OpenKey(HKEY_CURRENT_USER, path, KEY_READ, &root);
    DWORD index = 0;
    while (EnumSubkey(root.Get(), index, name, kKeyNameCapacity) == 0) ++index;
    if (index != state.range(0)) return state.SkipWithError("no profiles");
  }
}

void Load(benchmark::State& state) {
  Text key = Keys::WithServices(state.range(0));
  for (auto _ : state) {
    ComPtr<MemTable> table;
    if (Failed(LoadServices(key.c_str(), kProfile, table))) return state.SkipWithError("no services");
  }
}

void LoadFloor(benchmark::State& state) {
  Text key = Keys::WithServices(state.range(0));
  WCHAR name[kKeyNameCapacity], value[kKeyNameCapacity];
  BYTE data[256];
  for (auto _ : state) {
    UniqueKey profile;
    if (Failed(OpenProfileKey(key.c_str(), kProfile, ProfileKeyMode::kOpen, profile))) return state.SkipWithError("none");
    for (DWORD i = 0; EnumSubkey(profile.Get(), i, name, kKeyNameCapacity) == 0; ++i) {
      UniqueKey service;
      OpenKey(profile.Get(), name, KEY_READ, &service);
      for (DWORD j = 0; EnumValueName(service.Get(), j, value, kKeyNameCapacity) == 0; ++j) {
        DWORD size = 0;
        RegQueryValueExW(service.Get(), value, nullptr, nullptr, nullptr, &size);
        size = sizeof data;
        RegQueryValueExW(service.Get(), value, nullptr, nullptr, data, &size);
        benchmark::DoNotOptimize(data);
      }
    }
  }
}

void Save(benchmark::State& state) {
  Text key = Keys::WithServices(state.range(0));
  ComPtr<MemTable> table;
  LoadServices(key.c_str(), kProfile, table);
  for (auto _ : state) {
    if (Failed(SaveServices(key.c_str(), kProfile, *table))) return state.SkipWithError("not saved");
  }
}

void SaveFloor(benchmark::State& state) {
  Text key = Keys::WithServices(state.range(0));
  const BYTE data[80] = {};
  for (auto _ : state) {
    UniqueKey profile;
    OpenProfileKey(key.c_str(), UAB_TEXT("floor"), ProfileKeyMode::kCreate, profile);
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      UniqueKey service;
      if (Failed(CreateKey(profile.Get(), Number(i).c_str(), &service, nullptr))) return state.SkipWithError("no key");
      for (std::int64_t j = 0; j < 10; ++j) SetValue(service.Get(), Number(j).c_str(), REG_BINARY, data);
    }
  }
}

// Another one each time: what is there already would not be written.
Text FreshValue() {
  static std::int64_t last = 0;
  return UAB_TEXT("changed ") + Number(++last);
}

void ChangeOneByOne(benchmark::State& state) {
  Text key = Keys::WithServices(state.range(0));
  ComPtr<MemTable> table;
  if (Failed(LoadServices(key.c_str(), kProfile, table))) return state.SkipWithError("no services");
  for (auto _ : state) {
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      const Text text = FreshValue();
      const SPropValue value = TextValue(PropTag(PT_UNICODE, 0x6601), text.c_str());
      if (UpdateService(key.c_str(), kProfile, ServiceUid(i), 1, &value, *table) != S_OK) {
        return state.SkipWithError("not changed");
      }
    }
  }
}

// An empty folder on the disk that the hive is on.
std::filesystem::path FolderFor(benchmark::State& state) {
  std::filesystem::path folder = SharedHive().Folder() / std::to_string(state.range(0));
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  return folder;
}

void ChangeOneByOneFloor(benchmark::State& state) {
  const std::filesystem::path folder = FolderFor(state);
  const std::string fresh = folder / "fresh";
  const char data[120] = {};
  for (auto _ : state) {
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      int file = open(fresh.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
      bool written = write(file, data, sizeof data) == sizeof data && fdatasync(file) == 0;
      close(file);
      std::string place = folder / ("value" + std::to_string(i));
      if (!written || rename(fresh.c_str(), place.c_str()) != 0) return state.SkipWithError("not written");
    }
  }
}

void ChangeOneByOneInSqlite(benchmark::State& state) {
  Database database((FolderFor(state) / "profiles.db").c_str());
  database.Run("CREATE TABLE props (service INTEGER, tag INTEGER, value BLOB, PRIMARY KEY (service, tag))");
  database.Run("BEGIN");
  Statement insert(database, "INSERT INTO props VALUES (?, ?, zeroblob(48))");
  for (std::int64_t i = 0; i < 10 * state.range(0); ++i) {
    sqlite3_bind_int64(insert.get(), 1, i / 10);
    sqlite3_bind_int64(insert.get(), 2, i % 10);
    insert.Step();
    insert.Reset();
  }
  database.Run("COMMIT");
  Statement update(database, "UPDATE props SET value = ? WHERE service = ? AND tag = 1");
  for (auto _ : state) {
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      const Text text = FreshValue();
      sqlite3_bind_blob(update.get(), 1, text.data(), static_cast<int>(2 * text.size()), SQLITE_STATIC);
      sqlite3_bind_int64(update.get(), 2, i);
      update.Step();  // commits
      update.Reset();
    }
  }
}

const WithFloor profile_table("profile table, profiles", {10, 1'000, 10'000}, &ProfileTable, &ProfileTableFloor);
const WithFloor load("load a profile, services", {10, 100, 1'000}, &Load, &LoadFloor);
const WithFloor save("save a profile, services", {10, 100, 1'000}, &Save, &SaveFloor);
const WithFloor change("services changed one by one", {10, 100, 1'000}, &ChangeOneByOne, &ChangeOneByOneFloor,
                       {"SQLite", &ChangeOneByOneInSqlite});

}  // namespace
}  // namespace uab
