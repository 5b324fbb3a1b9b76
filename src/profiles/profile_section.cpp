#include "profiles/profile_section.h"

#include <new>

#include "frame/allocation_chain.h"
#include "platform/at_boundary.h"
#include "platform/wait_scope.h"
#include "profiles/msg_service_admin.h"
#include "props/plain_copy.h"
#include "props/prop_values.h"

namespace uab {

ProfileSection::ProfileSection(MsgServiceAdmin& admin, const MAPIUID& uid) noexcept
    : admin_(ComPtr<MsgServiceAdmin>(&admin)), uid_(uid) {}

ProfileSection::~ProfileSection() = default;

HRESULT ProfileSection::Create(MsgServiceAdmin& admin, const MAPIUID& uid, ComPtr<ProfileSection>& section) noexcept {
  section = ComPtr<ProfileSection>::Attach(new (std::nothrow) ProfileSection(admin, uid));
  return section ? S_OK : E_OUTOFMEMORY;
}

// The lock is held until all is written: of two savers one writes after the other, each its whole set, and the last
// Release of another thread waits.
HRESULT ProfileSection::SaveChanges(ULONG) noexcept {
  WaitingLock scope(section_);
  ULONG count = 0;
  ChainPtr<SPropValue> values;
  if (HRESULT hr = props_.GetAllProps(&count, values.Put()); Failed(hr)) return hr;
  return admin_->SetServiceProps(uid_, count, values.Get());
}

HRESULT ProfileSection::CopyTo(ULONG, const IID*, SPropTagArray* excluded_tags, ULONG_PTR ui, IMAPIProgress* progress,
                               const IID* iid, void* destination, ULONG flags, SPropProblemArray** problems) noexcept {
  if (problems != nullptr) *problems = nullptr;
  if (iid == nullptr || destination == nullptr) return E_INVALIDARG;
  ChainPtr<SPropTagArray> tags;
  if (HRESULT hr = GetPropList(flags & MAPI_UNICODE, tags.Put()); Failed(hr)) return hr;
  ExcludeTags(tags.Get(), excluded_tags);
  return CopyProps(tags.Get(), ui, progress, iid, destination, flags, problems);
}

HRESULT ProfileSection::CopyProps(SPropTagArray* tags, ULONG_PTR, IMAPIProgress*, const IID* iid, void* destination,
                                  ULONG flags, SPropProblemArray** problems) noexcept {
  if (problems != nullptr) *problems = nullptr;
  if (iid == nullptr || destination == nullptr || tags == nullptr) return E_INVALIDARG;
  if (!(*iid == IID_IMAPIProp) && !(*iid == IID_IProfSect)) return E_NOINTERFACE;
  return PlainCopy(tags, this, static_cast<IUnknown*>(destination), flags, problems);
}

}  // namespace uab
