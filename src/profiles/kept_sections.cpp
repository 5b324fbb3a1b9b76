#include "profiles/kept_sections.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "platform/module_path.h"
#include "platform/registry.h"

namespace uab {
namespace {

constexpr TagArray<1> kFileNameTag = {1, {UAB_PR_FILE_NAME_W}};

bool SameUid(const MAPIUID& a, const MAPIUID& b) noexcept { return std::memcmp(&a, &b, sizeof(MAPIUID)) == 0; }

// The section's address book file name with the rest of its value array; empty when there is none.
ChainPtr<SPropValue> ReadFileName(IMAPIProp& section) noexcept {
  ULONG count = 0;
  ChainPtr<SPropValue> values;
  HRESULT hr = section.GetProps(kFileNameTag.address(), MAPI_UNICODE, &count, values.Put());
  bool has_one =
      Succeeded(hr) && count > 0 && values && values->ulPropTag == UAB_PR_FILE_NAME_W && values->Value.lpszW != nullptr;
  return has_one ? std::move(values) : ChainPtr<SPropValue>();
}

// False: the parts and a terminator do not fit.
bool JoinPath(PathBuffer& path, std::initializer_list<const WCHAR*> parts) noexcept {
  std::size_t used = 0;
  for (const WCHAR* part : parts) {
    auto length = static_cast<std::size_t>(lstrlenW(part));
    if (length >= kPathChars - used) return false;
    std::copy_n(part, length + 1, path + used);
    used += length;
  }
  return true;
}

void StoreFileName(const WCHAR* app_key, const WCHAR* name) noexcept {
  PathBuffer path;
  if (app_key == nullptr) return;
  if (!JoinPath(path, {UAB_TEXT("Software\\Ostrel\\QUILLDOC\\"), app_key, UAB_TEXT("\\UAB Profiles\\WAB")})) return;
  UniqueKey key;
  if (Succeeded(CreateKey(HKEY_CURRENT_USER, path, &key, nullptr))) SetText(key.Get(), UAB_TEXT("WAB File Name"), name);
}

}  // namespace

ComPtr<IMAPIProp> KeptSections::Find(const MAPIUID& uid) const noexcept {
  for (const Entry& entry : sections_) {
    if (SameUid(entry.uid, uid)) return entry.section;
  }
  return nullptr;
}

void KeptSections::Keep(const MAPIUID& uid, const ComPtr<IMAPIProp>& section) noexcept {
  Drop(uid);
  sections_.push_back({uid, section});
}

void KeptSections::Drop(const MAPIUID& uid) noexcept {
  std::erase_if(sections_, [&uid](const Entry& entry) { return SameUid(entry.uid, uid); });
}

void KeptSections::Save(const WCHAR* app_key) noexcept {
  ChainPtr<SPropValue> file_name;
  for (const Entry& entry : sections_) {
    entry.section->SaveChanges(KEEP_OPEN_READWRITE);
    if (ChainPtr<SPropValue> found = ReadFileName(*entry.section.Get())) file_name = std::move(found);
  }
  if (file_name) StoreFileName(app_key, file_name->Value.lpszW);
  Clear();
}

}  // namespace uab
