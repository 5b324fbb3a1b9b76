#include "session/fake_directory.h"

#include <cstring>
#include <sstream>
#include <vector>

namespace uab {
namespace {

std::vector<std::string> Split(const std::string& words) {
  std::istringstream in(words);
  std::vector<std::string> all;
  for (std::string word; in >> word;) all.push_back(word);
  return all;
}

SPropValue Number(ULONG tag, ULONG value) {
  SPropValue number{};
  number.ulPropTag = tag;
  number.Value.ul = value;
  return number;
}

// The identifier of a word, linked to the values.
HRESULT PutId(SPropValue& value, std::string word, SPropValue* head) {
  std::string id = word.substr(0, word.find(':'));
  if (id == "~") id.clear();
  value.ulPropTag = PR_ENTRYID;
  value.Value.bin.cb = static_cast<ULONG>(id.size());
  HRESULT hr = AllocateLinkedInto(value.Value.bin.lpb, id.size() + 1, head);
  if (Succeeded(hr)) std::memcpy(value.Value.bin.lpb, id.data(), id.size());
  return hr;
}

ULONG TypeOf(const std::string& word) { return word[0] == '@' ? MAPI_DISTLIST : MAPI_MAILUSER; }

// A member as a table's row shows it.
HRESULT BuildRow(const std::string& word, SRow& row) {
  row.cValues = 5;
  if (word == "?null") return S_OK;
  ChainPtr<SPropValue> values;
  if (HRESULT hr = AllocateInto(values, 5 * sizeof(SPropValue)); Failed(hr)) return hr;
  if (HRESULT hr = PutId(values.Get()[0], word, values.Get()); Failed(hr)) return hr;
  values.Get()[1] = Number(PR_NULL, 0);
  values.Get()[2] = Number(WithPropType(PR_DISPLAY_NAME_W, PT_ERROR), 0x8004010Fu);
  values.Get()[3] = Number(WithPropType(PR_ADDRTYPE_W, PT_ERROR), 0x8004010Fu);
  values.Get()[4] = Number(PR_OBJECT_TYPE, TypeOf(word));
  if (word == "?id-as-text") values->ulPropTag = WithPropType(PR_ENTRYID, PT_UNICODE);
  if (word == "?id-missing") values->ulPropTag = WithPropType(PR_ENTRYID, PT_ERROR);
  if (word == "?id-null") values->Value.bin = {0xFFFFFFFFu, nullptr};
  if (word == "?list-without-id") values.Get()[0] = values.Get()[4] = Number(PR_OBJECT_TYPE, MAPI_DISTLIST);
  if (word == "?type-as-error") values.Get()[4].ulPropTag = WithPropType(PR_OBJECT_TYPE, PT_ERROR);
  if (word == "?one") row.cValues = 1;
  if (word == "?two") row.cValues = 2;
  if (word == "?none") row.cValues = 0;
  row.lpProps = values.Detach();
  return S_OK;
}

}  // namespace

HRESULT FakeDirectory::Answer() const {
  if (!calls_->Refuses()) return S_OK;
  if (throws) throw 1;
  return kProviderFailure;
}

FakeDirectory::FakeDirectory(std::map<std::string, std::string> lists) {
  for (auto& [name, members] : lists) {
    List& list = lists_[name];
    list.directory = this;
    list.table.list = &list;
    list.members = members;
  }
}

HRESULT FakeDirectory::OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                                 IUnknown** object) {
  if (HRESULT hr = Answer(); Failed(hr)) return hr;
  if (entry == nullptr || iid != nullptr || flags != 0) return E_INVALIDARG;
  std::string name(reinterpret_cast<char*>(entry), size);
  if (name == "@null") return S_OK;
  auto found = lists_.find(name);
  if (found == lists_.end()) return MAPI_E_NOT_FOUND;
  *type = found->second.type;
  *object = &found->second;
  ++found->second.references;
  return S_OK;
}

ULONG FakeDirectory::references_left() const {
  ULONG left = 0;
  for (auto& [name, list] : lists_) left += list.references + list.table.references;
  return left;
}

HRESULT FakeDirectory::List::GetContentsTable(ULONG flags, IMAPITable** result) {
  if (HRESULT hr = directory->Answer(); Failed(hr)) return hr;
  if (flags != MAPI_UNICODE) return MAPI_E_BAD_CHARWIDTH;
  if (members == "?no-table") return S_OK;
  *result = &table;
  ++table.references;
  table.position = 3;  // wherever an earlier reader left it
  return S_OK;
}

HRESULT FakeDirectory::List::Table::SetColumns(SPropTagArray* tags, ULONG) {
  static constexpr ULONG kExpected[] = {5, PR_ENTRYID, PR_NULL, PR_DISPLAY_NAME_W, PR_ADDRTYPE_W, PR_OBJECT_TYPE};
  if (HRESULT hr = list->directory->Answer(); Failed(hr)) return hr;
  return std::memcmp(tags, kExpected, sizeof(kExpected)) == 0 ? S_OK : E_INVALIDARG;
}

HRESULT FakeDirectory::List::Table::SeekRow(BOOKMARK origin, LONG count, LONG*) {
  if (HRESULT hr = list->directory->Answer(); Failed(hr)) return hr;
  if (origin != BOOKMARK_BEGINNING || count != 0) return E_INVALIDARG;
  position = 0;
  return S_OK;
}

HRESULT FakeDirectory::List::Table::QueryRows(LONG count, ULONG flags, SRowSet** rows) {
  if (HRESULT hr = list->directory->Answer(); Failed(hr)) return hr;
  if (count != 1 || flags != 0) return E_INVALIDARG;
  std::vector<std::string> words = Split(list->members);
  if (position < words.size() && words[position] == "?no-rows") return S_OK;
  ULONG wanted = position < words.size() ? 1 : 0;
  if (wanted == 1 && words[position] == "?both") wanted = 2, ++position;  // more than was asked for
  RowSetPtr set;
  ChainPtr<SRowSet> block;
  if (HRESULT hr = AllocateInto(block, RowSetSize(wanted)); Failed(hr)) return hr;
  set.Reset(block.Detach());
  for (; set->cRows < wanted; ++set->cRows) {
    if (HRESULT hr = BuildRow(words.at(position), set->aRow[set->cRows]); Failed(hr)) return hr;
    if (words[position] != "?for-ever") ++position;
  }
  *rows = set.Detach();
  return MAPI_W_ERRORS_RETURNED;
}

AdrListPtr MakeAdrList(const std::string& words) {
  std::vector<std::string> all = Split(words);
  ChainPtr<ADRLIST> list;
  if (Failed(AllocateInto(list, RowSetSize(all.size())))) throw std::bad_alloc();
  for (const std::string& word : all) {
    ChainPtr<SPropValue> values;
    if (Failed(AllocateInto(values, 3 * sizeof(SPropValue)))) throw std::bad_alloc();
    std::size_t colon = word.find(':');
    values.Get()[0] = Number(PR_OBJECT_TYPE, TypeOf(word));
    if (Failed(PutId(values.Get()[1], word, values.Get()))) throw std::bad_alloc();
    if (colon != word.npos) {
      values.Get()[2] = Number(PR_RECIPIENT_TYPE, static_cast<ULONG>(std::stoul(word.substr(colon + 1))));
    }
    if (word == "?no-type") values->ulPropTag = PR_DISPLAY_TYPE;
    if (word == "?no-id") values.Get()[1].ulPropTag = PR_SEARCH_KEY;
    if (word == "?null") values.Reset();
    list->aEntries[list->cEntries++] = {0xABu, colon != word.npos ? 3u : 2u, values.Detach()};
  }
  return AdrListPtr(list.Detach());
}

std::string Words(const ADRLIST* list) {
  if (list == nullptr) return "null";
  std::string words;
  for (ULONG i = 0; i < list->cEntries; ++i) {
    const ADRENTRY& entry = list->aEntries[i];
    if (i != 0) words += ' ';
    if (entry.ulReserved1 != 0) words += "<reserved>";
    for (const SPropValue* value = entry.rgPropVals; value != entry.rgPropVals + entry.cValues; ++value) {
      if (value->ulPropTag == PR_ENTRYID && value->Value.bin.lpb != nullptr) {
        std::string id(reinterpret_cast<const char*>(value->Value.bin.lpb), value->Value.bin.cb);
        words.append(id.empty() ? "~" : id);
      }
      if (value->ulPropTag == PR_RECIPIENT_TYPE) words.append(":").append(std::to_string(value->Value.l));
    }
  }
  return words;
}

}  // namespace uab
