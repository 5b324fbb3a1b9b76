#include "props/prop_object.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <type_traits>

#include "frame/allocation_chain.h"
#include "support/values.h"

namespace uab {
namespace {

constexpr ULONG kMissing = PropTag(PT_LONG, 0x6677);

class PropObjectTest : public testing::Test {
 protected:
  void SetUp() override {
    SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Fax")), LongValue(PR_NULL, 0), LongValue(PR_DEPTH, 2),
                           LongValue(WithPropType(PR_DEPTH, PT_ERROR), 1)};
    ASSERT_EQ(object_.InitProps(4, values), S_OK);
  }

  template <std::size_t N>
  HRESULT Get(const TagArray<N>& tags) {
    return object_.GetProps(tags.address(), MAPI_UNICODE, &count_, values_.Put());
  }

  Section section_;
  PropObject object_{section_};
  ULONG count_ = 99;
  ChainPtr<SPropValue> values_;
  ChainPtr<SPropProblemArray> problems_;
};

TEST_F(PropObjectTest, GetPropsAnswersByIdentifier) {
  EXPECT_EQ(Get(TagArray<2>{2, {PR_DISPLAY_NAME_A, PR_NULL}}), S_OK);
  ASSERT_EQ(count_, 2u);
  EXPECT_EQ(values_.Get()[0].ulPropTag, PR_DISPLAY_NAME_W);
  EXPECT_EQ(TextOf(values_.Get()[0]), UAB_TEXT("Fax"));
  EXPECT_EQ(values_.Get()[1].ulPropTag, PR_NULL);
  ASSERT_EQ(object_.GetProps(nullptr, MAPI_UNICODE, &count_, values_.Put()), S_OK) << "everything, in order";
  EXPECT_TRUE(count_ == 2 && values_.Get()[1].Value.l == 2);
  PropObject empty(section_);
  ASSERT_EQ(empty.GetProps(nullptr, MAPI_UNICODE, &count_, values_.Put()), S_OK);
  EXPECT_TRUE(count_ == 0 && !values_);
  EXPECT_EQ(Get(TagArray<3>{3, {PR_DEPTH, PR_DISPLAY_NAME_W, PR_DEPTH}}), S_OK) << "against the order, and again";
  EXPECT_EQ(values_.Get()[2].Value.l, 2);
  for (bool first : {true, false}) {
    EXPECT_EQ(Get(first ? TagArray<2>{2, {kMissing, PR_DEPTH}} : TagArray<2>{2, {PR_DEPTH, kMissing}}),
              MAPI_W_ERRORS_RETURNED);
    const SPropValue& missing = values_.Get()[first ? 0 : 1];
    EXPECT_EQ(missing.ulPropTag, WithPropType(kMissing, PT_ERROR));
    EXPECT_EQ(missing.Value.err, MAPI_E_NOT_FOUND);
  }
}

TEST_F(PropObjectTest, RefusalsWriteNothing) {
  TagArray<1> none = {0, {}};
  SPropValue* untouched = reinterpret_cast<SPropValue*>(this);
  EXPECT_EQ(object_.GetProps(none.address(), 0, &count_, &untouched), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(object_.GetProps(none.address(), MAPI_UNICODE, &count_, &untouched), E_INVALIDARG);
  EXPECT_TRUE(count_ == 99 && untouched == reinterpret_cast<SPropValue*>(this));
  auto junk = [this](auto** place) { *place = reinterpret_cast<std::remove_reference_t<decltype(*place)>>(this); };
  SPropTagArray* list;
  SPropProblemArray* problems;
  junk(&list);
  EXPECT_TRUE(object_.GetPropList(0, &list) == MAPI_E_BAD_CHARWIDTH && list == nullptr);
  junk(&problems);
  EXPECT_TRUE(object_.SetProps(1, nullptr, &problems) == E_INVALIDARG && problems == nullptr);
  junk(&problems);
  EXPECT_TRUE(object_.DeleteProps(nullptr, &problems) == E_INVALIDARG && problems == nullptr);
  EXPECT_EQ(object_.GetPropList(0, nullptr), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(object_.GetProps(nullptr, MAPI_UNICODE, nullptr, &untouched), E_INVALIDARG);
}

TEST_F(PropObjectTest, GivesTheWholeUnionBackAsItWasGiven) {
  SPropValue value = LongValue(kMissing, 0);
  std::memset(&value.Value, 0x5A, sizeof(value.Value));
  EXPECT_EQ(object_.SetProps(1, &value, nullptr), S_OK);
  EXPECT_EQ(Get(TagArray<1>{1, {kMissing}}), S_OK);
  EXPECT_EQ(std::memcmp(&values_.Get()->Value, &value.Value, sizeof(value.Value)), 0);
}

TEST_F(PropObjectTest, ProblemsSayWhatIsRefusedOrMissing) {
  SPropValue values[] = {BinaryValue(PR_ENTRYID, "x", 1),
                         TextValue(PR_COMMENT_W, UAB_TEXT("first")),
                         LongValue(PR_CONTAINER_CONTENTS, 0),
                         TextValue(PR_COMMENT_W, UAB_TEXT("second")),
                         LongValue(WithPropType(kMissing, PT_ERROR), 0),
                         LongValue(PropTag(PT_LONG, 0x0FF5), 1)};
  auto problem = [this](ULONG i) {
    const SPropProblem& found = problems_->aProblem[i];
    return std::tuple(found.ulIndex, found.ulPropTag, found.scode);
  };
  ASSERT_EQ(object_.SetProps(6, values, problems_.Put()), S_OK);
  ASSERT_TRUE(problems_);
  ASSERT_EQ(problems_->cProblem, 2u);
  EXPECT_EQ(problem(0), std::tuple(0u, PR_ENTRYID, MAPI_E_COMPUTED));
  EXPECT_EQ(problem(1), std::tuple(2u, PR_CONTAINER_CONTENTS, E_ACCESSDENIED));
  ChainPtr<SPropTagArray> tags;
  ASSERT_EQ(object_.GetPropList(MAPI_UNICODE, tags.Put()), S_OK);
  ASSERT_EQ(tags->cValues, 4u);
  EXPECT_EQ(tags->aulPropTag[2], PR_COMMENT_W);
  EXPECT_EQ(Get(TagArray<1>{1, {PR_COMMENT_W}}), S_OK);
  EXPECT_EQ(TextOf(values_.Get()[0]), UAB_TEXT("second"));
  EXPECT_EQ(object_.SetProps(1, &values[0], nullptr), S_OK) << "without an array refusals are silent";

  TagArray<2> two = {2, {PR_DISPLAY_NAME_A, kMissing}};
  ASSERT_EQ(object_.DeleteProps(two.address(), problems_.Put()), S_OK);
  ASSERT_EQ(problems_->cProblem, 1u);
  EXPECT_EQ(problem(0), std::tuple(1u, kMissing, MAPI_E_NOT_FOUND));
  EXPECT_EQ(Get(TagArray<1>{1, {PR_DISPLAY_NAME_W}}), MAPI_W_ERRORS_RETURNED);
  TagArray<1> rest = {1, {PR_DEPTH}};
  ASSERT_EQ(object_.DeleteProps(rest.address(), problems_.Put()), S_OK);
  EXPECT_FALSE(problems_) << "no problem, no array";
}

TEST(CheckPropTag, ComputedIdentifiersOfAnyType) {
  for (ULONG id : {0x0FF4u, 0x0FF6u, 0x0FF7u, 0x0FFEu, 0x0FFFu, 0x300Bu, 0x3600u, 0x3615u, 0x3900u}) {
    EXPECT_EQ(CheckPropTag(PropTag(PT_UNICODE, id)), MAPI_E_COMPUTED) << std::hex << id;
    EXPECT_EQ(CheckPropTag(PropTag(PT_OBJECT, id)), E_ACCESSDENIED) << std::hex << id;
  }
  for (ULONG id : {0x0FF5u, 0x0FF8u, 0x0FFDu, 0x3001u}) EXPECT_EQ(CheckPropTag(PropTag(PT_LONG, id)), S_OK) << id;
}

}  // namespace
}  // namespace uab
