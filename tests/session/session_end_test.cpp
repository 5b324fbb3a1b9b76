// A whole session that its host ends inside a call that goes out to a provider, for each of these calls.
#include <thread>

#include "session/staged_world.h"
#include "support/heap_watch.h"

namespace uab {
namespace {

enum class End { kSession, kAllReferences, kSessionOnAnotherThread };

struct SessionEnd : LogonTest {
  void LetGo(End how) {
    const bool in_a_slot = static_cast<bool>(session);  // and not in the session's own end
    session.Reset();
    if (how != End::kAllReferences) return;
    root.Reset();
    EXPECT_TRUE(book.Detach()->Release() != 0 || !in_a_slot) << "what is called goes during the call";
  }
  // When the session ends meanwhile, both answers will do.
  void Step(const char* name, HRESULT answer, HRESULT after_the_end, const std::function<HRESULT()>& run) {
    if (!book) return;
    const bool lives = static_cast<bool>(session);
    const HRESULT hr = run();
    EXPECT_TRUE((lives && hr == answer) || (!session && hr == after_the_end)) << name << ": " << std::hex << hr;
    EXPECT_TRUE(session || world.NothingLoaded()) << name;
  }
  // Ends the session in the call with this number, counted from logon on; 0: in none.
  void Run(int number, End how) {
    constexpr HRESULT kEnded = MAPI_E_END_OF_SESSION;
    ULONG type = 0, size = 0, connection = 0;
    ULONG_PTR ui = 0;
    ComPtr<IMAPITable> table;
    ComPtr<IUnknown> object;
    ChainPtr<ENTRYID> entry;
    RowSetPtr path;
    ASSERT_EQ(Open(two, session, book.Put()), S_OK);
    ASSERT_EQ(book->OpenEntry(0, nullptr, nullptr, 0, &type, reinterpret_cast<IUnknown**>(root.Put())), S_OK);
    ASSERT_EQ(book->GetSearchPath(0, path.Put()), S_OK);
    calls = 0;
    world.in_call = [&] {
      if (++calls != number) return;
      how == End::kSessionOnAnotherThread ? std::thread([&] { LetGo(how); }).join() : LetGo(how);
    };
    const std::string a = FakeId('A', "people"), b = FakeId('B', "people"), c = FakeId('B', "ann"), no = FakeId('A');
    SBinary entries[] = {BinaryIn(a), BinaryIn(c)};
    ENTRYLIST both = {2, entries};
    AdrListPtr lists = ListOf(0), recipients = ListOf(1);
    Step("GetDefaultDir", S_OK, kEnded, [&] { return book->GetDefaultDir(&size, entry.Put()); });
    Step("SetDefaultDir", E_FAIL, E_FAIL, [&] { return book->SetDefaultDir(SizeOf(c), EntryIn(c)); });
    Step("SetPAB", S_OK, E_FAIL, [&] { return book->SetPAB(SizeOf(b), EntryIn(b)); });
    Step("GetPAB", S_OK, kEnded, [&] { return book->GetPAB(&size, entry.Put()); });
    Step("SetSearchPath", S_OK, E_INVALIDARG, [&] { return book->SetSearchPath(0, path.Get()); });
    Step("GetHierarchyTable", S_OK, S_OK,
         [&] { return root->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, table.Put()); });
    Step("OpenProperty", S_OK, S_OK,
         [&] { return root->OpenProperty(PR_CONTAINER_HIERARCHY, &IID_IMAPITable, 0, 0, object.Put()); });
    Step("DeleteEntries", S_OK, S_OK, [&] { return root->DeleteEntries(&both, 0); });
    Step("OpenEntry", MAPI_E_NOT_FOUND, kEnded,
         [&] { return root->OpenEntry(SizeOf(no), EntryIn(no), nullptr, 0, &type, object.Put()); });
    for (const std::string* id : {&a, &b}) {
      Step("Advise", S_OK, kEnded, [&] { return book->Advise(SizeOf(*id), EntryIn(*id), 0, nullptr, &connection); });
    }
    Step("Unadvise", S_OK, kEnded, [&] { return book->Unadvise(1); });
    Step("PrepareRecips", S_OK, kEnded, [&] { return book->PrepareRecips(0, nullptr, recipients.Get()); });
    Step("Details", S_OK, kEnded,
         [&] { return book->Details(&ui, nullptr, nullptr, SizeOf(a), EntryIn(a), nullptr, nullptr, nullptr, 0); });
    Step("NewEntry", S_OK, kEnded,
         [&] { return book->NewEntry(0, 0, SizeOf(a), EntryIn(a), 0, nullptr, &size, entry.Put()); });
    // Under the session's lock, for which another thread would wait.
    if (session && how != End::kSessionOnAnotherThread) {
      Step("ExpandDistLists", S_OK, kEnded, [&] { return Expand(*session, lists); });
    }
    session.Reset(), root.Reset(), book.Reset();
  }

  ComPtr<IUABSession> session;
  ComPtr<IAddrBook> book;
  ComPtr<IABContainer> root;
  int calls = 0;
};

TEST_F(SessionEnd, MayComeInsideAnyCallThatGoesOut) {
  for (End how : {End::kSession, End::kAllReferences, End::kSessionOnAnotherThread}) {
    for (int number = 0; number <= calls && !HasFailure(); ++number) {
      SCOPED_TRACE(testing::Message() << "way " << static_cast<int>(how) << ", call " << number);
      HeapWatch watch;
      Run(number, how);
      world.in_call = nullptr, world.events.clear();
      EXPECT_TRUE(world.NothingLoaded() && world.held() == 0);
      EXPECT_TRUE(watch.live() == 0 || number == 0) << watch.Describe();
    }
  }
}

}  // namespace
}  // namespace uab
