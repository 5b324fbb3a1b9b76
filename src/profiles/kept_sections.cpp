#include "profiles/kept_sections.h"

#include <cstring>
#include <utility>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "platform/registry.h"
#include "profiles/profile_lock.h"
#include "profiles/profile_store.h"

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

void StoreFileName(const WCHAR* app_key, const WCHAR* name) noexcept {
  ProfileLock lock;
  UniqueKey key;
  if (Failed(lock.AcquireToChange(app_key))) return;
  if (Failed(OpenProfileKey(app_key, UAB_TEXT("WAB"), ProfileKeyMode::kCreate, key))) return;
  SetText(key.Get(), UAB_TEXT("WAB File Name"), name);
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
