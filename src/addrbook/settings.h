// The address book's stored settings: the properties that a profile's key holds directly. What callers set is written
// back when the session ends; what the address book works out by itself lasts for the session only. Any thread may
// call, but for Load and Save.
#pragma once

#include <string>

#include "frame/allocation_chain.h"
#include "props/prop_object.h"

namespace uab {

class Settings : NonCopyable {
 public:
  // Loads what the profile's key holds. app_key is borrowed, profile_name copied. E_FAIL: no profile name, or a
  // registry call fails. E_INVALIDARG: no profile can have that name. E_OUTOFMEMORY.
  HRESULT Load(const WCHAR* app_key, const WCHAR* profile_name) noexcept;

  // Writes what callers have changed since Load; without changes the registry is not touched. Failures are ignored: all
  // is stored then as before. REQUIRES: loaded.
  void Save() noexcept;

  // Stores a copy of a setting, a head block. MAPI_E_NOT_FOUND: there is none, or it has another type. E_OUTOFMEMORY.
  HRESULT Read(ULONG tag, ChainPtr<SPropValue>& value) noexcept;

  // Keeps a copy of a value, which Save writes. Errors of PropObject::SetOneProp; the old value then stays.
  HRESULT Set(const SPropValue& value) noexcept { return props_.SetOneProp(value); }

  // The same for this session only.
  HRESULT SetForSession(const SPropValue& value) noexcept;

 private:
  PropObject props_;
  const WCHAR* app_key_ = nullptr;
  std::basic_string<WCHAR> profile_name_;
};

}  // namespace uab
