#include "session/provided_object.h"

#include "session/entry_id.h"

namespace uab {
namespace {

template <typename T>
HRESULT OpenAs(const ComPtr<ProviderEntry>& owner, const SBinary& entry, ULONG* type, Provided<T>& object) noexcept {
  *type = 0;
  // A provider may take a null identifier for its root.
  if (entry.cb == 0 || entry.lpb == nullptr) return MAPI_E_INVALID_ENTRYID;
  return object.Obtain(owner, [&](T** opened) {
    return owner->provider->OpenEntry(entry.cb, EntryAt(entry), nullptr, 0, type, reinterpret_cast<IUnknown**>(opened));
  });
}

HRESULT FindOwner(ProviderList& providers, const SBinary& entry, ComPtr<ProviderEntry>& owner) noexcept {
  if (!IsRoutable(entry.cb, EntryAt(entry)) || IsIdentity(entry.cb, EntryAt(entry))) return MAPI_E_INVALID_ENTRYID;
  return providers.FindByUid(UidOf(entry.lpb), owner);
}

}  // namespace

HRESULT OpenEntry(const ComPtr<ProviderEntry>& owner, const SBinary& entry, ULONG* type,
                  Provided<IMAPIProp>& object) noexcept {
  return OpenAs(owner, entry, type, object);
}

HRESULT OpenEntry(ProviderList& providers, const SBinary& entry, ULONG* type, Provided<IMAPIProp>& object) noexcept {
  ComPtr<ProviderEntry> owner;
  HRESULT hr = FindOwner(providers, entry, owner);
  return Succeeded(hr) ? OpenAs(owner, entry, type, object) : hr;
}

HRESULT OpenContainer(const ComPtr<ProviderEntry>& owner, const SBinary& entry,
                      Provided<IABContainer>& container) noexcept {
  ULONG type = 0;
  if (HRESULT hr = OpenAs(owner, entry, &type, container); Failed(hr)) return hr;
  // An object that says what it is, and is something else, has no such slots. Many leave the type out.
  if (type == 0 || type == MAPI_ABCONT || type == MAPI_DISTLIST) return S_OK;
  container = {};
  return MAPI_E_INVALID_OBJECT;
}

HRESULT OpenContainer(ProviderList& providers, const SBinary& entry, Provided<IABContainer>& container) noexcept {
  ComPtr<ProviderEntry> owner;
  HRESULT hr = FindOwner(providers, entry, owner);
  return Succeeded(hr) ? OpenContainer(owner, entry, container) : hr;
}

}  // namespace uab
