// The settings of one message service as an object: a snapshot of its row, which SaveChanges writes back into the row
// and the registry. Whatever the library of the service, its provider or the dialog sets, goes through here. Any thread
// may call.
#pragma once

#include "frame/com_object.h"
#include "keluab/iids.h"
#include "keluab/props.h"
#include "props/prop_object.h"
#include "tables/table_row.h"

namespace uab {

class MsgServiceAdmin;

class ProfileSection final : public ComObject<ProfileSection, IProfSect, &IID_IMAPIProp, &IID_IProfSect> {
 public:
  // Stores an empty section. It holds a reference to admin. E_OUTOFMEMORY.
  static HRESULT Create(MsgServiceAdmin& admin, const MAPIUID& uid, ComPtr<ProfileSection>& section) noexcept;

  // Copies a service's properties. E_OUTOFMEMORY. REQUIRES: empty.
  HRESULT Fill(const SRow& service) noexcept { return props_.InitProps(service.cValues, service.lpProps); }
  ~ProfileSection();

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SaveChanges(ULONG flags) noexcept override;
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) noexcept override {
    return props_.GetProps(tags, flags, count, values);
  }
  HRESULT UAB_CALL GetPropList(ULONG flags, SPropTagArray** tags) noexcept override {
    return props_.GetPropList(flags, tags);
  }
  HRESULT UAB_CALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray** problems) noexcept override {
    return props_.SetProps(count, values, problems);
  }
  HRESULT UAB_CALL DeleteProps(SPropTagArray* tags, SPropProblemArray** problems) noexcept override {
    return props_.DeleteProps(tags, problems);
  }
  HRESULT UAB_CALL CopyTo(ULONG excluded_count, const IID* excluded_iids, SPropTagArray* excluded_tags, ULONG_PTR ui,
                          IMAPIProgress* progress, const IID* iid, void* destination, ULONG flags,
                          SPropProblemArray** problems) noexcept override;
  HRESULT UAB_CALL CopyProps(SPropTagArray* tags, ULONG_PTR ui, IMAPIProgress* progress, const IID* iid,
                             void* destination, ULONG flags, SPropProblemArray** problems) noexcept override;
  HRESULT UAB_CALL GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*, MAPINAMEID***) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }

 private:
  ProfileSection(MsgServiceAdmin& admin, const MAPIUID& uid) noexcept;

  const ComPtr<MsgServiceAdmin> admin_;
  const MAPIUID uid_;
  PropObject props_{section_};  // one lock for the properties and the count
};

}  // namespace uab
