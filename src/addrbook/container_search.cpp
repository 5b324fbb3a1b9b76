#include "addrbook/container_search.h"

#include "addrbook/addr_book.h"
#include "addrbook/hierarchy.h"
#include "session/provided_object.h"

namespace uab {
namespace {

bool HasFlags(const SPropValue& value, ULONG flags) noexcept {
  return value.ulPropTag == PR_CONTAINER_FLAGS && (value.Value.ul & flags) == flags;
}

SBinary IdentifierIn(const TableRow& row) noexcept {
  const PropRecord* record = row.Find(PR_ENTRYID);
  if (record == nullptr || record->tag() != PR_ENTRYID) return {};
  std::span<const BYTE> bytes = RecordBytes(*record);
  return {static_cast<ULONG>(bytes.size()), const_cast<BYTE*>(bytes.data())};
}

}  // namespace

bool IsContainerWithFlags(AddrBook& address_book, ULONG flags, const SBinary& container) noexcept {
  ComPtr<ProviderList> providers = address_book.providers();
  ULONG type = 0;
  Provided<IMAPIProp> object;
  if (!providers || Failed(OpenEntry(*providers, container, &type, object))) return false;
  ChainPtr<SPropValue> found;
  (void)GetOneProp(object.Get(), PR_CONTAINER_FLAGS, found);
  return found && HasFlags(*found.Get(), flags);
}

HRESULT ContainerSearch::Open(AddrBook& address_book) noexcept {
  ComPtr<ProviderList> providers = address_book.providers();
  if (!providers) return MAPI_E_END_OF_SESSION;
  return BuildHierarchy(*providers, MAPI_UNICODE | CONVENIENT_DEPTH, table_);
}

SBinary ContainerSearch::Next(ULONG flags) noexcept {
  while (next_ < table_->row_count()) {
    const TableRow& row = table_->row(next_++);
    const PropRecord* record = row.Find(PR_CONTAINER_FLAGS);
    if (record == nullptr || !HasFlags(record->value, flags)) continue;
    if (SBinary identifier = IdentifierIn(row); identifier.cb != 0) return identifier;
  }
  return {};
}

}  // namespace uab
