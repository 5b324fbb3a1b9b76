#include "frame/allocation_chain.h"

#include <gtest/gtest.h>

#include <vector>

namespace uab {
namespace {

TEST(AllocationChain, HeadHasTheDocumentedLayout) {
  void* data = nullptr;
  ASSERT_EQ(UABAllocateBuffer(5, &data), S_OK);
  auto* bytes = static_cast<BYTE*>(data);
  auto* header = reinterpret_cast<BlockHeader*>(bytes - 24);
  EXPECT_EQ(header->signature, 0x7Bu);
  EXPECT_EQ(header->size, 5u);
  EXPECT_EQ(header->previous, nullptr);
  EXPECT_EQ(header->next, nullptr);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(bytes[i], 0) << i;
  EXPECT_EQ(bytes[5], 0x7D);
  EXPECT_EQ(UABFreeBuffer(data), S_OK);
}

TEST(AllocationChain, FurtherBlocksRunFromNewestToOldest) {
  void* head = nullptr;
  ASSERT_EQ(UABAllocateBuffer(0, &head), S_OK);
  std::vector<BlockHeader*> blocks;
  for (ULONG size : {0u, 7u, 4096u}) {
    void* data = nullptr;
    ASSERT_EQ(UABAllocateMore(size, head, &data), S_OK);
    blocks.push_back(reinterpret_cast<BlockHeader*>(static_cast<BYTE*>(data) - 24));
    void* more = &blocks;
    EXPECT_EQ(UABAllocateMore(1, data, &more), E_INVALIDARG) << "a further block can't be extended";
    EXPECT_EQ(more, nullptr);
    EXPECT_EQ(UABFreeBuffer(data), E_INVALIDARG) << "nor freed alone";
  }
  auto* block = reinterpret_cast<BlockHeader*>(static_cast<BYTE*>(head) - 24);
  for (std::size_t i = blocks.size(); i-- > 0; block = block->next) {
    ASSERT_EQ(block->next, blocks[i]);
    EXPECT_EQ(block->next->previous, block);
  }
  EXPECT_EQ(block->next, nullptr);
  EXPECT_EQ(UABFreeBuffer(head), S_OK);
}

TEST(AllocationChain, BadCallsAreRefused) {
  void* data = &data;
  EXPECT_EQ(UABAllocateBuffer(0xFFFFFFE7u, &data), E_OUTOFMEMORY);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(UABAllocateBuffer(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(UABFreeBuffer(nullptr), E_INVALIDARG);
  data = &data;
  EXPECT_EQ(UABAllocateMore(1, nullptr, &data), E_INVALIDARG);
  EXPECT_EQ(data, nullptr);
  alignas(8) BYTE other[64] = {};
  EXPECT_EQ(UABFreeBuffer(other + 24), E_INVALIDARG) << "no signature";
  ASSERT_EQ(UABAllocateBuffer(1, &data), S_OK);
  void* more = &data;
  EXPECT_EQ(UABAllocateMore(0xFFFFFFFFu, data, &more), E_OUTOFMEMORY);
  EXPECT_EQ(more, nullptr);
  EXPECT_EQ(UABAllocateMore(1, data, nullptr), E_INVALIDARG);
  EXPECT_EQ(UABFreeBuffer(data), S_OK);
}

TEST(AllocationChain, ListsAreFreedWithTheirArrays) {
  UABFreeProws(nullptr);
  UABFreePadrlist(nullptr);
  void* rows = nullptr;
  ASSERT_EQ(UABAllocateBuffer(static_cast<ULONG>(RowSetSize(3)), &rows), S_OK);
  auto* set = static_cast<SRowSet*>(rows);
  set->cRows = 3;
  for (ULONG i : {0u, 2u}) {  // row 1 keeps a null array
    void* values = nullptr;
    ASSERT_EQ(UABAllocateBuffer(sizeof(SPropValue), &values), S_OK);
    set->aRow[i].lpProps = static_cast<SPropValue*>(values);
  }
  UABFreeProws(set);
  ASSERT_EQ(UABAllocateBuffer(static_cast<ULONG>(RowSetSize(2)), &rows), S_OK);
  auto* list = static_cast<ADRLIST*>(rows);
  list->cEntries = 2;
  void* values = nullptr;
  ASSERT_EQ(UABAllocateBuffer(sizeof(SPropValue), &values), S_OK);
  list->aEntries[1].rgPropVals = static_cast<SPropValue*>(values);
  UABFreePadrlist(list);
}

}  // namespace
}  // namespace uab
