// What every provider writes once: counted objects that keep exceptions inside, the memory that it hands out, and an
// answer for each slot that it leaves out. Copy it.
#pragma once

#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "keluab/keluab.h"

namespace guide {

using namespace uab;

// Runs the body of a slot: nothing that is thrown leaves it.
template <typename Body>
HRESULT Guard(Body body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

// The library's allocation routines: whatever a caller is to free comes from them.
struct Memory {
  UABAllocateBufferFunction allocate_buffer;
  UABAllocateMoreFunction allocate_more;
  UABFreeBufferFunction free_buffer;

  void* Allocate(std::size_t size) const {
    void* head = nullptr;
    if (size > 0xFFFFFF00u || Failed(allocate_buffer(static_cast<ULONG>(size), &head))) throw std::bad_alloc();
    return head;
  }
  // A copy that is freed with the head.
  void* Link(void* head, const void* data, std::size_t size) const {
    void* copy = nullptr;
    if (size > 0xFFFFFF00u || Failed(allocate_more(static_cast<ULONG>(size), head, &copy))) throw std::bad_alloc();
    if (size != 0) std::memcpy(copy, data, size);
    return copy;
  }
  WCHAR* LinkText(void* head, const WCHAR* text) const {
    std::size_t length = 0;
    while (text[length] != 0) ++length;
    return static_cast<WCHAR*>(Link(head, text, (length + 1) * sizeof(WCHAR)));
  }
};

// A head block under construction: freed unless it is handed over.
template <typename T>
class Block {
 public:
  Block(const Memory& memory, std::size_t size) : memory_(memory), data_(static_cast<T*>(memory.Allocate(size))) {}
  Block(Block&& other) noexcept : memory_(other.memory_), data_(std::exchange(other.data_, nullptr)) {}
  Block& operator=(const Block&) = delete;
  ~Block() {
    if (data_ != nullptr) memory_.free_buffer(data_);
  }
  T* get() const { return data_; }
  T* Detach() { return std::exchange(data_, nullptr); }

 private:
  const Memory& memory_;
  T* data_;
};

// What ABProviderOpen was given. Every object shares it, and the last one lets go of the support object.
class Library {
 public:
  Library(const Memory& routines, IUABSupport* counted) : memory(routines), support(counted) { support->AddRef(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { support->Release(); }

  const Memory memory;
  IUABSupport* const support;
};
using Shared = std::shared_ptr<const Library>;

inline void SetMissing(ULONG tag, SPropValue& value) {
  value.ulPropTag = WithPropType(tag, PT_ERROR);
  value.Value.err = MAPI_E_NOT_FOUND;
}

// Stores a value array as GetProps gives it. read(tag, head, value) fills in a value and links what it points to to the
// head; it answers false where there is none.
template <typename Read>
HRESULT MakeValues(const Memory& memory, const SPropTagArray& tags, ULONG* count, SPropValue** values, Read read) {
  if (tags.cValues == 0 || count == nullptr || values == nullptr) return E_INVALIDARG;
  Block<SPropValue> block(memory, tags.cValues * sizeof(SPropValue));
  HRESULT hr = S_OK;
  for (ULONG i = 0; i < tags.cValues; ++i) {
    SPropValue& value = block.get()[i];
    value.ulPropTag = tags.aulPropTag[i];
    if (read(tags.aulPropTag[i], block.get(), value)) continue;
    SetMissing(tags.aulPropTag[i], value);
    hr = MAPI_W_ERRORS_RETURNED;
  }
  *count = tags.cValues;
  *values = block.Detach();  // handed over last, when nothing can fail any more
  return hr;
}

// Stores a copy of a tag array, which the caller frees.
template <std::size_t N>
HRESULT MakeTags(const Memory& memory, const TagArray<N>& tags, SPropTagArray** copy) {
  if (copy == nullptr) return E_INVALIDARG;
  *copy = static_cast<SPropTagArray*>(std::memcpy(memory.Allocate(sizeof tags), &tags, sizeof tags));
  return S_OK;
}

// Slots 1 to 3. A new object carries one reference, which is its maker's.
template <typename Interface>
class Object : public Interface {
 public:
  HRESULT UAB_CALL QueryInterface(const IID& iid, void** object) noexcept override {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    if (!(iid == IID_IUnknown) && !Answers(iid)) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }
  ULONG UAB_CALL AddRef() noexcept override { return ++references_; }
  ULONG UAB_CALL Release() noexcept override {
    ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~Object() = default;  // behind the interface's slots, where it disturbs none
  virtual bool Answers(const IID& iid) const noexcept = 0;

 private:
  std::atomic<ULONG> references_{1};
};

#define GUIDE_REFUSE(slot) \
  HRESULT UAB_CALL slot noexcept override { return MAPI_E_NO_SUPPORT; }

// Slots 4 to 14.
template <typename Interface>
class PropBase : public Object<Interface> {
 public:
  GUIDE_REFUSE(GetLastError(HRESULT, ULONG, MAPIERROR**))
  GUIDE_REFUSE(SaveChanges(ULONG))
  GUIDE_REFUSE(GetProps(SPropTagArray*, ULONG, ULONG*, SPropValue**))
  GUIDE_REFUSE(GetPropList(ULONG, SPropTagArray**))
  GUIDE_REFUSE(OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**))
  GUIDE_REFUSE(SetProps(ULONG, SPropValue*, SPropProblemArray**))
  GUIDE_REFUSE(DeleteProps(SPropTagArray*, SPropProblemArray**))
  GUIDE_REFUSE(CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                      SPropProblemArray**))
  GUIDE_REFUSE(CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG, SPropProblemArray**))
  GUIDE_REFUSE(GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*, MAPINAMEID***))
  GUIDE_REFUSE(GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**))
};

// Slots 15 to 23, for containers, lists and recipients alike: each is asked only for the slots that its type promises.
// Copying is the library's work: its copy engine asks the object for what it needs.
class ContainerBase : public PropBase<IABContainer> {
 public:
  // shape: IID_IABContainer, IID_IDistList or IID_IMailUser
  ContainerBase(Shared library, const IID& shape) : library_(std::move(library)), shape_(shape) {}
  HRESULT UAB_CALL CopyTo(ULONG iids, const IID* excluded_iids, SPropTagArray* excluded, ULONG_PTR ui,
                          IMAPIProgress* progress, const IID* iid, void* destination, ULONG flags,
                          SPropProblemArray** problems) noexcept override {
    return library_->support->DoCopyTo(&shape_, this, iids, excluded_iids, excluded, ui, progress, iid, destination,
                                       flags, problems);
  }
  HRESULT UAB_CALL CopyProps(SPropTagArray* tags, ULONG_PTR ui, IMAPIProgress* progress, const IID* iid,
                             void* destination, ULONG flags, SPropProblemArray** problems) noexcept override {
    return library_->support->DoCopyProps(&shape_, this, tags, ui, progress, iid, destination, flags, problems);
  }
  GUIDE_REFUSE(GetContentsTable(ULONG, IMAPITable**))
  GUIDE_REFUSE(GetHierarchyTable(ULONG, IMAPITable**))
  GUIDE_REFUSE(OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, IUnknown**))
  GUIDE_REFUSE(SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG))
  GUIDE_REFUSE(GetSearchCriteria(ULONG, SRestriction**, ENTRYLIST**, ULONG*))
  GUIDE_REFUSE(CreateEntry(ULONG, ENTRYID*, ULONG, IMAPIProp**))
  GUIDE_REFUSE(CopyEntries(ENTRYLIST*, ULONG_PTR, IMAPIProgress*, ULONG))
  GUIDE_REFUSE(DeleteEntries(ENTRYLIST*, ULONG))
  GUIDE_REFUSE(ResolveNames(SPropTagArray*, ULONG, ADRLIST*, FLAGLIST*))

 protected:
  const Memory& memory() const { return library_->memory; }
  const Shared library_;

 private:
  bool Answers(const IID& iid) const noexcept override {
    return iid == shape_ || iid == IID_IMAPIProp || (iid == IID_IMAPIContainer && !(shape_ == IID_IMailUser));
  }
  const IID shape_;
};

// Hands a new object over under the interface that a caller asked for: any for null.
template <typename T>
HRESULT HandOver(T* made, const IID* iid, IUnknown** object) {
  HRESULT hr = made->QueryInterface(iid != nullptr ? *iid : IID_IUnknown, reinterpret_cast<void**>(object));
  made->Release();
  return hr;
}

// Slots 15 to 32.
class AddrBookBase : public PropBase<IAddrBook> {
 public:
  GUIDE_REFUSE(OpenEntry(ULONG, ENTRYID*, const IID*, ULONG, ULONG*, IUnknown**))
  GUIDE_REFUSE(CompareEntryIDs(ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG, ULONG*))
  GUIDE_REFUSE(Advise(ULONG, ENTRYID*, ULONG, IMAPIAdviseSink*, ULONG*))
  GUIDE_REFUSE(Unadvise(ULONG))
  GUIDE_REFUSE(CreateOneOff(WCHAR*, WCHAR*, WCHAR*, ULONG, ULONG*, ENTRYID**))
  GUIDE_REFUSE(NewEntry(ULONG_PTR, ULONG, ULONG, ENTRYID*, ULONG, ENTRYID*, ULONG*, ENTRYID**))
  GUIDE_REFUSE(ResolveName(ULONG_PTR, ULONG, WCHAR*, ADRLIST*))
  GUIDE_REFUSE(Address(ULONG_PTR*, ADRPARM*, ADRLIST**))
  GUIDE_REFUSE(Details(ULONG_PTR*, DismissModelessFunction, void*, ULONG, ENTRYID*, DetailsButtonFunction, void*,
                       WCHAR*, ULONG))
  GUIDE_REFUSE(RecipOptions(ULONG_PTR, ULONG, ADRENTRY*))
  GUIDE_REFUSE(QueryDefaultRecipOpt(WCHAR*, ULONG, ULONG*, SPropValue**))
  GUIDE_REFUSE(GetPAB(ULONG*, ENTRYID**))
  GUIDE_REFUSE(SetPAB(ULONG, ENTRYID*))
  GUIDE_REFUSE(GetDefaultDir(ULONG*, ENTRYID**))
  GUIDE_REFUSE(SetDefaultDir(ULONG, ENTRYID*))
  GUIDE_REFUSE(GetSearchPath(ULONG, SRowSet**))
  GUIDE_REFUSE(SetSearchPath(ULONG, SRowSet*))
  GUIDE_REFUSE(PrepareRecips(ULONG, SPropTagArray*, ADRLIST*))
};

// Slots 4 to 26.
class TableBase : public Object<IMAPITable> {
 public:
  GUIDE_REFUSE(GetLastError(HRESULT, ULONG, MAPIERROR**))
  GUIDE_REFUSE(Advise(ULONG, IMAPIAdviseSink*, ULONG*))
  GUIDE_REFUSE(Unadvise(ULONG))
  GUIDE_REFUSE(GetStatus(ULONG*, ULONG*))
  GUIDE_REFUSE(SetColumns(SPropTagArray*, ULONG))
  GUIDE_REFUSE(QueryColumns(ULONG, SPropTagArray**))
  GUIDE_REFUSE(GetRowCount(ULONG, ULONG*))
  GUIDE_REFUSE(SeekRow(BOOKMARK, LONG, LONG*))
  GUIDE_REFUSE(SeekRowApprox(ULONG, ULONG))
  GUIDE_REFUSE(QueryPosition(ULONG*, ULONG*, ULONG*))
  GUIDE_REFUSE(FindRow(SRestriction*, BOOKMARK, ULONG))
  GUIDE_REFUSE(Restrict(SRestriction*, ULONG))
  GUIDE_REFUSE(CreateBookmark(BOOKMARK*))
  GUIDE_REFUSE(FreeBookmark(BOOKMARK))
  GUIDE_REFUSE(SortTable(SSortOrderSet*, ULONG))
  GUIDE_REFUSE(QuerySortOrder(SSortOrderSet**))
  GUIDE_REFUSE(QueryRows(LONG, ULONG, SRowSet**))
  GUIDE_REFUSE(Abort())
  GUIDE_REFUSE(ExpandRow(ULONG, BYTE*, ULONG, ULONG, SRowSet**, ULONG*))
  GUIDE_REFUSE(CollapseRow(ULONG, BYTE*, ULONG, ULONG*))
  GUIDE_REFUSE(WaitForCompletion(ULONG, ULONG, ULONG*))
  GUIDE_REFUSE(GetCollapseState(ULONG, ULONG, BYTE*, ULONG*, BYTE**))
  GUIDE_REFUSE(SetCollapseState(ULONG, ULONG, BYTE*, BOOKMARK*))
};

#undef GUIDE_REFUSE

}  // namespace guide
