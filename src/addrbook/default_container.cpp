#include "addrbook/default_container.h"

#include <cstring>

#include "addrbook/container_search.h"
#include "props/prop_values.h"

namespace uab {
namespace {

SPropValue SettingOf(const DefaultContainer& kind, const SBinary& identifier) noexcept {
  SPropValue value{};
  value.ulPropTag = kind.tag;
  value.Value.bin = identifier;
  return value;
}

HRESULT CopyOut(const SBinary& identifier, ULONG* size, ENTRYID** entry) noexcept {
  ChainPtr<ENTRYID> copy;
  if (HRESULT hr = AllocateInto(copy, identifier.cb); Failed(hr)) return hr;
  std::memcpy(copy.Get(), identifier.lpb, identifier.cb);
  *size = identifier.cb;
  *entry = copy.Detach();
  return S_OK;
}

}  // namespace

HRESULT GetDefaultContainer(AddrBook& address_book, Settings& settings, const DefaultContainer& kind, ULONG* size,
                            ENTRYID** entry) noexcept {
  if (size == nullptr || entry == nullptr) return E_INVALIDARG;
  *size = 0;
  *entry = nullptr;
  ChainPtr<SPropValue> stored;
  Settings::Choices choices = 0;
  const HRESULT read = settings.Read(kind.tag, stored, &choices);
  bool replaceable = read == MAPI_E_NOT_FOUND;  // a setting that merely could not be read stays
  if (Succeeded(read)) {
    const SBinary& identifier = stored->Value.bin;
    replaceable = !IsContainerWithFlags(address_book, kind.flags, identifier);
    if (!replaceable && Succeeded(CopyOut(identifier, size, entry))) return S_OK;
  }
  ContainerSearch search;
  if (HRESULT hr = search.Open(address_book); Failed(hr)) return hr;
  const SBinary first = search.Next(kind.flags);
  if (first.cb == 0) return E_FAIL;
  if (HRESULT hr = CopyOut(first, size, entry); Failed(hr)) return hr;
  // A default that is not kept is worked out again by the next call.
  if (replaceable && IsContainerWithFlags(address_book, kind.flags, first)) {
    (void)settings.SetDefault(SettingOf(kind, first), choices);
  }
  return S_OK;
}

HRESULT SetDefaultContainer(AddrBook& address_book, Settings& settings, const DefaultContainer& kind, ULONG size,
                            ENTRYID* entry) noexcept {
  const SBinary identifier = {size, reinterpret_cast<BYTE*>(entry)};
  if (!IsContainerWithFlags(address_book, kind.flags, identifier)) return E_FAIL;
  return settings.Set(SettingOf(kind, identifier));
}

}  // namespace uab
