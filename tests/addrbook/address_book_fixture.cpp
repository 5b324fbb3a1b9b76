#include "addrbook/address_book_fixture.h"

#include "support/enlist.h"

namespace uab {

void AddressBookTest::SetUp() {
  for (FakeProvider* provider : {&b_, &a_}) {
    const std::string& name = provider->root().name;
    provider->SetFlags(name, 0);
    provider->AddChild(name + "1", AB_RECIPIENTS);
    provider->AddChild(name + "2", AB_RECIPIENTS | AB_MODIFIABLE);
  }
  calls_.logs = true;
  LogOn();
}

void AddressBookTest::TearDown() {
  LogOff();
  EXPECT_EQ(a_.held() + b_.held(), 0u);
}

void AddressBookTest::LogOn() {
  LogOff();
  book_.Reset();
  ASSERT_EQ(ProviderList::Create(providers_), S_OK);
  for (FakeProvider* provider : {&b_, &a_}) ASSERT_EQ(Enlist(*providers_, *provider), S_OK);
  ASSERT_EQ(AddrBook::Create(providers_, kAppKey, kProfile, book_), S_OK);
}

void AddressBookTest::LogOff() {
  if (book_) book_->Detach();
  if (providers_) providers_->FreeEntries();
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
  HRESULT hr = book_->GetSearchPath(0, path.Put());
  EXPECT_TRUE(hr == S_OK || hr == MAPI_E_NOT_FOUND) << std::hex << hr;
  return NamesIn(path.Get());
}

}  // namespace uab
