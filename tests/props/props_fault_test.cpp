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
  struct Entry {
    ChainPtr<SPropValue> values;
    ADRENTRY entry{};
  };
  TagArray<2> tags = {2, {PR_COMMENT_W, PR_DISPLAY_NAME_W}};
  SPropValue row_value = TextValue(PR_COMMENT_W, UAB_TEXT("comment"));
  SRow row = {0, 1, &row_value};
  ForEachAllocationFailure(
      [] {
        Entry state;
        EXPECT_EQ(AllocateInto(state.values, 2 * sizeof(SPropValue)), S_OK);
        EXPECT_EQ(CopyValue(state.values.Get()[0], TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("name")), state.values.Get()),
                  S_OK);
        EXPECT_EQ(CopyValue(state.values.Get()[1], Files(), state.values.Get()), S_OK);
        state.entry = {0, 2, state.values.Get()};
        return state;
      },
      [&](Entry& state) {
        state.entry.rgPropVals = state.values.Detach();
        HRESULT hr = MergeIntoAdrEntry(tags.address(), row, state.entry);
        state.values.Reset(state.entry.rgPropVals);
        return hr;
      },
      [](Entry& state, HRESULT hr) {
        EXPECT_EQ(state.entry.cValues, hr == S_OK ? 3u : 2u);
        EXPECT_EQ(TextOf(state.entry.rgPropVals[hr == S_OK ? 1 : 0]), UAB_TEXT("name"));
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
  ForEachAllocationFailure([] { return 0; }, [](int) -> HRESULT {
    TagArray<1> tags = {1, {PR_DEPTH}};
    ChainPtr<SPropTagArray> stripped;
    if (HRESULT hr = StripObjectAndBinaryTags(tags.address(), stripped.Put()); Failed(hr)) return hr;
    BYTE bytes[] = {1, 2};
    SBinary source = {2, bytes};
    ChainPtr<SBinary> copy;
    return DupBinary(copy.Put(), &source) ? S_OK : E_OUTOFMEMORY;
  });
}

}  // namespace
}  // namespace uab
