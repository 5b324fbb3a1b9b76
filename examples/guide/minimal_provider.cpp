// A whole provider: one container with two users and a list of both, which never change. It stands on KELUAB's headers
// alone. In order: the address list, a table of it, its entries, the provider's own object, the two exports.
#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

#include "keluab/keluab.h"
#include "keluab/objects.h"
#include "keluab/value_arrays.h"

using namespace uab;

namespace {

// Make your own: every identifier of this provider carries it, and the library routes calls by it.
constexpr MAPIUID kUid = {{0x5B, 0x90, 0x1E, 0xC4, 0x77, 0x3A, 0x4D, 6, 0xA1, 0x2F, 0x58, 0xE3, 0xD, 0x96, 0xB4, 1}};

struct EntryId {  // flags, the MAPIUID, and what tells the provider's own entries apart
  BYTE flags[4];
  MAPIUID uid;
  ULONG number;
};
struct Item : ADRENTRY {  // its properties, in the form that a recipient's have
  Item(ULONG number, ULONG type, ULONG member_count, const WCHAR* name, const WCHAR* fax)
      : ADRENTRY{0, 0, values}, id{{}, kUid, number}, members(member_count) {
    Add(PR_ENTRYID).bin = {sizeof id, reinterpret_cast<BYTE*>(&id)};
    Add(PR_OBJECT_TYPE).ul = type;
    Add(PR_DISPLAY_NAME_W).lpszW = const_cast<WCHAR*>(name);
    if (fax != nullptr) Add(PR_ADDRTYPE_W).lpszW = const_cast<WCHAR*>(UAB_TEXT("FAX"));
    if (fax != nullptr) Add(PR_EMAIL_ADDRESS_W).lpszW = const_cast<WCHAR*>(fax);
    if (type == MAPI_ABCONT) Add(PR_CONTAINER_FLAGS).ul = AB_RECIPIENTS;
    if (type == MAPI_ABCONT) Add(PR_DEPTH).ul = 0;
  }
  SPropValueUnion& Add(ULONG tag) {
    values[cValues].ulPropTag = tag;
    return values[cValues++].Value;
  }
  SPropValue values[5] = {};
  EntryId id;
  ULONG members;  // it holds so many items, from kItems[1] on
} kItems[] = {{0, MAPI_ABCONT, 3, UAB_TEXT("People"), nullptr},
              {1, MAPI_MAILUSER, 0, UAB_TEXT("Ada Example"), UAB_TEXT("+1 555 0100")},
              {2, MAPI_MAILUSER, 0, UAB_TEXT("Bo Example"), UAB_TEXT("+1 555 0101")},
              {3, MAPI_DISTLIST, 2, UAB_TEXT("Everybody"), nullptr}};

const Item* FindItem(const SBinary& id) {  // which may be anything, and lie anywhere
  for (const Item& item : kItems) {
    if (id.lpb != nullptr && id.cb == sizeof item.id && std::memcmp(id.lpb, &item.id, id.cb) == 0) return &item;
  }
  return nullptr;
}

class Table final : public RefusingTable<Counted<IMAPITable, IID_IMAPITable>> {  // the members, read forward
 public:
  Table(const MemoryRoutines& memory, ULONG rows) : memory_(memory), rows_(rows) {}
  HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG) noexcept override {
    if (tags == nullptr || tags->cValues == 0 || tags->cValues > std::size(columns_.aulPropTag)) return E_INVALIDARG;
    std::lock_guard lock(mutex_);
    std::memcpy(&columns_, tags, 4 * (1 + tags->cValues));  // the caller's array may be gone tomorrow
    return S_OK;
  }
  HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG*) noexcept override {
    if (origin != BOOKMARK_BEGINNING || count != 0) return MAPI_E_NO_SUPPORT;
    std::lock_guard lock(mutex_);
    position_ = 0;
    return S_OK;
  }
  HRESULT UAB_CALL QueryRows(LONG count, ULONG, SRowSet** rows) noexcept override {
    if (count <= 0 || rows == nullptr) return E_INVALIDARG;
    std::lock_guard lock(mutex_);
    const Item* first = &kItems[1 + position_];
    const ULONG wanted = std::min(static_cast<ULONG>(count), rows_ - position_);
    auto item = [&](ULONG row) -> const ADRENTRY& { return first[row]; };
    HRESULT hr = MakeRows(memory_, *columns_.address(), wanted, item, rows);
    if (Succeeded(hr)) position_ += wanted;
    return hr;
  }

 private:
  const MemoryRoutines memory_;
  const ULONG rows_;
  std::mutex mutex_;  // of the position, which all threads share, and the columns
  ULONG position_ = 0;
  TagArray<32> columns_ = {3, {PR_ENTRYID, PR_DISPLAY_NAME_W, PR_OBJECT_TYPE}};
};

using EntryBase = Counted<IABContainer, IID_IABContainer, IID_IDistList, IID_IMailUser, IID_IMAPIProp>;
class Entry final : public RefusingABContainer<RefusingProp<EntryBase>> {
 public:
  Entry(const MemoryRoutines& memory, const Item& item) : memory_(memory), item_(item) {}
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) noexcept override {
    return MakeValues(memory_, tags, item_, {}, count, values);
  }
  HRESULT UAB_CALL GetContentsTable(ULONG, IMAPITable** table) noexcept override {
    if (table == nullptr) return E_INVALIDARG;
    if (item_.members == 0) return MAPI_E_NO_SUPPORT;
    *table = new (std::nothrow) Table(memory_, item_.members);
    return *table != nullptr ? S_OK : E_OUTOFMEMORY;
  }

 private:
  const MemoryRoutines memory_;
  const Item& item_;
};

class Provider final : public RefusingAddrBook<RefusingProp<Counted<IAddrBook, IID_IAddrBook, IID_IMAPIProp>>> {
 public:
  explicit Provider(const MemoryRoutines& memory) : memory_(memory) {}
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) noexcept override {
    return MakeValues(memory_, tags, kItems[0], {}, count, values);
  }
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* id, const IID* iid, ULONG, ULONG* type,
                             IUnknown** object) noexcept override {
    const Item* item = FindItem({size, reinterpret_cast<BYTE*>(id)});
    if (object == nullptr) return E_INVALIDARG;
    if (item == nullptr) return MAPI_E_INVALID_ENTRYID;
    if (iid != nullptr && !Entry::Answers(*iid)) return E_NOINTERFACE;
    *object = new (std::nothrow) Entry(memory_, *item);
    if (type != nullptr) *type = FindValue(*item, PR_OBJECT_TYPE)->Value.ul;
    return *object != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT UAB_CALL PrepareRecips(ULONG, SPropTagArray* tags, ADRLIST* list) noexcept override {
    return CompleteRecipients(memory_, tags, list, FindItem);
  }

 private:
  const MemoryRoutines memory_;
};

}  // namespace

extern "C" UAB_PLUGIN_EXPORT HRESULT UAB_CALL ABProviderOpen(WCHAR*, HINSTANCE, IUABSupport* support, IMAPIProp*,
                                                             ULONG_PTR, ULONG, UABAllocateBufferFunction allocate,
                                                             UABAllocateMoreFunction allocate_more,
                                                             UABFreeBufferFunction free_buffer, IAddrBook** provider,
                                                             ULONG_PTR) {
  if (support == nullptr || provider == nullptr) return E_INVALIDARG;
  MAPIUID uid = kUid;
  if (HRESULT hr = support->SetProviderUID(&uid, 0); Failed(hr)) return hr;
  *provider = new (std::nothrow) Provider({allocate, allocate_more, free_buffer});
  return *provider != nullptr ? S_OK : E_OUTOFMEMORY;
}

// Nothing to set up and nothing to ask for.
extern "C" UAB_PLUGIN_EXPORT HRESULT UAB_CALL MinimalServiceEntry(HINSTANCE, ULONG_PTR, ULONG, ULONG context, ULONG,
                                                                  SPropValue*, IMAPIProp*, IUABSupport*, ULONG_PTR) {
  return context == MSG_SERVICE_CREATE || context == MSG_SERVICE_CONFIGURE ? S_OK : MAPI_E_NO_SUPPORT;
}
