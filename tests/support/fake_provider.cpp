#include "support/fake_provider.h"

#include <cstring>

#include "frame/allocation_chain.h"
#include "keluab/iids.h"
#include "support/fake_objects.h"
#include "support/fault_count.h"
#include "support/values.h"
#include "tables/table_row.h"

namespace uab {
namespace {

std::string BytesAt(ULONG size, const void* bytes) {
  return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

void SetBinary(PropList& props, ULONG tag, const std::string& bytes) {
  props.Set(BinaryValue(tag, bytes.data(), static_cast<ULONG>(bytes.size())));
}

std::string NameOf(ULONG size, const ENTRYID* entry) { return size < 20 ? "" : BytesAt(size, entry).substr(20); }

}  // namespace

void FakeCalls::DoBadly(std::uint32_t call, Misdeed misdeed, bool lasting) {
  countdown_.emplace(call, lasting);
  misdeed_ = misdeed;
}

void FakeCalls::Log(std::string&& call) {
  std::lock_guard lock(mutex_);
  log_.push_back(std::move(call));
}

bool FakeCalls::Refuses() {
  std::lock_guard lock(mutex_);
  const bool refuses = countdown_->Refuses();
  if (refuses) CountFault(Fault::kProviderCall);
  return refuses;
}

std::string FakeId(char letter, std::string_view name) {
  std::string id(4, '\0');
  id.append(16, letter);
  id.append(name);
  return id;
}

FakeProvider::FakeProvider(char its_letter, std::string_view root_name, std::shared_ptr<FakeCalls> its_calls)
    : letter(its_letter), calls(std::move(its_calls)) {
  std::memset(uid.ab, letter, sizeof(uid.ab));
  AddContainer(root_name);
  root_ = Find(Id(root_name));
}

FakeEntry& FakeProvider::AddChild(std::string_view name, ULONG flags) {
  root_->children.push_back(Id(name));
  FakeEntry& child = AddContainer(name);
  SetFlags(name, flags);
  return child;
}

void FakeProvider::SetFlags(std::string_view name, ULONG flags) {
  At(name).props.Set(LongValue(PR_CONTAINER_FLAGS, static_cast<LONG>(flags)));
}

FakeEntry& FakeProvider::Add(std::string_view name, ULONG type, const std::vector<std::string_view>& members) {
  auto entry = std::make_shared<FakeEntry>();
  entry->type = type;
  entry->name = name;
  const std::basic_string<WCHAR> wide(name.begin(), name.end());
  entry->props.Set(TextValue(PR_DISPLAY_NAME_W, wide.c_str()));
  SetBinary(entry->props, PR_ENTRYID, Id(name));
  entry->props.Set(LongValue(PR_OBJECT_TYPE, static_cast<LONG>(type)));
  if (type == MAPI_ABCONT) {
    entry->props.Set(LongValue(PR_CONTAINER_FLAGS, AB_RECIPIENTS | AB_MODIFIABLE));
    entry->props.Set(LongValue(PR_DEPTH, 0));
  }
  SPropValue contents{};
  contents.ulPropTag = PR_CONTAINER_CONTENTS;
  if (type != MAPI_MAILUSER) entry->props.Set(contents);
  for (std::string_view member : members) AddMember(*entry, Id(member));
  return *store_.insert_or_assign(Id(name), std::move(entry)).first->second;
}

void FakeProvider::AddMember(FakeEntry& entry, const std::string& id) {
  entry.members.push_back(id);
  entry.member_ids.insert(id);
}

void FakeProvider::AddForeignMember(FakeEntry& entry, const FakeProvider& other, std::string_view name) {
  const std::string id = other.Id(name);
  store_[id] = other.Find(id);
  AddMember(entry, id);
}

void FakeProvider::AddTemplate(FakeEntry& entry, std::string_view name, ULONG display_type) {
  FakeEntry& added = Add(name, display_type == DT_MAILUSER ? MAPI_MAILUSER : MAPI_DISTLIST, {});
  added.props.Set(LongValue(PR_DISPLAY_TYPE, static_cast<LONG>(display_type)));
  entry.templates.push_back(Id(name));
}

void FakeProvider::SetTemplates(FakeEntry& entry, bool users, bool lists) {
  AddUser("user template");
  AddList("list template");
  if (users) SetBinary(entry.props, PR_DEF_CREATE_MAILUSER, Id("user template"));
  if (lists) SetBinary(entry.props, PR_DEF_CREATE_DL, Id("list template"));
}

void FakeProvider::DropNewEntries() {
  for (; saved_ > 0; --saved_) store_.erase(Id("new " + std::to_string(saved_)));
}

FakeEntryPtr FakeProvider::Find(const std::string& id) const {
  auto found = store_.find(id);
  return found == store_.end() ? nullptr : found->second;
}

ComPtr<IABContainer> FakeProvider::Open(std::string_view name) {
  return ComPtr<IABContainer>(new FakeObject(*this, Find(Id(name))));
}

FakeProvider::Turn FakeProvider::Enter(const char* slot, const std::string& detail) {
  if (calls->logs) calls->Log(std::string(1, letter) + "." + slot + (detail.empty() ? "" : " " + detail));
  if (auto run = on_call) run(slot);  // a copy: it may put another in its place
  if (!calls->Refuses()) return {false, S_OK, false, false};
  switch (calls->misdeed_) {
    case Misdeed::kThrows:
      throw 1;
    case Misdeed::kFails:
      return {true, kFakeFailure, false, false};
    case Misdeed::kNothing:
      return {true, S_OK, false, false};
    default:
      return {false, S_OK, calls->misdeed_ == Misdeed::kFewer, calls->misdeed_ == Misdeed::kOtherTypes};
  }
}

HRESULT FakeProvider::AnswerValues(const Turn& turn, const PropList& props, const std::string& name,
                                   const SPropTagArray* tags, ULONG* count, SPropValue** values) {
  TableRow packed;
  SRow row{};
  HRESULT hr = packed.Pack(props);
  if (Succeeded(hr)) hr = ProjectRow(packed, tags, row);
  if (Failed(hr)) return hr;
  for (ULONG i = 0; turn.other_types && i < row.cValues; ++i) {
    row.lpProps[i] = TextValue(WithPropType(row.lpProps[i].ulPropTag, PT_UNICODE), UAB_TEXT("no such value"));
  }
  if (turn.fewer) row.cValues = 0;
  if (calls->spoil) calls->spoil(name, row.lpProps, row.cValues);
  *count = row.cValues;
  *values = row.lpProps;
  return hr;
}

FakeEntryPtr FakeProvider::Save(FakeEntry* parent, FakeEntryPtr entry) {
  std::string id = Id("new " + std::to_string(++saved_));
  SetBinary(entry->props, PR_ENTRYID, id);
  store_.insert_or_assign(id, entry);
  AddMember(*parent, id);
  return entry;
}

HRESULT FakeProvider::QueryInterface(const IID& iid, void** object) {
  *object = nullptr;
  if (Turn turn = Enter("QueryInterface"); turn.stop) return turn.result;
  if (iid != IID_IUnknown && iid != IID_IMAPIProp && iid != IID_IAddrBook) return E_NOINTERFACE;
  AddRef();
  *object = static_cast<IAddrBook*>(this);
  return S_OK;
}

ULONG FakeProvider::Release() {
  const ULONG left = --references;
  if (left == 0 && calls->logs) calls->Log(std::string(1, letter) + ".Release");
  if (auto run = on_call; left == 0 && run) run("Release");
  return left;
}

HRESULT FakeProvider::GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) {
  *count = 0;
  *values = nullptr;
  Turn turn = Enter("GetProps");
  return turn.stop ? turn.result : AnswerValues(turn, root_->props, root_->name, tags, count, values);
}

HRESULT FakeProvider::OpenEntry(ULONG size, ENTRYID* entry, const IID*, ULONG, ULONG* type, IUnknown** object) {
  *object = nullptr;
  if (Turn turn = Enter("OpenEntry", NameOf(size, entry)); turn.stop) return turn.result;
  FakeEntryPtr found = Find(BytesAt(size, entry));
  if (found == nullptr) return MAPI_E_NOT_FOUND;
  if (type != nullptr && found->type != 0) *type = found->type;
  *object = found->stand_in != nullptr ? found->stand_in : new FakeObject(*this, found);
  (*object)->AddRef();
  return S_OK;
}

HRESULT FakeProvider::Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*, ULONG* connection) {
  if (Turn turn = Enter("Advise"); turn.stop) return turn.result;
  const ULONG_PTR number = next_connection_++;
  std::memcpy(connection, &number, sizeof(number));
  return S_OK;
}

HRESULT FakeProvider::Unadvise(ULONG connection) { return Enter("Unadvise", std::to_string(connection)).result; }

HRESULT FakeProvider::NewEntry(ULONG_PTR ui, ULONG flags, ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG* size,
                               ENTRYID** entry) {
  *size = 0;
  *entry = nullptr;
  const std::string detail = std::to_string(ui) + " " + std::to_string(flags);
  if (Turn turn = Enter("NewEntry", detail); turn.stop) return turn.result;
  const std::string id = Id("new 1");
  ChainPtr<ENTRYID> copy;
  if (HRESULT hr = AllocateInto(copy, id.size()); Failed(hr)) return hr;
  std::memcpy(copy.Get(), id.data(), id.size());
  *size = static_cast<ULONG>(id.size());
  *entry = copy.Detach();
  return S_OK;
}

HRESULT FakeProvider::Details(ULONG_PTR*, DismissModelessFunction, void*, ULONG, ENTRYID*, DetailsButtonFunction, void*,
                              WCHAR*, ULONG flags) {
  return Enter("Details", std::to_string(flags)).result;
}

HRESULT FakeProvider::PrepareRecips(ULONG, SPropTagArray*, ADRLIST* list) {
  const std::string count = std::to_string(list->cEntries);
  if (complete) complete(list);
  return Enter("PrepareRecips", count).result;
}

}  // namespace uab
