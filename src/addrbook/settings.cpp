#include "addrbook/settings.h"

#include <algorithm>

#include "platform/at_boundary.h"
#include "platform/wait_scope.h"
#include "profiles/profile_lock.h"
#include "profiles/profile_store.h"
#include "profiles/undo_record.h"
#include "props/prop_record.h"
#include "tables/registry_persistence.h"

namespace uab {

HRESULT Settings::Load(const WCHAR* app_key, const WCHAR* profile_name) noexcept {
  return at_boundary([&]() -> HRESULT {
    if (profile_name == nullptr || *profile_name == 0) return E_FAIL;
    app_key_ = app_key;
    profile_name_ = profile_name;
    UniqueKey key;
    WaitScope wait;
    ProfileLock lock;
    HRESULT hr = lock.AcquireToRead(app_key_);
    if (Failed(hr)) return hr;
    // A profile that can't be written to has settings all the same; one that is gone is made.
    hr = OpenProfileKey(app_key_, profile_name, ProfileKeyMode::kOpen, key);
    if (hr == E_FAIL) hr = OpenProfileKey(app_key_, profile_name, ProfileKeyMode::kCreate, key);
    if (Failed(hr)) return hr;
    return props_.WithList([&](PropList& list) {
      HRESULT loaded = LoadList(list, key.Get());
      list.SetAllDirty(false);
      return loaded;
    });
  });
}

void Settings::Save() noexcept {
  (void)props_.WithList([&](PropList& list) -> HRESULT {
    auto dirty = [](const PropNodePtr& node) { return node->dirty(); };
    if (std::none_of(list.nodes().begin(), list.nodes().end(), dirty)) return S_OK;
    WaitScope wait;
    ProfileLock lock;
    if (HRESULT hr = lock.AcquireToChange(app_key_); Failed(hr)) return hr;
    return at_boundary([&] {
      return ChangeOrUndo(app_key_, profile_name_, Remedy::kValues, [&]() -> HRESULT {
        UniqueKey key;
        HRESULT hr = OpenProfileKey(app_key_, profile_name_.c_str(), ProfileKeyMode::kCreate, key);
        return Succeeded(hr) ? SaveList(list, key.Get()) : hr;
      });
    });
  });
}

HRESULT Settings::Read(ULONG tag, ChainPtr<SPropValue>& value, Choices* choices) noexcept {
  return props_.WithList([&](PropList& list) -> HRESULT {
    if (choices != nullptr) *choices = choices_;
    const PropNode* node = list.Find(tag);
    if (node == nullptr || node->tag() != tag) return MAPI_E_NOT_FOUND;
    ChainPtr<SPropValue> copy;
    if (HRESULT hr = AllocateInto(copy); Failed(hr)) return hr;
    if (HRESULT hr = ReadPropRecord(node->record, copy.Get(), *copy.Get()); Failed(hr)) return hr;
    value = std::move(copy);
    return S_OK;
  });
}

HRESULT Settings::Set(const SPropValue& value) noexcept {
  return props_.WithList([&](PropList& list) {
    ++choices_;
    return list.SetToStore(value);
  });
}

HRESULT Settings::SetDefault(const SPropValue& value, Choices choices) noexcept {
  return props_.WithList([&](PropList& list) {
    if (choices_ != choices) return S_OK;
    HRESULT hr = list.Set(value);
    if (Succeeded(hr)) list.Find(value.ulPropTag)->flags &= ~PropNode::kDirty;
    return hr;
  });
}

}  // namespace uab
