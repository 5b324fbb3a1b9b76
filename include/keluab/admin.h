// Administration of profiles and of one profile's message services.
#pragma once

#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/props.h"
#include "keluab/tables.h"
#include "keluab/values.h"

namespace uab {

struct IMsgServiceAdmin;

// Common to both interfaces. What is stored is read and changed under one lock of all the user's processes. A call
// waits for it ten seconds at most in all; then it reads without it, and a change is E_FAIL. A change is made whole or
// not at all, and what a process that ended left half done is undone by the next call. Without the right to write, what
// reads works, and a change is E_FAIL.
//
// Errors of the service definition file (KELUAB.ini beside the library), wherever it is read. E_FAIL: there is none.
// E_INVALIDARG: the list of services, or the section of a service that it names, is missing or empty, or the file can't
// be read. MAPI_E_BAD_VALUE: a line of the list without "=" or without text behind it. MAPI_E_COLLISION: a service
// twice in the list.

// Slots 1 to 12. UABAdminProfiles makes it. Names are UTF-16 with 1 to 64 characters and no backslash, and with the
// application key no more than 89; a lookup compares them exactly, but two profiles never differ only in case.
//
// Errors common to slots 5 to 12: MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE, before anything else except where
// said. MAPI_E_NOT_FOUND: no such profile. E_ACCESSDENIED: the target's name is taken, which is tested first.
// E_INVALIDARG: a null name or one that no profile can have, also because of the application key. E_FAIL: a registry
// call failed.
//
// The message service dialog of slots 6 and 8 is the template with number 255 of the module that UABAdminProfiles was
// given (keluab/terminal_dialog.h where there are no windows); a module without it counts as cancelled. At OK it saves
// the sections of the services that were configured. If one of them has a UAB_PR_FILE_NAME_W, the last such name is
// written to "Software\Ostrel\QUILLDOC\<app_key>\UAB Profiles\WAB" of the current user as the value "WAB File Name".
// That key lies among the profiles: from then on the table lists a profile "WAB".
//
// Slots 5 to 12 hold the object's lock, but not while the dialog is shown.
struct IProfAdmin : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;  // 4. S_OK, writes nothing

  // 5. Stores the table of profiles: PR_DISPLAY_NAME_W and PR_DEFAULT_PROFILE. The object's current table, its position
  // shared by all who hold it; later changes through this object make a new one. A null out pointer is tested first.
  virtual HRESULT UAB_CALL GetProfileTable(ULONG flags, IMAPITable** table) = 0;

  // 6. Creates a profile: empty, or with MAPI_DEFAULT_SERVICES with the services of the definition file's
  // "Default Services" section, whose libraries are not called. With MAPI_DIALOG the message service dialog follows, a
  // child of window ui; cancelled, the profile is gone again and the result is MAPI_E_USER_CANCEL.
  virtual HRESULT UAB_CALL CreateProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) = 0;

  // 7. The default profile's name stays recorded. MAPI_E_NOT_FOUND also: null, a name or key that can't be, or profiles
  // that can't be read.
  virtual HRESULT UAB_CALL DeleteProfile(WCHAR* name, ULONG flags) = 0;

  // 8. Shows the message service dialog for a profile; cancelled (MAPI_E_USER_CANCEL), the profile is as it was before.
  virtual HRESULT UAB_CALL ConfigureProfile(WCHAR* name, ULONG_PTR ui, ULONG flags) = 0;

  virtual HRESULT UAB_CALL CopyProfile(WCHAR* source, WCHAR* target, ULONG flags) = 0;  // 9. E_FAIL: no such source

  // 10. The default stays the default. E_FAIL: no such profile. E_ACCESSDENIED also: only the case would change. S_OK
  // also where the new profile is whole and the old one could not be taken away: then both are there.
  virtual HRESULT UAB_CALL RenameProfile(WCHAR* old_name, WCHAR* new_name, ULONG flags) = 0;

  virtual HRESULT UAB_CALL SetDefaultProfile(WCHAR* name, ULONG flags) = 0;  // 11. null: none; E_FAIL: there is none

  // 12. Stores the administration of a profile's services. E_INVALIDARG: a null out pointer, tested first. Not written
  // when flags lack MAPI_UNICODE; null after any other failure.
  virtual HRESULT UAB_CALL AdminServices(WCHAR* name, ULONG flags, IMsgServiceAdmin** admin) = 0;
};

// Slots 1 to 9. The message services of one profile. A service is named by its PR_SERVICE_UID. Service libraries run
// inside CreateMsgService and ConfigureMsgService, on the caller's thread. CreateMsgService holds the object's lock
// meanwhile: on another thread GetMsgServiceTable, CreateMsgService, AddRef and Release wait for the whole call, so a
// library must not wait for such a thread. The same thread may call back. ConfigureMsgService holds no lock.
struct IMsgServiceAdmin : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;  // 4. S_OK, writes nothing

  // 5. Stores a new table of the services. One that is read from the registry has ten columns, PR_INSTANCE_KEY to
  // PR_RESOURCE_FLAGS; the first one behind CreateMsgService or DeleteMsgService is the one they worked on and has no
  // column set, so each row shows what it holds: set the columns that you read.
  // E_FAIL: any failure but a null out pointer, also flags without MAPI_UNICODE.
  virtual HRESULT UAB_CALL GetMsgServiceTable(ULONG flags, IMAPITable** table) = 0;

  // 6. Adds the service that the definition file's "Services" section names, calls its library with MSG_SERVICE_CREATE
  // and, for a creation text that is not empty, again with MSG_SERVICE_CREATE_TEXT. display_name is used if the file
  // gives none; resource_flags are added to the file's. A failure leaves no service behind.
  //
  // E_INVALIDARG: service_name or display_name null. MAPI_E_BAD_CHARWIDTH: flags without MAPI_UNICODE. Errors of the
  // definition file. MAPI_E_NOT_FOUND: not in the file, or its library can't be loaded, or the file names none.
  // MAPI_E_COLLISION: a second one with SERVICE_SINGLE_COPY. E_FAIL: the library lacks the entry point, or the file
  // names none; the profile is gone; a registry call failed. Otherwise what the library answers.
  virtual HRESULT UAB_CALL CreateMsgService(WCHAR* service_name, WCHAR* display_name, WCHAR* creation_text,
                                            ULONG resource_flags, ULONG_PTR ui, ULONG flags) = 0;

  // 7. E_INVALIDARG: null. MAPI_E_NOT_FOUND: no such service. E_FAIL: the profile is gone, or a registry call failed.
  virtual HRESULT UAB_CALL DeleteMsgService(MAPIUID* uid) = 0;

  // 8. Without SERVICE_UI_ALWAYS and SERVICE_UI_ALLOWED: stores the values as the service's settings; no library is
  // loaded, *section is not touched. E_INVALIDARG: no values. MAPI_E_NO_SUPPORT: a multi-valued type that is none.
  // Other errors as in SaveChanges of IProfSect.
  //
  // With either: calls the service's library with MSG_SERVICE_CONFIGURE and *section, which is opened first if it is
  // null (uid is looked at only then). The caller releases it in any case, also after a failure. MAPI_E_NOT_FOUND: no
  // such service, or its library can't be loaded. MAPI_E_INVALID_OBJECT: the section names no library or no entry
  // point. E_FAIL: the library lacks the entry point. Otherwise what it answers.
  //
  // Common to both, in this order: E_INVALIDARG: uid null. MAPI_E_BAD_CHARWIDTH. E_INVALIDARG: section null.
  virtual HRESULT UAB_CALL ConfigureMsgService(MAPIUID* uid, ULONG_PTR ui, ULONG flags, ULONG count, SPropValue* values,
                                               IMAPIProp** section) = 0;

  // 9. Stores a new profile section of the service; iid and flags are not looked at. E_INVALIDARG: section or uid null.
  // MAPI_E_NOT_FOUND: no such service. E_FAIL: the profile is gone, or a registry call failed.
  virtual HRESULT UAB_CALL OpenProfileSection(MAPIUID* uid, const IID* iid, ULONG flags, IMAPIProp** section) = 0;
};

}  // namespace uab
