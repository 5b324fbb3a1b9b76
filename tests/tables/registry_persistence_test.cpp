// What is stored, byte for byte; what is made of bytes that are not ours; and saving over what is there.
#include "tables/registry_persistence.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "support/failure_sweep.h"
#include "support/hive.h"
#include "support/system_call_failure.h"
#include "support/unwatched_system_calls.h"
#include "support/values.h"

namespace uab {
namespace {

using Bytes = std::vector<BYTE>;
using Values = std::map<Text, Bytes>;

constexpr BYTE kUid[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr const WCHAR* kUidName = UAB_TEXT("000102030405060708090a0b0c0d0e0f");

void Store(HKEY key, const WCHAR* name, const Bytes& data, DWORD type = REG_BINARY) {
  ASSERT_EQ(RegSetValueExW(key, name, 0, type, data.data(), static_cast<DWORD>(data.size())), 0);
}

Values ReadValues(HKEY key) {
  Values values;
  WCHAR name[kKeyNameCapacity];
  for (DWORD index = 0; EnumValueName(key, index, name, kKeyNameCapacity) == 0; ++index) {
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key, name, nullptr, nullptr, nullptr, &size), 0);
    Bytes& data = values[name];
    data.resize(size);
    EXPECT_EQ(RegQueryValueExW(key, name, nullptr, nullptr, data.data(), &size), 0);
  }
  return values;
}

// All subkeys with their values.
std::map<Text, Values> ReadServices(HKEY key) {
  std::map<Text, Values> services;
  WCHAR name[kKeyNameCapacity];
  for (DWORD index = 0; EnumSubkey(key, index, name, kKeyNameCapacity) == 0; ++index) {
    UniqueKey service;
    EXPECT_EQ(OpenKey(key, name, KEY_READ, &service), S_OK);
    services[name] = ReadValues(service.Get());
  }
  return services;
}

// A record as it has to be stored: value_bytes from offset 16, data from offset 32, zeros elsewhere.
Bytes Record(ULONG tag, const Bytes& value_bytes, const Bytes& data = {}) {
  std::size_t padded = (data.size() + 7) / 8 * 8;
  Bytes record(padded <= 8 ? 40 : padded + 32);
  ULONG head[] = {static_cast<ULONG>(record.size()), static_cast<ULONG>(data.size()), tag};
  std::memcpy(record.data(), head, sizeof(head));
  if (!value_bytes.empty()) std::memcpy(&record[16], value_bytes.data(), value_bytes.size());
  if (!data.empty()) std::memcpy(&record[32], data.data(), data.size());
  return record;
}

Bytes Patched(Bytes record, std::size_t at, ULONG number) {
  std::memcpy(&record[at], &number, 4);
  return record;
}

class RegistryPersistence : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, UAB_TEXT("Profile"), &key_, nullptr), S_OK); }

  TestHive hive_;
  UniqueKey key_;
};

TableRow Service(const BYTE (&uid)[16], const WCHAR* name, LONG flags = 0) {
  SPropValue values[] = {BinaryValue(PR_SERVICE_UID, uid, 16), TextValue(PR_DISPLAY_NAME_W, name),
                         LongValue(PR_RESOURCE_FLAGS, flags)};
  TableRow row;
  EXPECT_EQ(BuildTableRow(SRow{0, 3, values}, row), S_OK);
  return row;
}

ComPtr<MemTable> TableOf(std::vector<TableRow> rows) {
  ComPtr<MemTable> table;
  EXPECT_EQ(MemTable::Create(table), S_OK);
  for (TableRow& row : rows) EXPECT_EQ(table->InsertRow(std::move(row), table->row_count()), S_OK);
  return table;
}

TEST_F(RegistryPersistence, StoresEachKindAsSpecifiedAndReadsItBack) {
  WCHAR* texts[] = {const_cast<WCHAR*>(UAB_TEXT("a")), const_cast<WCHAR*>(UAB_TEXT(""))};
  BYTE bytes[] = {1, 2, 3};
  SBinary runs[] = {{2, bytes}, {0, nullptr}, {1, bytes + 2}};
  GUID guid = {0x03020100, 0x0504, 0x0706, {8, 9, 10, 11, 12, 13, 14, 15}};
  LONG numbers[] = {1, 2, 3};
  SPropValue strings{}, binaries{}, clsid{}, longs{}, string8{}, time{}, null_text{};
  strings.ulPropTag = PR_SERVICE_SUPPORT_FILES_W;
  strings.Value.MVszW = {2, texts};
  binaries.ulPropTag = PropTag(PT_MV_BINARY, 0x6601);
  binaries.Value.MVbin = {3, runs};
  clsid.ulPropTag = PropTag(PT_CLSID, 0x6602);
  clsid.Value.lpguid = &guid;
  longs.ulPropTag = PropTag(PT_MV_LONG, 0x6603);
  longs.Value.MVl = {3, numbers};
  string8.ulPropTag = PR_SERVICE_ENTRY_NAME;
  string8.Value.lpszA = const_cast<char*>("Go");
  time.ulPropTag = PropTag(PT_SYSTIME, 0x6604);
  time.Value.ft = {0x11223344, 0x55667788};
  null_text.ulPropTag = PR_PROVIDER_DISPLAY_W;
  const SPropValue values[] = {LongValue(PR_RESOURCE_FLAGS, 0x01020304),
                               TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Hello")),
                               BinaryValue(PR_SERVICE_UID, kUid, 16),
                               strings, binaries, clsid, longs, string8, time, null_text};
  PropList list;
  for (const SPropValue& value : values) ASSERT_EQ(list.Set(value), S_OK);
  ASSERT_EQ(SaveList(list, key_.Get()), S_OK);

  Bytes hello(12);
  std::memcpy(hello.data(), UAB_TEXT("Hello"), 12);
  const Bytes guid_bytes(kUid, kUid + 16);
  const std::map<Text, Bytes> expected = {
      {UAB_TEXT("805896195"), Record(PR_RESOURCE_FLAGS, {4, 3, 2, 1})},
      {UAB_TEXT("805371935"), Record(PR_DISPLAY_NAME_W, {}, hello)},
      {UAB_TEXT("1024196866"), Record(PR_SERVICE_UID, {16}, guid_bytes)},
      {UAB_TEXT("1024397343"), Record(PR_SERVICE_SUPPORT_FILES_W, {2}, [] {
         Bytes block(16 + 6);
         block[16] = 'a';
         return block;
       }())},
      {UAB_TEXT("1711345922"), Record(binaries.ulPropTag, {3}, [] {
         Bytes block(3 * 16 + 3);
         block[0] = 2, block[32] = 1;
         block[48] = 1, block[49] = 2, block[50] = 3;
         return block;
       }())},
      {UAB_TEXT("1711407176"), Record(clsid.ulPropTag, {}, guid_bytes)},
      {UAB_TEXT("1711476739"), Record(longs.ulPropTag, {3}, {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0})},
      {UAB_TEXT("1024131102"), Record(PR_SERVICE_ENTRY_NAME, {}, {'G', 'o', 0})},
      {UAB_TEXT("1711538240"), Record(time.ulPropTag, {0x44, 0x33, 0x22, 0x11, 0x88, 0x77, 0x66, 0x55})},
      {UAB_TEXT("805699615"), Record(PR_PROVIDER_DISPLAY_W, {}, {0, 0})},
  };
  EXPECT_EQ(ReadValues(key_.Get()), expected);

  PropList loaded;
  ASSERT_EQ(LoadList(loaded, key_.Get()), S_OK);
  EXPECT_EQ(loaded.count(), std::size(values));
  for (const SPropValue& value : values) EXPECT_NE(loaded.Find(value.ulPropTag), nullptr) << std::hex << value.ulPropTag;
  UniqueKey copy;
  ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, UAB_TEXT("Copy"), &copy, nullptr), S_OK);
  ASSERT_EQ(SaveList(loaded, copy.Get()), S_OK);
  EXPECT_EQ(ReadValues(copy.Get()), expected);
}

TEST_F(RegistryPersistence, SavesDirtyPropertiesOnly) {
  PropList list;
  ASSERT_EQ(list.Set(LongValue(PR_DEPTH, 1)), S_OK);
  list.SetAllDirty(false);
  ASSERT_EQ(list.Set(LongValue(PR_RESOURCE_FLAGS, 2)), S_OK);
  ASSERT_EQ(SaveList(list, key_.Get()), S_OK);
  EXPECT_EQ(ReadValues(key_.Get()).size(), 1u);
}

// Pointers that another process stored mean nothing; other lengths and counts than the data's are no record.
TEST_F(RegistryPersistence, PassesOverWhatIsNoRecord) {
  const Bytes text = Record(PR_DISPLAY_NAME_W, {}, {'x', 0, 0, 0});
  const ULONG strings = PR_SERVICE_SUPPORT_FILES_W, runs = PropTag(PT_MV_BINARY, 0x6601);
  const Bytes string_block = Record(strings, {1}, {0, 0, 0, 0, 0, 0, 0, 0, 'x', 0, 0, 0});
  Bytes run_block = Record(runs, {1}, Bytes(24));
  run_block[32] = 8;
  const struct {
    const char* what;
    Bytes data;
    bool accepted;
  } cases[] = {
      {"as it should be", text, true},
      {"stored pointer", Patched(text, 16, 0xDEADBEEF), true},
      {"one byte", {1}, false},
      {"shorter than a record", Bytes(text.begin(), text.begin() + 39), false},
      {"cut", Bytes(run_block.begin(), run_block.end() - 8), false},
      {"length of the record too long", Patched(text, 0, 48), false},
      {"length of the record enormous", Patched(text, 0, 0xFFFFFFF8), false},
      {"data longer than the record", Patched(text, 4, 64), false},
      {"data length overflows", Patched(text, 4, 0xFFFFFFFF), false},
      {"string without end", Record(PR_DISPLAY_NAME_W, {}, {'x', 0, 'y', 0}), false},
      {"8-bit string without end", Record(PR_SERVICE_ENTRY_NAME, {}, {'x', 'y'}), false},
      {"string of half a character", Record(PR_DISPLAY_NAME_W, {}, {0}), false},
      {"short GUID", Record(PropTag(PT_CLSID, 0x6602), {}, Bytes(15)), false},
      {"string list", string_block, true},
      {"string list of too many", Patched(string_block, 16, 2), false},
      {"string list, count overflows", Patched(string_block, 16, 0x20000001), false},
      {"string list without end", Record(strings, {1}, {0, 0, 0, 0, 0, 0, 0, 0, 'x', 0}), false},
      {"run list", run_block, true},
      {"run list, run too long", Patched(run_block, 32, 9), false},
      {"run list, run overflows", Patched(run_block, 32, 0xFFFFFFFF), false},
      {"run list, count overflows", Patched(run_block, 16, 0x10000001), false},
      {"numbers, count too large", Record(PropTag(PT_MV_LONG, 0x6603), {3}, Bytes(8)), false},
      {"numbers, count overflows", Patched(Record(PropTag(PT_MV_I8, 0x6604), {1}, Bytes(8)), 16, 0x20000001), false},
      {"list of an unknown type", Record(PropTag(0x10FF, 0x6605), {1}, Bytes(8)), false},
  };
  Store(key_.Get(), UAB_TEXT("other"), Record(PR_DEPTH, {7}), REG_SZ);  // names and value types are not looked at
  for (const auto& test : cases) {
    SCOPED_TRACE(test.what);
    Store(key_.Get(), UAB_TEXT("name"), test.data);
    PropList list;
    EXPECT_EQ(LoadList(list, key_.Get()), S_OK);
    EXPECT_EQ(list.count(), test.accepted ? 2u : 1u);
    EXPECT_NE(list.Find(PR_DEPTH), nullptr);
  }
  Store(key_.Get(), UAB_TEXT("name"), {});
  PropList list;
  EXPECT_EQ(LoadList(list, key_.Get()), E_FAIL);
  EXPECT_TRUE(list.empty());
}

TEST_F(RegistryPersistence, ReadsOneOfTwoValuesOfTheSameIdentifier) {
  Store(key_.Get(), UAB_TEXT("1"), Record(PR_DISPLAY_NAME_W, {}, {'x', 0, 0, 0}));
  Store(key_.Get(), UAB_TEXT("2"), Record(PR_DISPLAY_NAME_A, {}, {'x', 0}));
  WCHAR later[kKeyNameCapacity];
  ASSERT_EQ(EnumValueName(key_.Get(), 1, later, kKeyNameCapacity), 0);
  PropList list;
  ASSERT_EQ(LoadList(list, key_.Get()), S_OK);
  ASSERT_EQ(list.count(), 1u);
  EXPECT_EQ(list.nodes()[0]->tag(), later[0] == '1' ? PR_DISPLAY_NAME_W : PR_DISPLAY_NAME_A);
}

TEST_F(RegistryPersistence, SavesARowUnderItsIdentifier) {
  TableRow row = Service(kUid, UAB_TEXT("one"));
  ASSERT_EQ(SaveRow(key_.Get(), row), S_OK);
  UniqueKey service, nested;
  ASSERT_EQ(OpenKey(key_.Get(), kUidName, KEY_ALL_ACCESS, &service), S_OK);
  ASSERT_EQ(CreateKey(service.Get(), UAB_TEXT("nested\\deeper"), &nested, nullptr), S_OK);
  Store(service.Get(), UAB_TEXT("mine"), {1});
  ASSERT_EQ(SaveRow(key_.Get(), row), S_OK);
  EXPECT_TRUE(ReadServices(service.Get()).empty());
  EXPECT_EQ(ReadServices(key_.Get())[kUidName].size(), 4u);  // its three properties, and what was there

  const BYTE long_uid[33] = {};
  const struct {
    SPropValue uid;
    HRESULT hr;
  } refused[] = {{LongValue(PR_DEPTH, 1), MAPI_E_MISSING_REQUIRED_COLUMN},
                 {BinaryValue(PR_SERVICE_UID, nullptr, 0), MAPI_E_MISSING_REQUIRED_COLUMN},
                 {LongValue(PropTag(PT_LONG, 0x3D0C), 1), MAPI_E_MISSING_REQUIRED_COLUMN},
                 {BinaryValue(PR_SERVICE_UID, long_uid, 33), MAPI_E_STRING_TOO_LONG}};
  for (const auto& test : refused) {
    TableRow bad;
    ASSERT_EQ(bad.Set(test.uid), S_OK);
    EXPECT_EQ(SaveRow(key_.Get(), bad), test.hr);
  }
  EXPECT_EQ(ReadServices(key_.Get()).size(), 1u);
  EXPECT_TRUE(ReadValues(key_.Get()).empty());
  TableRow longest;
  ASSERT_EQ(longest.Set(BinaryValue(PR_SERVICE_UID, long_uid, 32)), S_OK);
  EXPECT_EQ(SaveRow(key_.Get(), longest), S_OK);
}

constexpr BYTE kUids[4][16] = {{1}, {2}, {3}, {0xAB}};

TEST_F(RegistryPersistence, SavingATableLeavesItsRowsAndTheSettings) {
  auto before = TableOf({});
  for (const auto& uid : kUids) ASSERT_EQ(before->InsertRow(Service(uid, UAB_TEXT("old"), 1), 9), S_OK);
  ASSERT_EQ(SaveTable(*before, key_.Get()), S_OK);
  Store(key_.Get(), UAB_TEXT("setting"), {1, 2});
  // What another program wrote: an identifier in capitals, a property more, something that is no record.
  ASSERT_EQ(RegDeleteKeyW(key_.Get(), UAB_TEXT("ab000000000000000000000000000000")), 0);
  UniqueKey capitals;
  ASSERT_EQ(CreateKey(key_.Get(), UAB_TEXT("AB000000000000000000000000000000"), &capitals, nullptr), S_OK);
  Store(capitals.Get(), UAB_TEXT("note"), {1});
  Store(capitals.Get(), UAB_TEXT("3"), Record(PR_DEPTH, {7}));

  auto table = TableOf({});
  ASSERT_EQ(table->InsertRow(Service(kUids[3], UAB_TEXT("new")), 9), S_OK);
  ASSERT_EQ(table->InsertRow(Service(kUids[1], UAB_TEXT("new")), 9), S_OK);
  ASSERT_EQ(SaveTable(*table, key_.Get()), S_OK);
  auto services = ReadServices(key_.Get());
  ASSERT_EQ(services.size(), 2u);
  Values& changed = services[UAB_TEXT("AB000000000000000000000000000000")];
  EXPECT_EQ(changed.size(), 4u);
  EXPECT_EQ(changed.count(UAB_TEXT("note")), 1u);
  EXPECT_EQ(services[UAB_TEXT("02000000000000000000000000000000")].size(), 3u);
  EXPECT_EQ(ReadValues(key_.Get()).count(UAB_TEXT("setting")), 1u);

  auto loaded = TableOf({});
  ASSERT_EQ(LoadTable(*loaded, key_.Get()), S_OK);
  ASSERT_EQ(loaded->row_count(), 2u);
  EXPECT_EQ(loaded->row(0).Matches(BinaryValue(PR_SERVICE_UID, kUids[1], 16)), S_OK);  // in name order
}

TEST_F(RegistryPersistence, UpdatesARowOrNothing) {
  auto table = TableOf({});
  ASSERT_EQ(table->InsertRow(Service(kUids[0], UAB_TEXT("one")), 0), S_OK);
  ASSERT_EQ(table->InsertRow(Service(kUids[1], UAB_TEXT("two")), 1), S_OK);
  const SPropValue key = BinaryValue(PR_SERVICE_UID, kUids[1], 16);
  SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("three")), LongValue(PropTag(0x10FF, 0x6601), 1)};
  EXPECT_EQ(UpdateRowAndSave(*table, BinaryValue(PR_SERVICE_UID, kUid, 16), 1, values, key_.Get()), MAPI_E_NOT_FOUND);
  EXPECT_EQ(UpdateRowAndSave(*table, key, 0, values, key_.Get()), MAPI_E_NOT_FOUND);
  EXPECT_EQ(UpdateRowAndSave(*table, key, 2, values, key_.Get()), MAPI_E_NO_SUPPORT);
  EXPECT_TRUE(ReadServices(key_.Get()).empty());
  EXPECT_EQ(table->row(1).Matches(TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("two"))), S_OK);
  EXPECT_EQ(UpdateRowAndSave(*table, key, 1, values, key_.Get()), S_OK);
  EXPECT_EQ(table->row(1).Matches(values[0]), S_OK);
  EXPECT_EQ(ReadServices(key_.Get()).size(), 1u);
}

// One run of a sweep: a profile key that holds two services, and the table that they came from.
struct Stored {
  Stored() {
    EXPECT_EQ(CreateKey(HKEY_CURRENT_USER, UAB_TEXT("Profile"), &key, nullptr), S_OK);
    WCHAR name[kKeyNameCapacity];
    EXPECT_EQ(DeleteKeyTree(key.Get(), name), S_OK);
    table = TableOf({});
    for (int i = 0; i < 2; ++i) EXPECT_EQ(table->InsertRow(Service(kUids[i], UAB_TEXT("old"), 1), 9), S_OK);
    EXPECT_EQ(SaveTable(*table, key.Get()), S_OK);
    before = ReadServices(key.Get());
  }

  UniqueKey key;
  ComPtr<MemTable> table;
  std::map<Text, Values> before;
};

class RegistryPersistenceFault : public testing::Test {
 protected:
  TestHive hive_;
};

void SweepBoth(const std::function<HRESULT(Stored&)>& act, const std::function<void(Stored&, HRESULT)>& check) {
  auto prepare = [] { return Stored(); };
  auto act_unwatched = [&](Stored& stored) {
    UnwatchedSystemCalls unwatched;
    return act(stored);
  };
  ForEachAllocationFailure(prepare, act_unwatched, [&](Stored& stored, HRESULT hr) {
    EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
    check(stored, hr);
  });
  ForEachSystemCallFailure(prepare, act, [&](Stored& stored, HRESULT hr) {
    EXPECT_TRUE(hr == S_OK || hr == E_FAIL) << std::hex << hr;
    check(stored, hr);
  });
}

// The n-th registry call fails, those after it work again, so that what was begun can be undone.
void ForEachSingleCallFailure(const std::function<HRESULT(Stored&)>& act,
                              const std::function<void(Stored&, HRESULT)>& check) {
  for (std::uint32_t request = 1;; ++request) {
    SCOPED_TRACE(request);
    Stored stored;
    Countdown countdown(request);
    HRESULT hr;
    {
      SystemCallCountdownScope scope(countdown);
      hr = act(stored);
    }
    check(stored, hr);
    if (countdown.refused() == 0) break;
  }
}

TEST_F(RegistryPersistenceFault, UpdateIsAllOrNothing) {
  auto act = [](Stored& stored) {
    SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("new")), LongValue(PR_DEPTH, 3)};
    return UpdateRowAndSave(*stored.table, BinaryValue(PR_SERVICE_UID, kUids[1], 16), 2, values, stored.key.Get());
  };
  auto check = [](Stored& stored, HRESULT hr) {
    EXPECT_EQ(stored.table->row(1).Find(PR_DEPTH) != nullptr, hr == S_OK);
    EXPECT_EQ(ReadServices(stored.key.Get()) == stored.before, hr != S_OK);
  };
  ForEachSingleCallFailure(act, check);
  ForEachAllocationFailure(
      [] { return Stored(); },
      [&](Stored& stored) {
        UnwatchedSystemCalls unwatched;
        return act(stored);
      },
      check);
}

TEST_F(RegistryPersistenceFault, AFailedNewRowLeavesNoSubkey) {
  ForEachSingleCallFailure(
      [](Stored& stored) {
        TableRow row = Service(kUids[2], UAB_TEXT("new"));
        return SaveRow(stored.key.Get(), row);
      },
      [](Stored& stored, HRESULT hr) { EXPECT_EQ(ReadServices(stored.key.Get()) == stored.before, hr != S_OK); });
}

TEST_F(RegistryPersistenceFault, SavingATableLosesNoServiceThatStays) {
  SweepBoth(
      [](Stored& stored) {
        SPropValue gone = BinaryValue(PR_SERVICE_UID, kUids[0], 16);
        if (HRESULT hr = stored.table->DeleteRow(gone); Failed(hr)) return hr;
        return SaveTable(*stored.table, stored.key.Get());
      },
      [](Stored& stored, HRESULT hr) {
        auto services = ReadServices(stored.key.Get());
        auto after = stored.before;
        after.erase(UAB_TEXT("01000000000000000000000000000000"));
        if (hr == S_OK) {
          EXPECT_EQ(services, after);
        } else {
          EXPECT_TRUE(services == stored.before || services == after);
        }
      });
}

TEST_F(RegistryPersistenceFault, LoadingReportsWhatFails) {
  SweepBoth(
      [](Stored& stored) {
        ComPtr<MemTable> table;
        HRESULT hr = MemTable::Create(table);
        return Succeeded(hr) ? LoadTable(*table, stored.key.Get()) : hr;
      },
      [](Stored& stored, HRESULT) { EXPECT_EQ(ReadServices(stored.key.Get()), stored.before); });
}

}  // namespace
}  // namespace uab
