#include "addrbook/recipient_groups.h"

#include "addrbook/addr_book.h"
#include "addrbook/provider_groups.h"
#include "frame/allocation_chain.h"
#include "platform/at_boundary.h"
#include "props/adr_entry.h"
#include "props/prop_values.h"

namespace uab {
namespace {

ADRENTRY Checked(ADRENTRY entry) noexcept {
  if (entry.rgPropVals == nullptr) entry.cValues = 0;
  return entry;
}

std::span<const BYTE> IdentifierOf(const ADRENTRY& entry) noexcept {
  return EntryIdOf(entry.rgPropVals, Checked(entry).cValues);
}

// The recipients of one list in sub-lists, one for each group. The value arrays are shared with the caller's list until
// they are written back.
class RecipientGroups : NonCopyable {
 public:
  HRESULT Make(ProviderList& providers, ADRLIST& list) {
    HRESULT hr = groups_.Make(providers, list.cEntries, [&](ULONG i) { return IdentifierOf(list.aEntries[i]); });
    if (Failed(hr)) return hr;
    parts_.resize(groups_.count());
    for (std::size_t group = 0; group < groups_.count(); ++group) {
      if (hr = FillPart(list, group); Failed(hr)) return hr;
    }
    return S_OK;
  }

  std::size_t count() const noexcept { return groups_.count(); }

  HRESULT Complete(std::size_t group, SPropTagArray* tags) noexcept {
    if (groups_.is_last(group)) return tags == nullptr ? S_OK : MergeTags(group, *tags);
    const ComPtr<ProviderEntry> owner = groups_.owner(group);
    if (!owner) return S_OK;
    HRESULT hr = call_out([&] { return owner->provider->PrepareRecips(0, tags, parts_[group].Get()); });
    CheckPart(group);
    return hr;
  }

  // The members of all groups in a row, or each in the place where it was.
  void WriteBack(ADRLIST& list, bool regroup) const noexcept {
    ULONG place = 0;
    for (std::size_t group = 0; group < groups_.count(); ++group) {
      const ADRENTRY* member = parts_[group]->aEntries;
      for (ULONG item : groups_.items(group)) list.aEntries[regroup ? place++ : item] = *member++;
    }
  }

 private:
  HRESULT FillPart(const ADRLIST& list, std::size_t group) noexcept {
    std::span<const ULONG> items = groups_.items(group);
    if (HRESULT hr = AllocateInto(parts_[group], RowSetSize(items.size())); Failed(hr)) return hr;
    ADRLIST& part = *parts_[group].Get();
    for (ULONG item : items) part.aEntries[part.cEntries++] = Checked(list.aEntries[item]);
    return S_OK;
  }

  // Stops at the first error.
  HRESULT MergeTags(std::size_t group, const SPropTagArray& tags) noexcept {
    ADRLIST& part = *parts_[group].Get();
    for (ULONG i = 0; i < part.cEntries; ++i) {
      if (HRESULT hr = MergeIntoAdrEntry(&tags, SRow{}, part.aEntries[i]); Failed(hr)) return hr;
    }
    return S_OK;
  }

  // The number of entries is not the provider's to change: a greater one is outside the block, and what stands behind a
  // smaller one may be gone.
  void CheckPart(std::size_t group) noexcept {
    ADRLIST& part = *parts_[group].Get();
    const std::size_t members = groups_.items(group).size();
    for (std::size_t i = 0; i < members; ++i) {
      part.aEntries[i] = i < part.cEntries ? Checked(part.aEntries[i]) : ADRENTRY{};
    }
  }

  ProviderGroups groups_;
  std::vector<ChainPtr<ADRLIST>> parts_;
};

}  // namespace

HRESULT PrepareRecipients(AddrBook& address_book, SPropTagArray* tags, ADRLIST& list) noexcept {
  return at_boundary([&]() -> HRESULT {
    ComPtr<ProviderList> providers = address_book.providers();
    if (!providers) return MAPI_E_END_OF_SESSION;
    RecipientGroups groups;
    if (HRESULT hr = groups.Make(*providers, list); Failed(hr)) return hr;
    HRESULT hr = S_OK;
    for (std::size_t group = 0; group < groups.count() && Succeeded(hr); ++group) {
      hr = groups.Complete(group, tags);
      if (Succeeded(hr) && !address_book.attached()) hr = MAPI_E_END_OF_SESSION;
    }
    groups.WriteBack(list, Succeeded(hr));
    return Succeeded(hr) ? S_OK : hr;
  });
}

}  // namespace uab
