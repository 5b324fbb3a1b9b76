// The objects of the provider that callers hold: the service's root, its containers, lists and recipients. Each is made
// inside Folder::Run with one reference for the caller.
#pragma once

#include "card_handle.h"
#include "table.h"

namespace uab::vcard {

// Opens any entry of the service, the root for no identifier; stores its PR_OBJECT_TYPE. Outside Folder::Run.
// MAPI_E_INVALID_ENTRYID: not one of ours. MAPI_E_NOT_FOUND: it is gone. E_NOINTERFACE: iid is not one of its own.
HRESULT OpenEntryObject(const std::shared_ptr<Folder>& folder, ULONG size, const void* entry, const IID* iid,
                        ULONG flags, ULONG* object_type, IUnknown** object) noexcept;

// A new entry from a template's identifier, in a file and, if given, in a list of it. Inside Folder::Run.
HRESULT CreateEntryObject(const std::shared_ptr<Folder>& folder, BookNumber book, std::optional<CardRef> list,
                          ULONG size, const void* entry_template, IMAPIProp** object);

IABContainer* MakeRoot(std::shared_ptr<Folder> folder);
IABContainer* MakeBook(std::shared_ptr<Folder> folder, BookNumber book);
IDistList* MakeList(std::shared_ptr<Folder> folder, std::unique_ptr<CardHandle> card);
IMailUser* MakeUser(std::shared_ptr<Folder> folder, std::unique_ptr<CardHandle> card);

// What the root and the containers show of themselves.
Properties RootProperties(Folder& folder);
Properties BookProperties(Folder& folder, BookNumber book, bool count_skipped);

// The cards that the identifiers of a list name. MAPI_E_INVALID_ENTRYID: one is none of ours; MAPI_E_NOT_FOUND: gone.
HRESULT FindAll(Folder& folder, const ENTRYLIST& entries, std::vector<CardRef>& cards);

HRESULT DeleteCards(Folder& folder, const ENTRYLIST& entries, std::optional<BookNumber> only_in);

}  // namespace uab::vcard
