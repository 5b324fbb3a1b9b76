// A whole session with one request failing: of memory, of the system, of a provider.
#include <algorithm>

#include "frame/allocation_chain.h"
#include "session/logon_fixture.h"
#include "support/failure_sweep.h"

namespace uab {
namespace {

struct WholeSession : LogonFixture {
  // Reads the merged hierarchy.
  static HRESULT Browse(IAddrBook& address_book) {
    ComPtr<IUnknown> root;
    ULONG type = 0;
    if (HRESULT hr = address_book.OpenEntry(0, nullptr, nullptr, 0, &type, root.Put()); Failed(hr)) return hr;
    ComPtr<IMAPITable> hierarchy;
    HRESULT hr = static_cast<IMAPIContainer*>(root.Get())->GetHierarchyTable(MAPI_UNICODE, hierarchy.Put());
    if (Failed(hr)) return hr;
    RowSetPtr rows;
    return hierarchy->QueryRows(100, 0, rows.Put());
  }

  // Logs on, browses, expands, sets the personal address book, logs off.
  HRESULT Run() {
    StagedId pab(1, StagedId::kContainer);
    ComPtr<IUABSession> session;
    ComPtr<IAddrBook> address_book;
    expanded = 0;
    if (HRESULT hr = Open(two, session, address_book.Put()); Failed(hr)) return hr;
    if (HRESULT hr = Browse(*address_book.Get()); Failed(hr)) return hr;
    AdrListPtr list = ListOf(0);
    if (!list) return E_OUTOFMEMORY;
    if (HRESULT hr = Expand(*session.Get(), list); Failed(hr)) return hr;
    expanded = list->cEntries;
    if (HRESULT hr = address_book->SetPAB(sizeof(pab), reinterpret_cast<ENTRYID*>(&pab)); Failed(hr)) return hr;
    address_book.Reset();
    session.Reset();
    return S_OK;
  }

  void ExpectUndone(HRESULT hr) {
    EXPECT_TRUE(NothingLoaded());
    EXPECT_TRUE(Failed(hr) || expanded == 4u);
    std::string events = stage.events;
    EXPECT_EQ(std::count(events.begin(), events.end(), 'O'), std::count(events.begin(), events.end(), 'U')) << events;
    stage.events[0] = 0;
  }

  ULONG expanded = 0;
};

struct Nothing {};

TEST_F(WholeSession, SurvivesAnyFailingAllocation) {
  ForEachAllocationFailure([] { return Nothing(); }, [&](Nothing&) { return Run(); },
                           [&](Nothing&, HRESULT hr) { ExpectUndone(hr); });
}

TEST_F(WholeSession, SurvivesAnyFailingSystemCall) {
  ForEachSystemCallFailure([] { return Nothing(); }, [&](Nothing&) { return Run(); },
                           [&](Nothing&, HRESULT hr) { ExpectUndone(hr); });
}

TEST_F(WholeSession, SurvivesAnyFailingCallOfAProvider) {
  ASSERT_EQ(Run(), S_OK);
  const int calls = stage.calls;
  ASSERT_GT(calls, 10);
  for (int refused = 1; refused <= calls; ++refused) {
    SCOPED_TRACE(refused);
    HeapWatch watch;
    stage.calls = 0;
    stage.refused_call = refused;
    ExpectUndone(Run());
    EXPECT_EQ(watch.live(), 0u) << watch.Describe();
  }
}

}  // namespace
}  // namespace uab
