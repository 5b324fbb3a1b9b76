#include <gtest/gtest.h>

#include <vector>

#include "frame/allocation_chain.h"
#include "support/failure_sweep.h"

namespace uab {
namespace {

BlockHeader* HeaderOf(void* data) { return reinterpret_cast<BlockHeader*>(static_cast<BYTE*>(data) - 24); }

TEST(AllocationChainFault, AFailedExtensionLeavesTheChainAsItWas) {
  struct Extension {
    ChainPtr<BYTE> head;
    void* first = nullptr;
    void* second = nullptr;
  };
  ForEachAllocationFailure(
      [] {
        Extension extension;
        AllocateInto(extension.head, 8);
        UABAllocateMore(8, extension.head.Get(), &extension.first);
        return extension;
      },
      [](Extension& extension) { return UABAllocateMore(16, extension.head.Get(), &extension.second); },
      [](Extension& extension, HRESULT hr) {
        BlockHeader* head = HeaderOf(extension.head.Get());
        BlockHeader* first = HeaderOf(extension.first);
        BlockHeader* newest = hr == S_OK ? HeaderOf(extension.second) : first;
        EXPECT_TRUE(hr == S_OK || (hr == E_OUTOFMEMORY && extension.second == nullptr)) << std::hex << hr;
        EXPECT_EQ(head->next, newest);
        EXPECT_EQ(first->previous, hr == S_OK ? newest : head);
        EXPECT_EQ(first->next, nullptr);
      });
}

TEST(AllocationChainFault, OwnersFreeWhatWasBuiltSoFar) {
  ForEachAllocationFailure([] { return RowSetPtr(); },
                           [](RowSetPtr& result) -> HRESULT {
                             void* block = nullptr;
                             if (HRESULT hr = AllocateHead(RowSetSize(3), &block); hr != S_OK) return hr;
                             RowSetPtr rows(static_cast<SRowSet*>(block));
                             for (; rows->cRows < 3; ++rows->cRows) {
                               ChainPtr<SPropValue> values;
                               if (HRESULT hr = AllocateInto(values, 2 * sizeof(SPropValue)); hr != S_OK) return hr;
                               WCHAR* text = nullptr;
                               if (HRESULT hr = AllocateLinkedInto(text, 20, values.Get()); hr != S_OK) return hr;
                               rows->aRow[rows->cRows].lpProps = values.Detach();
                             }
                             result = std::move(rows);
                             return S_OK;
                           });
}

}  // namespace
}  // namespace uab
