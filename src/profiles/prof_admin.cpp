#include "profiles/prof_admin.h"

#include "platform/at_boundary.h"
#include "platform/system_calls.h"
#include "platform/wait_scope.h"
#include "profiles/msg_service_admin.h"
#include "profiles/profile_lock.h"
#include "profiles/service_definitions.h"
#include "profiles/service_dialog.h"
#include "profiles/stored_services.h"
#include "profiles/undo_record.h"

namespace uab {
namespace {

constexpr bool IsWide(ULONG flags) noexcept { return (flags & MAPI_UNICODE) != 0; }

// Adds the services of the definition file that a new profile starts with, each under an identifier of its own.
HRESULT AddDefaultServices(MemTable& table) noexcept {
  RowSetPtr rows;
  if (HRESULT hr = ReadServiceDefinitions(kDefaultServicesSection, rows); Failed(hr)) return hr;
  for (ULONG i = 0; i < rows->cRows; ++i) {
    GUID uid;
    if (HRESULT hr = Sys().co_create_guid(&uid); Failed(hr)) return hr;
    rows->aRow[i].lpProps[kServiceUidValue].Value.bin = {sizeof(uid), reinterpret_cast<BYTE*>(&uid)};
    TableRow built;
    if (HRESULT hr = built.BuildToStore(rows->aRow[i]); Failed(hr)) return hr;
    if (HRESULT hr = table.InsertRow(std::move(built), 0); Failed(hr)) return hr;
  }
  return S_OK;
}

}  // namespace

HRESULT ProfAdmin::Create(const WCHAR* app_key, HINSTANCE resources, ComPtr<ProfAdmin>& admin) noexcept {
  return at_boundary([&] {
    admin = ComPtr<ProfAdmin>::Attach(new ProfAdmin(app_key, resources));
    return S_OK;
  });
}

HRESULT ProfAdmin::RebuildTable() noexcept {
  table_.Reset();
  return BuildProfileTable(app_key_, table_);
}

HRESULT ProfAdmin::NeedTable() noexcept { return table_ ? S_OK : RebuildTable(); }

HRESULT ProfAdmin::CheckExists(const WCHAR* name) noexcept {
  if (HRESULT hr = NeedTable(); Failed(hr)) return hr;
  if (name == nullptr) return E_INVALIDARG;
  return HasProfile(*table_, name) ? S_OK : MAPI_E_NOT_FOUND;
}

HRESULT ProfAdmin::CheckFree(const WCHAR* name) noexcept {
  if (name != nullptr && Succeeded(CheckExists(name))) return E_ACCESSDENIED;
  return CheckNewProfileName(app_key_, name);
}

HRESULT ProfAdmin::LoadStored(const WCHAR* name, ComPtr<MemTable>& services) noexcept {
  ProfileLock lock;
  if (HRESULT hr = lock.AcquireToRead(app_key_); Failed(hr)) return hr;
  return LoadServices(app_key_, name, services);
}

HRESULT ProfAdmin::GetProfileTable(ULONG flags, IMAPITable** table) noexcept {
  if (table == nullptr) return E_INVALIDARG;
  *table = nullptr;
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  WaitingLock scope(section_);
  if (!table_) {
    ProfileLock lock;
    if (HRESULT hr = lock.AcquireToRead(app_key_); Failed(hr)) return hr;
    if (HRESULT hr = RebuildTable(); Failed(hr)) return hr;
  }
  *table = table_.Copy();
  return S_OK;
}

HRESULT ProfAdmin::CreateProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) noexcept {
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  if (name == nullptr) return E_INVALIDARG;
  WaitScope wait;
  if (HRESULT hr = StoreProfile(name, flags); Failed(hr)) return hr;
  if ((flags & MAPI_DIALOG) == 0) return S_OK;
  return WhileKept([&]() -> HRESULT {
    ComPtr<MsgServiceAdmin> admin;
    if (HRESULT hr = OpenServices(name, admin); Failed(hr)) return hr;
    if (!ShowDialog(*admin, ui)) {
      DeleteProfile(name, flags);
      return MAPI_E_USER_CANCEL;
    }
    FollowDialog(name, nullptr);
    return S_OK;
  });
}

// One lock of all processes goes round check, change and new table, here and below. What is checked is read without it,
// too: why the change can't be is then told all the same.
HRESULT ProfAdmin::StoreProfile(const WCHAR* name, ULONG flags) noexcept {
  WaitingLock scope(section_);
  ProfileLock lock;
  HRESULT locked = lock.AcquireToChange(app_key_);
  if (HRESULT hr = CheckFree(name); Failed(hr)) return hr;
  ComPtr<MemTable> services;
  if (HRESULT hr = MemTable::Create(services); Failed(hr)) return hr;
  if ((flags & MAPI_DEFAULT_SERVICES) != 0) {
    if (HRESULT hr = AddDefaultServices(*services); Failed(hr)) return hr;
  }
  HRESULT hr = Failed(locked) ? locked : SaveNewProfile(app_key_, name, *services);
  return Succeeded(hr) ? RebuildTable() : hr;
}

HRESULT ProfAdmin::DeleteProfile(WCHAR* name, ULONG flags) noexcept {
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  WaitingLock scope(section_);
  ProfileLock lock;
  HRESULT locked = lock.AcquireToChange(app_key_);
  if (Failed(CheckExists(name))) return MAPI_E_NOT_FOUND;
  HRESULT hr = Failed(locked) ? locked : uab::DeleteProfile(app_key_, name);
  return Succeeded(hr) ? RebuildTable() : hr;
}

HRESULT ProfAdmin::ConfigureProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) noexcept {
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  return WhileKept([&]() -> HRESULT {
    WaitScope wait;
    ComPtr<MsgServiceAdmin> admin;
    if (HRESULT hr = OpenServices(name, admin); Failed(hr)) return hr;
    ComPtr<MemTable> backup;
    if (HRESULT hr = LoadStored(name, backup); Failed(hr)) return hr;
    bool confirmed = ShowDialog(*admin, ui);
    FollowDialog(name, confirmed ? nullptr : backup.Get());
    return confirmed ? S_OK : MAPI_E_USER_CANCEL;
  });
}

// What fails is tried again by the next operation that needs the table.
void ProfAdmin::FollowDialog(const WCHAR* name, MemTable* backup) noexcept {
  WaitingLock scope(section_);
  ProfileLock lock;
  HRESULT hr = backup != nullptr ? lock.AcquireToChange(app_key_) : lock.AcquireToRead(app_key_);
  if (backup != nullptr && Succeeded(hr)) SaveServices(app_key_, name, *backup);
  RebuildTable();
}

HRESULT ProfAdmin::CopyProfile(WCHAR* source, WCHAR* target, ULONG flags) noexcept {
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  WaitingLock scope(section_);
  ProfileLock lock;
  HRESULT locked = lock.AcquireToChange(app_key_);
  if (HRESULT hr = CheckFree(target); Failed(hr)) return hr;
  if (Failed(locked)) return locked;
  ComPtr<MemTable> services;
  if (HRESULT hr = LoadServices(app_key_, source, services); Failed(hr)) return hr;
  if (HRESULT hr = SaveNewProfile(app_key_, target, *services); Failed(hr)) return hr;
  return RebuildTable();
}

HRESULT ProfAdmin::RenameProfile(WCHAR* old_name, WCHAR* new_name, ULONG flags) noexcept {
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  WaitingLock scope(section_);
  ProfileLock lock;
  HRESULT locked = lock.AcquireToChange(app_key_);
  if (HRESULT hr = CheckFree(new_name); Failed(hr)) return hr;
  if (Failed(locked)) return locked;
  ComPtr<MemTable> services, profiles;
  if (HRESULT hr = LoadServices(app_key_, old_name, services); Failed(hr)) return hr;
  // The registry has it; a name that differs in case would leave the profile, though.
  if (Failed(BuildProfileTable(app_key_, profiles)) || !HasProfile(*profiles, old_name)) return E_FAIL;
  if (HasUndoRecords(app_key_, old_name)) return E_FAIL;  // which would go with the old name
  if (HRESULT hr = SaveNewProfile(app_key_, new_name, *services); Failed(hr)) return hr;
  // All of the old profile is in the new one: what fails now leaves both.
  if (IsDefaultProfile(*profiles, old_name)) WriteDefaultProfile(app_key_, new_name);
  uab::DeleteProfile(app_key_, old_name);
  return RebuildTable();
}

HRESULT ProfAdmin::SetDefaultProfile(WCHAR* name, ULONG flags) noexcept {
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  WaitingLock scope(section_);
  ProfileLock lock;
  HRESULT locked = lock.AcquireToChange(app_key_);
  if (HRESULT hr = NeedTable(); Failed(hr)) return hr;
  if (name != nullptr && !HasProfile(*table_, name)) return MAPI_E_NOT_FOUND;
  HRESULT hr = Failed(locked) ? locked : WriteDefaultProfile(app_key_, name);
  return Succeeded(hr) ? RebuildTable() : hr;
}

HRESULT ProfAdmin::AdminServices(WCHAR* name, ULONG flags, IMsgServiceAdmin** admin) noexcept {
  if (admin == nullptr) return E_INVALIDARG;
  if (!IsWide(flags)) return MAPI_E_BAD_CHARWIDTH;
  *admin = nullptr;
  ComPtr<MsgServiceAdmin> opened;
  if (HRESULT hr = OpenServices(name, opened); Failed(hr)) return hr;
  *admin = opened.Detach();
  return S_OK;
}

HRESULT ProfAdmin::OpenServices(const WCHAR* name, ComPtr<MsgServiceAdmin>& admin) noexcept {
  WaitingLock scope(section_);
  {
    ProfileLock lock;
    if (HRESULT hr = lock.AcquireToRead(app_key_); Failed(hr)) return hr;
    if (HRESULT hr = CheckExists(name); Failed(hr)) return hr;
  }
  return MsgServiceAdmin::Create(0, resources_, app_key_, name, admin);
}

bool ProfAdmin::ShowDialog(MsgServiceAdmin& admin, ULONG_PTR ui) noexcept {
  ServiceDialogParams params = {&admin, kServiceDialogTemplate, app_key_};
  return ShowServiceDialog(resources_, ui, params) == IDOK;
}

}  // namespace uab
