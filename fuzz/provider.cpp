// A session over providers of which every answer comes from the input: result codes and exceptions, objects and null in
// their place, values of any tag and type, rows without end, and calls back into the session. What they count is there.
#include <new>

#include "fuzz/host_script.h"
#include "support/refusing_objects.h"

namespace uab::fuzz {
namespace {

constexpr HRESULT kCodes[] = {
    MAPI_W_ERRORS_RETURNED, 1, E_FAIL, E_INVALIDARG, E_OUTOFMEMORY, MAPI_E_NOT_FOUND, E_NOINTERFACE, MAPI_E_NO_SUPPORT,
    E_ACCESSDENIED};

// What all objects of one run share.
struct Oracle {
  // The end of most calls. Behind the end of the input every call fails, so that every walk ends.
  HRESULT Answer() {
    if (input.done()) return MAPI_E_NOT_FOUND;
    switch (input.Below(32)) {
      case 0:
        throw 1;
      case 1:
        throw std::bad_alloc();
      case 2:
        if (host != nullptr) host->EndSession();
        return S_OK;
      case 3:
      case 4:
      case 5:
        return input.OneOf<HRESULT>(kCodes);
      default:
        return S_OK;
    }
  }
  bool Lies() { return input.OneIn(8); }

  template <typename Made, typename Slot>
  HRESULT HandOut(Slot** object) {
    *object = nullptr;
    if (!Lies()) {
      *object = new Made(*this);
      (*object)->AddRef();
    }
    return Answer();
  }

  // Values for the tags, or any values; sometimes more or fewer than asked for, and sometimes only counted, for null is
  // not memory that is missing.
  void DrawAnswer(const SPropTagArray* tags, ULONG* count, SPropValue** values) {
    *count = tags != nullptr && !Lies() ? tags->cValues : static_cast<ULONG>(input.Below(8));
    *values = nullptr;
    if (Lies()) return;
    ChainPtr<SPropValue> drawn;
    Expect(Succeeded(AllocateInto(drawn, (*count + 1) * sizeof(SPropValue))), "there is memory");
    for (ULONG i = 0; i < *count; ++i) {
      const ULONG tag = tags != nullptr && i < tags->cValues && !Lies() ? tags->aulPropTag[i] : DrawTag(input);
      drawn.Get()[i] = DrawValue(input, tag, drawn.Get(), ids);
    }
    *values = drawn.Detach();
  }

  Input& input;
  std::vector<std::string> ids;
  HostScript* host = nullptr;
  int objects = 0;
};

class HostileTable final : public RefusingTable<Refusing<IMAPITable>> {
 public:
  explicit HostileTable(Oracle& oracle) : oracle_(oracle) { ++oracle.objects; }
  ~HostileTable() { --oracle_.objects; }

  ULONG Release() override {
    const ULONG left = --references;
    if (left == 0) delete this;
    return left;
  }
  HRESULT SetColumns(SPropTagArray* tags, ULONG) override {
    columns_.assign(&tags->cValues, &tags->cValues + 1 + tags->cValues);
    return oracle_.Answer();
  }
  HRESULT SeekRow(BOOKMARK, LONG, LONG* sought) override {
    if (sought != nullptr) *sought = oracle_.input.Byte();
    return oracle_.Answer();
  }
  HRESULT QueryRows(LONG, ULONG, SRowSet** rows) override {
    *rows = nullptr;
    if (oracle_.Lies()) return oracle_.Answer();
    const std::size_t count = oracle_.Lies() ? oracle_.input.Below(4) : 1;
    RowSetPtr set;
    Expect(Succeeded(AllocateHead(RowSetSize(count + 1), reinterpret_cast<void**>(set.Put()))), "there is memory");
    auto* columns = columns_.empty() ? nullptr : reinterpret_cast<SPropTagArray*>(columns_.data());
    for (; set->cRows < count; ++set->cRows) {
      SRow& row = set->aRow[set->cRows];
      oracle_.DrawAnswer(columns, &row.cValues, &row.lpProps);
    }
    *rows = set.Detach();
    return oracle_.Answer();
  }

 private:
  Oracle& oracle_;
  std::vector<ULONG> columns_;  // count, then tags: an SPropTagArray
};

// A user, list or container: one class with all slots, since a type that is a lie can't be told from the truth.
class HostileEntry final : public RefusingProp<Refusing<IABContainer>> {
 public:
  explicit HostileEntry(Oracle& oracle) : oracle_(oracle) { ++oracle.objects; }
  ~HostileEntry() { --oracle_.objects; }

  ULONG Release() override {
    const ULONG left = --references;
    if (left == 0) delete this;
    return left;
  }
  HRESULT QueryInterface(const IID&, void** object) override {
    *object = nullptr;
    if (!oracle_.Lies()) {
      AddRef();
      *object = this;
    }
    return oracle_.Answer();
  }
  HRESULT SaveChanges(ULONG) override { return oracle_.Answer(); }
  HRESULT GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
    oracle_.DrawAnswer(tags, count, values);
    return oracle_.Answer();
  }
  HRESULT GetPropList(ULONG, SPropTagArray** tags) override {
    *tags = DrawTags(oracle_.input, 6).Detach();
    if (*tags != nullptr && (*tags)->cValues != 0 && !oracle_.Lies()) (*tags)->aulPropTag[0] = PR_CONTAINER_CONTENTS;
    return oracle_.Answer();
  }
  HRESULT OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown** object) override {
    return oracle_.HandOut<HostileTable>(object);
  }
  HRESULT SetProps(ULONG, SPropValue*, SPropProblemArray** problems) override {
    if (problems == nullptr) return oracle_.Answer();
    *problems = nullptr;
    ChainPtr<SPropProblemArray> made;
    const std::size_t count = oracle_.input.Below(4);
    if (count != 0) {
      Expect(Succeeded(AllocateInto(made, ProblemArraySize(count))), "there is memory");
      while (made->cProblem < count) made->aProblem[made->cProblem++] = oracle_.input.Draw<SPropProblem>();
    }
    *problems = made.Detach();
    return oracle_.Answer();
  }
  HRESULT GetContentsTable(ULONG, IMAPITable** table) override { return oracle_.HandOut<HostileTable>(table); }
  HRESULT GetHierarchyTable(ULONG, IMAPITable** table) override { return oracle_.HandOut<HostileTable>(table); }
  HRESULT OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, IUnknown** object) override {
    return oracle_.HandOut<HostileEntry>(object);
  }
  HRESULT SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT GetSearchCriteria(ULONG, SRestriction**, ENTRYLIST**, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT CreateEntry(ULONG, ENTRYID*, ULONG, IMAPIProp** object) override {
    return oracle_.HandOut<HostileEntry>(object);
  }
  HRESULT CopyEntries(ENTRYLIST*, ULONG_PTR, IMAPIProgress*, ULONG) override { return oracle_.Answer(); }
  HRESULT DeleteEntries(ENTRYLIST*, ULONG) override { return oracle_.Answer(); }
  HRESULT ResolveNames(SPropTagArray*, ULONG, ADRLIST*, FLAGLIST*) override { return MAPI_E_NO_SUPPORT; }

 private:
  Oracle& oracle_;
};

class HostileProvider final : public RefusingAddrBook<RefusingProp<Refusing<IAddrBook>>> {
 public:
  explicit HostileProvider(Oracle& oracle) : oracle_(oracle) {}

  HRESULT GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
    oracle_.DrawAnswer(tags, count, values);
    return oracle_.Answer();
  }
  HRESULT OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG* type, IUnknown** object) override {
    IAddrBook* book = oracle_.host != nullptr ? oracle_.host->book() : nullptr;
    if (book != nullptr && oracle_.Lies()) return book->OpenEntry(0, nullptr, nullptr, 0, type, object);
    constexpr ULONG kTypes[] = {MAPI_ABCONT, MAPI_DISTLIST, MAPI_MAILUSER, 0, 0xFFFFFFFFu};
    if (type != nullptr && !oracle_.Lies()) *type = kTypes[oracle_.input.Below(5)];
    return oracle_.HandOut<HostileEntry>(object);
  }
  HRESULT Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*, ULONG* connection) override {
    const ULONG_PTR number = oracle_.input.Draw<ULONG_PTR>();
    std::memcpy(connection, &number, sizeof(number));
    return oracle_.Answer();
  }
  HRESULT Unadvise(ULONG) override { return oracle_.Answer(); }
  HRESULT NewEntry(ULONG_PTR, ULONG, ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG* size, ENTRYID** entry) override {
    *size = static_cast<ULONG>(oracle_.input.Below(40));
    *entry = nullptr;
    ChainPtr<ENTRYID> made;
    if (!oracle_.Lies()) Expect(Succeeded(AllocateInto(made, *size)), "there is memory");
    *entry = made.Detach();
    return oracle_.Answer();
  }
  HRESULT Details(ULONG_PTR*, DismissModelessFunction, void*, ULONG, ENTRYID*, DetailsButtonFunction, void*, WCHAR*,
                  ULONG) override {
    return oracle_.Answer();
  }
  // Replaces, drops and moves value arrays, and counts wrong; each array stays with one owner.
  HRESULT PrepareRecips(ULONG, SPropTagArray*, ADRLIST* list) override {
    const ULONG count = list->cEntries;
    for (ULONG i = 0; i < count; ++i) {
      ADRENTRY& entry = list->aEntries[i];
      switch (oracle_.input.Below(6)) {
        case 0:
          UABFreeBuffer(entry.rgPropVals);
          oracle_.DrawAnswer(nullptr, &entry.cValues, &entry.rgPropVals);
          break;
        case 1:
          std::swap(entry, list->aEntries[oracle_.input.Below(i + 1)]);
          break;
        case 2:  // drops it, with what stands behind moved forward
          if (list->cEntries != count || i + 1 == count) break;
          UABFreeBuffer(entry.rgPropVals);
          entry = list->aEntries[count - 1];
          list->cEntries = count - 1;
          return oracle_.Answer();
        case 3:
          list->cEntries = oracle_.Lies() ? count + 1000 : count;
          break;
        default:
          break;
      }
    }
    return oracle_.Answer();
  }

 private:
  Oracle& oracle_;
};

}  // namespace

void FuzzOne(Input input) {
  MAPIUID uids[2] = {{{'A', 'A'}}, {{'B', 'B'}}};
  Oracle oracle{input, {}, nullptr, 0};
  for (const MAPIUID& uid : uids) {
    for (const char* name : {"", "1", "2"}) {
      oracle.ids.push_back(std::string(4, '\0') + std::string(reinterpret_cast<const char*>(&uid), sizeof(uid)) + name);
    }
  }
  HostileProvider a(oracle), b(oracle);
  {
    HostScript script(input, {{&a, uids[0]}, {&b, uids[1]}}, oracle.ids, false);
    oracle.host = &script;
    script.Run(30);
  }
  Expect(a.references == 0 && b.references == 0 && oracle.objects == 0, "everything is given back");
}

}  // namespace uab::fuzz
