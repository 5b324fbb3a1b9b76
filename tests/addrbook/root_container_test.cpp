#include "addrbook/root_container.h"

#include "addrbook/address_book_fixture.h"
#include "addrbook/hierarchy.h"

namespace uab {
namespace {

class RootContainerTest : public AddressBookTest {
 protected:
  void SetUp() override {
    AddressBookTest::SetUp();
    ULONG type = 0;
    ASSERT_EQ(book_->OpenEntry(0, nullptr, nullptr, 0, &type, reinterpret_cast<IUnknown**>(root_.Put())), S_OK);
    TakeLog();
  }
  std::string Hierarchy(ULONG flags, HRESULT expected = S_OK) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(root_->GetHierarchyTable(flags, table.Put()), expected);
    EXPECT_EQ(static_cast<bool>(table), Succeeded(expected));
    RowSetPtr rows;
    if (table) {
      EXPECT_TRUE(Succeeded(table->QueryRows(100, 0, rows.Put())));
    }
    return NamesIn(rows.Get());
  }
  HRESULT Delete(std::vector<std::string> ids) {
    std::vector<SBinary> entries;
    for (std::string& id : ids) entries.push_back(BinaryIn(id));
    entries.push_back({24, nullptr});
    ENTRYLIST list = {static_cast<ULONG>(entries.size()), entries.data()};
    return root_->DeleteEntries(&list, 5);
  }

  ComPtr<IABContainer> root_;
};

constexpr ULONG kDeep = MAPI_UNICODE | CONVENIENT_DEPTH;

TEST_F(RootContainerTest, HierarchyMergesTheProvidersInListOrder) {
  EXPECT_EQ(Hierarchy(MAPI_UNICODE), "a:0 b:0");
  EXPECT_EQ(Hierarchy(kDeep), "a:0 a1:1 a2:1 b:0 b1:1 b2:1");
  ComPtr<IMAPITable> table;
  auto** object = reinterpret_cast<IUnknown**>(table.Put());
  EXPECT_EQ(root_->OpenProperty(PR_CONTAINER_HIERARCHY, &IID_IMAPITable, 0, CONVENIENT_DEPTH, object), S_OK);
  ULONG rows = 0;
  EXPECT_EQ(table->GetRowCount(0, &rows), S_OK);
  EXPECT_EQ(rows, 6u);
  for (FakeProvider* provider : {&a_, &b_}) provider->root().type = 0;  // many leave it out
  EXPECT_EQ(Hierarchy(kDeep), "a:0 a1:1 a2:1 b:0 b1:1 b2:1");
  EXPECT_EQ(root_->OpenProperty(PR_CONTAINER_CONTENTS, &IID_IMAPITable, 0, 0, nullptr), E_NOINTERFACE);
  EXPECT_EQ(root_->OpenProperty(PR_CONTAINER_HIERARCHY, &IID_IMAPITable, 0, 0, nullptr), E_INVALIDARG);
}

TEST_F(RootContainerTest, TheLastProviderDecidesWhetherTheHierarchyFails) {
  calls_.DoBadly(1);
  EXPECT_EQ(Hierarchy(MAPI_UNICODE), "b:0");
  calls_.DoBadly(2);
  EXPECT_EQ(Hierarchy(MAPI_UNICODE, kFakeFailure), "");
  calls_.DoBadly(1, Misdeed::kThrows, true);
  EXPECT_EQ(Hierarchy(kDeep, E_FAIL), "");
}

// What of A's six calls below its top level fails, and in B nothing does.
TEST_F(RootContainerTest, AFailureBelowTheTopKeepsTheRowsSoFar) {
  const char* const expected[] = {"a:0", "a:0", "a:0", "a:0", "a:0", "a:0 a1:1", "a:0 a1:1 a2:1"};
  for (std::uint32_t call = 2; call <= 8; ++call) {
    calls_.DoBadly(call);
    EXPECT_EQ(Hierarchy(kDeep), std::string(expected[call - 2]) + " b:0 b1:1 b2:1") << call;
  }
}

TEST_F(RootContainerTest, RowsOfProvidersAreNotTrusted) {
  using Values = SPropValue*&;
  using Count = ULONG&;
  const struct {
    const char* what;
    void (*spoil)(Values values, Count count);
    const char* names;
  } cases[] = {
      {"no values", [](Values, Count count) { count = 0; }, ""},
      {"one value", [](Values, Count count) { count = 1; }, "? ?"},
      {"two values", [](Values, Count count) { count = 2; }, "a a1 a2 b b1 b2"},
      {"more values than were asked for", [](Values, Count count) { count += 1000; }, "a:0 a1:1 a2:1 b:0 b1:1 b2:1"},
      {"no depth", [](Values values, Count) { values[4] = NotFoundValue(PR_DEPTH); }, "a a1 a2 b b1 b2"},
      {"depth elsewhere", [](Values values, Count) { std::swap(values[3], values[4]); }, "a:0 a1:0 a2:0 b:0 b1:0 b2:0"},
      {"a text for an identifier",
       [](Values values, Count) { values[1] = TextValue(WithPropType(PR_ENTRYID, PT_UNICODE), UAB_TEXT("a")); },
       ":0 :0"},
      {"null for an identifier",
       [](Values values, Count) {
         values[1].Value.bin = {0, nullptr};
       },
       ":0 :0"},
      {"an unknown type", [](Values values, Count) { values[0].ulPropTag = PropTag(MV_FLAG | PT_OBJECT, 0x6601); }, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    SpoilWith(c.spoil);
    EXPECT_EQ(Hierarchy(kDeep), c.names);
  }
  calls_.spoil = nullptr;
  calls_.claimed_rows = 0x7FFFFFFF;
  EXPECT_EQ(Hierarchy(kDeep), "a:0 a1:1 a2:1 b:0 b1:1 b2:1");
  calls_.claimed_rows = 0;
  calls_.DoBadly(1, Misdeed::kNothing, true);
  EXPECT_EQ(Hierarchy(kDeep), "");
  calls_.DoBadly(0);
  a_.root().type = MAPI_MAILUSER;
  EXPECT_EQ(Hierarchy(kDeep), "a:0 b:0 b1:1 b2:1") << "what is no container has no containers below";
}

TEST_F(RootContainerTest, AProviderMayNotNestTheHierarchyForEver) {
  a_.root().stand_in = root_.Get();
  b_.root().children.clear();
  EXPECT_EQ(Hierarchy(kDeep), "a:0 a:1 a:2 a:3 b:3 b:2 b:1 b:0");
}

TEST_F(RootContainerTest, DeletesThroughTheOwnersTopLevel) {
  EXPECT_EQ(Delete({FakeId('A', "x"), FakeId('A', "y"), FakeId('C', "z"), "brief"}), S_OK);
  EXPECT_EQ(TakeLog(), (Log{"A.GetProps", "A.OpenEntry a", "A.DeleteEntries y x"}));
  EXPECT_EQ(Delete({FakeId('B', "p"), FakeId('A', "x"), FakeId('B', "q")}), S_OK);
  EXPECT_EQ(TakeLog(), (Log{"A.GetProps", "A.OpenEntry a", "A.DeleteEntries x", "B.GetProps", "B.OpenEntry b",
                            "B.DeleteEntries q p"}));
  for (std::uint32_t call = 1; call <= 3; ++call) {
    calls_.DoBadly(call);
    EXPECT_EQ(Delete({FakeId('A', "x")}), S_OK) << call;
    EXPECT_EQ(TakeLog().size(), call);
  }
  calls_.DoBadly(1, Misdeed::kNothing, true);
  EXPECT_EQ(Delete({FakeId('A', "x")}), S_OK);
}

}  // namespace
}  // namespace uab
