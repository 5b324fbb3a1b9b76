// Records from what bytes they may; tests/tables has the stored form of each type and the records that are refused.
#include "props/prop_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "frame/allocation_chain.h"
#include "support/values.h"

namespace uab {
namespace {

TEST(PropRecord, LengthsFollowTheData) {
  const struct {
    const char* what;
    SPropValue value;
    ULONG record, data;
  } cases[] = {
      {"number", LongValue(PR_DEPTH, 5), 40, 0},
      {"four characters", TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("abcd")), 48, 10},
      {"null text is empty text", TextValue(PR_DISPLAY_NAME_W, nullptr), 40, 2},
      {"8 bytes", BinaryValue(PR_ENTRYID, "12345678", 8), 40, 8},
      {"9 bytes", BinaryValue(PR_ENTRYID, "123456789", 9), 48, 9},
      {"bytes that are not there", BinaryValue(PR_ENTRYID, nullptr, 3), 40, 3},
  };
  for (const auto& c : cases) {
    PropNodePtr node;
    ASSERT_EQ(MakePropNode(c.value, node), S_OK);
    EXPECT_EQ(node->record.recLength, c.record) << c.what;
    EXPECT_EQ(node->record.dataLength, c.data) << c.what;
    EXPECT_EQ(node->flags, 0u);
  }
}

TEST(PropRecord, MultiValuedTextReadsBackIntoOneBlock) {
  WCHAR a[] = UAB_TEXT("a"), bc[] = UAB_TEXT("bc");
  WCHAR* texts[] = {a, nullptr, bc};
  SPropValue value{}, read{};
  value.ulPropTag = PR_SERVICE_SUPPORT_FILES_W;
  value.Value.MVszW = {3, texts};
  PropNodePtr node;
  ASSERT_EQ(MakePropNode(value, node), S_OK);
  EXPECT_EQ(node->record.dataLength, 24u + 4 + 2 + 6);
  ASSERT_EQ(ReadPropRecord(node->record, nullptr, read), S_OK);
  ASSERT_EQ(read.Value.MVszW.cValues, 3u);
  EXPECT_EQ(lstrcmpW(read.Value.MVszW.lppszW[0], a), 0);
  EXPECT_EQ(lstrlenW(read.Value.MVszW.lppszW[1]), 0);
  EXPECT_EQ(lstrcmpW(read.Value.MVszW.lppszW[2], bc), 0);
  EXPECT_EQ(UABFreeBuffer(read.Value.MVszW.lppszW), S_OK) << "a head of its own";
}

// A record of these lengths, type and data, as it might stand in the registry.
PropNodePtr Stored(ULONG record_length, ULONG data_length, ULONG tag, ULONG count, const std::vector<BYTE>& data) {
  PropNodePtr node;
  EXPECT_EQ(MakeEmptyNode(sizeof(PropRecord) + data.size(), node), S_OK);
  PropRecord& record = node->record;
  record.recLength = record_length;
  record.dataLength = data_length;
  record.value.ulPropTag = tag;
  record.value.Value.bin = {count, reinterpret_cast<BYTE*>(0x1234)};
  if (!data.empty()) std::memcpy(record.data(), data.data(), data.size());
  return node;
}

TEST(PropRecord, WithoutDataIsEmptyAndCountsComeFromTheData) {
  const struct {
    ULONG record, data, tag, count, read;
  } cases[] = {{40, 0, PR_DISPLAY_NAME_W, 0, 0},   {40, 0, PR_AB_SEARCH_PATH, 9, 0}, {40, 0, PR_ENTRYID, 9, 0},
               {40, 8, PR_ENTRYID, 0xFFFFFFFF, 8}, {48, 16, PR_DEPTH, 3, 3},         {48, 16, PR_AB_SEARCH_PATH, 1, 1}};
  for (const auto& c : cases) {
    PropNodePtr node = Stored(c.record, c.data, c.tag, c.count, std::vector<BYTE>(16));
    ASSERT_TRUE(CheckRecord(node->record, c.record)) << &c - cases;
    SPropValue read{};
    ChainPtr<BYTE> head;
    ASSERT_EQ(AllocateInto(head), S_OK);
    ASSERT_EQ(ReadPropRecord(node->record, head.Get(), read), S_OK);
    if (c.tag == PR_DISPLAY_NAME_W) {
      EXPECT_EQ(lstrlenW(read.Value.lpszW), 0);
    } else {
      EXPECT_EQ(read.Value.bin.cb, c.read) << &c - cases;
    }
  }
}

// Whatever the bytes: a refusal or a value that can be read, never a read outside (the sanitizer watches).
TEST(PropRecord, RandomRecordsNeverReadOutside) {
  std::mt19937 random(7);
  const ULONG types[] = {PT_STRING8, PT_UNICODE,    PT_CLSID,      PT_BINARY,    PT_LONG,
                         PT_MV_I2,   PT_MV_UNICODE, PT_MV_STRING8, PT_MV_BINARY, PT_MV_CLSID};
  int accepted = 0;
  for (int i = 0; i < 20000; ++i) {
    ULONG data = static_cast<ULONG>(random() % 64);
    ULONG record = data <= 8 ? 40 : ((data + 7) & ~7u) + 32;
    std::vector<BYTE> bytes(record - 32);
    for (BYTE& byte : bytes) byte = static_cast<BYTE>(random() % 3 == 0 ? random() % 24 : 0);
    PropNodePtr node =
        Stored(record, data, PropTag(types[random() % 10], 0x6601), static_cast<ULONG>(random() % 5), bytes);
    if (!CheckRecord(node->record, record)) continue;
    ++accepted;
    ChainPtr<BYTE> head;
    SPropValue read{};
    ASSERT_EQ(AllocateInto(head), S_OK);
    ASSERT_EQ(ReadPropRecord(node->record, head.Get(), read), S_OK);
  }
  EXPECT_GT(accepted, 1000);
}

}  // namespace
}  // namespace uab
