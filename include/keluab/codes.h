// Result codes and flags. A code with its top bit set is a failure; MAPI_W_ERRORS_RETURNED is a success with a warning.
// Beside a code stands what it mostly means; which ones an operation answers stands at the operation.
#pragma once

#include "keluab/base.h"

namespace uab {

constexpr bool Succeeded(HRESULT hr) noexcept { return hr >= 0; }
constexpr bool Failed(HRESULT hr) noexcept { return hr < 0; }

#if !defined(_WIN32)
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_NOINTERFACE =
    static_cast<HRESULT>(0x80004002u);                                // QueryInterface: not one of its interfaces
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);  // a registry call failed, among others
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);  // a name is taken; a copy onto itself
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);  // a null pointer, a name that can't be
#endif

inline constexpr HRESULT MAPI_W_ERRORS_RETURNED = 0x00040380;  // a requested property is missing: PT_ERROR in its place

inline constexpr HRESULT MAPI_E_NO_SUPPORT = static_cast<HRESULT>(0x80040102u);     // the object has no such operation
inline constexpr HRESULT MAPI_E_BAD_CHARWIDTH = static_cast<HRESULT>(0x80040103u);  // flags without MAPI_UNICODE
inline constexpr HRESULT MAPI_E_STRING_TOO_LONG = static_cast<HRESULT>(0x80040105u);  // a service's identifier
inline constexpr HRESULT MAPI_E_UNKNOWN_FLAGS = static_cast<HRESULT>(0x80040106u);    // flags of a session not 0
inline constexpr HRESULT MAPI_E_INVALID_ENTRYID = static_cast<HRESULT>(0x80040107u);  // too short for a MAPIUID
inline constexpr HRESULT MAPI_E_INVALID_OBJECT = static_cast<HRESULT>(0x80040108u);   // a service that names no library
inline constexpr HRESULT MAPI_E_NOT_FOUND = static_cast<HRESULT>(0x8004010Fu);
inline constexpr HRESULT MAPI_E_LOGON_FAILED = static_cast<HRESULT>(0x80040111u);  // no such profile
inline constexpr HRESULT MAPI_E_USER_CANCEL = static_cast<HRESULT>(0x80040113u);
inline constexpr HRESULT MAPI_E_COMPUTED = static_cast<HRESULT>(0x8004011Au);  // a property that callers may not write
inline constexpr HRESULT MAPI_E_END_OF_SESSION = static_cast<HRESULT>(0x80040200u);
inline constexpr HRESULT MAPI_E_UNKNOWN_ENTRYID = static_cast<HRESULT>(0x80040201u);          // CompareEntryIDs
inline constexpr HRESULT MAPI_E_MISSING_REQUIRED_COLUMN = static_cast<HRESULT>(0x80040202u);  // ExpandDistLists
inline constexpr HRESULT MAPI_E_BAD_VALUE = static_cast<HRESULT>(0x80040301u);                // the definition file
inline constexpr HRESULT MAPI_E_TABLE_EMPTY = static_cast<HRESULT>(0x80040402u);
inline constexpr HRESULT MAPI_E_INVALID_BOOKMARK = static_cast<HRESULT>(0x80040405u);
inline constexpr HRESULT MAPI_E_COLLISION = static_cast<HRESULT>(0x80040604u);        // there is one already
inline constexpr HRESULT MAPI_E_NOT_INITIALIZED = static_cast<HRESULT>(0x80040605u);  // never answered here
inline constexpr HRESULT MAPI_E_FOLDER_CYCLE = static_cast<HRESULT>(0x8004060Bu);     // a hierarchy inside itself

// Flags of more than one operation. Each is 32 bits wide; the operation's comment says which it reads.
inline constexpr ULONG MAPI_UNICODE = 0x80000000u;         // strings are UTF-16: nearly every operation requires it
inline constexpr ULONG MAPI_MODIFY = 0x00000001u;          // open for writing
inline constexpr ULONG CONVENIENT_DEPTH = 0x00000001u;     // GetHierarchyTable: with the containers below
inline constexpr ULONG KEEP_OPEN_READWRITE = 0x00000002u;  // SaveChanges: the object stays open for writing
inline constexpr ULONG MAPI_NOREPLACE = 0x00000002u;       // every kind of copying: what the destination has stays

// UABOpen
inline constexpr ULONG UAB_LOGON_UNKNOWN_FLAGS = 0x00000001u;  // no profile found: MAPI_E_UNKNOWN_FLAGS instead of
                                                               // MAPI_E_LOGON_FAILED
inline constexpr ULONG UAB_DEFAULT_PROFILE = 0x00000040u;      // open the default profile, whatever the name

// IProfAdmin
inline constexpr ULONG MAPI_DEFAULT_SERVICES = 0x00000001u;  // CreateProfile: with the services of "Default Services"
inline constexpr ULONG MAPI_DIALOG = 0x00000008u;            // CreateProfile: show the message service dialog

// IMsgServiceAdmin
inline constexpr ULONG SERVICE_UI_ALWAYS = 0x00000002u;   // ConfigureMsgService: the service shows its dialog
inline constexpr ULONG SERVICE_UI_ALLOWED = 0x00000010u;  // ConfigureMsgService: the service may show its dialog
inline constexpr ULONG MSG_SERVICE_CREATE = 2u;           // contexts of a service entry
inline constexpr ULONG MSG_SERVICE_CONFIGURE = 3u;
inline constexpr ULONG MSG_SERVICE_CREATE_TEXT = 16u;

// PR_RESOURCE_FLAGS of a message service
inline constexpr ULONG SERVICE_SINGLE_COPY = 0x00000002u;       // at most one in a profile
inline constexpr ULONG UAB_SERVICE_NO_REMOVE = 0x00010000u;     // the dialog does not remove it
inline constexpr ULONG UAB_SERVICE_NO_CONFIGURE = 0x00020000u;  // the dialog does not configure it

// IMAPITable
inline constexpr ULONG TBL_ALL_COLUMNS = 0x00000001u;  // QueryColumns: the first row's tags, whatever the column set
inline constexpr ULONG TBL_NOADVANCE = 0x00000001u;    // QueryRows: the position stays
inline constexpr ULONG TBLSTAT_COMPLETE = 0;
inline constexpr ULONG TBLTYPE_SNAPSHOT = 0;
inline constexpr BOOKMARK BOOKMARK_BEGINNING = 0;
inline constexpr BOOKMARK BOOKMARK_CURRENT = 1;
inline constexpr BOOKMARK BOOKMARK_END = 2;

// PR_OBJECT_TYPE
inline constexpr ULONG MAPI_ABCONT = 4;    // container
inline constexpr ULONG MAPI_MAILUSER = 6;  // one recipient
inline constexpr ULONG MAPI_DISTLIST = 8;  // distribution list

// PR_DISPLAY_TYPE
inline constexpr ULONG DT_MAILUSER = 0;
inline constexpr ULONG DT_DISTLIST = 1;
inline constexpr ULONG DT_PRIVATE_DISTLIST = 5;

// PR_RECIPIENT_TYPE
inline constexpr ULONG MAPI_TO = 1;
inline constexpr ULONG MAPI_CC = 2;
inline constexpr ULONG MAPI_BCC = 3;

// PR_CONTAINER_FLAGS
inline constexpr ULONG AB_RECIPIENTS = 0x00000001u;     // holds recipients
inline constexpr ULONG AB_SUBCONTAINERS = 0x00000002u;  // holds containers
inline constexpr ULONG AB_MODIFIABLE = 0x00000004u;     // entries can be created, changed and deleted
inline constexpr ULONG AB_UNMODIFIABLE = 0x00000008u;

}  // namespace uab
