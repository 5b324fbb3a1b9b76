// Containers with certain PR_CONTAINER_FLAGS: testing one, and finding them in the merged hierarchy. One thread at a
// time for a search.
#pragma once

#include "keluab/tables.h"
#include "tables/mem_table.h"

namespace uab {

class AddrBook;

// Opens the container through its provider and looks for all the flags. Any failure is false, the session's end too.
bool IsContainerWithFlags(AddrBook& address_book, ULONG flags, const SBinary& container) noexcept;

// Walks the containers of the hierarchy, all levels, in its order.
class ContainerSearch : NonCopyable {
 public:
  // Errors of BuildHierarchy. MAPI_E_END_OF_SESSION.
  HRESULT Open(AddrBook& address_book) noexcept;

  // The identifier of the next container that has all the flags, inside the search; empty: none is left. Rows without
  // flags or identifier are passed over.
  SBinary Next(ULONG flags) noexcept;

 private:
  ComPtr<MemTable> table_;
  std::size_t next_ = 0;
};

}  // namespace uab
