// Properties when memory runs out, at every request.
#include <gtest/gtest.h>

#include <array>

#include "props/adr_entry.h"
#include "props/prop_object.h"
#include "props/prop_values.h"
#include "support/failure_sweep.h"
#include "support/values.h"

namespace uab {
namespace {

SPropValue Files() {
  static WCHAR a[] = UAB_TEXT("a"), b[] = UAB_TEXT("b");
  static WCHAR* files[] = {a, b};
  SPropValue value{};
  value.ulPropTag = PR_SERVICE_SUPPORT_FILES_W;
  value.Value.MVszW = {2, files};
  return value;
}

TEST(PropsFault, MergeLeavesTheEntryOrCompletesIt) {
  TagArray<1> tags = {1, {PR_COMMENT_W}};
  SPropValue row_value = TextValue(PR_COMMENT_W, UAB_TEXT("comment"));
  SRow row = {0, 1, &row_value};
  ForEachAllocationFailure(
      [] {
        ChainPtr<SPropValue> value;
        EXPECT_EQ(AllocateInto(value, sizeof(SPropValue)), S_OK);
        EXPECT_EQ(CopyValue(*value.Get(), Files(), value.Get()), S_OK);
        return value;
      },
      [&](ChainPtr<SPropValue>& values) {
        ADRENTRY entry = {0, 1, values.Detach()};
        HRESULT hr = MergeIntoAdrEntry(tags.address(), row, entry);
        values.Reset(entry.rgPropVals);
        return hr;
      },
      [](ChainPtr<SPropValue>& values, HRESULT hr) {
        EXPECT_EQ(values->ulPropTag, hr == S_OK ? PR_COMMENT_W : PR_SERVICE_SUPPORT_FILES_W);
        EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY);
      });
}

TEST(PropsFault, ObjectKeepsWhatItHad) {
  auto make = [] {
    auto object = std::make_unique<PropObject>();
    SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("name")), Files()};
    EXPECT_EQ(object->InitProps(2, values), S_OK);
    return object;
  };
  ForEachAllocationFailure([] { return std::make_unique<PropObject>(); },
                           [](auto& object) {
                             SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("name")), Files()};
                             return object->InitProps(2, values);
                           });
  static constexpr TagArray<2> kTags = {2, {PR_DISPLAY_NAME_W, PR_SERVICE_SUPPORT_FILES_W}};
  for (SPropTagArray* tags : {static_cast<SPropTagArray*>(nullptr), kTags.address()}) {
    ForEachAllocationFailure(make, [tags](auto& object) {
      ULONG count = 0;
      ChainPtr<SPropValue> values;
      return object->GetProps(tags, MAPI_UNICODE, &count, values.Put());
    });
  }
  // A value that can't be stored for want of memory is a problem, not a failure.
  ChainPtr<SPropProblemArray> problems;
  ForEachAllocationFailure(
      make,
      [&](auto& object) {
        SPropValue value = TextValue(PR_COMMENT_W, UAB_TEXT("comment"));
        return object->SetProps(1, &value, problems.Put());
      },
      [&](auto& object, HRESULT hr) {
        bool stored = object->WithList([](PropList& list) { return list.Find(PR_COMMENT_W) != nullptr; });
        EXPECT_EQ(stored, hr == S_OK && !problems);
        EXPECT_TRUE(!problems || problems->aProblem[0].scode == E_OUTOFMEMORY);
        problems.Reset();
      });
}

TEST(PropsFault, TagArraysAndBinaries) {
  ForEachAllocationFailure([] { return 0; },
                           [](int) -> HRESULT {
                             TagArray<1> tags = {1, {PR_DEPTH}};
                             ChainPtr<SPropTagArray> stripped;
                             if (HRESULT hr = StripObjectAndBinaryTags(tags.address(), stripped.Put()); Failed(hr))
                               return hr;
                             BYTE bytes[] = {1, 2};
                             SBinary source = {2, bytes};
                             ChainPtr<SBinary> copy;
                             return DupBinary(copy.Put(), &source) ? S_OK : E_OUTOFMEMORY;
                           });
}

}  // namespace
}  // namespace uab
