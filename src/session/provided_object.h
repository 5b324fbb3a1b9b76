// What providers hand out, held together with the entry that keeps its code: a provider's library stays loaded as long
// as one of its objects is held or called, whatever ends meanwhile. Calls into such objects go through here, with what
// comes back checked and in owners.
#pragma once

#include <utility>

#include "props/called_objects.h"
#include "session/provider_list.h"

namespace uab {

// An object of a provider and the provider's entry. The object is released first.
template <typename T>
class Provided {
 public:
  Provided() noexcept = default;
  Provided(Provided&&) noexcept = default;
  Provided& operator=(Provided other) noexcept {  // what was held goes with other, the object first
    std::swap(owner_, other.owner_);
    std::swap(object_, other.object_);
    return *this;
  }

  // Runs call(where), which has the provider of the entry store an object of its own. E_FAIL: success without one.
  // REQUIRES: empty.
  template <typename Call>
  HRESULT Obtain(ComPtr<ProviderEntry> owner, Call&& call) noexcept {
    owner_ = std::move(owner);
    return CallForObject(object_, [&] { return call(object_.Put()); });
  }
  // The same for an object that one of the provider's objects hands out.
  template <typename U, typename Call>
  HRESULT ObtainFrom(const Provided<U>& source, Call&& call) noexcept {
    return Obtain(source.owner(), [&](T** object) { return call(*source, object); });
  }

  const ComPtr<ProviderEntry>& owner() const noexcept { return owner_; }
  T& operator*() const noexcept { return *object_; }
  T* operator->() const noexcept { return object_.Get(); }
  T* Get() const noexcept { return object_.Get(); }

 private:
  ComPtr<ProviderEntry> owner_;
  ComPtr<T> object_;
};

// Opens an entry through its owner, or through whichever provider registered its identifier; type receives what the
// provider stores, 0 when it stores nothing. MAPI_E_INVALID_ENTRYID: no identifier that can be routed.
// MAPI_E_NOT_FOUND, E_ACCESSDENIED: errors of ProviderList::FindByUid. E_FAIL: success without an object. The
// provider's errors.
HRESULT OpenEntry(const ComPtr<ProviderEntry>& owner, const SBinary& entry, ULONG* type,
                  Provided<IMAPIProp>& object) noexcept;
HRESULT OpenEntry(ProviderList& providers, const SBinary& entry, ULONG* type, Provided<IMAPIProp>& object) noexcept;

// The same for what has the slots of a list or container. MAPI_E_INVALID_OBJECT: it says that it is something else.
HRESULT OpenContainer(const ComPtr<ProviderEntry>& owner, const SBinary& entry,
                      Provided<IABContainer>& container) noexcept;
HRESULT OpenContainer(ProviderList& providers, const SBinary& entry, Provided<IABContainer>& container) noexcept;

}  // namespace uab
