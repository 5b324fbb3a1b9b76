// A value's file: type, size, name and data, replaced as a whole. A file that is none of ours counts as no value.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/noncopyable.h"
#include "platform/posix/file.h"

namespace uab {

// A value open for reading: the state it had when it was opened, whatever happens to it meanwhile.
class ValueReader : NonCopyable {
 public:
  // ERROR_FILE_NOT_FOUND: the folder holds no such value.
  LSTATUS Open(int folder, std::u16string_view name);
  // The same by the name of the file, whatever value is in it.
  LSTATUS OpenFile(int folder, const char* file_name);

  const std::u16string& Name() const noexcept { return name_; }  // as the value was created
  const std::string& FileName() const noexcept { return file_name_; }
  DWORD Type() const noexcept { return type_; }
  DWORD Size() const noexcept { return size_; }
  LSTATUS Read(BYTE* data) const noexcept;  // REQUIRES: room for Size() bytes
  bool Holds(DWORD type, std::span<const BYTE> data) const;

 private:
  UniqueFd file_;
  std::string file_name_;
  std::u16string name_;
  DWORD type_ = 0;
  DWORD size_ = 0;
};

// Writes a value beside the folder's entries and puts it in its place in one step. REQUIRES: the hive's lock.
// durable: the data reaches the disk before the old value goes.
LSTATUS WriteValue(int folder, std::u16string_view name, DWORD type, std::span<const BYTE> data, bool durable);

// Frees a value's file name of another value that has it as its former one. REQUIRES: the hive's lock.
LSTATUS MakeRoomForValue(int folder, std::u16string_view name);

// Removes each file that a value has. A kill leaves the value as it was, or none. REQUIRES: the hive's lock.
LSTATUS RemoveValue(int folder, std::u16string_view name);

}  // namespace uab
