#include "platform/posix/registry_value.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>
#include <vector>

#include "platform/posix/registry_name.h"

namespace uab {
namespace {

struct Header {
  std::uint32_t magic;
  std::uint32_t type;
  std::uint32_t name_chars;
  std::uint32_t size;  // of the data, behind header and name
};
static_assert(sizeof(Header) == 16);
constexpr std::uint32_t kMagic = 0x3156414B;  // "KAV1"; never change it
constexpr char kNewFile[] = ".new.value";     // one writer at a time, so one name will do

std::size_t NameBytes(std::size_t chars) { return chars * sizeof(char16_t); }

}  // namespace

LSTATUS ValueReader::Open(int folder, std::u16string_view name) {
  if (name.size() > kMaxValueName) return ERROR_FILE_NOT_FOUND;
  const std::string present = ValueFileName(name), former = FormerValueFileName(name);
  LSTATUS status = OpenFile(folder, present.c_str());
  if (status == ERROR_FILE_NOT_FOUND && !former.empty()) status = OpenFile(folder, former.c_str());
  if (status != ERROR_SUCCESS || SameName(name_, name)) return status;
  // Somebody else's by its former name, or two long names of one hash: refused.
  const bool others = file_name_ != present || FormerValueFileName(name_) == file_name_;
  return others ? ERROR_FILE_NOT_FOUND : ERROR_WRITE_FAULT;
}

LSTATUS ValueReader::OpenFile(int folder, const char* file_name) {
  file_name_ = file_name;
  *file_.Put() = openat(folder, file_name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
  struct stat info;
  if (!file_ || fstat(file_.Get(), &info) != 0) return static_cast<LSTATUS>(ErrorFromErrno(errno));
  Header header;
  if (!S_ISREG(info.st_mode) || ReadAt(file_.Get(), &header, sizeof header, 0) != sizeof header ||
      header.magic != kMagic || header.name_chars > kMaxValueName ||
      static_cast<std::size_t>(info.st_size) != sizeof header + NameBytes(header.name_chars) + header.size) {
    return ERROR_FILE_NOT_FOUND;
  }
  name_.resize(header.name_chars);
  ssize_t name_bytes = ReadAt(file_.Get(), name_.data(), NameBytes(name_.size()), sizeof header);
  if (name_bytes != static_cast<ssize_t>(NameBytes(name_.size()))) return ERROR_FILE_NOT_FOUND;
  type_ = header.type;
  size_ = header.size;
  return ERROR_SUCCESS;
}

LSTATUS ValueReader::Read(BYTE* data) const noexcept {
  ssize_t got = ReadAt(file_.Get(), data, size_, sizeof(Header) + NameBytes(name_.size()));
  return got == static_cast<ssize_t>(size_) ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

bool ValueReader::Holds(DWORD type, std::span<const BYTE> data) const {
  if (type != type_ || data.size() != size_) return false;
  std::vector<BYTE> held(size_);
  return Read(held.data()) == ERROR_SUCCESS && std::equal(held.begin(), held.end(), data.begin());
}

LSTATUS WriteValue(int folder, std::u16string_view name, DWORD type, std::span<const BYTE> data, bool durable) {
  std::string file_name = ValueFileName(name);
  Header header{kMagic, type, static_cast<std::uint32_t>(name.size()), static_cast<std::uint32_t>(data.size())};
  UniqueFd file(openat(folder, kNewFile, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) return static_cast<LSTATUS>(ErrorFromErrno(errno));
  bool written = WriteAll(file.Get(), &header, sizeof header) &&
                 WriteAll(file.Get(), name.data(), NameBytes(name.size())) &&
                 WriteAll(file.Get(), data.data(), data.size()) && (!durable || fdatasync(file.Get()) == 0) &&
                 renameat(folder, kNewFile, folder, file_name.c_str()) == 0;
  if (written) return ERROR_SUCCESS;
  LSTATUS status = static_cast<LSTATUS>(ErrorFromErrno(errno));
  unlinkat(folder, kNewFile, 0);
  return status;
}

LSTATUS MakeRoomForValue(int folder, std::u16string_view name) {
  const std::string place = ValueFileName(name);
  ValueReader other, moved;
  if (other.OpenFile(folder, place.c_str()) != ERROR_SUCCESS) return ERROR_SUCCESS;
  if (FormerValueFileName(other.Name()) != place) return ERROR_SUCCESS;
  if (moved.Open(folder, other.Name()) == ERROR_SUCCESS && moved.FileName() != place) return ERROR_SUCCESS;
  const bool done = renameat(folder, place.c_str(), folder, ValueFileName(other.Name()).c_str()) == 0;
  return done ? ERROR_SUCCESS : static_cast<LSTATUS>(ErrorFromErrno(errno));
}

LSTATUS RemoveValue(int folder, std::u16string_view name) {
  const std::string present = ValueFileName(name), former = FormerValueFileName(name);
  ValueReader value;
  bool removed = true;  // the former one first: it may be the older, and a kill must not bring it back
  if (!former.empty() && value.OpenFile(folder, former.c_str()) == ERROR_SUCCESS && SameName(value.Name(), name)) {
    removed = unlinkat(folder, former.c_str(), 0) == 0;
  }
  removed = removed && (unlinkat(folder, present.c_str(), 0) == 0 || errno == ENOENT);
  return removed ? ERROR_SUCCESS : static_cast<LSTATUS>(ErrorFromErrno(errno));
}

}  // namespace uab
