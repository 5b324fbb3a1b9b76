#include "addrbook/address_book_fixture.h"

#include <cstring>

namespace uab {

HRESULT AddressBookState::Push(ScriptedProvider& provider, const std::string& letters,
                               ComPtr<ProviderSupport>* support) {
  ComPtr<ProviderEntry> entry;
  if (HRESULT hr = ProviderEntry::Create(*providers, entry); Failed(hr)) return hr;
  ComPtr<ProviderSupport> made;
  if (HRESULT hr = entry->MakeSupport(made); Failed(hr)) return hr;
  for (char letter : letters) {
    MAPIUID uid;
    std::memset(&uid, letter, sizeof(uid));
    if (HRESULT hr = made->SetProviderUID(&uid, 0); Failed(hr)) return hr;
  }
  entry->provider = ComPtr<IAddrBook>(&provider);
  if (support != nullptr) *support = made;
  return providers->PushFront(std::move(entry));
}

HRESULT AddressBookState::LogOn() {
  HRESULT hr = ProviderList::Create(providers);
  if (Succeeded(hr)) hr = Push(b, "B");
  if (Succeeded(hr)) hr = Push(a, "A");
  return Succeeded(hr) ? AddrBook::Create(providers, kAppKey, kProfile, book) : hr;
}

std::string NamesIn(const SRowSet* rows) {
  std::string names;
  for (ULONG i = 0; rows != nullptr && i < rows->cRows; ++i) {
    const SRow& row = rows->aRow[i];
    names += names.empty() ? "" : " ";
    const std::size_t before = names.size();
    for (ULONG at = 0; at < row.cValues; ++at) {
      const SPropValue& value = row.lpProps[at];
      if (value.ulPropTag == PR_ENTRYID && value.Value.bin.cb >= 20)
        names += Bytes(value.Value.bin.lpb + 20, value.Value.bin.cb - 20);
      if (value.ulPropTag == PR_DEPTH) (names += ":") += std::to_string(value.Value.l);
    }
    if (names.size() == before) names += "?";
  }
  return names;
}

std::string AddressBookTest::SearchPath() {
  RowSetPtr path;
  HRESULT hr = state_.book->GetSearchPath(0, path.Put());
  EXPECT_TRUE(hr == S_OK || hr == MAPI_E_NOT_FOUND) << std::hex << hr;
  return NamesIn(path.Get());
}

}  // namespace uab
