#include "session/provider_list.h"

#include <new>

#include "platform/at_boundary.h"

namespace uab {

HRESULT ProviderList::Create(ComPtr<ProviderList>& list) noexcept {
  list = ComPtr<ProviderList>::Attach(new (std::nothrow) ProviderList);
  return list ? S_OK : E_OUTOFMEMORY;
}

ProviderList::~ProviderList() { FreeEntries(); }

HRESULT ProviderList::PushFront(ComPtr<ProviderEntry> entry) noexcept {
  return at_boundary([&]() -> HRESULT {
    LockedScope scope(section_);
    const auto number = static_cast<ULONG>(entries_.size());
    if (entries_.size() == entries_.capacity()) entries_.reserve(2 * entries_.size() + 4);
    if (HRESULT hr = IndexUids(entry->uids_->registered, number); Failed(hr)) return hr;
    entry->uids_->entry = number;
    entries_.push_back(std::move(entry));
    return S_OK;
  });
}

// All of the identifiers, or none.
HRESULT ProviderList::IndexUids(const UidSet& uids, ULONG number) noexcept {
  for (auto next = uids.begin(); next != uids.end(); ++next) {
    if (HRESULT hr = index_.Add(*next, number); Failed(hr)) {
      for (auto added = uids.begin(); added != next; ++added) index_.Remove(*added, number);
      return hr;
    }
  }
  return S_OK;
}

void ProviderList::FreeEntries() noexcept {
  std::vector<ComPtr<ProviderEntry>> freed;
  UidIndex index;
  {
    LockedScope scope(section_);
    std::swap(freed, entries_);
    std::swap(index, index_);
    for (ComPtr<ProviderEntry>& entry : freed) {
      entry->uids_->closed = true;
      entry->list_ = nullptr;
    }
  }
  while (!freed.empty()) freed.pop_back();  // list order
}

std::size_t ProviderList::count() noexcept {
  LockedScope scope(section_);
  return entries_.size();
}

HRESULT ProviderList::Entries(std::vector<ComPtr<ProviderEntry>>& entries) noexcept {
  return at_boundary([&]() -> HRESULT {
    std::vector<ComPtr<ProviderEntry>> in_order;
    {
      LockedScope scope(section_);
      in_order.assign(entries_.rbegin(), entries_.rend());
    }
    std::swap(entries, in_order);
    return S_OK;
  });
}

// The place in entries_ of the identifier's owner. Linear in the entries without a provider object that registered it
// too, of which there are none as a rule.
std::size_t ProviderList::NumberOfUid(const MAPIUID& uid) const noexcept {
  std::span<const ULONG> numbers = index_.Find(uid);
  for (std::size_t i = numbers.size(); i > 0; --i) {
    if (entries_[numbers[i - 1]]->provider) return numbers[i - 1];
  }
  return numbers.empty() ? kNowhere : numbers.back();
}

HRESULT ProviderList::FindByUid(const MAPIUID& uid, ComPtr<ProviderEntry>& entry) noexcept {
  ComPtr<ProviderEntry> found;
  {
    LockedScope scope(section_);
    const std::size_t number = NumberOfUid(uid);
    if (number == kNowhere) return MAPI_E_NOT_FOUND;
    if (!entries_[number]->provider) return E_ACCESSDENIED;
    found = entries_[number];
  }
  entry = std::move(found);
  return S_OK;
}

std::size_t ProviderList::PositionOfUid(const MAPIUID& uid) noexcept {
  LockedScope scope(section_);
  const std::size_t number = NumberOfUid(uid);
  return number == kNowhere ? kNowhere : entries_.size() - 1 - number;
}

HRESULT ProviderList::RegisterUid(ProviderUids& uids, const MAPIUID& uid) noexcept {
  return at_boundary([&]() -> HRESULT {
    LockedScope scope(section_);
    if (uids.closed) return E_INVALIDARG;
    auto [place, added] = uids.registered.insert(uid);
    if (!added) return MAPI_E_COLLISION;
    if (uids.entry == ProviderUids::kNotPushed) return S_OK;
    HRESULT hr = index_.Add(uid, uids.entry);
    if (Failed(hr)) uids.registered.erase(place);  // registered is what can be found
    return hr;
  });
}

void ProviderList::CloseUids(ProviderUids& uids) noexcept {
  LockedScope scope(section_);
  uids.closed = true;
}

}  // namespace uab
