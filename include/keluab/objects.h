// Bases of the objects that a provider, or a host, makes for others to call. They are code of whoever includes them:
// the library knows interfaces only.
#pragma once

#include <atomic>

#include "keluab/addrbook.h"
#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/iids.h"
#include "keluab/props.h"
#include "keluab/tables.h"

namespace uab {

// Slots 1 to 3: a new object carries one reference, which is its maker's, and goes with the last one. Make it with new.
// Ids are the interfaces that it answers to besides IUnknown. Any thread.
template <typename Interface, const IID&... Ids>
class Counted : public Interface {
 public:
  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) noexcept override {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    if (IsNull(iid)) return E_INVALIDARG;
    if (!Answers(iid)) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }
  ULONG UAB_CALL AddRef() noexcept override { return ++references_; }
  ULONG UAB_CALL Release() noexcept override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  static bool Answers(const IID& iid) noexcept { return iid == IID_IUnknown || ((iid == Ids) || ...); }

 protected:
  Counted() noexcept = default;
  virtual ~Counted() = default;  // behind the interface's slots, where it disturbs none

 private:
  std::atomic<ULONG> references_{1};
};

// An object writes the slots that it offers; whichever it leaves out answers MAPI_E_NO_SUPPORT. Base is the interface,
// or a class with some of its slots, such as Counted.
#define UAB_REFUSE(slot) \
  HRESULT UAB_CALL slot override { return MAPI_E_NO_SUPPORT; }

// Slots 4 to 14 of an IMAPIProp. To set nothing at all succeeds: a copying without values ends with that call.
template <typename Base>
struct RefusingProp : Base {
  using Base::Base;
  UAB_REFUSE(GetLastError(HRESULT, ULONG, MAPIERROR**))
  UAB_REFUSE(SaveChanges(ULONG))
  UAB_REFUSE(GetProps(SPropTagArray*, ULONG, ULONG*, SPropValue**))
  UAB_REFUSE(GetPropList(ULONG, SPropTagArray**))
  UAB_REFUSE(OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**))
  HRESULT UAB_CALL SetProps(ULONG count, SPropValue*, SPropProblemArray** problems) override {
    if (problems != nullptr) *problems = nullptr;
    return count == 0 ? S_OK : MAPI_E_NO_SUPPORT;
  }
  UAB_REFUSE(DeleteProps(SPropTagArray*, SPropProblemArray**))
  UAB_REFUSE(CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                    SPropProblemArray**))
  UAB_REFUSE(CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG, SPropProblemArray**))
  UAB_REFUSE(GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*, MAPINAMEID***))
  UAB_REFUSE(GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**))
};

// Slots 15 to 19 of an IMAPIContainer.
template <typename Base>
struct RefusingContainer : Base {
  using Base::Base;
  UAB_REFUSE(GetContentsTable(ULONG, IMAPITable**))
  UAB_REFUSE(GetHierarchyTable(ULONG, IMAPITable**))
  UAB_REFUSE(OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, IUnknown**))
  UAB_REFUSE(SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG))
  UAB_REFUSE(GetSearchCriteria(ULONG, SRestriction**, ENTRYLIST**, ULONG*))
};

// Slots 15 to 23 of an IABContainer or IDistList.
template <typename Base>
struct RefusingABContainer : RefusingContainer<Base> {
  using RefusingContainer<Base>::RefusingContainer;
  UAB_REFUSE(CreateEntry(ULONG, ENTRYID*, ULONG, IMAPIProp**))
  UAB_REFUSE(CopyEntries(ENTRYLIST*, ULONG_PTR, IMAPIProgress*, ULONG))
  UAB_REFUSE(DeleteEntries(ENTRYLIST*, ULONG))
  UAB_REFUSE(ResolveNames(SPropTagArray*, ULONG, ADRLIST*, FLAGLIST*))
};

// Slots 15 to 32 of an IAddrBook, such as a provider's own.
template <typename Base>
struct RefusingAddrBook : Base {
  using Base::Base;
  UAB_REFUSE(OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, IUnknown**))
  UAB_REFUSE(CompareEntryIDs(ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG, ULONG*))
  UAB_REFUSE(Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*, ULONG*))
  UAB_REFUSE(Unadvise(ULONG))
  UAB_REFUSE(CreateOneOff(WCHAR*, WCHAR*, WCHAR*, ULONG, ULONG*, ENTRYID**))
  UAB_REFUSE(NewEntry(ULONG_PTR, ULONG, ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG*, ENTRYID**))
  UAB_REFUSE(ResolveName(ULONG_PTR, ULONG, WCHAR*, ADRLIST*))
  UAB_REFUSE(Address(ULONG_PTR*, ADRPARM*, ADRLIST**))
  UAB_REFUSE(Details(ULONG_PTR*, DismissModelessFunction, void*, ULONG, ENTRYID*, DetailsButtonFunction, void*, WCHAR*,
                     ULONG))
  UAB_REFUSE(RecipOptions(ULONG_PTR, ULONG, ADRENTRY*))
  UAB_REFUSE(QueryDefaultRecipOpt(WCHAR*, ULONG, ULONG*, SPropValue**))
  UAB_REFUSE(GetPAB(ULONG*, ENTRYID**))
  UAB_REFUSE(SetPAB(ULONG, ENTRYID*))
  UAB_REFUSE(GetDefaultDir(ULONG*, ENTRYID**))
  UAB_REFUSE(SetDefaultDir(ULONG, ENTRYID*))
  UAB_REFUSE(GetSearchPath(ULONG, SRowSet**))
  UAB_REFUSE(SetSearchPath(ULONG, SRowSet*))
  UAB_REFUSE(PrepareRecips(ULONG, SPropTagArray*, ADRLIST*))
};

// Slots 4 to 26 of an IMAPITable.
template <typename Base>
struct RefusingTable : Base {
  using Base::Base;
  UAB_REFUSE(GetLastError(HRESULT, ULONG, MAPIERROR**))
  UAB_REFUSE(Advise(ULONG, IMAPIAdviseSink*, ULONG*))
  UAB_REFUSE(Unadvise(ULONG))
  UAB_REFUSE(GetStatus(ULONG*, ULONG*))
  UAB_REFUSE(SetColumns(SPropTagArray*, ULONG))
  UAB_REFUSE(QueryColumns(ULONG, SPropTagArray**))
  UAB_REFUSE(GetRowCount(ULONG, ULONG*))
  UAB_REFUSE(SeekRow(BOOKMARK, LONG, LONG*))
  UAB_REFUSE(SeekRowApprox(ULONG, ULONG))
  UAB_REFUSE(QueryPosition(ULONG*, ULONG*, ULONG*))
  UAB_REFUSE(FindRow(SRestriction*, BOOKMARK, ULONG))
  UAB_REFUSE(Restrict(SRestriction*, ULONG))
  UAB_REFUSE(CreateBookmark(BOOKMARK*))
  UAB_REFUSE(FreeBookmark(BOOKMARK))
  UAB_REFUSE(SortTable(SSortOrderSet*, ULONG))
  UAB_REFUSE(QuerySortOrder(SSortOrderSet**))
  UAB_REFUSE(QueryRows(LONG, ULONG, SRowSet**))
  UAB_REFUSE(Abort())
  UAB_REFUSE(ExpandRow(ULONG, BYTE*, ULONG, ULONG, SRowSet**, ULONG*))
  UAB_REFUSE(CollapseRow(ULONG, BYTE*, ULONG, ULONG*))
  UAB_REFUSE(WaitForCompletion(ULONG, ULONG, ULONG*))
  UAB_REFUSE(GetCollapseState(ULONG, ULONG, BYTE*, ULONG*, BYTE**))
  UAB_REFUSE(SetCollapseState(ULONG, ULONG, BYTE*, BOOKMARK*))
};

#undef UAB_REFUSE

}  // namespace uab
