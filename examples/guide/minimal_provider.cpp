// The smallest useful provider: one container with two recipients and a list of both. Nothing of it ever changes.
#include <iterator>

#include "provider_recipients.h"
#include "provider_table.h"

using namespace guide;

namespace {

// Make your own: every identifier of this provider carries it, and the library routes by it.
constexpr MAPIUID kUid = {{0x5B, 0x90, 0x1E, 0xC4, 0x77, 0x3A, 0x4D, 6, 0xA1, 0x2F, 0x58, 0xE3, 0xD, 0x96, 0xB4, 1}};

struct Item {
  const IID* iid;
  ULONG type;
  const WCHAR* name;
  const WCHAR* address;
  std::vector<ULONG> members;
};
const Item kItems[] = {{&IID_IABContainer, MAPI_ABCONT, UAB_TEXT("People"), nullptr, {1, 2, 3}},
                       {&IID_IMailUser, MAPI_MAILUSER, UAB_TEXT("Ada Example"), UAB_TEXT("+1 555 0100"), {}},
                       {&IID_IMailUser, MAPI_MAILUSER, UAB_TEXT("Bo Example"), UAB_TEXT("+1 555 0101"), {}},
                       {&IID_IDistList, MAPI_DISTLIST, UAB_TEXT("Everybody"), nullptr, {1, 2}}};
constexpr TagArray<5> kTags = {5, {PR_ENTRYID, PR_OBJECT_TYPE, PR_DISPLAY_NAME_W, PR_ADDRTYPE_W, PR_EMAIL_ADDRESS_W}};

struct EntryId {  // flags, the MAPIUID, and what tells the provider's own entries apart
  BYTE flags[4];
  MAPIUID uid;
  ULONG item;
};

bool ReadId(ULONG size, const void* entry, ULONG& item) {
  EntryId id;
  if (entry == nullptr || size != sizeof id) return false;
  std::memcpy(&id, entry, sizeof id);  // an identifier may lie anywhere
  item = id.item;
  return std::memcmp(&id.uid, &kUid, sizeof kUid) == 0 && item < std::size(kItems);
}

bool ReadProp(const Memory& memory, ULONG number, ULONG tag, void* head, SPropValue& value) {
  const Item& item = kItems[number];
  const WCHAR* text = tag == PR_DISPLAY_NAME_W ? item.name : tag == PR_EMAIL_ADDRESS_W ? item.address : nullptr;
  if (tag == PR_ADDRTYPE_W && item.address != nullptr) text = UAB_TEXT("FAX");
  if (text != nullptr) return value.Value.lpszW = memory.LinkText(head, text), true;
  if (tag == PR_OBJECT_TYPE) return value.Value.ul = item.type, true;
  if (tag == PR_CONTAINER_FLAGS && item.type == MAPI_ABCONT) return value.Value.ul = AB_RECIPIENTS, true;
  if (tag == PR_DEPTH && item.type == MAPI_ABCONT) return value.Value.ul = 0, true;
  if (tag != PR_ENTRYID) return false;
  EntryId id = {{}, kUid, number};
  value.Value.bin = {sizeof id, static_cast<BYTE*>(memory.Link(head, &id, sizeof id))};
  return true;
}

HRESULT ReadProps(const Memory& memory, ULONG number, SPropTagArray* tags, ULONG* count, SPropValue** values) {
  auto read = [&](ULONG tag, void* head, SPropValue& value) { return ReadProp(memory, number, tag, head, value); };
  return Guard([&] { return MakeValues(memory, tags != nullptr ? *tags : *kTags.address(), count, values, read); });
}

HRESULT OpenItem(const Shared& library, ULONG size, ENTRYID* id, const IID* iid, ULONG* type, IUnknown** object);

class Entry final : public ContainerBase {
 public:
  Entry(Shared library, ULONG number) : ContainerBase(std::move(library), *kItems[number].iid), number_(number) {}
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) noexcept override {
    return ReadProps(memory(), number_, tags, count, values);
  }
  HRESULT UAB_CALL GetPropList(ULONG, SPropTagArray** tags) noexcept override {
    return Guard([&] { return MakeTags(memory(), kTags, tags); });
  }
  HRESULT UAB_CALL GetContentsTable(ULONG, IMAPITable** table) noexcept override {
    if (table == nullptr) return E_INVALIDARG;
    const std::vector<ULONG>& members = kItems[number_].members;
    if (members.empty()) return MAPI_E_NO_SUPPORT;
    return Guard([&] {
      auto read = [library = library_, &members](std::size_t row, SPropTagArray* tags, ULONG* count,
                                                 SPropValue** row_values) {
        return ReadProps(library->memory, members[row], tags, count, row_values);
      };
      *table = new Table(memory(), members.size(), read);
      return S_OK;
    });
  }
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* id, const IID* iid, ULONG, ULONG* type,
                             IUnknown** object) noexcept override {
    return OpenItem(library_, size, id, iid, type, object);
  }

 private:
  const ULONG number_;
};

HRESULT OpenItem(const Shared& library, ULONG size, ENTRYID* id, const IID* iid, ULONG* type, IUnknown** object) {
  ULONG number = 0;
  if (object == nullptr) return E_INVALIDARG;
  if (!ReadId(size, id, number)) return MAPI_E_INVALID_ENTRYID;
  return Guard([&] {
    HRESULT hr = HandOver(new Entry(library, number), iid, object);
    if (Succeeded(hr) && type != nullptr) *type = kItems[number].type;
    return hr;
  });
}

class Provider final : public AddrBookBase {
 public:
  explicit Provider(Shared library) : library_(std::move(library)) {}
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) noexcept override {
    return ReadProps(library_->memory, 0, tags, count, values);  // those of its top-level container
  }
  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* id, const IID* iid, ULONG, ULONG* type,
                             IUnknown** object) noexcept override {
    return OpenItem(library_, size, id, iid, type, object);
  }
  HRESULT UAB_CALL PrepareRecips(ULONG, SPropTagArray* tags, ADRLIST* list) noexcept override {
    if (list == nullptr || tags == nullptr) return list == nullptr ? E_INVALIDARG : S_OK;
    auto read = [&](const SBinary& id, ULONG tag, void* head, SPropValue& value) {
      ULONG number = 0;
      return ReadId(id.cb, id.lpb, number) && ReadProp(library_->memory, number, tag, head, value);
    };
    return Guard([&] { return CompleteRecipients(library_->memory, *tags, *list, read); });
  }

 private:
  bool Answers(const IID& iid) const noexcept override { return iid == IID_IAddrBook || iid == IID_IMAPIProp; }
  const Shared library_;
};

}  // namespace

extern "C" UAB_PLUGIN_EXPORT HRESULT UAB_CALL ABProviderOpen(WCHAR*, HINSTANCE, IUABSupport* support, IMAPIProp*,
                                                             ULONG_PTR, ULONG, UABAllocateBufferFunction allocate,
                                                             UABAllocateMoreFunction allocate_more,
                                                             UABFreeBufferFunction free_buffer, IAddrBook** provider,
                                                             ULONG_PTR) {
  if (support == nullptr || provider == nullptr) return E_INVALIDARG;
  return Guard([&]() -> HRESULT {
    Shared library = std::make_shared<const Library>(Memory{allocate, allocate_more, free_buffer}, support);
    MAPIUID uid = kUid;
    if (HRESULT hr = support->SetProviderUID(&uid, 0); Failed(hr)) return hr;
    *provider = new Provider(std::move(library));
    return S_OK;
  });
}

// Nothing to set up and nothing to ask for.
extern "C" UAB_PLUGIN_EXPORT HRESULT UAB_CALL MinimalServiceEntry(HINSTANCE, ULONG_PTR, ULONG, ULONG context, ULONG,
                                                                  SPropValue*, IMAPIProp*, IUABSupport*, ULONG_PTR) {
  return context == MSG_SERVICE_CREATE || context == MSG_SERVICE_CONFIGURE ? S_OK : MAPI_E_NO_SUPPORT;
}
