// A whole session with one request failing: of memory, of the system, of a provider.
#include <algorithm>

#include "session/staged_world.h"
#include "support/bad_calls.h"
#include "support/failure_sweep.h"
#include "support/fault_count.h"

namespace uab {
namespace {

struct WholeSession : LogonTest {
  void SetUp() override {
    LogonTest::SetUp();
    world.roles[0].keeps_support = true;
    ASSERT_EQ(Run(old, &world.providers[0]), S_OK);
    before = Stored();
    ASSERT_EQ(Run(changed, nullptr), S_OK);
    configured = Stored();
    ASSERT_EQ(Run(changed, &world.providers[1]), S_OK);
    after = Stored();
    ASSERT_TRUE(before != configured && configured != after);
    last.reserve(2 * after.size());
    last = after;
    Restore();
  }

  // Reads the merged hierarchy with all its levels.
  static HRESULT Browse(IAddrBook& address_book) {
    ULONG type = 0;
    ComPtr<IUnknown> root;
    if (HRESULT hr = address_book.OpenEntry(0, nullptr, nullptr, 0, &type, root.Put()); Failed(hr)) return hr;
    ComPtr<IMAPITable> hierarchy;
    HRESULT hr =
        static_cast<IMAPIContainer*>(root.Get())->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, hierarchy.Put());
    if (Failed(hr)) return hr;
    RowSetPtr rows;
    return hierarchy->QueryRows(100, 0, rows.Put());
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
  // Logs on, browses, expands, copies, configures, sets the personal address book where one is given, logs off.
  HRESULT Run(WCHAR* comment, FakeProvider* pab) {
    ComPtr<IUABSession> session;
    ComPtr<IAddrBook> address_book;
    HRESULT hr = Open(two, session, address_book.Put());
    ComPtr<IUABSupport> support = std::move(world.roles[0].support);
    if (Failed(hr)) return hr;
    if (hr = Browse(*address_book.Get()); Failed(hr)) return hr;
    AdrListPtr list = ListOf(0);
    if (hr = Expand(*session.Get(), list); Failed(hr)) return hr;
    if (hr = CopyTeam(*support); Failed(hr)) return hr;
    if (hr = Configure(*session.Get(), comment); Failed(hr) || pab == nullptr) return hr;
    const std::string id = pab->Id("people");
    return address_book->SetPAB(SizeOf(id), EntryIn(id));
  }

  void Restore() {
    if (last != before) {
      EXPECT_EQ(Run(old, &world.providers[0]), S_OK);
      ExpectUndone();
      EXPECT_EQ(Stored(), before);
    }
  }
  HRESULT Change() { return Run(changed, &world.providers[1]); }
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
    EXPECT_TRUE(stored == before || stored == configured || stored == after) << "something in between";
    EXPECT_TRUE(Failed(hr) || stored != before);
  }

  WCHAR old[4] = {'o', 'l', 'd'};
  WCHAR changed[4] = {'n', 'e', 'w'};
  std::string before, configured, after, last;
};

TEST_F(WholeSession, SurvivesAnyFailingAllocation) {
  ForEachAllocationFailure([&] { return Restore(), 0; }, [&](int) { return Change(); },
                           [&](int, HRESULT hr) { Check(hr, {E_OUTOFMEMORY, MAPI_E_LOGON_FAILED}); }, {.stride = Stride(2)});
}

TEST_F(WholeSession, SurvivesAnyFailingSystemCall) {
  ForEachSystemCallFailure([&] { return Restore(), 0; }, [&](int) { return Change(); },
                           [&](int, HRESULT hr) { Check(hr, {}); }, {.stride = Stride(2)});
}

TEST_F(WholeSession, SurvivesAnyCallOfAProviderDoneBadly) {
  constexpr Misdeed kinds[] = {Misdeed::kFails, Misdeed::kThrows};
  ForEachBadCall(kinds, [&](std::uint32_t call, Misdeed misdeed) {
    Restore();
    world.calls->DoBadly(call, misdeed);
    HRESULT hr = Change();
    const bool misbehaved = world.calls->misbehaved();
    world.calls->DoBadly(0);
    Check(hr, {misdeed == Misdeed::kFails ? kFakeFailure : E_FAIL});
    EXPECT_TRUE(misbehaved || hr == S_OK);
    return misbehaved;
  });
}

}  // namespace
}  // namespace uab
