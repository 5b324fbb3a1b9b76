// The provider's entry identifiers. They are stored by hosts: nothing here may ever change.
//
//   offset  width  field
//        0      4  flags, 0
//        4     16  the service's MAPIUID
//       20      1  kind
//       21      3  0
//       24      8  container: hash of its file's name, little endian
//       32     16  card: hash of its UID, little endian
//
// The root and the templates end at 24, containers at 32, cards at 48.
#pragma once

#include <string>

#include "keluab/keluab.h"
#include "text.h"

namespace uab::vcard {

enum class EntryKind : BYTE { kRoot = 1, kBook = 2, kCard = 3, kUserTemplate = 4, kListTemplate = 5 };

struct EntryName {
  EntryKind kind = EntryKind::kRoot;
  std::uint64_t book = 0;
  CardKey card;
};

std::string MakeEntryId(const MAPIUID& uid, const EntryName& name);

// False: another provider's, another service's or no whole identifier.
bool ReadEntryId(const MAPIUID& uid, ULONG size, const void* entry, EntryName& name) noexcept;

}  // namespace uab::vcard
