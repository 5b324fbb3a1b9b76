// How a change of the stored profiles that takes several registry calls is undone when one of them fails, or when the
// process does not live to make them all. Before the first one a single value of the profile root is written, and it is
// deleted after the last:
//
//   Unfinished    REG_BINARY: the path of a key below the root with its terminator, four bytes with a Remedy, then for
//                 each value of the key, and for kTree of the keys below it,
//                   the subkey's name (empty: the key itself) and the value's name, each with its terminator,
//                   four bytes with its type, four with the size of its data, and the data
//
// REQUIRES, for all: the ProfileLock is held. A registry call that fails is E_FAIL. E_OUTOFMEMORY.
#pragma once

#include <string>

#include "keluab/codes.h"
#include "platform/win32.h"

namespace uab {

enum class Remedy : ULONG {
  kRemove,  // the key goes, with all below it
  kValues,  // it gets back the values that it has now; for a key that does not exist the same as kRemove
  kTree,    // it gets back the values that it and its subkeys have now
};

// Writes the record. Nothing is changed after a failure.
HRESULT WriteUndoRecord(const WCHAR* app_key, const std::basic_string<WCHAR>& path, Remedy remedy);

// Does what the record says, which deletes it. S_OK: there is none. After a failure it stays for the next time.
HRESULT ApplyUndoRecord(const WCHAR* app_key) noexcept;

// Deletes the record: the change is complete.
HRESULT DeleteUndoRecord(const WCHAR* app_key) noexcept;

// Does what WriteUndoRecord was asked for, as ApplyUndoRecord does, but removes a key without needing memory for it.
HRESULT Undo(const WCHAR* app_key, const std::basic_string<WCHAR>& path, Remedy remedy) noexcept;

// Runs a change of the key at a path below the root. After a failure all is as before, as far as the registry allows.
template <typename Change>
HRESULT ChangeOrUndo(const WCHAR* app_key, const std::basic_string<WCHAR>& path, Remedy remedy, Change change) {
  if (HRESULT hr = WriteUndoRecord(app_key, path, remedy); hr != S_OK) return hr;
  HRESULT hr = change();
  if (Succeeded(hr)) hr = DeleteUndoRecord(app_key);
  if (Failed(hr)) Undo(app_key, path, remedy);
  return hr;
}

}  // namespace uab
