#include "profiles/profile_lock.h"

#include "platform/system_calls.h"
#include "profiles/undo_record.h"

namespace uab {

HRESULT ProfileLock::AcquireToRead(const WCHAR* app_key) noexcept {
  mutex_.Reset(Sys().acquire_user_mutex(false));
  return mutex_ && ApplyUndoRecord(app_key) == E_OUTOFMEMORY ? E_OUTOFMEMORY : S_OK;
}

HRESULT ProfileLock::AcquireToChange(const WCHAR* app_key) noexcept {
  mutex_.Reset(Sys().acquire_user_mutex(true));
  return mutex_ ? ApplyUndoRecords(app_key) : E_FAIL;
}

}  // namespace uab
