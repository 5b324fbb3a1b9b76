// Administration of the profiles of one application key: what UABAdminProfiles hands out. It keeps the table of
// profiles and makes a new one after each change; who holds an older one goes on reading that.
//
// Any thread may call. All but the dialogs runs under the object's lock.
#pragma once

#include "frame/com_object.h"
#include "keluab/admin.h"
#include "keluab/iids.h"
#include "platform/win32.h"
#include "tables/mem_table.h"

namespace uab {

class MsgServiceAdmin;

class ProfAdmin final : public ComObject<ProfAdmin, IProfAdmin, &IID_UABProfAdmin> {
 public:
  // app_key is borrowed. E_OUTOFMEMORY.
  static HRESULT Create(const WCHAR* app_key, HINSTANCE resources, ComPtr<ProfAdmin>& admin) noexcept;

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return S_OK; }
  HRESULT UAB_CALL GetProfileTable(ULONG flags, IMAPITable** table) noexcept override;
  HRESULT UAB_CALL CreateProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) noexcept override;
  HRESULT UAB_CALL DeleteProfile(WCHAR* name, ULONG flags) noexcept override;
  HRESULT UAB_CALL ConfigureProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) noexcept override;
  HRESULT UAB_CALL CopyProfile(WCHAR* source, WCHAR* target, ULONG flags) noexcept override;
  HRESULT UAB_CALL RenameProfile(WCHAR* old_name, WCHAR* new_name, ULONG flags) noexcept override;
  HRESULT UAB_CALL SetDefaultProfile(WCHAR* name, ULONG flags) noexcept override;
  HRESULT UAB_CALL AdminServices(WCHAR* name, ULONG flags, IMsgServiceAdmin** admin) noexcept override;

 private:
  ProfAdmin(const WCHAR* app_key, HINSTANCE resources) noexcept : app_key_(app_key), resources_(resources) {}

  // For all down to CheckFree the ProfileLock is held, or could not be had: the caller's.
  // Replaces the table. On a failure there is none; the next operation that needs one tries again.
  HRESULT RebuildTable() noexcept UAB_REQUIRES(section_);
  HRESULT NeedTable() noexcept UAB_REQUIRES(section_);
  // MAPI_E_NOT_FOUND: the table has no profile of exactly this name. E_INVALIDARG: null.
  HRESULT CheckExists(const WCHAR* name) noexcept UAB_REQUIRES(section_);
  // E_ACCESSDENIED: the table or the registry has a profile of this name. E_INVALIDARG: none can have it.
  HRESULT CheckFree(const WCHAR* name) noexcept UAB_REQUIRES(section_);
  HRESULT StoreProfile(const WCHAR* name, ULONG flags) noexcept;
  HRESULT LoadStored(const WCHAR* name, ComPtr<MemTable>& services) noexcept;
  // Puts a backup (may be null) back and replaces the table.
  void FollowDialog(const WCHAR* name, MemTable* backup) noexcept;
  HRESULT OpenServices(const WCHAR* name, ComPtr<MsgServiceAdmin>& admin) noexcept;
  // Shows the message service dialog; true: confirmed. No lock is held meanwhile.
  bool ShowDialog(MsgServiceAdmin& admin, ULONG_PTR ui) noexcept;

  const WCHAR* const app_key_;
  const HINSTANCE resources_;
  ComPtr<MemTable> table_ UAB_GUARDED_BY(section_);  // may be missing
};

}  // namespace uab
