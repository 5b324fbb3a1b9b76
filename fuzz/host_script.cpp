#include "fuzz/host_script.h"

#include <set>

#include "fuzz/table_script.h"
#include "profiles/msg_service_admin.h"
#include "profiles/prof_admin.h"
#include "props/prop_values.h"
#include "session/provider_list.h"

namespace uab::fuzz {
namespace {

constexpr const WCHAR* kAppKey = UAB_TEXT("Fuzz");
WCHAR profile[] = UAB_TEXT("p");

ENTRYID* EntryOf(std::string& id) { return reinterpret_cast<ENTRYID*>(id.data()); }
ULONG SizeOf(const std::string& id) { return static_cast<ULONG>(id.size()); }
std::string TextOf(std::span<const BYTE> bytes) { return {bytes.begin(), bytes.end()}; }
std::string IdIn(const ADRENTRY& entry) {
  return entry.rgPropVals == nullptr ? "" : TextOf(EntryIdOf(entry.rgPropVals, entry.cValues));
}

struct AdrListPolicy {
  using Handle = ADRLIST*;
  static constexpr Handle kNone = nullptr;
  static void Close(Handle list) noexcept { UABFreePadrlist(list); }
};
using AdrListPtr = UniqueResource<AdrListPolicy>;

// What every script begins with.
void MakeProfile() {
  ComPtr<ProfAdmin> profiles;
  Expect(Succeeded(ProfAdmin::Create(kAppKey, nullptr, profiles)), "there is memory");
  Expect(Succeeded(profiles->CreateProfile(profile, 0, MAPI_UNICODE)), "a profile can be made");
}

}  // namespace

HostScript::HostScript(Input& input, std::vector<Provider> providers, std::vector<std::string> ids, bool honest)
    : input_(input), providers_(std::move(providers)), ids_(std::move(ids)), honest_(honest), registry_(&MakeProfile) {}

void HostScript::Run(int steps) {
  LogOn();
  for (; steps > 0 && !input_.done(); --steps) Step();
  LogOff();
}

void HostScript::LogOn() {
  ComPtr<ProviderList> list;
  ComPtr<MsgServiceAdmin> admin;
  Expect(Succeeded(ProviderList::Create(list)), "there is memory");
  Expect(Succeeded(MsgServiceAdmin::Create(0, nullptr, kAppKey, profile, admin)), "there is a profile");
  for (const Provider& provider : providers_) {
    ComPtr<ProviderEntry> entry;
    MAPIUID uid = provider.uid;
    Expect(Succeeded(ProviderEntry::Create(*list, entry)) && Succeeded(entry->MakeSupport(support_)) &&
               Succeeded(support_->SetProviderUID(&uid, 0)),
           "a provider registers");
    entry->provider = ComPtr<IAddrBook>(provider.object);
    Expect(Succeeded(list->PushFront(std::move(entry))), "there is memory");
  }
  Expect(Succeeded(UABSession::Create(list, admin, session_)), "a session begins");
  Expect(Succeeded(session_->OpenAddressBook(0, book_.Put())), "a session has an address book");
}

void HostScript::LogOff() {
  session_.Reset();
  std::string id = DrawId();
  ULONG type = 0;
  ComPtr<IUnknown> object;
  Expect(book_->OpenEntry(SizeOf(id), EntryOf(id), nullptr, 0, &type, object.Put()) == MAPI_E_END_OF_SESSION,
         "nothing can be opened behind the session's end");
  book_.Reset();
  support_.Reset();
}

void HostScript::Step() {
  if (!session_) {  // a provider has ended it
    LogOff();
    LogOn();
  }
  switch (input_.Below(12)) {
    case 0:
      return Open();
    case 1:
      return Compare();
    case 2:
      return Prepare();
    case 3:
      return Expand();
    case 4:
      return SetDefaults();
    case 5:
      return SetPath();
    case 6:
      return Watch();
    case 7:
      return NewEntry();
    case 8:
      return Delete();
    case 9:
      return Copy();
    case 10:
      return Refused();
    default:
      const std::vector<Path> before = PathInForce();
      LogOff();
      LogOn();
      Expect(!honest_ || copied_ || PathInForce() == before, "the search path outlives the session");
  }
}

// A known identifier, one with bytes more, less or changed, or any bytes.
std::string HostScript::DrawId() {
  if (input_.OneIn(8)) return std::string(input_.Bytes(40));
  std::string id = ids_[input_.Below(ids_.size())];
  if (input_.OneIn(8)) id.resize(input_.Below(40), 'x');
  if (input_.OneIn(8) && !id.empty()) id[input_.Below(id.size())] = static_cast<char>(input_.Byte());
  return id;
}

SBinary HostScript::DrawRun(void* head) {
  if (input_.OneIn(16)) return {input_.Byte(), nullptr};
  const std::string id = DrawId();
  SBinary run = {SizeOf(id), nullptr};
  Expect(Succeeded(AllocateLinkedInto(run.lpb, std::max<std::size_t>(id.size(), 1), head)), "there is memory");
  std::copy(id.begin(), id.end(), run.lpb);
  return run;
}

void HostScript::Open() {
  std::string id = DrawId();
  const bool root = input_.OneIn(4);
  ULONG type = 0;
  ComPtr<IUnknown> object;
  HRESULT hr = book_->OpenEntry(SizeOf(id), root ? nullptr : EntryOf(id), nullptr, 0, &type, object.Put());
  if (root) {
    Expect(Succeeded(hr) && object && type == MAPI_ABCONT, "there is a root container");
    return Browse(static_cast<IABContainer&>(*object.Get()));
  }
  if (honest_) {
    const bool known = std::find(ids_.begin(), ids_.end(), id) != ids_.end();
    Expect(!known || Succeeded(hr) == static_cast<bool>(object), "success comes with an object");
    Expect(Failed(hr) || id.size() >= 20, "what was opened has an owner");
  }
}

void HostScript::Browse(IABContainer& root) {
  ComPtr<IMAPITable> table;
  if (Failed(root.GetHierarchyTable(MAPI_UNICODE | (input_.OneIn(4) ? 0 : CONVENIENT_DEPTH), table.Put()))) return;
  ReadTable(input_, *table.Get());
}

void HostScript::Compare() {
  std::string a = DrawId(), b = DrawId();
  ULONG result = 0;
  Expect(Failed(book_->CompareEntryIDs(SizeOf(a), EntryOf(a), SizeOf(b), EntryOf(b), 0, &result)), "is refused");
}

// Recipients and lists as a host passes them, and some that lack what they need.
ADRLIST* HostScript::DrawList() {
  const std::size_t count = input_.Below(6);
  AdrListPtr list;
  Expect(Succeeded(AllocateHead(RowSetSize(std::max<std::size_t>(count, 1)), reinterpret_cast<void**>(list.Put()))),
         "there is memory");
  for (std::size_t i = 0; i < count; ++i) {
    ADRENTRY& entry = list->aEntries[list->cEntries++];
    const auto extra = static_cast<ULONG>(input_.Below(4));
    entry.cValues = extra + 3;
    if (input_.OneIn(16)) continue;  // counted, but not there
    ChainPtr<SPropValue> values = DrawValues(input_, entry.cValues, ids_);
    if (!input_.OneIn(8)) {
      values.Get()[extra].ulPropTag = PR_OBJECT_TYPE;
      values.Get()[extra].Value.l = input_.OneIn(2) ? MAPI_DISTLIST : MAPI_MAILUSER;
      values.Get()[extra + 1].ulPropTag = PR_RECIPIENT_TYPE;
      values.Get()[extra + 1].Value.l = MAPI_TO;
      values.Get()[extra + 2].ulPropTag = PR_ENTRYID;
      values.Get()[extra + 2].Value.bin = DrawRun(values.Get());
    }
    entry.rgPropVals = values.Detach();
  }
  return list.Detach();
}

void HostScript::Prepare() {
  AdrListPtr list(DrawList());
  ChainPtr<SPropTagArray> tags = DrawTags(input_, 4);
  const ULONG count = list->cEntries;
  std::multiset<std::string> before, after;
  for (ULONG i = 0; i < count; ++i) before.insert(IdIn(list->aEntries[i]));
  (void)book_->PrepareRecips(0, tags.Get(), list.Get());
  Expect(list->cEntries == count, "the number of recipients never changes");
  for (ULONG i = 0; i < count; ++i) after.insert(IdIn(list->aEntries[i]));
  Expect(!honest_ || before == after, "no recipient is lost");
}

void HostScript::Expand() {
  ADRLIST* raw = DrawList();
  const bool empty = raw->cEntries == 0;
  HRESULT hr = session_->ExpandDistLists(0, &raw);
  AdrListPtr list(raw);
  Expect(!empty || hr == E_INVALIDARG, "an empty list is refused");
  if (Failed(hr)) return;
  std::set<std::string> seen;
  for (ULONG i = 0; i < list->cEntries; ++i) {
    const ADRENTRY& entry = list->aEntries[i];
    Expect(entry.rgPropVals != nullptr && seen.insert(IdIn(entry)).second, "each user comes once");
    const SPropValue* type = FindProp(entry.rgPropVals, entry.cValues, PR_OBJECT_TYPE);
    Expect(type == nullptr || type->Value.ul != MAPI_DISTLIST, "no list is left");
  }
}

void HostScript::SetDefaults() {
  std::string id = DrawId();
  const bool pab = input_.OneIn(2);
  IAddrBook& book = *book_.Get();
  ENTRYID* entry = input_.OneIn(8) ? nullptr : EntryOf(id);
  HRESULT set = pab ? book.SetPAB(SizeOf(id), entry) : book.SetDefaultDir(SizeOf(id), entry);
  ULONG size = 0;
  ChainPtr<ENTRYID> got;
  HRESULT hr = pab ? book.GetPAB(&size, got.Put()) : book.GetDefaultDir(&size, got.Put());
  Expect(Failed(hr) || (got && size != 0), "a default container has an identifier");
  if (!honest_ || Failed(set)) return;
  const auto* bytes = reinterpret_cast<const BYTE*>(got.Get());
  Expect(Succeeded(hr) && TextOf({bytes, bytes + size}) == id, "the default is what was chosen");
}

std::vector<HostScript::Path> HostScript::PathInForce() {
  RowSetPtr rows;
  std::vector<Path> path;
  if (Failed(book_->GetSearchPath(0, rows.Put()))) return path;
  for (ULONG i = 0; i < rows->cRows; ++i) {
    const SRow& row = rows->aRow[i];
    Expect(row.cValues == 1 && row.lpProps->ulPropTag == PR_ENTRYID, "a member is an identifier");
    path.push_back({TextOf(BytesOf(row.lpProps->Value.bin))});
  }
  return path;
}

void HostScript::SetPath() {
  const std::size_t count = input_.Below(6);
  RowSetPtr rows;
  Expect(Succeeded(AllocateHead(RowSetSize(std::max<std::size_t>(count, 1)), reinterpret_cast<void**>(rows.Put()))),
         "there is memory");
  std::vector<Path> wanted;
  for (std::size_t i = 0; i < count; ++i) {
    SRow& row = rows->aRow[rows->cRows++];
    row.cValues = 1;
    if (input_.OneIn(16)) continue;
    ChainPtr<SPropValue> value = DrawValues(input_, 1, ids_);
    if (!input_.OneIn(8)) {
      value->ulPropTag = PR_ENTRYID;
      value->Value.bin = DrawRun(value.Get());
      wanted.push_back({TextOf(BytesOf(value->Value.bin))});
    }
    row.lpProps = value.Detach();
  }
  const std::vector<Path> before = PathInForce();
  HRESULT hr = book_->SetSearchPath(0, rows.Get());
  const std::vector<Path> after = PathInForce();
  if (Failed(hr)) {
    Expect(before == after, "a path that is refused changes nothing");
  } else if (honest_) {
    Expect(!after.empty() && after.size() <= rows->cRows, "a path holds what was given");
  }
}

void HostScript::Watch() {
  std::string id = DrawId();
  ULONG connection = 0;
  HRESULT hr = book_->Advise(SizeOf(id), EntryOf(id), 0x10, nullptr, &connection);
  Expect(Failed(hr) == (connection == 0), "a connection has a number");
  const bool ended = input_.OneIn(2);
  if (Failed(hr) || !ended) return;
  (void)book_->Unadvise(connection);
  Expect(Failed(book_->Unadvise(connection)), "a connection ends once");
}

void HostScript::NewEntry() {
  std::string container = DrawId(), entry_template = DrawId();
  ULONG size = 0;
  ChainPtr<ENTRYID> made;
  (void)book_->NewEntry(0, 0, SizeOf(container), input_.OneIn(4) ? nullptr : EntryOf(container), SizeOf(entry_template),
                        input_.OneIn(4) ? nullptr : EntryOf(entry_template), &size, made.Put());
  ULONG_PTR ui = 0;
  (void)book_->Details(&ui, nullptr, nullptr, SizeOf(container), EntryOf(container), nullptr, nullptr, nullptr, 0);
}

// What the address book does not do for anybody.
void HostScript::Refused() {
  AdrListPtr list(DrawList());
  ULONG size = 0;
  ChainPtr<ENTRYID> entry;
  Text text = input_.Words(20);
  Expect(book_->ResolveName(0, 0, text.data(), list.Get()) == MAPI_E_NO_SUPPORT, "names are not resolved here");
  Expect(Failed(book_->CreateOneOff(text.data(), text.data(), text.data(), 0, &size, entry.Put())), "nor made up");
  Expect(list->cEntries == 0 || Failed(book_->RecipOptions(0, 0, list->aEntries)), "recipients have no options");
}

void HostScript::Delete() {
  const std::size_t count = input_.Below(5);
  ChainPtr<SBinary> runs;
  Expect(Succeeded(AllocateInto(runs, (count + 1) * sizeof(SBinary))), "there is memory");
  for (std::size_t i = 0; i < count; ++i) runs.Get()[i] = DrawRun(runs.Get());
  ENTRYLIST entries = {static_cast<ULONG>(count), runs.Get()};
  ULONG type = 0;
  ComPtr<IUnknown> root;
  Expect(Succeeded(book_->OpenEntry(0, nullptr, nullptr, 0, &type, root.Put())), "there is a root container");
  Expect(Succeeded(static_cast<IABContainer*>(root.Get())->DeleteEntries(&entries, 0)), "deleting is not reported");
}

ComPtr<IUnknown> HostScript::OpenAny() {
  std::string id = DrawId();
  ULONG type = 0;
  ComPtr<IUnknown> object;
  if (Failed(book_->OpenEntry(SizeOf(id), EntryOf(id), nullptr, 0, &type, object.Put()))) object.Reset();
  return object;
}

void HostScript::Copy() {
  const IID* const kinds[] = {&IID_IABContainer, &IID_IDistList, &IID_IMailUser, &IID_IMAPIProp, &IID_IMAPITable};
  const IID *from = kinds[input_.Below(5)], *to = kinds[input_.Below(5)];
  ComPtr<IUnknown> source = OpenAny(), destination = OpenAny();
  if (!source || !destination) return;
  ChainPtr<SPropTagArray> tags = DrawTags(input_, 5);
  if (tags && tags->cValues != 0 && !input_.OneIn(2)) tags->aulPropTag[0] = PR_CONTAINER_CONTENTS;
  copied_ = true;
  ChainPtr<SPropProblemArray> problems;
  const ULONG flags = MAPI_UNICODE | (input_.OneIn(4) ? MAPI_NOREPLACE : 0);
  if (input_.OneIn(2)) {
    (void)support_->DoCopyTo(from, source.Get(), 0, nullptr, tags.Get(), 0, nullptr, to, destination.Get(), flags,
                             problems.Put());
  } else {
    (void)support_->DoCopyProps(from, source.Get(), tags.Get(), 0, nullptr, to, destination.Get(), flags,
                                problems.Put());
  }
}

}  // namespace uab::fuzz
