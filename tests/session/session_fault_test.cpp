// A whole session with one request failing: of memory, of the system, of a provider.
#include <algorithm>

#include "profiles/profile_store.h"
#include "session/staged_world.h"
#include "support/failure_sweep.h"
#include "support/fault_count.h"
#include "tables/registry_contents.h"

namespace uab {
namespace {

constexpr HRESULT kHalfDone = static_cast<HRESULT>(0x8000FFFFu);  // nothing answers this

struct WholeSession : LogonTest {
  void SetUp() override {
    LogonTest::SetUp();
    world.roles[0].keeps_support = true;
    for (WCHAR* comment : {old, changed}) {
      for (int pab : {1, 0}) {
        ASSERT_EQ(Run(comment, pab), S_OK);
        states.push_back(Stored());
        ASSERT_EQ(std::count(states.begin(), states.end(), states.back()), 1);
      }
    }
    last.reserve(2 * states[0].size());
    last = states.back();
    Restore();
  }

  // Reads the merged hierarchy with all its levels, and deletes from it.
  static HRESULT Browse(IAddrBook& book) {
    ULONG type = 0, row = 9, numerator, denominator;
    ComPtr<IUnknown> opened;
    if (HRESULT hr = book.OpenEntry(0, nullptr, nullptr, 0, &type, opened.Put()); Failed(hr)) return hr;
    auto& root = static_cast<IABContainer&>(*opened);
    ComPtr<IMAPITable> hierarchy;
    HRESULT hr = root.GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, hierarchy.Put());
    if (Failed(hr)) return hr;
    const TagArray<2> columns = {2, {PR_DISPLAY_NAME_W, PR_DEPTH}};
    ChainPtr<SPropTagArray> tags;
    RowSetPtr rows;
    hr = hierarchy->SetColumns(columns.address(), 0);
    if (Succeeded(hr)) hr = hierarchy->QueryColumns(TBL_ALL_COLUMNS, tags.Put());
    if (Succeeded(hr) || hr == MAPI_E_TABLE_EMPTY) hr = hierarchy->QueryRows(100, 0, rows.Put());
    if (hierarchy->QueryPosition(&row, &numerator, &denominator); Failed(hr)) return row == 0 ? hr : kHalfDone;
    const std::string ids[] = {FakeId('A', "x"), FakeId('B', "y")};
    SBinary entries[] = {BinaryIn(ids[0]), BinaryIn(ids[1])};
    ENTRYLIST list = {2, entries};
    return root.DeleteEntries(&list, 0);
  }
  // Registers, watches, completes.
  static HRESULT UseEntries(IAddrBook& book, IUABSupport& support) {
    MAPIUID uid = {{1}};
    const std::string late = std::string(4, '\0') + Bytes(&uid, sizeof uid), a = FakeId('A'), b = FakeId('B');
    ULONG connection = 0;
    const bool registered = Succeeded(support.SetProviderUID(&uid, 0));
    HRESULT advised = book.Advise(SizeOf(late), EntryIn(late), 0, nullptr, &connection);
    if (registered && advised == MAPI_E_NOT_FOUND) return kHalfDone;
    if (Succeeded(advised)) advised = book.Unadvise(connection);
    book.Advise(SizeOf(b), EntryIn(b), 0, nullptr, &connection);  // until the session's end
    AdrListPtr list = MakeAdrList(
        {{BinaryValue(PR_ENTRYID, b.data(), SizeOf(b))}, {}, {BinaryValue(PR_ENTRYID, a.data(), SizeOf(a))}});
    TagArray<1> tags = {1, {PR_EMAIL_ADDRESS_W}};
    HRESULT hr = book.PrepareRecips(0, tags.address(), list.Get());
    if (list->cEntries != 3 || (list->aEntries[0].cValues == 0 && hr == S_OK)) return kHalfDone;
    return Failed(advised) ? advised : hr;
  }
  // Copies a list of one provider into a container of the other.
  HRESULT CopyTeam(IUABSupport& support) {
    auto source = world.providers[0].Open("team"), destination = world.providers[1].Open("people");
    TagArray<1> tags = {1, {PR_CONTAINER_CONTENTS}};
    return support.DoCopyProps(&IID_IDistList, source.Get(), tags.address(), 0, nullptr, &IID_IABContainer,
                               destination.Get(), MAPI_UNICODE, nullptr);
  }
  static HRESULT Configure(IUABSession& session, WCHAR* comment) {
    ComPtr<IMsgServiceAdmin> admin;
    if (HRESULT hr = session.AdminServices(0, admin.Put()); Failed(hr)) return hr;
    ComPtr<IMAPITable> services;
    if (HRESULT hr = admin->GetMsgServiceTable(MAPI_UNICODE, services.Put()); Failed(hr)) return hr;
    RowSetPtr rows;
    if (HRESULT hr = services->QueryRows(1, 0, rows.Put()); Failed(hr)) return hr;
    const SPropValue* uid = FindProp(rows->aRow[0].lpProps, rows->aRow[0].cValues, PR_SERVICE_UID);
    SPropValue value = TextValue(PR_COMMENT_W, comment);
    ComPtr<IMAPIProp> section;
    return admin->ConfigureMsgService(reinterpret_cast<MAPIUID*>(uid->Value.bin.lpb), 0,
                                      MAPI_UNICODE | SERVICE_UI_ALWAYS, 1, &value, section.Put());
  }
  // Sets the personal address book, and the search path to what it is.
  HRESULT Choose(IAddrBook& book, int pab) {
    const std::string id = world.providers[pab].Id("people");
    ULONG size = 0;
    ChainPtr<ENTRYID> entry;
    RowSetPtr path;
    HRESULT first = S_OK;
    for (HRESULT hr : {book.GetPAB(&size, entry.Put()), book.GetDefaultDir(&size, entry.Put()),
                       book.SetPAB(SizeOf(id), EntryIn(id)), book.GetSearchPath(0, path.Put())}) {
      if (Failed(hr) && Succeeded(first)) first = hr;
    }
    if (path) book.SetSearchPath(0, path.Get());  // refused where a container of it can't be seen
    return first;
  }
  // Without the search path, which follows the containers that a session could see.
  std::string Stored() {
    std::string stored = uab::Stored();
    const std::string name = std::to_string(PR_AB_SEARCH_PATH);
    UniqueKey key;
    EXPECT_EQ(OpenProfileKey(app_key, two, ProfileKeyMode::kOpen, key), S_OK);
    const std::size_t size = ReadBytes(key.Get(), Text(name.begin(), name.end())).size();
    if (size != 0) stored.erase(stored.find(name), name.size() + size);
    return stored;
  }
  // A session with everything in it; the first failure, but what comes then is done as well.
  HRESULT Run(WCHAR* comment, int pab) {
    ComPtr<IUABSession> session;
    ComPtr<IAddrBook> book;
    HRESULT first = Open(two, session, book.Put());
    ComPtr<IUABSupport> support = std::move(world.roles[0].support);
    if (Failed(first)) return first;
    AdrListPtr list = ListOf(0);
    for (HRESULT hr : {Browse(*book.Get()), UseEntries(*book.Get(), *support), Expand(*session.Get(), list),
                       CopyTeam(*support), Configure(*session.Get(), comment), Choose(*book.Get(), pab)}) {
      if (hr == kHalfDone || (Failed(hr) && Succeeded(first))) first = hr;
    }
    return first;
  }

  void Restore() {
    if (last != states[0]) {
      EXPECT_EQ(Run(old, 1), S_OK);
      ExpectUndone();
      EXPECT_EQ(Stored(), states[0]);
    }
  }
  HRESULT Change() { return Run(changed, 0); }
  void ExpectUndone() {
    EXPECT_TRUE(world.NothingLoaded());
    EXPECT_EQ(world.held(), 0u);
    const std::string& events = world.events;
    EXPECT_EQ(std::count(events.begin(), events.end(), 'O'), std::count(events.begin(), events.end(), 'U')) << events;
    world.events.clear();
    FakeEntry& people = world.providers[1].At("people");  // without what has been copied
    people.members.clear();
    people.member_ids.clear();
    world.providers[1].DropNewEntries();
  }
  // Besides the results of the fault's own kind: E_FAIL where the registry or the table of services can't be read,
  // MAPI_E_NOT_FOUND where a library or the identifier of what is copied can't be had.
  void Check(HRESULT hr, std::initializer_list<HRESULT> specified) {
    EXPECT_TRUE(Succeeded(hr) || hr == E_FAIL || hr == MAPI_E_NOT_FOUND ||
                std::count(specified.begin(), specified.end(), hr) != 0)
        << std::hex << hr;
    ExpectUndone();
    const std::string stored = Stored();
    last = stored;  // in the room that it has
    EXPECT_EQ(std::count(states.begin(), states.end(), stored), 1) << "something in between";
    EXPECT_TRUE(Failed(hr) || stored != states[0]);
  }

  WCHAR old[4] = {'o', 'l', 'd'};
  WCHAR changed[4] = {'n', 'e', 'w'};
  std::vector<std::string> states;  // of what is stored: before, partly or wholly changed
  std::string last;
};

TEST_F(WholeSession, SurvivesAnyFailingAllocation) {
  ForEachAllocationFailure([&] { return Restore(), 0; }, [&](int) { return Change(); },
                           [&](int, HRESULT hr) {
                             Check(hr, {E_OUTOFMEMORY, MAPI_E_LOGON_FAILED});
                           },
                           {.stride = Stride(9)});
}

TEST_F(WholeSession, SurvivesAnyFailingSystemCall) {
  ForEachSystemCallFailure([&] { return Restore(), 0; }, [&](int) { return Change(); },
                           [&](int, HRESULT hr) { Check(hr, {}); }, {.stride = Stride(9)});
}

TEST_F(WholeSession, SurvivesAnyCallOfAProviderDoneBadly) {
  for (Misdeed misdeed : kMisdeeds) {
    for (bool lasting : {false, true}) {
      bool misbehaved = true;
      for (std::uint32_t call = 1; misbehaved && !HasFailure(); call += lasting ? Stride(9) : 1) {
        SCOPED_TRACE(testing::Message() << "misdeed " << static_cast<int>(misdeed) << ", " << call << " " << lasting);
        HeapWatch watch;
        Restore();
        world.calls->DoBadly(call, misdeed, lasting);
        HRESULT hr = Change();
        misbehaved = world.calls->misbehaved();
        world.calls->DoBadly(0);
        const bool lies = misdeed != Misdeed::kFails && misdeed != Misdeed::kThrows;  // then many answers are as good
        Check(hr, {kFakeFailure, lies && hr != kHalfDone ? hr : S_OK});
        EXPECT_TRUE(misbehaved || hr == S_OK);
        EXPECT_EQ(watch.live(), 0u) << watch.Describe();
      }
    }
  }
}

}  // namespace
}  // namespace uab
