// The providers of a session, the one loaded last first, and which of them owns an entry identifier. Any thread may
// call; no call into a provider is made under the lock. Lookups are nearly flat in the number of identifiers that are
// registered, and find one that is registered late at once.
#pragma once

#include <vector>

#include "frame/com_object.h"
#include "session/provider_entry.h"
#include "session/uid_index.h"

namespace uab {

class ProviderList final : public ComObject<ProviderList, IUnknown> {
 public:
  // Stores an empty list. E_OUTOFMEMORY.
  static HRESULT Create(ComPtr<ProviderList>& list) noexcept;
  ~ProviderList();

  // The entry becomes the first of the list. E_OUTOFMEMORY: the list is unchanged. REQUIRES: made for this list.
  HRESULT PushFront(ComPtr<ProviderEntry> entry) noexcept;

  // Empties the list. Provider by provider, from the first: releases its object, then frees its library (both later,
  // when a call into the provider is under way), and closes its identifiers.
  void FreeEntries() noexcept;

  std::size_t count() noexcept;

  // Stores the entries in list order, for a walk that others' changes don't disturb. E_OUTOFMEMORY.
  HRESULT Entries(std::vector<ComPtr<ProviderEntry>>& entries) noexcept;

  // Stores the owner of an identifier: in list order the first entry that registered it and holds a provider object.
  // MAPI_E_NOT_FOUND: no entry registered it. E_ACCESSDENIED: only entries without a provider object did.
  HRESULT FindByUid(const MAPIUID& uid, ComPtr<ProviderEntry>& entry) noexcept;

  // The owner's position in list order, the first being 0; kNowhere when no entry registered it. When only entries
  // without a provider object did, it is the first of those. Positions stay until the list is emptied: nothing is found
  // from then on.
  static constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
  std::size_t PositionOfUid(const MAPIUID& uid) noexcept;

  // For entries and their registrars. Errors of UidRegistrar.
  HRESULT RegisterUid(ProviderUids& uids, const MAPIUID& uid) noexcept;
  void CloseUids(ProviderUids& uids) noexcept;

 private:
  ProviderList() noexcept = default;
  std::size_t NumberOfUid(const MAPIUID& uid) const noexcept UAB_REQUIRES(section_);
  HRESULT IndexUids(const UidSet& uids, ULONG number) noexcept UAB_REQUIRES(section_);

  std::vector<ComPtr<ProviderEntry>> entries_ UAB_GUARDED_BY(section_);  // in the reverse of list order
  UidIndex index_ UAB_GUARDED_BY(section_);                              // an entry's number is its place in entries_
};

}  // namespace uab
