// Administration of profiles and of one profile's message services.
#pragma once

#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/props.h"
#include "keluab/tables.h"
#include "keluab/values.h"

namespace uab {

struct IMsgServiceAdmin;

// Slots 1 to 12. UABAdminProfiles makes it. Names are UTF-16 with 1 to 64 characters and no backslash; a lookup
// compares them exactly, but two profiles never differ only in case.
//
// Errors common to slots 5 to 12: MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE, before anything else except where
// said. MAPI_E_NOT_FOUND: no such profile. E_ACCESSDENIED: the target's name is taken. E_INVALIDARG: a null name or one
// that no profile can have. E_FAIL: a registry call failed.
struct IProfAdmin : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;  // 4. S_OK, writes nothing

  // 5. Stores the table of profiles: PR_DISPLAY_NAME_W and PR_DEFAULT_PROFILE. The object's current table, its position
  // shared by all who hold it; later changes make a new one. Stores null on failure.
  virtual HRESULT UAB_CALL GetProfileTable(ULONG flags, IMAPITable** table) = 0;

  // 6. Creates a profile: empty, or with MAPI_DEFAULT_SERVICES with the services of the definition file's
  // "Default Services" section. With MAPI_DIALOG the message service dialog follows, a child of window ui; cancelled,
  // the profile is gone again and the result is MAPI_E_USER_CANCEL.
  virtual HRESULT UAB_CALL CreateProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) = 0;

  // 7. The default profile's name stays recorded. MAPI_E_NOT_FOUND also: null.
  virtual HRESULT UAB_CALL DeleteProfile(WCHAR* name, ULONG flags) = 0;

  // 8. Shows the message service dialog for a profile; cancelled (MAPI_E_USER_CANCEL), the profile is as it was before.
  virtual HRESULT UAB_CALL ConfigureProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) = 0;

  virtual HRESULT UAB_CALL CopyProfile(WCHAR* source, WCHAR* target, ULONG flags) = 0;  // 9. E_FAIL: no such source
  virtual HRESULT UAB_CALL RenameProfile(WCHAR* old_name, WCHAR* new_name,
                                         ULONG flags) = 0;                   // 10. E_FAIL: no such profile
  virtual HRESULT UAB_CALL SetDefaultProfile(WCHAR* name, ULONG flags) = 0;  // 11. null: none

  // 12. Stores the administration of a profile's services. E_INVALIDARG: a null out pointer, tested first.
  virtual HRESULT UAB_CALL AdminServices(WCHAR* name, ULONG flags, IMsgServiceAdmin** admin) = 0;
};

// Slots 1 to 9. The message services of one profile. A service is named by its PR_SERVICE_UID. Service libraries run
// inside CreateMsgService and ConfigureMsgService, on the caller's thread.
struct IMsgServiceAdmin : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;  // 4. S_OK, writes nothing

  // 5. Stores a new table of the services. One that is read from the registry has ten columns, PR_INSTANCE_KEY to
  // PR_RESOURCE_FLAGS; the first one behind CreateMsgService or DeleteMsgService is the one they worked on and has no
  // column set, so each row shows what it holds: set the columns that you read.
  // E_INVALIDARG: a null out pointer. E_FAIL: anything else, also flags without MAPI_UNICODE.
  virtual HRESULT UAB_CALL GetMsgServiceTable(ULONG flags, IMAPITable** table) = 0;

  // 6. Adds the service that the definition file's "Services" section names, calls its library with MSG_SERVICE_CREATE
  // and, for a creation text that is not empty, again with MSG_SERVICE_CREATE_TEXT. display_name is used if the file
  // gives none; resource_flags are added to the file's. A failure leaves no service behind.
  // E_INVALIDARG: a null name. MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE. MAPI_E_NOT_FOUND: not in the file, or
  // its library can't be loaded. MAPI_E_COLLISION: a second one with SERVICE_SINGLE_COPY. E_FAIL: no such entry point,
  // or a registry call failed. MAPI_E_INVALID_OBJECT: the file names no library or no entry point.
  virtual HRESULT UAB_CALL CreateMsgService(WCHAR* service_name, WCHAR* display_name, WCHAR* creation_text,
                                            ULONG resource_flags, ULONG_PTR ui, ULONG flags) = 0;

  // 7. E_INVALIDARG: null. MAPI_E_NOT_FOUND: no such service.
  virtual HRESULT UAB_CALL DeleteMsgService(MAPIUID* uid) = 0;

  // 8. Without SERVICE_UI_ALWAYS and SERVICE_UI_ALLOWED: stores the values as the service's settings (E_INVALIDARG:
  // none given). With either: calls the service's library with MSG_SERVICE_CONFIGURE and *section, which is opened
  // first if it is null; the caller releases it in any case. E_INVALIDARG: uid or section null.
  virtual HRESULT UAB_CALL ConfigureMsgService(MAPIUID* uid, ULONG_PTR ui, ULONG flags, ULONG count, SPropValue* values,
                                               IMAPIProp** section) = 0;

  // 9. Stores the service's profile section. MAPI_E_NOT_FOUND: no such service.
  virtual HRESULT UAB_CALL OpenProfileSection(MAPIUID* uid, const IID* iid, ULONG flags, IMAPIProp** section) = 0;
};

}  // namespace uab
