#include "addrbook/provider_calls.h"

#include <algorithm>

#include "addrbook/entry_id.h"
#include "platform/at_boundary.h"
#include "props/prop_values.h"

namespace uab {

HRESULT ReadProps(IMAPIProp& object, const SPropTagArray* tags, ULONG flags, ULONG* count,
                  ChainPtr<SPropValue>& values) noexcept {
  ULONG stored = 0;
  auto* wanted = const_cast<SPropTagArray*>(tags);
  HRESULT hr = call_out([&] { return object.GetProps(wanted, flags, &stored, values.Put()); });
  *count = Succeeded(hr) && values ? std::min(stored, tags->cValues) : 0;
  return hr;
}

HRESULT OpenObject(IAddrBook& opener, const SBinary& entry, ULONG* object_type, ComPtr<IMAPIProp>& object) noexcept {
  // A null identifier would open the root container.
  if (BytesOf(entry).empty()) return MAPI_E_INVALID_ENTRYID;
  ComPtr<IUnknown> opened;
  HRESULT hr =
      call_out([&] { return opener.OpenEntry(entry.cb, EntryAt(entry), nullptr, 0, object_type, opened.Put()); });
  if (Failed(hr)) return hr;
  if (!opened) return E_FAIL;
  object = ComPtr<IMAPIProp>::Attach(static_cast<IMAPIProp*>(opened.Detach()));
  return S_OK;
}

HRESULT OpenContainer(IAddrBook& opener, const SBinary& entry, ComPtr<IABContainer>& container) noexcept {
  ULONG type = MAPI_ABCONT;
  ComPtr<IMAPIProp> object;
  if (HRESULT hr = OpenObject(opener, entry, &type, object); Failed(hr)) return hr;
  if (type != MAPI_ABCONT && type != MAPI_DISTLIST) return E_FAIL;
  container = ComPtr<IABContainer>::Attach(static_cast<IABContainer*>(object.Detach()));
  return S_OK;
}

}  // namespace uab
