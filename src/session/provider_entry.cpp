#include "session/provider_entry.h"

#include <new>

#include "platform/at_boundary.h"
#include "session/provider_list.h"

namespace uab {
namespace {

// Registers with one entry. Keeps the list alive, but neither the entry nor the provider's library.
class EntryRegistrar final : public UidRegistrar {
 public:
  EntryRegistrar(ProviderList& list, std::shared_ptr<ProviderUids> uids) noexcept
      : list_(&list), uids_(std::move(uids)) {}

  HRESULT RegisterUid(const MAPIUID& uid) noexcept override { return list_->RegisterUid(*uids_, uid); }

 private:
  const ComPtr<ProviderList> list_;
  const std::shared_ptr<ProviderUids> uids_;
};

}  // namespace

HRESULT ProviderEntry::Create(ProviderList& list, ComPtr<ProviderEntry>& entry) noexcept {
  return at_boundary([&]() -> HRESULT {
    entry = ComPtr<ProviderEntry>::Attach(new ProviderEntry(list));
    return S_OK;
  });
}

ULONG ProviderEntry::Release() noexcept {
  ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

ProviderEntry::~ProviderEntry() {
  if (list_ != nullptr) list_->CloseUids(*uids_);
}

HRESULT ProviderEntry::MakeSupport(ComPtr<ProviderSupport>& support) noexcept {
  return at_boundary(
      [&]() -> HRESULT { return ProviderSupport::Create(std::make_unique<EntryRegistrar>(*list_, uids_), support); });
}

}  // namespace uab
