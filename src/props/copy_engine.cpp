#include "props/copy_engine.h"

#include "keluab/iids.h"
#include "props/called_objects.h"
#include "props/contents_copy.h"
#include "props/copy_map.h"
#include "props/plain_copy.h"
#include "props/prop_values.h"

namespace uab {
namespace {

enum class Kind { kUnknown, kProps, kContainer, kDistList, kAddressBookContainer };

Kind KindOf(const IID& iid) noexcept {
  if (iid == IID_IMAPIProp || iid == IID_IProfSect || iid == IID_IMailUser) return Kind::kProps;
  if (iid == IID_IMAPIContainer) return Kind::kContainer;
  if (iid == IID_IDistList) return Kind::kDistList;
  if (iid == IID_IABContainer) return Kind::kAddressBookContainer;
  return Kind::kUnknown;
}

bool HasMembers(Kind kind) noexcept { return kind == Kind::kDistList || kind == Kind::kAddressBookContainer; }

HRESULT ReadEntryId(NamedObject object, ChainPtr<SPropValue>& id) noexcept {
  ComPtr<IMAPIProp> props;
  if (HRESULT hr = AskFor(object.unknown(), IID_IMAPIProp, props); Failed(hr)) return hr;
  HRESULT hr = GetOneProp(props.Get(), PR_ENTRYID, id);
  return Succeeded(hr) && id ? S_OK : MAPI_E_NOT_FOUND;
}

// The map of a copying between two entries, neither of which may be copied into. E_ACCESSDENIED: they are one.
HRESULT MakeCopyMap(NamedObject source, NamedObject destination, CopyMap& map) noexcept {
  ChainPtr<SPropValue> source_id, destination_id;
  if (HRESULT hr = ReadEntryId(source, source_id); Failed(hr)) return hr;
  if (HRESULT hr = ReadEntryId(destination, destination_id); Failed(hr)) return hr;
  const std::span<const BYTE> from = BytesOf(source_id->Value.bin), to = BytesOf(destination_id->Value.bin);
  if (TextOf(from) == TextOf(to)) return E_ACCESSDENIED;
  return Failed(map.ForbidEntry(from)) || Failed(map.ForbidEntry(to)) ? E_FAIL : S_OK;
}

}  // namespace

HRESULT DoCopyTo(NamedObject source, const SPropTagArray* excluded, NamedObject destination, ULONG flags,
                 SPropProblemArray** problems) noexcept {
  if (problems != nullptr) *problems = nullptr;
  if (source.iid == nullptr || source.object == nullptr || destination.iid == nullptr ||
      destination.object == nullptr) {
    return E_INVALIDARG;
  }
  ChainPtr<SPropTagArray> tags;
  {
    ComPtr<IMAPIProp> props;
    if (HRESULT hr = AskFor(source.unknown(), IID_IMAPIProp, props); Failed(hr)) return hr;
    if (HRESULT hr = GetTags(props.Get(), flags & MAPI_UNICODE, tags); Failed(hr)) return hr;
  }
  ExcludeTags(tags.Get(), excluded);
  return DoCopyProps(source, tags.Get(), destination, flags, problems);
}

HRESULT DoCopyProps(NamedObject source, const SPropTagArray* tags, NamedObject destination, ULONG flags,
                    SPropProblemArray** problems) noexcept {
  if (problems != nullptr) *problems = nullptr;
  if (source.iid == nullptr || source.object == nullptr || destination.iid == nullptr ||
      destination.object == nullptr || tags == nullptr) {
    return E_INVALIDARG;
  }
  const Kind from = KindOf(*source.iid), to = KindOf(*destination.iid);
  if (from == Kind::kUnknown || to == Kind::kUnknown) return E_NOINTERFACE;
  return at_boundary([&]() -> HRESULT {
    CopyMap map;
    if (HRESULT hr = MakeCopyMap(source, destination, map); Failed(hr)) return hr;
    const bool contents = IsTagListed(PR_CONTAINER_CONTENTS, tags);
    const bool hierarchy = IsTagListed(PR_CONTAINER_HIERARCHY, tags);
    if (to == Kind::kContainer) return MAPI_E_NO_SUPPORT;
    const bool whole = to == Kind::kDistList ? contents : to == Kind::kAddressBookContainer && (contents || hierarchy);
    if (!whole) return PlainCopy(tags, source.unknown(), destination.unknown(), flags, problems);
    if (!HasMembers(from)) return MAPI_E_NO_SUPPORT;
    const IID& iid = to == Kind::kDistList ? IID_IDistList : IID_IABContainer;
    return CopyWithContents(tags, source.unknown(), destination.unknown(), iid, map, flags, problems);
  });
}

}  // namespace uab
