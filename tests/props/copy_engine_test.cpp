#include "props/copy_engine.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "frame/allocation_chain.h"
#include "keluab/iids.h"
#include "props/plain_copy.h"
#include "support/fake_provider.h"
#include "support/values.h"

namespace uab {
namespace {

using Text = std::basic_string<WCHAR>;

constexpr TagArray<2> kContents = {2, {PR_DISPLAY_NAME_W, PR_CONTAINER_CONTENTS}};
constexpr TagArray<1> kContentsAlone = {1, {PR_CONTAINER_CONTENTS}};

const IID& IidOf(const FakeEntry& entry) {
  return entry.type == MAPI_DISTLIST ? IID_IDistList : entry.type == MAPI_ABCONT ? IID_IABContainer : IID_IMailUser;
}

// A source with members of every sort and an empty destination that has both templates.
struct Store {
  Store() : provider(std::make_unique<FakeProvider>(char{7})) {
    for (const char* user : {"ann", "bob"}) provider->AddUser(user);
    provider->AddList("source");
    provider->SetTemplates(provider->AddList("destination"), true, true);
  }
  HRESULT CopyProps(const SPropTagArray* tags, const char* from = "source", const char* to = "destination",
                    ULONG flags = MAPI_UNICODE, SPropProblemArray** problems = nullptr) {
    auto source = provider->Open(from), destination = provider->Open(to);
    return DoCopyProps({&IidOf(provider->At(from)), source.Get()}, tags, {&IidOf(provider->At(to)), destination.Get()},
                       flags, problems);
  }
  // The members of an entry by their display names, lists with theirs in brackets, down to a few levels.
  std::string Members(const FakeEntry& entry, int levels = 3) const {
    std::string names;
    for (const std::string& id : entry.members) {
      FakeEntryPtr member = provider->Find(id);
      const PropNode* name = member->props.Find(PR_DISPLAY_NAME_W);
      const Text wide = name != nullptr ? RecordText(name->record) : UAB_TEXT("?");
      names += names.empty() ? "" : " ";
      names.append(wide.begin(), wide.end());
      if (member->type == MAPI_DISTLIST) names += levels == 0 ? "..." : "(" + Members(*member, levels - 1) + ")";
    }
    return names;
  }
  std::string Copied() const { return Members(provider->At("destination")); }

  std::unique_ptr<FakeProvider> provider;
};

using Contents = std::vector<std::pair<const char*, std::vector<std::string_view>>>;

TEST(CopyEngine, MembersAreMadeOnceAndLinkedAfterwards) {
  const struct {
    const char* what;
    Contents lists;
    const char* copied;
    ULONG links;  // to the destination itself
  } cases[] = {
      {"users, repeated", {{"source", {"ann", "bob", "ann", "ann"}}}, "ann bob", 2},
      {"lists within lists", {{"source", {"a", "bob"}}, {"a", {"ann", "b"}}, {"b", {"bob"}}}, "a(ann b(bob)) bob", 1},
      // So does its copy: a copy is linked as soon as it is recorded.
      {"a member that contains itself",
       {{"source", {"a", "bob"}}, {"a", {"a", "ann"}}},
       "a(a(a(a... ann) ann) ann) bob",
       0},
      // The rest of the list that contains the source is lost, but nothing else.
      {"the source below itself", {{"source", {"a", "bob"}}, {"a", {"ann", "source", "bob"}}}, "a(ann) bob", 0},
      {"the source in itself", {{"source", {"ann", "source", "bob"}}}, "ann", 0},
      {"the destination", {{"source", {"destination", "ann"}}}, "", 0},
      {"unknown members", {{"source", {"ann", "nobody", "bob"}}}, "ann bob", 0},
      {"the same list twice",
       {{"source", {"a", "b"}}, {"a", {"c"}}, {"b", {"c"}}, {"c", {"ann"}}},
       "a(c(ann)) b(c(ann))",
       0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Store store;
    for (const auto& [name, members] : c.lists) store.provider->AddList(name, members);
    EXPECT_EQ(store.CopyProps(kContents.address()), S_OK);
    const FakeEntry& destination = store.provider->At("destination");
    EXPECT_EQ(store.Copied(), c.copied);
    EXPECT_EQ(destination.links, c.links);
    EXPECT_EQ(store.provider->live_objects, 0);
  }
}

TEST(CopyEngine, TemplatesDecideWhatIsMade) {
  const struct {
    bool users, lists;  // named by properties
    std::vector<std::pair<const char*, ULONG>> table;
    HRESULT result;
    const char* copied;
  } cases[] = {
      {true, true, {}, S_OK, "ann a(bob)"},
      {true, false, {{"t", DT_DISTLIST}}, S_OK, "ann"},  // the table is not looked at
      {false, true, {}, MAPI_E_NOT_FOUND, ""},
      {false, true, {{"u", DT_MAILUSER}}, S_OK, "ann"},
      {false, false, {{"u", DT_MAILUSER}, {"l", DT_PRIVATE_DISTLIST}}, S_OK, "ann a(bob)"},
      {false, false, {{"l", DT_DISTLIST}, {"x", 2}}, S_OK, "a()"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Store store;
    store.provider->AddList("source", {"ann", "a"});
    store.provider->AddList("a", {"bob"});
    FakeEntry& destination = store.provider->AddList("destination");
    store.provider->SetTemplates(destination, c.users, c.lists);
    for (const auto& [name, type] : c.table) store.provider->AddTemplate(destination, name, type);
    EXPECT_EQ(store.CopyProps(kContents.address()), c.result);
    EXPECT_EQ(store.Copied(), c.copied);
  }
  Store store;
  FakeEntry& destination = store.provider->AddContainer("people");
  store.provider->AddList("source", {"ann"});
  for (const char* name : {"u1", "u2"}) store.provider->AddTemplate(destination, name, DT_MAILUSER);
  store.provider->At("u1").type = MAPI_DISTLIST;
  EXPECT_EQ(store.CopyProps(kContents.address(), "source", "people"), S_OK);
  EXPECT_EQ(store.Members(destination), "ann") << "made from the last row";
}

TEST(CopyEngine, InterfacesThatGoTogether) {
  Store store;
  store.provider->AddList("source", {"ann"});
  store.provider->AddContainer("container", {"ann"});
  constexpr TagArray<2> name_and_hierarchy = {2, {PR_DISPLAY_NAME_W, PR_CONTAINER_HIERARCHY}};
  constexpr TagArray<1> name = {1, {PR_DISPLAY_NAME_W}};
  const IID *list = &IID_IDistList, *book = &IID_IABContainer, *user = &IID_IMailUser, *any = &IID_IMAPIContainer;
  const struct {
    const IID *from, *to;
    const SPropTagArray* tags;
    HRESULT result;
  } cases[] = {
      {list, list, kContents.address(), S_OK},
      {book, list, kContents.address(), S_OK},
      {any, list, kContents.address(), MAPI_E_NO_SUPPORT},
      {user, book, name_and_hierarchy.address(), MAPI_E_NO_SUPPORT},
      {user, book, name.address(), S_OK},
      {user, list, name_and_hierarchy.address(), S_OK},
      {list, any, name.address(), MAPI_E_NO_SUPPORT},
      {&IID_IProfSect, &IID_IMAPIProp, kContents.address(), S_OK},
      {&IID_IUnknown, list, name.address(), E_NOINTERFACE},
      {list, &IID_IAddrBook, name.address(), E_NOINTERFACE},
      {nullptr, list, name.address(), E_INVALIDARG},
      {list, list, nullptr, E_INVALIDARG},
  };
  for (const auto& c : cases) {
    auto source = store.provider->Open("source"), destination = store.provider->Open("destination");
    EXPECT_EQ(DoCopyProps({c.from, source.Get()}, c.tags, {c.to, destination.Get()}, 0, nullptr), c.result)
        << &c - cases;
  }
  EXPECT_EQ(DoCopyTo({&IID_IDistList, nullptr}, nullptr, {&IID_IDistList, nullptr}, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(store.CopyProps(kContents.address(), "source", "source"), E_ACCESSDENIED);
  EXPECT_EQ(store.CopyProps(name_and_hierarchy.address(), "container", "root"), S_OK);
  EXPECT_EQ(store.Members(store.provider->root()), "") << "no entries for a hierarchy";
  store.provider->At("source").props.Remove(PR_ENTRYID);
  EXPECT_EQ(store.CopyProps(name.address()), MAPI_E_NOT_FOUND);
}

TEST(CopyEngine, PlainCopyLeavesBehindWhatMeansNothingElsewhere) {
  Store store;
  FakeEntry &source = store.provider->At("ann"), &destination = store.provider->At("bob");
  source.props.Set(BinaryValue(PR_SEARCH_KEY, "key", 3));
  source.props.Set(TextValue(PR_COMMENT_W, UAB_TEXT("refused")));
  source.props.Set(TextValue(PR_EMAIL_ADDRESS_W, UAB_TEXT("ann@x")));
  auto text = [](const FakeEntry& entry, ULONG tag) { return Text(RecordText(entry.props.Find(tag)->record)); };

  constexpr TagArray<5> tags = {5, {PR_SEARCH_KEY, PR_COMMENT_W, PR_EMAIL_ADDRESS_W, PR_DISPLAY_NAME_W, PR_ADDRTYPE_W}};
  ChainPtr<SPropProblemArray> problems;
  EXPECT_EQ(store.CopyProps(tags.address(), "ann", "bob", MAPI_UNICODE | MAPI_NOREPLACE, problems.Put()), S_OK);
  EXPECT_EQ(destination.props.Find(PR_SEARCH_KEY), nullptr);
  EXPECT_EQ(text(destination, PR_DISPLAY_NAME_W), UAB_TEXT("bob"));
  EXPECT_EQ(text(destination, PR_EMAIL_ADDRESS_W), UAB_TEXT("ann@x"));
  ASSERT_TRUE(problems);
  EXPECT_EQ(problems->aProblem[0].ulPropTag, PR_COMMENT_W);
  EXPECT_EQ(store.CopyProps(tags.address(), "ann", "bob"), S_OK);  // without problems; replaces
  EXPECT_EQ(text(destination, PR_DISPLAY_NAME_W), UAB_TEXT("ann"));

  // All properties, of which the two have different numbers.
  auto from = store.provider->Open("ann"), to = store.provider->Open("bob");
  EXPECT_EQ(PlainCopy(nullptr, from.Get(), to.Get(), MAPI_NOREPLACE, nullptr), E_FAIL);
  EXPECT_EQ(PlainCopy(nullptr, nullptr, to.Get(), 0, nullptr), E_INVALIDARG);
  constexpr TagArray<2> with_hierarchy = {2, {PR_EMAIL_ADDRESS_W, PR_CONTAINER_HIERARCHY}};
  store.provider->set_result = MAPI_W_ERRORS_RETURNED;
  EXPECT_EQ(store.CopyProps(with_hierarchy.address(), "source", "root"), MAPI_W_ERRORS_RETURNED);
  FakeEntry& bare = store.provider->AddUser("bare");
  bare.props.Clear();
  auto nothing = store.provider->Open("bare");
  EXPECT_EQ(PlainCopy(nullptr, nothing.Get(), to.Get(), 0, nullptr), MAPI_W_ERRORS_RETURNED) << "is asked all the same";
  store.provider->set_result = S_OK;

  constexpr TagArray<1> excluded = {1, {WithPropType(PR_DISPLAY_NAME_W, PT_UNSPECIFIED)}};
  FakeEntry& third = store.provider->AddUser("third");
  to = store.provider->Open("third");
  EXPECT_EQ(
      DoCopyTo({&IID_IMailUser, from.Get()}, excluded.address(), {&IID_IMailUser, to.Get()}, MAPI_UNICODE, nullptr),
      S_OK);
  EXPECT_EQ(text(third, PR_DISPLAY_NAME_W), UAB_TEXT("third"));
  EXPECT_NE(third.props.Find(PR_EMAIL_ADDRESS_W), nullptr);
}

TEST(CopyEngine, ListsWithoutPropertiesStillEndAtTheirCycle) {
  Store store;
  store.provider->bare_lists = true;
  for (const char* name : {"a", "b"}) store.provider->AddList(name, {"ann", "a", "bob"});
  store.provider->AddList("source", {"a", "b", "ann"});
  EXPECT_EQ(store.CopyProps(kContentsAlone.address()), S_OK);
  EXPECT_EQ(store.Copied(), "ann");  // a list without properties is never saved, so it has no place
  EXPECT_EQ(store.provider->live_objects, 0);
}

TEST(CopyEngine, DepthIsBoundedByMemoryAlone) {
  constexpr int kDepth = 20'000;
  Store store;
  store.provider->AddList("source", {"0"});
  for (int i = 0; i < kDepth; ++i) store.provider->AddList(std::to_string(i), {std::to_string(i + 1)});
  const std::size_t before = store.provider->size();
  EXPECT_EQ(store.CopyProps(kContents.address()), S_OK);
  EXPECT_EQ(store.provider->size() - before, std::size_t{kDepth});
}

}  // namespace
}  // namespace uab
