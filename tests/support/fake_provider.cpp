#include "support/fake_provider.h"

#include <cstring>

#include "frame/allocation_chain.h"
#include "keluab/iids.h"
#include "props/adr_entry.h"
#include "props/prop_values.h"
#include "support/fake_objects.h"
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

// The list's properties as a row, whose values are a head block of their own.
HRESULT Project(const PropList& props, const SPropTagArray* tags, ULONG* count, SPropValue** values) {
  SRow row{};
  HRESULT hr = ProjectRow(props, tags, row);
  if (Succeeded(hr)) {
    *count = row.cValues;
    *values = row.lpProps;
  }
  return hr;
}

}  // namespace

HRESULT AnswerValues(const FakeProvider::Turn& turn, const PropList& props, const SPropTagArray* tags, ULONG* count,
                     SPropValue** values) {
  HRESULT hr = Project(props, tags, count, values);
  if (Failed(hr)) return hr;
  if (turn.fewer) *count = 0;
  for (ULONG i = 0; turn.other_types && i < *count; ++i) {
    (*values)[i] = TextValue(WithPropType((*values)[i].ulPropTag, PT_UNICODE), UAB_TEXT("no such value"));
  }
  return hr;
}

FakeProvider::FakeProvider(BYTE number) : calls_(std::make_unique<Countdown>()) {
  std::memset(uid.ab, number, sizeof(uid.ab));
  AddContainer("root");
  root_ = Find(Id("root"));
}

FakeProvider::~FakeProvider() = default;

std::string FakeProvider::Id(std::string_view name) const {
  return std::string(4, '\0') + BytesAt(sizeof(uid.ab), uid.ab) + std::string(name);
}

FakeEntry& FakeProvider::AddUser(std::string_view name) { return Add(Id(name), MAPI_MAILUSER, {}); }

FakeEntry& FakeProvider::AddList(std::string_view name, const std::vector<std::string_view>& members) {
  return Add(Id(name), MAPI_DISTLIST, members);
}

FakeEntry& FakeProvider::AddContainer(std::string_view name, const std::vector<std::string_view>& members) {
  return Add(Id(name), MAPI_ABCONT, members);
}

FakeEntry& FakeProvider::Add(const std::string& id, ULONG type, const std::vector<std::string_view>& members) {
  auto entry = std::make_shared<FakeEntry>();
  entry->type = type;
  const std::string name = id.substr(20);
  const std::basic_string<WCHAR> wide(name.begin(), name.end());
  entry->props.Set(TextValue(PR_DISPLAY_NAME_W, wide.c_str()));
  SetBinary(entry->props, PR_ENTRYID, id);
  entry->props.Set(LongValue(PR_OBJECT_TYPE, static_cast<LONG>(type)));
  if (type == MAPI_ABCONT) {
    entry->props.Set(LongValue(PR_CONTAINER_FLAGS, AB_RECIPIENTS | AB_MODIFIABLE));
    entry->props.Set(LongValue(PR_DEPTH, 0));
  }
  SPropValue contents{};
  contents.ulPropTag = PR_CONTAINER_CONTENTS;
  if (type != MAPI_MAILUSER) entry->props.Set(contents);
  for (std::string_view member : members) AddMember(*entry, Id(member));
  return *store_.insert_or_assign(id, std::move(entry)).first->second;
}

void FakeProvider::AddMember(FakeEntry& entry, const std::string& id) {
  entry.members.push_back(id);
  entry.member_ids.insert(id);
}

void FakeProvider::AddTemplate(FakeEntry& entry, std::string_view name, ULONG display_type) {
  FakeEntry& added = Add(Id(name), display_type == DT_MAILUSER ? MAPI_MAILUSER : MAPI_DISTLIST, {});
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

void FakeProvider::DoBadly(std::uint32_t call, Misdeed misdeed, bool lasting) {
  calls_ = std::make_unique<Countdown>(call, lasting);
  misdeed_ = misdeed;
}

FakeProvider::Turn FakeProvider::Enter(const char* slot) {
  if (on_call) on_call(slot);
  if (!calls_->Refuses()) return {false, S_OK, false, false};
  switch (misdeed_) {
    case Misdeed::kThrows:
      throw 1;
    case Misdeed::kFails:
      return {true, kFakeFailure, false, false};
    case Misdeed::kNothing:
      return {true, S_OK, false, false};
    default:
      return {false, S_OK, misdeed_ == Misdeed::kFewer, misdeed_ == Misdeed::kOtherTypes};
  }
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

HRESULT FakeProvider::GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) {
  *count = 0;
  *values = nullptr;
  Turn turn = Enter("GetProps");
  return turn.stop ? turn.result : AnswerValues(turn, root_->props, tags, count, values);
}

HRESULT FakeProvider::OpenEntry(ULONG size, ENTRYID* entry, const IID*, ULONG, ULONG* type, IUnknown** object) {
  *object = nullptr;
  if (Turn turn = Enter("OpenEntry"); turn.stop) return turn.result;
  FakeEntryPtr found = Find(BytesAt(size, entry));
  if (found == nullptr) return MAPI_E_NOT_FOUND;
  auto opened = std::make_unique<FakeObject>(*this, found);
  if (type != nullptr) *type = found->type;
  opened->AddRef();
  *object = opened.release();
  return S_OK;
}

HRESULT FakeProvider::Advise(ULONG size, ENTRYID* entry, ULONG, IMAPIAdviseSink* sink, ULONG* connection) {
  *connection = 0;
  if (Turn turn = Enter("Advise"); turn.stop) return turn.result;
  if (Find(BytesAt(size, entry)) == nullptr) return MAPI_E_NOT_FOUND;
  sinks[next_connection_] = ComPtr<IMAPIAdviseSink>(sink);
  const ULONG_PTR wide = next_connection_++;
  std::memcpy(connection, &wide, wide_connections ? sizeof(wide) : sizeof(ULONG));
  return S_OK;
}

HRESULT FakeProvider::Unadvise(ULONG connection) {
  if (Turn turn = Enter("Unadvise"); turn.stop) return turn.result;
  return sinks.erase(connection) != 0 ? S_OK : MAPI_E_NOT_FOUND;
}

HRESULT FakeProvider::NewEntry(ULONG_PTR, ULONG, ULONG container_size, ENTRYID* container, ULONG template_size,
                               ENTRYID* entry_template, ULONG* size, ENTRYID** entry) {
  *size = 0;
  *entry = nullptr;
  if (Turn turn = Enter("NewEntry"); turn.stop) return turn.result;
  FakeEntryPtr model = Find(BytesAt(template_size, entry_template));
  FakeEntryPtr parent = Find(BytesAt(container_size, container));
  auto made = std::make_shared<FakeEntry>();
  made->type = model != nullptr ? model->type : MAPI_MAILUSER;
  Save(parent != nullptr ? parent.get() : root_.get(), made);
  std::span<const BYTE> id = RecordBytes(made->props.Find(PR_ENTRYID)->record);
  ChainPtr<ENTRYID> copy;
  if (HRESULT hr = AllocateInto(copy, id.size()); Failed(hr)) return hr;
  std::memcpy(copy.Get(), id.data(), id.size());
  *size = static_cast<ULONG>(id.size());
  *entry = copy.Detach();
  return S_OK;
}

HRESULT FakeProvider::Details(ULONG_PTR*, DismissModelessFunction, void*, ULONG size, ENTRYID* entry,
                              DetailsButtonFunction, void*, WCHAR*, ULONG) {
  if (Turn turn = Enter("Details"); turn.stop) return turn.result;
  shown.push_back(BytesAt(size, entry));
  return S_OK;
}

HRESULT FakeProvider::PrepareRecips(ULONG, SPropTagArray* tags, ADRLIST* list) {
  if (Turn turn = Enter("PrepareRecips"); turn.stop) return turn.result;
  prepared.push_back(list->cEntries);
  for (ULONG i = 0; tags != nullptr && i < list->cEntries; ++i) {
    std::span<const BYTE> id = EntryIdOf(list->aEntries[i].rgPropVals, list->aEntries[i].cValues);
    FakeEntryPtr found = Find(BytesAt(static_cast<ULONG>(id.size()), id.data()));
    SRow row{};
    ChainPtr<SPropValue> values;
    if (found != nullptr) {
      if (HRESULT hr = Project(found->props, nullptr, &row.cValues, values.Put()); Failed(hr)) return hr;
    }
    row.lpProps = values.Get();
    if (HRESULT hr = MergeIntoAdrEntry(tags, row, list->aEntries[i]); Failed(hr)) return hr;
  }
  return S_OK;
}

}  // namespace uab
