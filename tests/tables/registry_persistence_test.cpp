// What is stored, byte for byte; what is made of bytes that are not ours; and saving over what is there.
#include "tables/registry_persistence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "support/values.h"
#include "tables/registry_contents.h"

namespace uab {
namespace {

constexpr BYTE kUid[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr const WCHAR* kUidName = UAB_TEXT("000102030405060708090a0b0c0d0e0f");

void Store(HKEY key, const WCHAR* name, const Data& data, DWORD type = REG_BINARY) {
  ASSERT_EQ(RegSetValueExW(key, name, 0, type, data.data(), static_cast<DWORD>(data.size())), 0);
}

// A record as it has to be stored: value_bytes from offset 16, data from offset 32, zeros elsewhere.
Data Record(ULONG tag, const Data& value_bytes, const Data& data = {}) {
  Data record(data.size() <= 8 ? 40 : (data.size() + 7) / 8 * 8 + 32);
  ULONG head[] = {static_cast<ULONG>(record.size()), static_cast<ULONG>(data.size()), tag};
  std::memcpy(record.data(), head, sizeof(head));
  if (!value_bytes.empty()) std::memcpy(&record[16], value_bytes.data(), value_bytes.size());
  if (!data.empty()) std::memcpy(&record[32], data.data(), data.size());
  return record;
}

Data Patched(Data record, std::size_t at, ULONG number) {
  std::memcpy(&record[at], &number, 4);
  return record;
}

constexpr ULONG kRuns = PropTag(PT_MV_BINARY, 0x6601), kClsid = PropTag(PT_CLSID, 0x6602),
                kLongs = PropTag(PT_MV_LONG, 0x6603), kTime = PropTag(PT_SYSTIME, 0x6604);

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
  EXPECT_EQ(row.Build(SRow{0, 3, values}), S_OK);
  return row;
}

template <typename... Rows>
ComPtr<MemTable> TableOf(Rows... rows) {
  ComPtr<MemTable> table;
  EXPECT_EQ(MemTable::Create(table), S_OK);
  (static_cast<void>(table->InsertRow(std::move(rows), 99)), ...);
  return table;
}

TEST_F(RegistryPersistence, StoresEachKindAsSpecifiedAndReadsItBack) {
  WCHAR* texts[] = {const_cast<WCHAR*>(UAB_TEXT("a")), const_cast<WCHAR*>(UAB_TEXT(""))};
  BYTE bytes[] = {1, 2, 3};
  SBinary runs[] = {{2, bytes}, {0, nullptr}, {1, bytes + 2}};
  GUID guid = {0x03020100, 0x0504, 0x0706, {8, 9, 10, 11, 12, 13, 14, 15}};
  LONG numbers[] = {1, 2, 3};
  auto value_of = [](ULONG tag, auto SPropValueUnion::*field, auto content) {
    SPropValue value{};
    value.ulPropTag = tag;
    value.Value.*field = content;
    return value;
  };
  const SPropValue values[] = {LongValue(PR_RESOURCE_FLAGS, 0x01020304),
                               TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Hello")),
                               BinaryValue(PR_SERVICE_UID, kUid, 16),
                               TextValue(PR_PROVIDER_DISPLAY_W, nullptr),
                               value_of(PR_SERVICE_SUPPORT_FILES_W, &SPropValueUnion::MVszW, SWStringArray{2, texts}),
                               value_of(kRuns, &SPropValueUnion::MVbin, SBinaryArray{3, runs}),
                               value_of(kClsid, &SPropValueUnion::lpguid, &guid),
                               value_of(kLongs, &SPropValueUnion::MVl, SLongArray{3, numbers}),
                               value_of(PR_SERVICE_ENTRY_NAME, &SPropValueUnion::lpszA, const_cast<char*>("Go")),
                               value_of(kTime, &SPropValueUnion::ft, FILETIME{0x11223344, 0x55667788})};
  PropList list;
  for (const SPropValue& value : values) ASSERT_EQ(list.SetToStore(value), S_OK);
  ASSERT_EQ(SaveList(list, key_.Get()), S_OK);

  Data hello(12), strings(16 + 6), run_block(3 * 16 + 3);
  std::memcpy(hello.data(), UAB_TEXT("Hello"), 12);
  strings[16] = 'a';
  run_block[0] = 2, run_block[32] = 1, run_block[48] = 1, run_block[49] = 2, run_block[50] = 3;
  const Data guid_bytes(kUid, kUid + 16);
  const Values expected = {
      {UAB_TEXT("805896195"), Record(PR_RESOURCE_FLAGS, {4, 3, 2, 1})},
      {UAB_TEXT("805371935"), Record(PR_DISPLAY_NAME_W, {}, hello)},
      {UAB_TEXT("1024196866"), Record(PR_SERVICE_UID, {16}, guid_bytes)},
      {UAB_TEXT("805699615"), Record(PR_PROVIDER_DISPLAY_W, {}, {0, 0})},
      {UAB_TEXT("1024397343"), Record(PR_SERVICE_SUPPORT_FILES_W, {2}, strings)},
      {UAB_TEXT("1711345922"), Record(kRuns, {3}, run_block)},
      {UAB_TEXT("1711407176"), Record(kClsid, {}, guid_bytes)},
      {UAB_TEXT("1711476739"), Record(kLongs, {3}, {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0})},
      {UAB_TEXT("1024131102"), Record(PR_SERVICE_ENTRY_NAME, {}, {'G', 'o', 0})},
      {UAB_TEXT("1711538240"), Record(kTime, {0x44, 0x33, 0x22, 0x11, 0x88, 0x77, 0x66, 0x55})},
  };
  EXPECT_EQ(ReadValues(key_.Get()), expected);

  PropList loaded;
  ASSERT_EQ(LoadList(loaded, key_.Get()), S_OK);
  loaded.SetAllDirty(false);  // saves only what has changed since
  ASSERT_EQ(loaded.Set(values[0]), S_OK);
  UniqueKey copy;
  ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, UAB_TEXT("Copy"), &copy, nullptr), S_OK);
  ASSERT_EQ(SaveList(loaded, copy.Get()), S_OK);
  EXPECT_EQ(ReadValues(copy.Get()).size(), 1u);
  loaded.SetAllDirty(true);
  ASSERT_EQ(SaveList(loaded, copy.Get()), S_OK);
  EXPECT_EQ(ReadValues(copy.Get()), expected);

  const Data read = Record(PR_DEPTH, {7, 0, 0, 0, 9, 9});  // another writer left something behind the number
  Store(copy.Get(), UAB_TEXT("other"), read);
  PropList again;
  ASSERT_EQ(LoadList(again, copy.Get()), S_OK);
  ASSERT_EQ(again.SetToStore(LongValue(PR_DEPTH, 7)), S_OK);
  ASSERT_EQ(SaveList(again, copy.Get()), S_OK);
  EXPECT_EQ(ReadBytes(copy.Get(), UAB_TEXT("805634051")), read);
}

TEST_F(RegistryPersistence, PassesOverWhatIsNoRecord) {
  const Data text = Record(PR_DISPLAY_NAME_W, {}, {'x', 0, 0, 0});
  const ULONG strings = PR_SERVICE_SUPPORT_FILES_W;
  const Data string_block = Record(strings, {1}, {0, 0, 0, 0, 0, 0, 0, 0, 'x', 0, 0, 0});
  Data run_block = Record(kRuns, {1}, Data(24));
  run_block[32] = 8;
  constexpr long kRefused = -1, kText = -2;
  const struct {
    const char* what;
    Data data;
    long count;  // of bytes or members, as it is read; the data decides
  } cases[] = {
      {"as it should be", text, kText},
      {"8 bytes", Record(PR_ENTRYID, {8}, Data(8)), 8},
      {"9 bytes", Record(PR_ENTRYID, {9}, Data(9)), 9},
      {"bytes, another count", Record(PR_ENTRYID, {0xFF, 0xFF, 0xFF, 0xFF}, Data(8)), 8},
      {"bytes without data", Record(PR_ENTRYID, {9}), 0},
      {"list without data", Record(kRuns, {9}), 0},
      {"text without data", Record(PR_DISPLAY_NAME_W, {}), kText},
      {"stored pointer", Patched(text, 16, 0xDEADBEEF), kText},
      {"shorter than a record", Data(text.begin(), text.begin() + 39), kRefused},
      {"cut", Data(run_block.begin(), run_block.end() - 8), kRefused},
      {"length of the record too long", Patched(text, 0, 48), kRefused},
      {"data length overflows", Patched(text, 4, 0xFFFFFFFF), kRefused},
      {"data longer than the record", Patched(Record(PR_ENTRYID, {9}, Data(9)), 4, 17), kRefused},
      {"data shorter than the record", Patched(Record(PR_ENTRYID, {9}, Data(9)), 4, 8), kRefused},
      {"string without end", Record(PR_DISPLAY_NAME_W, {}, {'x', 0, 'y', 0}), kRefused},
      {"8-bit string without end", Record(PR_SERVICE_ENTRY_NAME, {}, {'x', 'y'}), kRefused},
      {"string of half a character", Record(PR_DISPLAY_NAME_W, {}, {0}), kRefused},
      {"short GUID", Record(kClsid, {}, Data(15)), kRefused},
      {"string list", string_block, 1},
      {"string list of too many", Patched(string_block, 16, 2), kRefused},
      {"string list, count overflows", Patched(string_block, 16, 0x20000001), kRefused},
      {"string list without end", Record(strings, {1}, {0, 0, 0, 0, 0, 0, 0, 0, 'x', 0}), kRefused},
      {"run list", run_block, 1},
      {"run list, run too long", Patched(run_block, 32, 9), kRefused},
      {"run list, count overflows", Patched(run_block, 16, 0x10000001), kRefused},
      {"numbers, count too large", Record(kLongs, {3}, Data(8)), kRefused},
      {"numbers, count overflows", Patched(Record(PropTag(PT_MV_I8, 0x6604), {1}, Data(8)), 16, 0x20000001), kRefused},
      {"list of an unknown type", Record(PropTag(0x10FF, 0x6605), {1}, Data(8)), kRefused},
      {"list of an unknown type, without data", Record(PropTag(0x10FF, 0x6605), {0}), kRefused},
  };
  Store(key_.Get(), UAB_TEXT("other"), Record(PR_DEPTH, {7}), REG_SZ);  // names and value types are not looked at
  for (const auto& test : cases) {
    SCOPED_TRACE(test.what);
    Store(key_.Get(), UAB_TEXT("name"), test.data);
    PropList list;
    EXPECT_EQ(LoadList(list, key_.Get()), S_OK);
    EXPECT_NE(list.Find(PR_DEPTH), nullptr);
    ASSERT_EQ(list.count(), test.count == kRefused ? 1u : 2u);
    if (test.count == kRefused) continue;
    ChainPtr<SPropValue> read;
    ASSERT_EQ(AllocateInto(read), S_OK);
    const PropRecord& record = list.nodes()[list.nodes()[0]->tag() == PR_DEPTH ? 1 : 0]->record;
    ASSERT_EQ(ReadPropRecord(record, read.Get(), *read.Get()), S_OK);
    EXPECT_EQ(test.count == kText ? kText : static_cast<long>(read->Value.bin.cb), test.count);
    EXPECT_TRUE(test.count != kText || lstrlenW(read->Value.lpszW) < 2);
  }
  Store(key_.Get(), UAB_TEXT("name"), {});
  PropList list;
  EXPECT_EQ(LoadList(list, key_.Get()), E_FAIL);
  EXPECT_TRUE(list.empty());
}

TEST_F(RegistryPersistence, SavesARowUnderItsIdentifier) {
  UniqueKey service, nested;
  ASSERT_EQ(CreateKey(key_.Get(), kUidName, &service, nullptr), S_OK);
  ASSERT_EQ(CreateKey(service.Get(), UAB_TEXT("nested\\deeper"), &nested, nullptr), S_OK);
  ASSERT_EQ(SaveRow(key_.Get(), Service(kUid, UAB_TEXT("one"))), S_OK);
  EXPECT_TRUE(ReadServices(service.Get()).empty());
  EXPECT_EQ(ReadServices(key_.Get())[kUidName].size(), 3u);

  const BYTE long_uid[33] = {};
  const std::pair<SPropValue, HRESULT> uids[] = {
      {LongValue(PR_DEPTH, 1), MAPI_E_MISSING_REQUIRED_COLUMN},
      {BinaryValue(PR_SERVICE_UID, nullptr, 0), MAPI_E_MISSING_REQUIRED_COLUMN},
      {LongValue(PropTag(PT_LONG, 0x3D0C), 1), MAPI_E_MISSING_REQUIRED_COLUMN},
      {BinaryValue(PR_SERVICE_UID, long_uid, 33), MAPI_E_STRING_TOO_LONG},
      {BinaryValue(PR_SERVICE_UID, long_uid, 32), S_OK}};
  for (const auto& [uid, hr] : uids) {
    EXPECT_EQ(ReadServices(key_.Get()).size(), 1u);
    TableRow other;
    ASSERT_EQ(other.Build(SRow{0, 1, const_cast<SPropValue*>(&uid)}), S_OK);
    EXPECT_EQ(SaveRow(key_.Get(), other), hr);
  }
  EXPECT_TRUE(ReadValues(key_.Get()).empty());
}

constexpr BYTE kUids[4][16] = {{1}, {2}, {3}, {0xAB}};

TEST_F(RegistryPersistence, SavingATableLeavesItsRowsAndTheSettings) {
  auto before = TableOf();
  for (const auto& uid : kUids) ASSERT_EQ(before->InsertRow(Service(uid, UAB_TEXT("old"), 1), 9), S_OK);
  ASSERT_EQ(SaveTable(*before, key_.Get()), S_OK);
  Store(key_.Get(), UAB_TEXT("setting"), {1, 2});
  // What another program wrote: an identifier in capitals, a property more, something that is no record.
  ASSERT_EQ(RegDeleteKeyW(key_.Get(), UAB_TEXT("ab000000000000000000000000000000")), 0);
  UniqueKey capitals, second;
  ASSERT_EQ(CreateKey(key_.Get(), UAB_TEXT("AB000000000000000000000000000000"), &capitals, nullptr), S_OK);
  Store(capitals.Get(), UAB_TEXT("note"), {1});
  Store(capitals.Get(), UAB_TEXT("3"), Record(PR_DEPTH, {7}));

  auto table = TableOf(Service(kUids[3], UAB_TEXT("new")), Service(kUids[1], UAB_TEXT("new")));
  ASSERT_EQ(SaveTable(*table, key_.Get()), S_OK);
  auto services = ReadServices(key_.Get());
  ASSERT_EQ(services.size(), 2u);
  Values& changed = services[UAB_TEXT("AB000000000000000000000000000000")];
  EXPECT_EQ(changed.size(), 4u);
  EXPECT_EQ(changed.count(UAB_TEXT("note")), 1u);
  EXPECT_EQ(services[UAB_TEXT("02000000000000000000000000000000")].size(), 3u);
  EXPECT_EQ(ReadValues(key_.Get()).count(UAB_TEXT("setting")), 1u);

  auto loaded = TableOf();
  ASSERT_EQ(LoadTable(*loaded, key_.Get()), S_OK);
  ASSERT_EQ(loaded->row_count(), 2u);
  EXPECT_EQ(loaded->FirstMatch(BinaryValue(PR_SERVICE_UID, kUids[1], 16)), 0u);  // in name order

  Store(capitals.Get(), UAB_TEXT("3"), Record(PR_DEPTH, {7}));  // what each of two with one identifier has alone
  ASSERT_EQ(CreateKey(key_.Get(), UAB_TEXT("aa"), &second, nullptr), S_OK);
  for (const auto& [name, data] : changed) Store(second.Get(), name.c_str(), data);
  Store(second.Get(), UAB_TEXT("4"), Record(kTime, {9}));
  ASSERT_EQ(LoadTable(*(table = TableOf()), key_.Get()), S_OK);
  ASSERT_EQ(SaveTable(*table, key_.Get()), S_OK);
  EXPECT_EQ(ReadValues(capitals.Get()).size(), 6u);
}

TEST_F(RegistryPersistence, UpdatesARowOrNothing) {
  auto table = TableOf(Service(kUids[0], UAB_TEXT("one")), Service(kUids[1], UAB_TEXT("two")));
  const SPropValue key = BinaryValue(PR_SERVICE_UID, kUids[1], 16), unknown = BinaryValue(PR_SERVICE_UID, kUid, 16);
  SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("three")), LongValue(PropTag(0x10FF, 0x6601), 1)};
  EXPECT_EQ(UpdateRowAndSave(*table, unknown, 1, values, key_.Get()), MAPI_E_NOT_FOUND);
  EXPECT_EQ(UpdateRowAndSave(*table, key, 0, values, key_.Get()), MAPI_E_NOT_FOUND);
  EXPECT_EQ(UpdateRowAndSave(*table, key, 2, values, key_.Get()), MAPI_E_NO_SUPPORT);
  EXPECT_TRUE(ReadServices(key_.Get()).empty());
  EXPECT_FALSE(table->HasRow(values[0]));
  EXPECT_EQ(UpdateRowAndSave(*table, key, 1, values, key_.Get()), S_OK);
  EXPECT_EQ(table->FirstMatch(values[0]), 1u);
  EXPECT_EQ(ReadServices(key_.Get()).size(), 1u);
}

TEST_F(RegistryPersistence, TheTypeThatWasSavedLastCounts) {
  const SPropValue text = TextValue(PropTag(PT_UNICODE, 0x6630), UAB_TEXT("x")), number = LongValue(0x66300003, 5);
  auto table = TableOf(Service(kUid, UAB_TEXT("one")));
  UniqueKey service;
  ASSERT_EQ(CreateKey(key_.Get(), kUidName, &service, nullptr), S_OK);
  Store(service.Get(), UAB_TEXT("zz"), Record(number.ulPropTag, {7}));
  Store(service.Get(), UAB_TEXT("3"), Record(PR_DEPTH, {7}));  // another property, and no record
  Store(service.Get(), UAB_TEXT("note"), {1});
  for (const SPropValue& value : {text, number, text}) {
    EXPECT_EQ(UpdateRowAndSave(*table, BinaryValue(PR_SERVICE_UID, kUid, 16), 1, &value, key_.Get()), S_OK);
    EXPECT_EQ(ReadValues(service.Get()).size(), 6u);
    PropList list;  // the settings
    ASSERT_EQ(list.Set(value), S_OK);
    EXPECT_EQ(SaveList(list, key_.Get()), S_OK);
    EXPECT_EQ(ReadValues(key_.Get()).size(), 1u);
  }
}

}  // namespace
}  // namespace uab
