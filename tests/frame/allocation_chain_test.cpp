#include "frame/allocation_chain.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace uab {
namespace {

TEST(AllocationChain, FurtherBlocksRunFromNewestToOldest) {
  void* head = nullptr;
  ASSERT_EQ(UABAllocateBuffer(0, &head), S_OK);
  std::vector<BlockHeader*> blocks;
  for (ULONG size = 0; size < 140; ++size) {
    void* data = nullptr;
    ASSERT_EQ(UABAllocateMore(size, head, &data), S_OK);
    std::vector<BYTE> expected(size, 0);
    expected.push_back(0x7D);  // the guard
    EXPECT_EQ(std::memcmp(data, expected.data(), expected.size()), 0) << size;
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

TEST(AllocationChain, ListsAreFreedWithTheirArrays) {  // what is left shows in the build with sanitizers
  UABFreeProws(nullptr);
  UABFreePadrlist(nullptr);
  for (bool rows : {true, false}) {
    void *list = nullptr, *values = nullptr;
    ASSERT_EQ(UABAllocateBuffer(static_cast<ULONG>(RowSetSize(3)), &list), S_OK);
    ASSERT_EQ(UABAllocateBuffer(sizeof(SPropValue), &values), S_OK);
    auto* set = static_cast<SRowSet*>(list);
    set->cRows = 3;
    set->aRow[2].lpProps = static_cast<SPropValue*>(values);  // the others keep a null array
    rows ? UABFreeProws(set) : UABFreePadrlist(static_cast<ADRLIST*>(list));
  }
}

}  // namespace
}  // namespace uab
