#include "entry_id.h"

#include <cstring>

namespace uab::vcard {
namespace {

constexpr std::size_t kUidAt = 4, kKindAt = 20, kBookAt = 24, kCardAt = 32;

std::size_t SizeOf(EntryKind kind) noexcept {
  if (kind == EntryKind::kCard) return kCardAt + 16;
  return kind == EntryKind::kBook ? kCardAt : kBookAt;
}

void Append(std::string& out, std::uint64_t number) {
  for (int shift = 0; shift < 64; shift += 8) out.push_back(static_cast<char>(number >> shift));
}

std::uint64_t Number(const unsigned char* bytes) noexcept {
  std::uint64_t number = 0;
  for (int i = 7; i >= 0; --i) number = (number << 8) | bytes[i];
  return number;
}

}  // namespace

std::string MakeEntryId(const MAPIUID& uid, const EntryName& name) {
  std::string bytes(kUidAt, '\0');
  bytes.append(reinterpret_cast<const char*>(uid.ab), sizeof uid.ab);
  bytes.push_back(static_cast<char>(name.kind));
  bytes.append(kBookAt - kKindAt - 1, '\0');
  Append(bytes, name.book);
  Append(bytes, name.card.first);
  Append(bytes, name.card.second);
  bytes.resize(SizeOf(name.kind));
  return bytes;
}

bool ReadEntryId(const MAPIUID& uid, ULONG size, const void* entry, EntryName& name) noexcept {
  if (entry == nullptr || size < kBookAt) return false;
  const auto* bytes = static_cast<const unsigned char*>(entry);
  if (std::memcmp(bytes + kUidAt, uid.ab, sizeof uid.ab) != 0) return false;
  if (bytes[kKindAt] < 1 || bytes[kKindAt] > 5) return false;
  const auto kind = static_cast<EntryKind>(bytes[kKindAt]);
  if (size != SizeOf(kind)) return false;
  name = {kind, size > kBookAt ? Number(bytes + kBookAt) : 0, {}};
  if (kind == EntryKind::kCard) name.card = {Number(bytes + kCardAt), Number(bytes + kCardAt + 8)};
  return true;
}

}  // namespace uab::vcard
