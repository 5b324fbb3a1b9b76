// How a change of the stored profiles that takes several registry calls is undone when one of them fails, or when the
// process does not live to make them all. Before the first one a value of the profile root is written, and it is
// deleted after the last:
//
//   Unfinished    REG_BINARY: a record (profiles/undo_contents.h)
//   Unfinished 1  and so on: records that could not be applied, though the registry no longer has what they hold. They
//                 are tried again before each change and let only those wait that would touch the same keys. Of one key
//                 there is one at most, and it goes with its profile.
//
// Any other record that can't be applied is dropped: a deletion that can't be ended can be asked for again.
//
// REQUIRES, for all: the ProfileLock is held. A registry call that fails is E_FAIL. E_OUTOFMEMORY.
#pragma once

#include "profiles/undo_contents.h"

namespace uab {

// Writes the record. *recorded is false when there is no room for it, or when an older record of the same key has to
// stay; a deletion goes on then. E_FAIL also: an older record waits for what would be changed. Nothing is changed after
// a failure.
HRESULT WriteUndoRecord(const WCHAR* app_key, const std::basic_string<WCHAR>& path, Remedy remedy, bool* recorded);

// Does what the record of the last change says if there is one, and deletes it or keeps it aside. E_FAIL: it can't be
// read or not be deleted.
HRESULT ApplyUndoRecord(const WCHAR* app_key) noexcept;

// The same, and then with those that are kept aside.
HRESULT ApplyUndoRecords(const WCHAR* app_key) noexcept;

// Deletes the record: the change is complete.
HRESULT DeleteUndoRecord(const WCHAR* app_key) noexcept;

// Deletes the records of the key at a path and of those below it: the key is gone.
HRESULT DropUndoRecords(const WCHAR* app_key, const std::basic_string<WCHAR>& path) noexcept;

// Whether there are such records, or nobody can tell.
bool HasUndoRecords(const WCHAR* app_key, const std::basic_string<WCHAR>& path) noexcept;

// Does what WriteUndoRecord was asked for, as ApplyUndoRecord does, but removes a key without needing memory for it.
HRESULT Undo(const WCHAR* app_key, const std::basic_string<WCHAR>& path, Remedy remedy) noexcept;

// What becomes of a change that can't be recorded: one that deletes goes on.
enum class Unrecorded { kRefused, kGoesOn };

// Runs a change of the key at a path below the root. After a failure all is as before, as far as the registry allows
// and there is a record.
template <typename Change>
HRESULT ChangeOrUndo(const WCHAR* app_key, const std::basic_string<WCHAR>& path, Remedy remedy, Change change,
                     Unrecorded unrecorded = Unrecorded::kRefused) {
  bool recorded = false;
  if (HRESULT hr = WriteUndoRecord(app_key, path, remedy, &recorded); hr != S_OK) return hr;
  if (!recorded && unrecorded == Unrecorded::kRefused) return E_FAIL;
  HRESULT hr = change();
  if (Succeeded(hr)) hr = recorded ? DeleteUndoRecord(app_key) : DropUndoRecords(app_key, path);
  if (Failed(hr) && recorded) Undo(app_key, path, remedy);
  return hr;
}

}  // namespace uab
