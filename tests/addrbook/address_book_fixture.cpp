#include "addrbook/address_book_fixture.h"

namespace uab {

AddressBookState::AddressBookState() {
  for (FakeProvider* provider : {&b, &a}) {
    const std::string& name = provider->root().name;
    provider->SetFlags(name, 0);
    provider->AddChild(name + "1", AB_RECIPIENTS);
    provider->AddChild(name + "2", AB_RECIPIENTS | AB_MODIFIABLE);
  }
}

HRESULT AddressBookState::Push(FakeProvider& provider, ComPtr<ProviderSupport>* support) {
  ComPtr<ProviderEntry> entry;
  if (HRESULT hr = ProviderEntry::Create(*providers, entry); Failed(hr)) return hr;
  ComPtr<ProviderSupport> made;
  if (HRESULT hr = entry->MakeSupport(made); Failed(hr)) return hr;
  if (HRESULT hr = made->SetProviderUID(&provider.uid, 0); Failed(hr)) return hr;
  entry->provider = ComPtr<IAddrBook>(&provider);
  if (support != nullptr) *support = made;
  return providers->PushFront(std::move(entry));
}

HRESULT AddressBookState::LogOn() {
  HRESULT hr = ProviderList::Create(providers);
  if (Succeeded(hr)) hr = Push(b);
  if (Succeeded(hr)) hr = Push(a);
  return Succeeded(hr) ? AddrBook::Create(providers, kAppKey, kProfile, book) : hr;
}

void AddressBookState::LogOff() {
  if (book) book->Detach();
  if (providers) providers->FreeEntries();
}

std::string NamesIn(const SRowSet* rows) {
  std::string names;
  for (ULONG i = 0; rows != nullptr && i < rows->cRows; ++i) {
    const SRow& row = rows->aRow[i];
    std::string name;
    for (ULONG at = 0; at < row.cValues; ++at) {
      const SPropValue& value = row.lpProps[at];
      if (value.ulPropTag == PR_ENTRYID && value.Value.bin.cb >= 20) {
        name += Bytes(value.Value.bin.lpb, value.Value.bin.cb).substr(20);
      }
      if (value.ulPropTag == PR_DEPTH) name += ":" + std::to_string(value.Value.l);
    }
    names += (names.empty() ? "" : " ") + (name.empty() ? "?" : name);
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
