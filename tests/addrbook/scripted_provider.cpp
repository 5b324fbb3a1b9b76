#include "addrbook/scripted_provider.h"

#include <cstring>
#include <stdexcept>

#include "support/heap_watch.h"

namespace uab {

std::string IdOf(char letter, const std::string& name) { return std::string(4, '\0') + std::string(16, letter) + name; }

std::string Bytes(const void* bytes, std::size_t size) { return {static_cast<const char*>(bytes), size}; }

bool ProviderCalls::Fails(const std::string& call) {
  UnwatchedScope unwatched;
  log.push_back(call);
  if (countdown == nullptr || !countdown->Refuses()) return false;
  if (throws) throw std::runtime_error("a provider's own");
  return true;
}

HRESULT ScriptedContainer::Read(const ULONG* tags, ULONG tag_count, ULONG* count, SPropValue** values) const {
  ChainPtr<SPropValue> made;
  if (HRESULT hr = AllocateInto(made, sizeof(SPropValue) * tag_count); Failed(hr)) return hr;
  for (ULONG i = 0; i < tag_count; ++i) {
    SPropValue& value = made.Get()[i];
    value.ulPropTag = tags[i];
    BYTE* data = nullptr;
    if (tags[i] == PR_ENTRYID) {
      UnwatchedScope unwatched;
      const std::string id = IdOf(provider->letter, name);
      if (HRESULT hr = AllocateLinkedInto(data, id.size(), made.Get()); Failed(hr)) return hr;
      std::memcpy(data, id.data(), id.size());
      value.Value.bin = {static_cast<ULONG>(id.size()), data};
    } else if (tags[i] == PR_DISPLAY_NAME_W) {
      if (HRESULT hr = AllocateLinkedInto(data, 2 * name.size() + 2, made.Get()); Failed(hr)) return hr;
      value.Value.lpszW = reinterpret_cast<WCHAR*>(data);
      for (std::size_t at = 0; at < name.size(); ++at) value.Value.lpszW[at] = static_cast<WCHAR>(name[at]);
    } else {
      value.Value.ul = tags[i] == PR_CONTAINER_FLAGS ? flags
                       : tags[i] == PR_OBJECT_TYPE   ? type
                                                     : static_cast<ULONG>(depth);
    }
  }
  *count = tag_count;
  if (provider->calls->spoil) provider->calls->spoil(made.Get(), count);
  *values = made.Detach();
  return S_OK;
}

HRESULT ScriptedContainer::GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) {
  if (provider->Fails("Container.GetProps")) return kProviderFailure;
  if (provider->calls->stores_nothing) return *count = 3, S_OK;
  return Read(tags->aulPropTag, tags->cValues, count, values);
}

HRESULT ScriptedContainer::GetHierarchyTable(ULONG, IMAPITable** result) {
  if (provider->Fails("GetHierarchyTable")) return kProviderFailure;
  if (provider->calls->stores_nothing) return S_OK;
  table.AddRef();
  *result = &table;
  return S_OK;
}

HRESULT ScriptedContainer::DeleteEntries(ENTRYLIST* entries, ULONG its_flags) {
  std::string call = "DeleteEntries";
  for (ULONG i = 0; i < entries->cValues; ++i)
    (call += " ") += Bytes(entries->lpbin[i].lpb + 20, entries->lpbin[i].cb - 20);
  return provider->Fails(call) || its_flags != 0 ? kProviderFailure : S_OK;
}

HRESULT ScriptedContainer::Table::SetColumns(SPropTagArray* tags, ULONG) {
  if (provider->Fails("SetColumns")) return kProviderFailure;
  UnwatchedScope unwatched;
  columns.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
  return S_OK;
}

HRESULT ScriptedContainer::Table::SeekRow(BOOKMARK, LONG, LONG*) {
  position = 1;
  return provider->Fails("SeekRow") ? kProviderFailure : S_OK;
}

HRESULT ScriptedContainer::Table::QueryRows(LONG, ULONG, SRowSet** rows) {
  if (provider->Fails("QueryRows")) return kProviderFailure;
  if (provider->calls->stores_nothing) return S_OK;
  RowSetPtr set;
  HRESULT hr = AllocateHead(RowSetSize(1), reinterpret_cast<void**>(set.Put()));
  if (Succeeded(hr) && position < provider->containers.size()) {
    const ScriptedContainer& container = provider->containers[position++];
    SRow& row = set->aRow[0];
    hr = container.Read(columns.data(), static_cast<ULONG>(columns.size()), &row.cValues, &row.lpProps);
    set->cRows = 1;
  }
  if (Succeeded(hr)) *rows = set.Detach();
  return hr;
}

HRESULT ScriptedProvider::GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) {
  if (Fails("GetProps")) return kProviderFailure;
  if (calls->stores_nothing) return *count = 5, S_OK;
  return containers.front().Read(tags->aulPropTag, tags->cValues, count, values);
}

HRESULT ScriptedProvider::OpenEntry(ULONG size, ENTRYID* entry, const IID*, ULONG, ULONG* object_type,
                                    IUnknown** object) {
  const std::string name(reinterpret_cast<const char*>(entry) + 20, size - 20);  // short: no allocation
  if (Fails("OpenEntry " + name)) return kProviderFailure;
  if (calls->stores_nothing) return S_OK;
  for (ScriptedContainer& container : containers) {
    if (container.name != name) continue;
    *object_type = container.type;
    *object = container.alias != nullptr ? container.alias : &container;
    (*object)->AddRef();
    return S_OK;
  }
  return MAPI_E_NOT_FOUND;
}

HRESULT ScriptedProvider::Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*, ULONG* connection) {
  if (on_call) on_call();
  if (Fails("Advise")) return kProviderFailure;
  const ULONG_PTR number = next_connection++;
  std::memcpy(connection, &number, sizeof(number));  // as one built for 64 bits does
  return S_OK;
}

HRESULT ScriptedProvider::Unadvise(ULONG connection) {
  if (on_call) on_call();
  return Fails("Unadvise " + std::to_string(connection)) ? kProviderFailure : S_OK;
}

HRESULT ScriptedProvider::NewEntry(ULONG_PTR ui, ULONG flags, ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG* size,
                                   ENTRYID**) {
  *size = 5;
  return Fails("NewEntry " + std::to_string(ui) + " " + std::to_string(flags)) ? kProviderFailure : S_OK;
}

HRESULT ScriptedProvider::Details(ULONG_PTR*, DismissModelessFunction, void*, ULONG, ENTRYID*, DetailsButtonFunction,
                                  void*, WCHAR*, ULONG flags) {
  return Fails("Details " + std::to_string(flags)) ? kProviderFailure : S_OK;
}

HRESULT ScriptedProvider::PrepareRecips(ULONG, SPropTagArray*, ADRLIST* list) {
  if (complete) complete(list);
  return Fails("PrepareRecips " + std::to_string(list->cEntries)) ? kProviderFailure : S_OK;
}

ULONG ScriptedProvider::references_left() const {
  ULONG left = references;
  for (const ScriptedContainer& container : containers) left += container.references + container.table.references;
  return left;
}

}  // namespace uab
