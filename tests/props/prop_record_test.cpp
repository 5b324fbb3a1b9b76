// Records from what bytes they may; tests/tables has the stored form of each type and the records that are refused.
#include "props/prop_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "frame/allocation_chain.h"
#include "support/values.h"

namespace uab {
namespace {

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

}  // namespace
}  // namespace uab
