#include "props/contents_copy.h"

#include <deque>
#include <optional>
#include <utility>

#include "keluab/addrbook.h"
#include "platform/noncopyable.h"
#include "props/called_objects.h"
#include "props/creation_templates.h"
#include "props/plain_copy.h"
#include "props/prop_values.h"

namespace uab {
namespace {

constexpr TagArray<2> kColumns = {2, {PR_OBJECT_TYPE, PR_ENTRYID}};

// A list or container whose members are being copied.
struct Level {
  ComPtr<IMAPIContainer> source;
  ComPtr<IMAPITable> members;
  ComPtr<IABContainer> destination;
  CreationTemplates templates;
  std::optional<std::string> forbidden;  // its identifier, where only this keeps a cycle from going on for ever
};

class ContentsCopy : NonCopyable {
 public:
  ContentsCopy(CopyMap& map, ULONG flags) : map_(map), wide_(flags & MAPI_UNICODE) {}

  // id: of a list that is a member; null for the whole copying's source.
  HRESULT Begin(const SPropTagArray* tags, IUnknown* source, IUnknown* destination, const IID& destination_iid,
                ULONG flags, const std::span<const BYTE>* id, SPropProblemArray** problems);
  void CopyMembers() noexcept;

 private:
  HRESULT CopyProps(const SPropTagArray* tags, IUnknown* source, IUnknown* destination, ULONG flags,
                    const std::span<const BYTE>* id, SPropProblemArray** problems) noexcept;
  HRESULT Descend(IUnknown* destination, const IID& destination_iid, const std::span<const BYTE>* id, Level level);
  void Ascend() noexcept;
  HRESULT CopyNextMember(Level& level, bool* more);
  HRESULT CopyUser(Level& level, std::span<const BYTE> id);
  HRESULT CopyList(Level& level, std::span<const BYTE> id);
  HRESULT RecordCopy(IMAPIProp* copy, std::span<const BYTE> id) noexcept;

  CopyMap& map_;
  std::deque<Level> levels_;  // the innermost last; growing leaves the others in their place
  const ULONG wide_;          // the caller's MAPI_UNICODE; lists that are members are copied with no other flag
};

SBinary BinaryOf(std::span<const BYTE> id) noexcept {
  return {static_cast<ULONG>(id.size()), const_cast<BYTE*>(id.data())};
}

HRESULT OpenMember(IMAPIContainer* source, std::span<const BYTE> id, ComPtr<IUnknown>& member) noexcept {
  const SBinary entry = BinaryOf(id);
  ULONG type = 0;
  return CallForObject(member, [&] {
    return source->OpenEntry(entry.cb, reinterpret_cast<ENTRYID*>(entry.lpb), nullptr, 0, &type, member.Put());
  });
}

HRESULT CreateCopy(IABContainer* destination, const SBinary& from, ComPtr<IMAPIProp>& copy) noexcept {
  return CallForObject(
      copy, [&] { return destination->CreateEntry(from.cb, reinterpret_cast<ENTRYID*>(from.lpb), 0, copy.Put()); });
}

HRESULT LinkCopy(IABContainer* destination, const std::string& partner) noexcept {
  SBinary entry = BinaryOf({reinterpret_cast<const BYTE*>(partner.data()), partner.size()});
  ENTRYLIST list = {1, &entry};
  return call_out([&] { return destination->CopyEntries(&list, 0, nullptr, 1); });
}

HRESULT ContentsCopy::Begin(const SPropTagArray* tags, IUnknown* source, IUnknown* destination,
                            const IID& destination_iid, ULONG flags, const std::span<const BYTE>* id,
                            SPropProblemArray** problems) {
  HRESULT hr = CopyProps(tags, source, destination, flags, id, problems);
  if (Failed(hr)) return hr;
  if (!IsTagListed(PR_CONTAINER_CONTENTS, tags)) return hr;
  Level level;
  if (hr = FindCreationTemplates(destination, level.templates); Failed(hr)) return hr;
  if (hr = AskFor(source, IID_IMAPIContainer, level.source); Failed(hr)) return hr;
  at_boundary([&] { return Descend(destination, destination_iid, id, std::move(level)); });  // not reported
  return hr;
}

// The properties that can be copied, if there are any; a copy that has some is saved and recorded.
HRESULT ContentsCopy::CopyProps(const SPropTagArray* tags, IUnknown* source, IUnknown* destination, ULONG flags,
                                const std::span<const BYTE>* id, SPropProblemArray** problems) noexcept {
  if (tags == nullptr || tags->cValues == 0) return S_OK;
  ChainPtr<SPropTagArray> copied;
  if (HRESULT hr = StripObjectAndBinaryTags(tags, copied.Put()); Failed(hr)) {
    return hr == MAPI_E_NOT_FOUND ? S_OK : hr;
  }
  HRESULT hr = PlainCopy(copied.Get(), source, destination, flags, problems);
  if (Failed(hr) || id == nullptr) return hr;
  ComPtr<IMAPIProp> copy;
  if (hr = AskFor(destination, IID_IMAPIProp, copy); Failed(hr)) return hr;
  return RecordCopy(copy.Get(), *id);
}

HRESULT ContentsCopy::Descend(IUnknown* destination, const IID& destination_iid, const std::span<const BYTE>* id,
                              Level level) {
  HRESULT hr =
      CallForObject(level.members, [&] { return level.source->GetContentsTable(MAPI_UNICODE, level.members.Put()); });
  if (Failed(hr)) return hr;
  if (hr = AskFor(destination, destination_iid, level.destination); Failed(hr)) return hr;
  Rewind(level.members.Get(), kColumns.address());
  // A list that could not be recorded would be met as a new one inside itself.
  const bool forbid = id != nullptr && map_.Find(*id) == nullptr;
  if (forbid) level.forbidden.emplace(TextOf(*id));
  levels_.push_back(std::move(level));
  if (forbid) hr = map_.ForbidEntry(*id);
  if (Failed(hr)) levels_.pop_back();
  return hr;
}

void ContentsCopy::Ascend() noexcept {
  if (levels_.back().forbidden) map_.Forget(*levels_.back().forbidden);
  levels_.pop_back();
}

// A member that fails ends its own list only.
void ContentsCopy::CopyMembers() noexcept {
  while (!levels_.empty()) {
    const std::size_t depth = levels_.size();
    bool more = false;
    HRESULT hr = at_boundary([&] { return CopyNextMember(levels_.back(), &more); });
    if (levels_.size() == depth && (Failed(hr) || !more)) Ascend();
  }
}

HRESULT ContentsCopy::CopyNextMember(Level& level, bool* more) {
  RowSetPtr rows;
  SRow* row = nullptr;
  if (HRESULT hr = ReadRow(level.members.Get(), kColumns.cValues, rows, &row); Failed(hr)) return hr;
  if (row == nullptr) return S_OK;
  *more = true;
  if (row->lpProps == nullptr) return S_OK;
  const SPropValue* type = FindProp(row->lpProps, row->cValues, PR_OBJECT_TYPE);
  std::span<const BYTE> id = EntryIdOf(row->lpProps, row->cValues);
  if (type == nullptr || id.empty()) return S_OK;

  const bool is_list = type->Value.ul == MAPI_DISTLIST;
  if (!is_list && type->Value.ul != MAPI_MAILUSER) return S_OK;
  if (!(is_list ? level.templates.list : level.templates.user)) return S_OK;
  if (const CopyMap::Node* known = map_.Find(id)) {
    if (known->partner) return LinkCopy(level.destination.Get(), *known->partner);
    return is_list ? MAPI_E_FOLDER_CYCLE : S_OK;
  }
  return is_list ? CopyList(level, id) : CopyUser(level, id);
}

HRESULT ContentsCopy::CopyUser(Level& level, std::span<const BYTE> id) {
  ComPtr<IUnknown> member;
  if (HRESULT hr = OpenMember(level.source.Get(), id, member); Failed(hr)) return hr;
  ComPtr<IMAPIProp> copy;
  if (HRESULT hr = CreateCopy(level.destination.Get(), *level.templates.user.Get(), copy); Failed(hr)) return hr;
  if (HRESULT hr = PlainCopy(nullptr, member.Get(), copy.Get(), 0, nullptr); Failed(hr)) return hr;
  return RecordCopy(copy.Get(), id);
}

HRESULT ContentsCopy::CopyList(Level& level, std::span<const BYTE> id) {
  ComPtr<IUnknown> member;
  if (HRESULT hr = OpenMember(level.source.Get(), id, member); Failed(hr)) return hr;
  ComPtr<IMAPIProp> copy;
  if (HRESULT hr = CreateCopy(level.destination.Get(), *level.templates.list.Get(), copy); Failed(hr)) return hr;
  ComPtr<IMAPIProp> list;
  if (HRESULT hr = AskFor(member.Get(), IID_IMAPIProp, list); Failed(hr)) return hr;
  ChainPtr<SPropTagArray> tags;
  if (HRESULT hr = GetTags(list.Get(), wide_, tags); Failed(hr)) return hr;
  return Begin(tags.Get(), member.Get(), copy.Get(), IID_IDistList, 0, &id, nullptr);
}

HRESULT ContentsCopy::RecordCopy(IMAPIProp* copy, std::span<const BYTE> id) noexcept {
  HRESULT hr = call_out([&] { return copy->SaveChanges(KEEP_OPEN_READWRITE); });
  if (Failed(hr)) return hr;
  ChainPtr<SPropValue> partner;
  hr = GetOneProp(copy, PR_ENTRYID, partner);
  if (Failed(hr) || !partner) return E_FAIL;
  return Failed(map_.Record(id, BytesOf(partner->Value.bin))) ? E_FAIL : hr;
}

}  // namespace

HRESULT CopyWithContents(const SPropTagArray* tags, IUnknown* source, IUnknown* destination, const IID& destination_iid,
                         CopyMap& map, ULONG flags, SPropProblemArray** problems) noexcept {
  return at_boundary([&]() -> HRESULT {
    ContentsCopy copy(map, flags);
    HRESULT hr = copy.Begin(tags, source, destination, destination_iid, flags, nullptr, problems);
    copy.CopyMembers();
    return hr;
  });
}

}  // namespace uab
