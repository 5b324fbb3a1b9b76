// The object behind ABProviderOpen: the service as the address book sees it.
#include "provider.h"

#include "container_object.h"
#include "recipients.h"
#include "settings.h"

namespace uab::vcard {
namespace {

class Provider final : public RefusingAddrBook<FolderObject<IAddrBook, IID_IMAPIProp, IID_IAddrBook>> {
 public:
  explicit Provider(std::shared_ptr<Folder> folder) : RefusingAddrBook(std::move(folder), IID_IMAPIProp, {}) {}
  ~Provider() override {
    folder_->Run([&] { return folder_->SaveAll(); });
  }

  HRESULT UAB_CALL OpenEntry(ULONG size, ENTRYID* entry, const IID* iid, ULONG flags, ULONG* type,
                             IUnknown** object) noexcept override {
    return OpenEntryObject(folder_, size, entry, iid, flags, type, object);
  }

  HRESULT UAB_CALL CompareEntryIDs(ULONG size1, ENTRYID* entry1, ULONG size2, ENTRYID* entry2, ULONG,
                                   ULONG* result) noexcept override {
    if (result == nullptr) return E_INVALIDARG;
    EntryName first, second;
    if (!folder_->Read(size1, entry1, first) || !folder_->Read(size2, entry2, second)) return MAPI_E_UNKNOWN_ENTRYID;
    *result = first.kind == second.kind && first.book == second.book && first.card == second.card ? 1 : 0;
    return S_OK;
  }

  HRESULT UAB_CALL Advise(ULONG size, ENTRYID* entry, ULONG mask, IMAPIAdviseSink* sink,
                          ULONG* connection) noexcept override {
    if (sink == nullptr || connection == nullptr) return E_INVALIDARG;
    *connection = 0;
    return folder_->Run([&]() -> HRESULT {
      EntryName name;
      if (!folder_->Read(size, entry, name)) return MAPI_E_INVALID_ENTRYID;
      return folder_->Advise(IdentifierBytes(entry, size), mask, sink, connection);
    });
  }
  HRESULT UAB_CALL Unadvise(ULONG connection) noexcept override {
    Ref<IMAPIAdviseSink> sink;
    return folder_->Run([&] { return folder_->Unadvise(connection, sink); });
  }

  // Makes a card at once, without asking: the caller opens it with MAPI_MODIFY and gives it a name and a number.
  HRESULT UAB_CALL NewEntry(ULONG_PTR, ULONG, ULONG container_size, ENTRYID* container, ULONG template_size,
                            ENTRYID* entry_template, ULONG* size, ENTRYID** entry) noexcept override {
    if (size == nullptr || entry == nullptr) return E_INVALIDARG;
    *size = 0;
    *entry = nullptr;
    Ref<IMAPIProp> made;
    HRESULT hr = folder_->Run([&]() -> HRESULT {
      BookNumber book = 0;
      if (const HRESULT where = FindContainer(container_size, container, book); Failed(where)) return where;
      const std::string user = folder_->TemplateId(EntryKind::kUserTemplate);
      const bool given = entry_template != nullptr && template_size != 0;
      IMAPIProp* object = nullptr;
      const HRESULT result =
          CreateEntryObject(folder_, book, std::nullopt, given ? template_size : static_cast<ULONG>(user.size()),
                            given ? static_cast<const void*>(entry_template) : user.data(), &object);
      made = Ref<IMAPIProp>::Attach(object);
      return result;
    });
    if (Succeeded(hr)) hr = SaveNamed(*made.operator->());
    return Failed(hr) ? hr : CopyId(*made.operator->(), size, entry);
  }

  HRESULT UAB_CALL PrepareRecips(ULONG flags, SPropTagArray* tags, ADRLIST* list) noexcept override {
    if (list == nullptr || flags != 0) return E_INVALIDARG;
    if (tags == nullptr || tags->cValues == 0 || list->cEntries == 0) return S_OK;
    return folder_->Run([&] { return PrepareRecipients(*folder_, *tags, *list); });
  }

 protected:
  HRESULT Collect(const SPropTagArray*, Properties& properties) override {
    properties = RootProperties(*folder_);
    return S_OK;
  }

 private:
  // Without a container the default file; the root stands for it too.
  HRESULT FindContainer(ULONG size, const ENTRYID* container, BookNumber& book) {
    EntryName name;
    if (container == nullptr || size == 0) return S_OK;
    if (!folder_->Read(size, container, name)) return MAPI_E_INVALID_ENTRYID;
    if (name.kind == EntryKind::kRoot) return S_OK;
    const std::optional<BookNumber> found = folder_->FindBook(name.book);
    if (name.kind != EntryKind::kBook || !found) return MAPI_E_NOT_FOUND;
    book = *found;
    return S_OK;
  }

  static HRESULT SaveNamed(IMAPIProp& object) noexcept {
    WCHAR name[] = UAB_TEXT("New entry");
    SPropValue value{};
    value.ulPropTag = PR_DISPLAY_NAME_W;
    value.Value.lpszW = name;
    const HRESULT hr = object.SetProps(1, &value, nullptr);
    return Failed(hr) ? hr : object.SaveChanges(KEEP_OPEN_READWRITE);
  }

  HRESULT CopyId(IMAPIProp& object, ULONG* size, ENTRYID** entry) noexcept {
    constexpr TagArray<1> kTags{1, {PR_ENTRYID}};
    ULONG count = 0;
    SPropValue* values = nullptr;
    if (const HRESULT hr = object.GetProps(kTags.address(), MAPI_UNICODE, &count, &values); Failed(hr)) return hr;
    const HRESULT hr = Guard([&]() -> HRESULT {
      const SBinary& id = values[0].Value.bin;
      *entry = folder_->memory().AllocateAs<ENTRYID>(id.cb);
      std::copy_n(id.lpb, id.cb, reinterpret_cast<BYTE*>(*entry));
      *size = id.cb;
      return S_OK;
    });
    folder_->memory().free(values);
    return hr;
  }
};

}  // namespace

HRESULT OpenProvider(IUABSupport* support, IMAPIProp* section, const Memory& memory, IAddrBook** provider) {
  const ServiceSettings stored = ReadSettings(section, memory);
  FolderSettings settings{stored.folder, stored.default_file, stored.uid, memory, Ref<IUABSupport>(support)};
  auto folder = std::make_shared<Folder>(std::move(settings));
  auto made = Ref<IAddrBook>::Attach(new Provider(std::move(folder)));
  MAPIUID uid = stored.uid;
  if (const HRESULT hr = support->SetProviderUID(&uid, 0); Failed(hr) && hr != MAPI_E_COLLISION) return hr;
  *provider = made.Detach();
  return S_OK;
}

}  // namespace uab::vcard

extern "C" uab::HRESULT UAB_CALL ABProviderOpen(uab::WCHAR*, uab::HINSTANCE, uab::IUABSupport* support,
                                                uab::IMAPIProp* section, uab::ULONG_PTR, uab::ULONG,
                                                uab::UABAllocateBufferFunction allocate,
                                                uab::UABAllocateMoreFunction allocate_more,
                                                uab::UABFreeBufferFunction free_buffer, uab::IAddrBook** provider,
                                                uab::ULONG_PTR) {
  using namespace uab;
  if (provider == nullptr) return E_INVALIDARG;
  *provider = nullptr;
  if (!support || !section || !allocate || !allocate_more || !free_buffer) return E_INVALIDARG;
  return vcard::Guard([&] {
    return vcard::OpenProvider(support, section, {allocate, allocate_more, free_buffer}, provider);
  });
}
