#include "profiles/msg_service_admin.h"

#include <algorithm>
#include <cstring>

#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "platform/system_calls.h"
#include "platform/wait_scope.h"
#include "profiles/profile_lock.h"
#include "profiles/profile_section.h"
#include "profiles/service_definitions.h"
#include "profiles/service_entry.h"
#include "profiles/stored_services.h"

namespace uab {
namespace {

constexpr TagArray<10> kServiceColumns = {
    10,
    {PR_INSTANCE_KEY, PR_SERVICE_NAME_W, PR_PROVIDER_DISPLAY_W, PR_DISPLAY_NAME_W, PR_SERVICE_DLL_NAME_W,
     PR_SERVICE_ENTRY_NAME, PR_SERVICE_SUPPORT_FILES_W, PR_SERVICE_DELETE_FILES_W, PR_SERVICE_UID, PR_RESOURCE_FLAGS}};

// The first row of the service name; null: there is none.
SRow* FindService(SRowSet& rows, const WCHAR* service_name) noexcept {
  for (ULONG i = 0; i < rows.cRows; ++i) {
    if (lstrcmpW(rows.aRow[i].lpProps[kServiceNameValue].Value.lpszW, service_name) == 0) return &rows.aRow[i];
  }
  return nullptr;
}

}  // namespace

HRESULT MsgServiceAdmin::Create(ULONG_PTR caller_param, HINSTANCE resources, const WCHAR* app_key,
                                const WCHAR* profile_name, ComPtr<MsgServiceAdmin>& admin) noexcept {
  RegistryPath path;
  if (HRESULT hr = ProfilePath(app_key, profile_name, path); Failed(hr)) return hr;
  return at_boundary([&]() -> HRESULT {
    auto made = ComPtr<MsgServiceAdmin>::Attach(new MsgServiceAdmin(caller_param, resources, app_key));
    std::copy_n(profile_name, static_cast<std::size_t>(lstrlenW(profile_name)), made->profile_name_);
    {
      WaitingLock scope(made->table_section_);
      if (HRESULT hr = made->NeedServiceTable(); Failed(hr)) return hr;
    }
    admin = std::move(made);
    return S_OK;
  });
}

HRESULT MsgServiceAdmin::NeedServiceTable() noexcept {
  if (table_) return S_OK;
  ProfileLock lock;
  if (HRESULT hr = lock.AcquireToRead(app_key_); Failed(hr)) return hr;
  return LoadServiceTable();
}

HRESULT MsgServiceAdmin::LoadServiceTable() noexcept {
  ComPtr<MemTable> loaded;
  if (HRESULT hr = LoadServices(app_key_, profile_name_, loaded); Failed(hr)) return hr;
  if (HRESULT hr = loaded->SetColumns(kServiceColumns.address(), 0); Failed(hr)) return hr;
  table_ = std::move(loaded);
  return S_OK;
}

HRESULT MsgServiceAdmin::GetMsgServiceTable(ULONG flags, IMAPITable** table) noexcept {
  if (table == nullptr) return E_INVALIDARG;
  *table = nullptr;
  WaitingLock scope(section_);
  WaitingLock table_scope(table_section_);
  if ((flags & MAPI_UNICODE) == 0 || Failed(NeedServiceTable())) return E_FAIL;
  *table = table_.Detach();  // from now on the caller's: the next one is made anew
  return S_OK;
}

HRESULT MsgServiceAdmin::CreateMsgService(WCHAR* service_name, WCHAR* display_name, WCHAR* creation_text,
                                          ULONG resource_flags, ULONG_PTR ui, ULONG flags) noexcept {
  if (service_name == nullptr || display_name == nullptr) return E_INVALIDARG;
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  RowSetPtr rows;
  if (HRESULT hr = ReadServiceDefinitions(kServicesSection, rows); Failed(hr)) return hr;
  return WhileKept([&]() -> HRESULT {
    WaitingLock scope(section_);
    SRow* row = FindService(*rows.Get(), service_name);
    if (row == nullptr) return MAPI_E_NOT_FOUND;
    WCHAR*& name = row->lpProps[kDisplayNameValue].Value.lpszW;
    if (name == nullptr) name = display_name;
    row->lpProps[kResourceFlagsValue].Value.ul |= resource_flags;
    return AddServiceInstance(*row, ui, flags, creation_text);
  });
}

HRESULT MsgServiceAdmin::AddServiceInstance(SRow& row, ULONG_PTR ui, ULONG flags, WCHAR* creation_text) noexcept {
  MAPIUID uid;
  if (HRESULT hr = StoreNewService(row, uid); Failed(hr)) return hr;
  HRESULT hr = SetUpService(uid, ui, flags, creation_text);
  if (Failed(hr)) DeleteMsgService(&uid);
  return hr;
}

HRESULT MsgServiceAdmin::StoreNewService(SRow& row, MAPIUID& uid) noexcept {
  WaitingLock scope(table_section_);
  ProfileLock lock;
  if (HRESULT hr = lock.AcquireToChange(app_key_); Failed(hr)) return hr;
  ComPtr<MemTable> table;
  if (HRESULT hr = LoadServices(app_key_, profile_name_, table); Failed(hr)) return hr;
  bool single_copy = (row.lpProps[kResourceFlagsValue].Value.ul & SERVICE_SINGLE_COPY) != 0;
  if (single_copy && table->HasRow(row.lpProps[kServiceNameValue])) return MAPI_E_COLLISION;
  GUID guid;
  if (HRESULT hr = Sys().co_create_guid(&guid); Failed(hr)) return hr;
  static_assert(sizeof(guid) == sizeof(uid));
  std::memcpy(&uid, &guid, sizeof(uid));
  row.lpProps[kServiceUidValue] = UidValue(uid);
  if (HRESULT hr = AddService(app_key_, profile_name_, uid, row, *table); Failed(hr)) return hr;
  table_ = std::move(table);
  return S_OK;
}

HRESULT MsgServiceAdmin::SetUpService(MAPIUID& uid, ULONG_PTR ui, ULONG flags, WCHAR* creation_text) noexcept {
  ComPtr<IMAPIProp> section;
  if (HRESULT hr = OpenProfileSection(&uid, nullptr, MAPI_MODIFY, section.Put()); Failed(hr)) return hr;
  HRESULT hr = CallServiceEntry(*section, {resources_, ui, flags, MSG_SERVICE_CREATE, 0, nullptr});
  if (Failed(hr) || creation_text == nullptr || *creation_text == 0) return hr;
  SPropValue text = {};
  text.Value.lpszW = creation_text;
  return CallServiceEntry(*section, {resources_, ui, flags, MSG_SERVICE_CREATE_TEXT, 1, &text});
}

HRESULT MsgServiceAdmin::DeleteMsgService(MAPIUID* uid) noexcept {
  if (uid == nullptr) return E_INVALIDARG;
  WaitingLock scope(table_section_);
  ProfileLock lock;
  if (HRESULT hr = lock.AcquireToChange(app_key_); Failed(hr)) return hr;
  ComPtr<MemTable> table;
  if (HRESULT hr = LoadServices(app_key_, profile_name_, table); Failed(hr)) return hr;
  if (HRESULT hr = DeleteService(app_key_, profile_name_, *uid, *table); Failed(hr)) return hr;
  table_ = std::move(table);
  return S_OK;
}

HRESULT MsgServiceAdmin::ConfigureMsgService(MAPIUID* uid, ULONG_PTR ui, ULONG flags, ULONG count, SPropValue* values,
                                             IMAPIProp** section) noexcept {
  if (uid == nullptr) return E_INVALIDARG;
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  if (section == nullptr) return E_INVALIDARG;
  WaitScope wait;
  {
    WaitingLock scope(table_section_);
    table_.Reset();
  }
  if ((flags & (SERVICE_UI_ALWAYS | SERVICE_UI_ALLOWED)) == 0) {
    return count == 0 || values == nullptr ? E_INVALIDARG : SetServiceProps(*uid, count, values);
  }
  if (*section == nullptr) {
    if (HRESULT hr = OpenProfileSection(uid, nullptr, MAPI_MODIFY, section); Failed(hr)) return hr;
  }
  return CallServiceEntry(**section, {resources_, ui, flags, MSG_SERVICE_CONFIGURE, count, values});
}

HRESULT MsgServiceAdmin::SetServiceProps(const MAPIUID& uid, ULONG count, const SPropValue* values) noexcept {
  WaitingLock scope(table_section_);
  ProfileLock lock;
  if (HRESULT hr = lock.AcquireToChange(app_key_); Failed(hr)) return hr;
  // What somebody else has removed meanwhile does not come back.
  if (!table_ || !HasServiceKey(app_key_, profile_name_, uid)) {
    table_.Reset();
    if (HRESULT hr = LoadServiceTable(); Failed(hr)) return hr;
  }
  return UpdateService(app_key_, profile_name_, uid, count, values, *table_);
}

HRESULT MsgServiceAdmin::ReadService(const MAPIUID& uid, SRow& service) noexcept {
  WaitingLock scope(table_section_);
  if (HRESULT hr = NeedServiceTable(); Failed(hr)) return hr;
  const std::size_t found = table_->FirstMatch(UidValue(uid));
  return found != kNowhere ? ProjectRow(table_->row(found), nullptr, service) : MAPI_E_NOT_FOUND;
}

HRESULT MsgServiceAdmin::OpenProfileSection(MAPIUID* uid, const IID*, ULONG, IMAPIProp** section) noexcept {
  if (section == nullptr) return E_INVALIDARG;
  *section = nullptr;
  if (uid == nullptr) return E_INVALIDARG;
  SRow service = {};
  if (HRESULT hr = ReadService(*uid, service); Failed(hr)) return hr;
  ChainPtr<SPropValue> values(service.lpProps);
  // Made and filled outside the table's lock: that takes locks which other calls hold when they come to the table's.
  ComPtr<ProfileSection> made;
  if (HRESULT hr = ProfileSection::Create(*this, *uid, made); Failed(hr)) return hr;
  if (HRESULT hr = made->Fill(service); Failed(hr)) return hr;
  *section = made.Detach();
  return S_OK;
}

}  // namespace uab
