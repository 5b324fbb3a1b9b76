#include "session/dist_list_expansion.h"

#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/allocation_chain.h"
#include "platform/at_boundary.h"
#include "platform/noncopyable.h"
#include "props/prop_values.h"
#include "session/id_set.h"
#include "session/provided_object.h"

namespace uab {
namespace {

std::string_view IdOf(const SPropValue& entry) noexcept {
  std::span<const BYTE> bytes = BytesOf(entry.Value.bin);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool IsDistList(const SPropValue* object_type) noexcept {
  return object_type != nullptr && object_type->Value.ul == MAPI_DISTLIST;
}

class Expansion : NonCopyable {
 public:
  explicit Expansion(ProviderList& providers) noexcept : providers_(providers) {}
  ~Expansion();  // frees the users that were not handed over

  HRESULT Run(ADRLIST& list);
  HRESULT HandOver(HRESULT hr, ADRLIST*& list) noexcept;

 private:
  struct DistList {
    LONG recipient_type;
    ChainPtr<SBinary> id;  // the bytes lie behind it, in the same block
  };

  HRESULT AddEntry(ADRENTRY& entry);
  HRESULT AddMember(SRow& row, LONG recipient_type);
  HRESULT AddUser(ULONG& count, SPropValue*& values);
  HRESULT AddDistList(ULONG count, SPropValue* values);
  HRESULT Expand(const SBinary& id, LONG recipient_type);

  ProviderList& providers_;
  std::vector<ADRENTRY> users_;
  IdSet user_ids_;
  std::vector<DistList> lists_;
  IdSet list_ids_;
};

Expansion::~Expansion() {
  for (ADRENTRY& user : users_) UABFreeBuffer(user.rgPropVals);
}

HRESULT Expansion::Run(ADRLIST& list) {
  for (ULONG i = 0; i < list.cEntries; ++i) {
    if (HRESULT hr = AddEntry(list.aEntries[i]); Failed(hr)) return hr;
  }
  // Expanding a list may append others; their blocks stay where they are when the vector grows.
  for (std::size_t i = 0; i < lists_.size(); ++i) {
    if (HRESULT hr = Expand(*lists_[i].id.Get(), lists_[i].recipient_type); Failed(hr)) return hr;
  }
  return S_OK;
}

HRESULT Expansion::AddEntry(ADRENTRY& entry) {
  if (entry.rgPropVals == nullptr) return MAPI_E_MISSING_REQUIRED_COLUMN;
  const SPropValue* type = FindProp(entry.rgPropVals, entry.cValues, PR_OBJECT_TYPE);
  if (type == nullptr) return MAPI_E_MISSING_REQUIRED_COLUMN;
  return IsDistList(type) ? AddDistList(entry.cValues, entry.rgPropVals) : AddUser(entry.cValues, entry.rgPropVals);
}

// The second column is asked for as a placeholder and becomes the recipient type.
HRESULT Expansion::AddMember(SRow& row, LONG recipient_type) {
  if (row.lpProps == nullptr || row.cValues < 2) return MAPI_E_MISSING_REQUIRED_COLUMN;
  SPropValue& placeholder = row.lpProps[1];
  placeholder.ulPropTag = PR_RECIPIENT_TYPE;
  placeholder.Value.l = recipient_type;
  return IsDistList(FindProp(row.lpProps, row.cValues, PR_OBJECT_TYPE)) ? AddDistList(row.cValues, row.lpProps)
                                                                        : AddUser(row.cValues, row.lpProps);
}

// Takes the values over, or frees them when the user is there already; either way the caller has none left. On a
// failure they stay the caller's.
HRESULT Expansion::AddUser(ULONG& count, SPropValue*& values) {
  const SPropValue* id = FindProp(values, count, PR_ENTRYID);
  if (id == nullptr) return MAPI_E_MISSING_REQUIRED_COLUMN;
  // Should the second insertion fail, the set names one user more than there is; nobody reads it after a failure.
  if (user_ids_.Insert(IdOf(*id))) {
    users_.push_back({0, count, values});
  } else {
    UABFreeBuffer(values);
  }
  values = nullptr;
  count = 0;
  return S_OK;
}

HRESULT Expansion::AddDistList(ULONG count, SPropValue* values) {
  const SPropValue* entry = FindProp(values, count, PR_ENTRYID);
  const SPropValue* recipient_type = FindProp(values, count, PR_RECIPIENT_TYPE);
  if (entry == nullptr || recipient_type == nullptr) return MAPI_E_MISSING_REQUIRED_COLUMN;
  std::string_view id = IdOf(*entry);
  if (list_ids_.Contains(id)) return S_OK;

  ChainPtr<SBinary> copy;
  if (HRESULT hr = AllocateInto(copy, sizeof(SBinary) + id.size()); Failed(hr)) return hr;
  copy->cb = static_cast<ULONG>(id.size());
  copy->lpb = reinterpret_cast<BYTE*>(copy.Get() + 1);  // never null, which would name the root container
  if (!id.empty()) std::memcpy(copy->lpb, id.data(), id.size());
  list_ids_.Insert({reinterpret_cast<const char*>(copy->lpb), id.size()});
  lists_.push_back({recipient_type->Value.l, std::move(copy)});
  return S_OK;
}

HRESULT Expansion::Expand(const SBinary& id, LONG recipient_type) {
  static constexpr TagArray<5> kColumns = {5, {PR_ENTRYID, PR_NULL, PR_DISPLAY_NAME_W, PR_ADDRTYPE_W, PR_OBJECT_TYPE}};
  Provided<IABContainer> container;
  if (HRESULT hr = OpenContainer(providers_, id, container); Failed(hr)) return hr;
  Provided<IMAPITable> table;
  HRESULT hr = table.ObtainFrom(container, [](IABContainer& from, IMAPITable** contents) {
    return from.GetContentsTable(MAPI_UNICODE, contents);
  });
  if (Failed(hr)) return hr;
  hr = call_out([&]() -> HRESULT {
    HRESULT result = table->SetColumns(kColumns.address(), 0);
    return Failed(result) ? result : table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
  });
  while (Succeeded(hr)) {
    RowSetPtr rows;  // frees what nobody takes out of it
    hr = ReadRows(table.Get(), kColumns.cValues, rows);
    if (Failed(hr) || !rows) return hr;
    for (ULONG i = 0; i < rows->cRows && Succeeded(hr); ++i) hr = AddMember(rows->aRow[i], recipient_type);
  }
  return hr;
}

HRESULT Expansion::HandOver(HRESULT hr, ADRLIST*& list) noexcept {
  if (Succeeded(hr) && users_.size() <= list->cEntries) {
    for (ULONG i = 0; i < list->cEntries; ++i) {  // what is left are the distribution lists
      UABFreeBuffer(list->aEntries[i].rgPropVals);
      list->aEntries[i] = {};
    }
    list->cEntries = 0;
  } else {
    UABFreePadrlist(std::exchange(list, nullptr));
    ChainPtr<ADRLIST> fresh;
    if (Failed(AllocateInto(fresh, RowSetSize(users_.size())))) return Failed(hr) ? hr : E_OUTOFMEMORY;
    list = fresh.Detach();
  }
  for (ADRENTRY& user : users_) list->aEntries[list->cEntries++] = user;
  users_.clear();
  return hr;
}

}  // namespace

HRESULT ReplaceDistLists(ProviderList& providers, ADRLIST*& list) noexcept {
  Expansion expansion(providers);
  HRESULT hr = at_boundary([&] { return expansion.Run(*list); });
  return expansion.HandOver(hr, list);
}

}  // namespace uab
