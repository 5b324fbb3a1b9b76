// The profile sections of the services that were configured in one showing of the message service dialog, kept until
// the user confirms. Each service has one, in the order of its latest configuration.
#pragma once

#include <vector>

#include "keluab/props.h"
#include "platform/com_ptr.h"

namespace uab {

class KeptSections {
 public:
  // Makes room for one more; Keep does not fail then. Throws std::bad_alloc.
  void Reserve() { sections_.reserve(sections_.size() + 1); }

  ComPtr<IMAPIProp> Find(const MAPIUID& uid) const noexcept;  // empty: none
  // Keeps the service's section, behind all others. REQUIRES: Reserve.
  void Keep(const MAPIUID& uid, const ComPtr<IMAPIProp>& section) noexcept;
  void Drop(const MAPIUID& uid) noexcept;  // unsaved
  void Clear() noexcept { sections_.clear(); }

  // Saves the sections in their order and forgets them. The address book file name of the last one that has one goes
  // into the registry. What fails is passed over: the user's decision stands, and the dialog closes.
  void Save(const WCHAR* app_key) noexcept;

 private:
  struct Entry {
    MAPIUID uid;
    ComPtr<IMAPIProp> section;
  };

  std::vector<Entry> sections_;
};

}  // namespace uab
