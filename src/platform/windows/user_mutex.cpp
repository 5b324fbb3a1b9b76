// The user's mutex: a named one, for all sessions of the user, who have the registry in common.
#include "platform/user_mutex.h"

#include <algorithm>
#include <iterator>

#include "platform/wait_scope.h"

namespace uab {
namespace {

constexpr WCHAR kPrefix[] = L"Global\\KELUAB profiles of ";

}  // namespace

UserMutexHandle AcquireUserMutex(bool) {
  constexpr std::size_t kPrefixChars = std::size(kPrefix) - 1;
  WCHAR name[kPrefixChars + 257];
  std::copy_n(kPrefix, kPrefixChars, name);
  DWORD room = 257;
  if (GetUserNameW(name + kPrefixChars, &room) == FALSE) return nullptr;
  HANDLE mutex = CreateMutexW(nullptr, FALSE, name);
  if (mutex == nullptr) return nullptr;
  Wait wait;
  DWORD waited = WaitForSingleObject(mutex, wait.Left());
  if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED) return reinterpret_cast<UserMutexHandle>(mutex);
  CloseHandle(mutex);
  return nullptr;
}

void ReleaseUserMutex(UserMutexHandle mutex) noexcept {
  ReleaseMutex(reinterpret_cast<HANDLE>(mutex));
  CloseHandle(reinterpret_cast<HANDLE>(mutex));
}

}  // namespace uab
