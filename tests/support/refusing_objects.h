// Bases of a test's own tables, containers and address books: every slot refuses with MAPI_E_NO_SUPPORT, so that a fake
// writes only those that it is about. A reference count that a test can read; the test owns the object.
#pragma once

#include <atomic>

#include "keluab/addrbook.h"
#include "platform/win32.h"

namespace uab {

template <typename Interface>
struct Refusing : Interface {
  HRESULT UAB_CALL QueryInterface(const IID&, void** object) override {
    *object = this;
    ++references;
    return S_OK;
  }
  ULONG UAB_CALL AddRef() noexcept override { return ++references; }
  ULONG UAB_CALL Release() override { return --references; }

  std::atomic<ULONG> references{0};  // that others hold
};

struct RefusingTable : Refusing<IMAPITable> {
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Advise(ULONG, IMAPIAdviseSink*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Unadvise(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetStatus(ULONG*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SetColumns(SPropTagArray*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QueryColumns(ULONG, SPropTagArray**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetRowCount(ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SeekRow(BOOKMARK, LONG, LONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SeekRowApprox(ULONG, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QueryPosition(ULONG*, ULONG*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL FindRow(SRestriction*, BOOKMARK, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Restrict(SRestriction*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CreateBookmark(BOOKMARK*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL FreeBookmark(BOOKMARK) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SortTable(SSortOrderSet*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QuerySortOrder(SSortOrderSet**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QueryRows(LONG, ULONG, SRowSet**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Abort() override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL ExpandRow(ULONG, BYTE*, ULONG, ULONG, SRowSet**, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CollapseRow(ULONG, BYTE*, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL WaitForCompletion(ULONG, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetCollapseState(ULONG, ULONG, BYTE*, ULONG*, BYTE**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SetCollapseState(ULONG, ULONG, BYTE*, BOOKMARK*) override { return MAPI_E_NO_SUPPORT; }
};

template <typename Interface>
struct RefusingProp : Refusing<Interface> {
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SaveChanges(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetProps(SPropTagArray*, ULONG, ULONG*, SPropValue**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetPropList(ULONG, SPropTagArray**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SetProps(ULONG, SPropValue*, SPropProblemArray**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL DeleteProps(SPropTagArray*, SPropProblemArray**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                          SPropProblemArray**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                             SPropProblemArray**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*, MAPINAMEID***) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**) override { return MAPI_E_NO_SUPPORT; }
};

template <typename Interface>
struct RefusingContainerOf : RefusingProp<Interface> {
  HRESULT UAB_CALL GetContentsTable(ULONG, IMAPITable**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetHierarchyTable(ULONG, IMAPITable**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, IUnknown**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetSearchCriteria(ULONG, SRestriction**, ENTRYLIST**, ULONG*) override { return MAPI_E_NO_SUPPORT; }
};
using RefusingContainer = RefusingContainerOf<IMAPIContainer>;

struct RefusingABContainer : RefusingContainerOf<IABContainer> {
  HRESULT UAB_CALL CreateEntry(ULONG, ENTRYID*, ULONG, IMAPIProp**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CopyEntries(ENTRYLIST*, ULONG_PTR, IMAPIProgress*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL DeleteEntries(ENTRYLIST*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL ResolveNames(SPropTagArray*, ULONG, ADRLIST*, FLAGLIST*) override { return MAPI_E_NO_SUPPORT; }
};

struct RefusingAddrBook : RefusingProp<IAddrBook> {
  HRESULT UAB_CALL OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, IUnknown**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL CompareEntryIDs(ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Unadvise(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CreateOneOff(WCHAR*, WCHAR*, WCHAR*, ULONG, ULONG*, ENTRYID**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL NewEntry(ULONG_PTR, ULONG, ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG*, ENTRYID**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL ResolveName(ULONG_PTR, ULONG, WCHAR*, ADRLIST*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Address(ULONG_PTR*, ADRPARM*, ADRLIST**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Details(ULONG_PTR*, DismissModelessFunction, void*, ULONG, ENTRYID*, DetailsButtonFunction, void*,
                           WCHAR*, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL RecipOptions(ULONG_PTR, ULONG, ADRENTRY*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QueryDefaultRecipOpt(WCHAR*, ULONG, ULONG*, SPropValue**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetPAB(ULONG*, ENTRYID**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SetPAB(ULONG, ENTRYID*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetDefaultDir(ULONG*, ENTRYID**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SetDefaultDir(ULONG, ENTRYID*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetSearchPath(ULONG, SRowSet**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SetSearchPath(ULONG, SRowSet*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL PrepareRecips(ULONG, SPropTagArray*, ADRLIST*) override { return MAPI_E_NO_SUPPORT; }
};

}  // namespace uab
