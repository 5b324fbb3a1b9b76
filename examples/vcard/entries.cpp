// Cards as objects: recipients and distribution lists, and opening an entry of any kind.
#include "card_editor.h"
#include "container_object.h"

namespace uab::vcard {
namespace {

// Slots 5, 9 and 10 over a card handle; Base is FolderObject or ContainerObject of the interface.
template <typename Base>
class CardObject : public Base {
 public:
  HRESULT UAB_CALL SaveChanges(ULONG flags) noexcept override {
    return this->folder_->Run([&] { return card_->Save(flags); });
  }
  HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray** problems) noexcept override {
    return this->folder_->Run([&] { return card_->Set(count, values, problems); });
  }
  HRESULT UAB_CALL DeleteProps(SPropTagArray* tags, SPropProblemArray** problems) noexcept override {
    return this->folder_->Run([&] { return card_->Delete(tags, problems); });
  }

 protected:
  CardObject(std::shared_ptr<Folder> folder, const IID& iid, std::vector<ULONG> objects,
             std::unique_ptr<CardHandle> card)
      : Base(std::move(folder), iid, std::move(objects)), card_(std::move(card)) {}
  HRESULT Collect(const SPropTagArray* tags, Properties& properties) override {
    return card_->Collect(tags, properties);
  }

  std::unique_ptr<CardHandle> card_;
};

class User final : public CardObject<FolderObject<IMailUser, IID_IMAPIProp, IID_IMailUser>> {
 public:
  User(std::shared_ptr<Folder> folder, std::unique_ptr<CardHandle> card)
      : CardObject(std::move(folder), IID_IMailUser, {}, std::move(card)) {}
};

class List final : public CardObject<ContainerObject<IDistList, IID_IMAPIProp, IID_IMAPIContainer, IID_IDistList>> {
 public:
  List(std::shared_ptr<Folder> folder, std::unique_ptr<CardHandle> card)
      : CardObject(std::move(folder), IID_IDistList, {PR_CONTAINER_CONTENTS, PR_CREATE_TEMPLATES}, std::move(card)) {}

 protected:
  HRESULT Collect(const SPropTagArray* tags, Properties& properties) override {
    AddTemplates(properties);
    if (tags != nullptr && tags->cValues == 1 && properties.Find(tags->aulPropTag[0]) != nullptr) return S_OK;
    return card_->Collect(tags, properties);
  }
  std::unique_ptr<RowSource> Contents() override {
    folder_->RefreshAll();
    const std::optional<CardRef> list = card_->Find();
    return CardRows(*folder_, list ? folder_->MembersOf(*list) : std::vector<CardRef>());
  }
  HRESULT Create(ULONG size, const ENTRYID* entry, IMAPIProp** object) override {
    const std::optional<CardRef> list = card_->Find();
    if (!list) return MAPI_E_NOT_FOUND;  // it has to be saved first
    return CreateEntryObject(folder_, card_->book(), list, size, entry, object);
  }
  HRESULT Link(const ENTRYLIST& entries, ULONG flags) override {
    folder_->Refresh(card_->book());
    const std::optional<CardRef> list = card_->Find();
    if (!list) return MAPI_E_NOT_FOUND;
    std::vector<CardRef> cards;
    if (const HRESULT hr = FindAll(*folder_, entries, cards); Failed(hr)) return hr;
    HRESULT first = S_OK;  // failure; what can be linked is
    const auto note = [&first](HRESULT hr) { first = Failed(first) ? first : hr; };
    for (const CardRef& card : cards) note(folder_->AddMember(*list, card, (flags & 1) == 0));
    for (const CardRef& card : cards) note(folder_->book(card.book).Save(false));  // where one has been given its UID
    note(folder_->book(card_->book()).Save(false));
    return first;
  }

  // Takes the members out of the list; the cards stay.
  HRESULT Remove(const ENTRYLIST& entries) override {
    folder_->Refresh(card_->book());
    const std::optional<CardRef> list = card_->Find();
    if (!list) return MAPI_E_NOT_FOUND;
    std::vector<CardRef> cards;
    if (const HRESULT hr = FindAll(*folder_, entries, cards); Failed(hr)) return hr;
    std::unordered_set<CardKey, CardKeyHash> gone;
    for (const CardRef& card : cards) {
      const CardStore& store = folder_->book(card.book).cards();
      gone.insert(store.key(card.card));
      for (const std::string& mail : MailAddressesOf(store.text(card.card))) gone.insert(HashKey("mailto:" + mail));
    }
    std::string text(folder_->book(list->book).cards().text(list->card));
    const bool removed = RemoveMembers(text, [&](const MemberAddress& member) {
      return gone.contains(HashKey(member.mail ? "mailto:" + member.text : member.text));
    });
    if (!removed) return E_ACCESSDENIED;
    folder_->ReplaceCard(*list, std::move(text));
    return folder_->book(list->book).Save(false);
  }
};

}  // namespace

IDistList* MakeList(std::shared_ptr<Folder> folder, std::unique_ptr<CardHandle> card) {
  return new List(std::move(folder), std::move(card));
}

IMailUser* MakeUser(std::shared_ptr<Folder> folder, std::unique_ptr<CardHandle> card) {
  return new User(std::move(folder), std::move(card));
}

HRESULT CreateEntryObject(const std::shared_ptr<Folder>& folder, BookNumber book, std::optional<CardRef> list,
                          ULONG size, const void* entry_template, IMAPIProp** object) {
  EntryName name;
  if (!folder->Read(size, entry_template, name)) return MAPI_E_INVALID_ENTRYID;
  if (name.kind != EntryKind::kUserTemplate && name.kind != EntryKind::kListTemplate) return MAPI_E_INVALID_ENTRYID;
  const bool group = name.kind == EntryKind::kListTemplate;
  auto card = std::make_unique<CardHandle>(folder, book, group, list);
  if (group) {
    *object = MakeList(folder, std::move(card));
  } else {
    *object = MakeUser(folder, std::move(card));
  }
  return S_OK;
}

HRESULT OpenEntryObject(const std::shared_ptr<Folder>& folder, ULONG size, const void* entry, const IID* iid,
                        ULONG flags, ULONG* object_type, IUnknown** object) noexcept {
  if (object_type == nullptr || object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  *object_type = 0;
  Ref<IMAPIProp> made;  // released outside the lock: what closes may have to write
  ULONG type = MAPI_ABCONT;
  const HRESULT hr = folder->Run([&]() -> HRESULT {
    EntryName name;
    if (size != 0 && !folder->Read(size, entry, name)) return MAPI_E_INVALID_ENTRYID;
    if (name.kind == EntryKind::kRoot) return made = Ref<IMAPIProp>::Attach(MakeRoot(folder)), S_OK;
    if (name.kind == EntryKind::kBook) {
      std::optional<BookNumber> book = folder->FindBook(name.book);
      if (!book) folder->Rescan(), book = folder->FindBook(name.book);
      if (!book) return MAPI_E_NOT_FOUND;
      made = Ref<IMAPIProp>::Attach(MakeBook(folder, *book));
      return S_OK;
    }
    std::optional<CardRef> card = folder->FindCard(name);
    if (!card) folder->RefreshAll(), card = folder->FindCard(name);
    if (!card) return MAPI_E_NOT_FOUND;
    auto handle = std::make_unique<CardHandle>(folder, *card, (flags & MAPI_MODIFY) != 0);
    const bool group = handle->group();
    type = group ? MAPI_DISTLIST : MAPI_MAILUSER;
    made = group ? Ref<IMAPIProp>::Attach(MakeList(folder, std::move(handle)))
                 : Ref<IMAPIProp>::Attach(MakeUser(folder, std::move(handle)));
    return S_OK;
  });
  if (Failed(hr)) return hr;
  void* answer = nullptr;
  if (const HRESULT refused = made->QueryInterface(iid == nullptr ? IID_IUnknown : *iid, &answer); Failed(refused)) {
    return refused;
  }
  *object = static_cast<IUnknown*>(answer);
  *object_type = type;
  return S_OK;
}

}  // namespace uab::vcard
