// The address book's stored settings: the properties that a profile's key holds directly. What callers set is written
// back when the session ends; what the address book works out by itself lasts for the session only. Any thread may
// call, but for Load and Save.
#pragma once

#include <cstdint>
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

  // Counts what callers have set.
  using Choices = std::uint64_t;

  // Stores a copy of a setting, a head block, and what had been set by then. MAPI_E_NOT_FOUND: there is none, or it has
  // another type. E_OUTOFMEMORY.
  HRESULT Read(ULONG tag, ChainPtr<SPropValue>& value, Choices* choices = nullptr) noexcept;

  // Keeps a copy of a value, which Save writes. Errors of PropList::Set; the old value then stays.
  HRESULT Set(const SPropValue& value) noexcept;

  // The same for this session only, and only if callers have set nothing since: what they choose while a default is
  // worked out stays.
  HRESULT SetDefault(const SPropValue& value, Choices choices) noexcept;

 private:
  Section section_;
  PropObject props_{section_};
  Choices choices_ = 0;  // guarded as the list is
  const WCHAR* app_key_ = nullptr;
  std::basic_string<WCHAR> profile_name_;
};

}  // namespace uab
