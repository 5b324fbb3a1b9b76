// The message services of one profile: lists, adds, removes and configures them, and opens their profile sections. It
// works on the registry; a table of the services is kept only from one operation to the next.
//
// Any thread may call. Libraries of services run with at most the object's own lock held, which the same thread may
// enter again: a library may call back.
#pragma once

#include "frame/com_object.h"
#include "keluab/admin.h"
#include "keluab/iids.h"
#include "profiles/profile_store.h"

namespace uab {

class MsgServiceAdmin final : public ComObject<MsgServiceAdmin, IMsgServiceAdmin, &IID_UABMsgServiceAdmin> {
 public:
  // Stores an object for a profile. app_key is borrowed. E_INVALIDARG: a null name, or one that no profile can have.
  // E_FAIL: no such profile, or it can't be read. E_OUTOFMEMORY.
  static HRESULT Create(ULONG_PTR caller_param, HINSTANCE resources, const WCHAR* app_key, const WCHAR* profile_name,
                        ComPtr<MsgServiceAdmin>& admin) noexcept;

  const WCHAR* app_key() const noexcept { return app_key_; }
  const WCHAR* profile_name() const noexcept { return profile_name_; }
  ULONG_PTR caller_param() const noexcept { return caller_param_; }

  // Sets values in the service's row and writes it. MAPI_E_NOT_FOUND: no such service, or no values. All or nothing.
  HRESULT SetServiceProps(const MAPIUID& uid, ULONG count, const SPropValue* values) noexcept;

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return S_OK; }
  HRESULT UAB_CALL GetMsgServiceTable(ULONG flags, IMAPITable** table) noexcept override;
  HRESULT UAB_CALL CreateMsgService(WCHAR* service_name, WCHAR* display_name, WCHAR* creation_text,
                                    ULONG resource_flags, ULONG_PTR ui, ULONG flags) noexcept override;
  HRESULT UAB_CALL DeleteMsgService(MAPIUID* uid) noexcept override;
  HRESULT UAB_CALL ConfigureMsgService(MAPIUID* uid, ULONG_PTR ui, ULONG flags, ULONG count, SPropValue* values,
                                       IMAPIProp** section) noexcept override;
  HRESULT UAB_CALL OpenProfileSection(MAPIUID* uid, const IID* iid, ULONG flags, IMAPIProp** section) noexcept override;

 private:
  MsgServiceAdmin(ULONG_PTR caller_param, HINSTANCE resources, const WCHAR* app_key) noexcept
      : caller_param_(caller_param), resources_(resources), app_key_(app_key) {}

  // Sees to it that there is a table, with the ten columns of a service.
  HRESULT NeedServiceTable() noexcept UAB_REQUIRES(table_section_);
  HRESULT LoadServiceTable() noexcept UAB_REQUIRES(table_section_);  // REQUIRES: the ProfileLock is held
  // Stores a copy of the service's properties, a head block. MAPI_E_NOT_FOUND: no such service.
  HRESULT ReadService(const MAPIUID& uid, SRow& service) noexcept;
  // Gives the row a new identifier, writes it, and lets the library of the service set itself up.
  HRESULT AddServiceInstance(SRow& row, ULONG_PTR ui, ULONG flags, WCHAR* creation_text) noexcept;
  HRESULT StoreNewService(SRow& row, MAPIUID& uid) noexcept;
  HRESULT SetUpService(MAPIUID& uid, ULONG_PTR ui, ULONG flags, WCHAR* creation_text) noexcept;

  const ULONG_PTR caller_param_;
  const HINSTANCE resources_;
  const WCHAR* const app_key_;
  WCHAR profile_name_[kProfileNameChars + 1] = {};

  // Guards the table and what is written with it; the last lock that is taken, never held while others' code runs.
  Section table_section_;
  ComPtr<MemTable> table_ UAB_GUARDED_BY(table_section_);
};

}  // namespace uab
