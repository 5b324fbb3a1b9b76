// What an undo record holds: how a key is put back as it was.
//
//   the path of the key below the profile root with its terminator, four bytes with a Remedy, then for each value of
//   the key, and for kTree of the keys below it,
//     the subkey's name (empty: the key itself) and the value's name, each with its terminator,
//     four bytes with its type, four with the size of its data, and the data
//
// A registry call that fails is E_FAIL. What needs memory throws std::bad_alloc.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "keluab/codes.h"
#include "platform/win32.h"

namespace uab {

enum class Remedy : ULONG {
  kRemove,  // the key goes, with all below it
  kValues,  // it gets back the values that it has now; for a key that does not exist the same as kRemove
  kTree,    // it gets back the values that it and its subkeys have now
};

struct RecordedValue {
  std::basic_string<WCHAR> subkey;
  std::basic_string<WCHAR> name;
  ULONG type;
  std::span<const BYTE> data;  // in the record
};

struct UndoContents {
  std::basic_string<WCHAR> path;
  Remedy remedy;
  std::vector<RecordedValue> values;
};

// Appends to an empty record what the key at a path below the root has now.
HRESULT MakeUndoContents(HKEY root, const std::basic_string<WCHAR>& path, Remedy remedy, std::vector<BYTE>& record);

// Empty: no record, or one with names that no key can have.
std::optional<UndoContents> ReadUndoContents(std::span<const BYTE> record);

// The data of a value.
HRESULT ReadData(HKEY key, const WCHAR* name, DWORD& type, std::vector<BYTE>& data);

// Puts the key back. It goes on after a failure: what can be put back is. Where the profile itself is gone meanwhile
// there is nothing to do.
HRESULT GiveBack(HKEY root, const UndoContents& contents);

// Whether the registry has all the values that the record would give back.
bool HoldsAll(HKEY root, const UndoContents& contents);

// Whether putting the key back may touch the key at another path.
bool Touches(const UndoContents& contents, const std::basic_string<WCHAR>& path) noexcept;

// Whether a path is that of a key, or of one below it.
bool IsWithin(const std::basic_string<WCHAR>& path, const std::basic_string<WCHAR>& key) noexcept;

// Deletes the key with all below it, if it is there.
HRESULT RemoveKey(HKEY root, const WCHAR* path) noexcept;

}  // namespace uab
