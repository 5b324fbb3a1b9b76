#include "session/logon.h"

#include <utility>

#include "frame/allocation_chain.h"
#include "frame/module.h"
#include "profiles/msg_service_admin.h"
#include "props/prop_values.h"
#include "session/provider_list.h"
#include "session/session.h"

namespace uab {
namespace {

void CopyName(ProfileName& destination, const WCHAR* name) noexcept {
  std::size_t chars = 0;
  for (; chars < kProfileNameChars && name[chars] != 0; ++chars) destination[chars] = name[chars];
  destination[chars] = 0;
}

const WCHAR* NameIn(const SRow& profile) noexcept {
  const SPropValue* name = FindProp(profile.lpProps, profile.cValues, PR_DISPLAY_NAME_W);
  return name != nullptr ? name->Value.lpszW : nullptr;
}

bool IsDefault(const SRow& profile) noexcept {
  const SPropValue* mark = FindProp(profile.lpProps, profile.cValues, PR_DEFAULT_PROFILE);
  return mark != nullptr && mark->Value.b != 0;
}

// Reads the profiles in their order until choose has filled in the name, or there is no further one.
template <typename Choose>
void ReadProfiles(IMAPITable& profiles, ProfileName& name, Choose choose) noexcept {
  if (Failed(profiles.SeekRow(BOOKMARK_BEGINNING, 0, nullptr))) return;
  while (name[0] == 0) {
    RowSetPtr rows;
    if (Failed(profiles.QueryRows(1, 0, rows.Put())) || rows->cRows == 0) return;
    if (NameIn(rows->aRow[0]) != nullptr) choose(rows->aRow[0]);
  }
}

HRESULT OpenProfileTable(const LogonArguments& arguments, ComPtr<IMAPITable>& profiles) noexcept {
  static constexpr TagArray<2> kColumns = {2, {PR_DISPLAY_NAME_W, PR_DEFAULT_PROFILE}};
  ComPtr<IProfAdmin> admin;
  HRESULT hr = UABAdminProfiles(arguments.app_key, arguments.resources, arguments.flags, admin.Put(), HostValue());
  if (Failed(hr)) return hr;
  if (hr = admin->GetProfileTable(arguments.flags, profiles.Put()); Failed(hr)) return hr;
  profiles->SetColumns(kColumns.address(), 0);  // should it fail, the rows show all columns
  return S_OK;
}

}  // namespace

HRESULT ResolveProfile(const LogonArguments& arguments, const WCHAR* profile_name, ProfileName& resolved) noexcept {
  ComPtr<IMAPITable> profiles;
  if (HRESULT hr = OpenProfileTable(arguments, profiles); Failed(hr)) return hr;
  resolved[0] = 0;
  if ((arguments.flags & UAB_DEFAULT_PROFILE) != 0) {
    ReadProfiles(*profiles, resolved, [&](const SRow& profile) {
      if (IsDefault(profile)) CopyName(resolved, NameIn(profile));
    });
  } else if (profile_name != nullptr && profile_name[0] != 0) {
    ReadProfiles(*profiles, resolved, [&](const SRow& profile) {
      if (lstrcmpW(NameIn(profile), profile_name) == 0) CopyName(resolved, profile_name);
    });
  }
  if (resolved[0] != 0) return S_OK;
  return (arguments.flags & UAB_LOGON_UNKNOWN_FLAGS) != 0 ? MAPI_E_UNKNOWN_FLAGS : MAPI_E_LOGON_FAILED;
}

HRESULT Logon(const LogonArguments& arguments, const WCHAR* profile_name, IAddrBook** address_book,
              IUABSession** session) noexcept {
  ProfileName name;
  if (HRESULT hr = ResolveProfile(arguments, profile_name, name); Failed(hr)) return hr;

  // What fails from here on goes in the opposite order: first the administration, then the providers.
  ComPtr<ProviderList> providers;
  ComPtr<MsgServiceAdmin> admin;
  HRESULT hr = MsgServiceAdmin::Create(arguments.caller_param, arguments.resources, arguments.app_key, name, admin);
  if (Failed(hr)) return hr;
  if (hr = ProviderList::Create(providers); Failed(hr)) return hr;
  if (hr = LoadProviders(admin.Get(), providers.Get(), arguments); Failed(hr)) return hr;
  ComPtr<UABSession> built;
  if (hr = UABSession::Create(std::move(providers), std::move(admin), built); Failed(hr)) return hr;
  if (address_book != nullptr) built->OpenAddressBook(0, address_book);
  *session = built.Detach();
  return S_OK;
}

}  // namespace uab
