// HKEY_CURRENT_USER of one run, empty at its begin or as a function fills it, the same one for all runs of a program.
// Where the registry is a stand-in of files it is kept in memory instead, behind Sys(): a run then makes no system
// call, and only the first needs the function. New identifiers count up, so that a run can be repeated.
#pragma once

#include <memory>

#include "platform/noncopyable.h"
#include "platform/system_calls.h"

namespace uab::fuzz {

// In the place of CoCreateGuid.
inline ULONG counted_guids = 0;
inline HRESULT UAB_CALL CountedGuid(GUID* guid) {
  *guid = {++counted_guids, 0, 0, {}};
  return S_OK;
}

// Any library that can be loaded, for whoever has no use but to free it.
HMODULE AnyLibrary();

class Registry : NonCopyable {
 public:
  explicit Registry(void (*fill)() = nullptr);
  ~Registry();

 private:
  struct State;
  const SystemCalls before_ = Sys();
  std::unique_ptr<State> state_;
};

}  // namespace uab::fuzz
