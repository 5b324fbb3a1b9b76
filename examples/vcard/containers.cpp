// The service's root, whose containers are the address files, and one address file.
#include "card_editor.h"
#include "container_object.h"

namespace uab::vcard {
namespace {

class Root final : public ContainerObject<IABContainer, IID_IMAPIProp, IID_IMAPIContainer, IID_IABContainer> {
 public:
  explicit Root(std::shared_ptr<Folder> folder)
      : ContainerObject(std::move(folder), IID_IABContainer, ContainerObjects()) {}

 protected:
  HRESULT Collect(const SPropTagArray*, Properties& properties) override {
    properties = RootProperties(*folder_);
    return S_OK;
  }
  std::unique_ptr<RowSource> Hierarchy() override {
    folder_->Rescan();
    std::vector<Properties> rows;
    for (BookNumber book = 0; book < folder_->book_count(); ++book) {
      if (book == 0 || folder_->book(book).there()) rows.push_back(BookProperties(*folder_, book, false));
    }
    return FixedRows(std::move(rows));
  }
  HRESULT Remove(const ENTRYLIST& entries) override { return DeleteCards(*folder_, entries, std::nullopt); }
};

class BookContainer final : public ContainerObject<IABContainer, IID_IMAPIProp, IID_IMAPIContainer, IID_IABContainer> {
 public:
  BookContainer(std::shared_ptr<Folder> folder, BookNumber book)
      : ContainerObject(folder, IID_IABContainer, ContainerObjects()), book_(book), writer_(folder, book) {}

  HRESULT UAB_CALL SaveChanges(ULONG) noexcept override {
    return folder_->Run([&] { return folder_->book(book_).Save(true); });
  }

  // Nothing of a container can be changed, but a copy of another container's properties is no failure.
  HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray** out) noexcept override {
    if (values == nullptr && count != 0) return E_INVALIDARG;
    return Guard([&]() -> HRESULT {
      std::vector<SPropProblem> problems;
      for (ULONG i = 0; i < count; ++i) {
        if (values[i].ulPropTag != PR_NULL) problems.push_back({i, values[i].ulPropTag, MAPI_E_COMPUTED});
      }
      return HandOverProblems(folder_->memory(), problems, out);
    });
  }

 protected:
  HRESULT Collect(const SPropTagArray* tags, Properties& properties) override {
    properties = BookProperties(*folder_, book_, Wants(tags, PR_VCARD_SKIPPED));
    AddTemplates(properties);
    return S_OK;
  }
  std::unique_ptr<RowSource> Contents() override {
    folder_->Refresh(book_);
    return CardRows(*folder_, folder_->ContentsOf(book_));
  }
  HRESULT Create(ULONG size, const ENTRYID* entry, IMAPIProp** object) override {
    return CreateEntryObject(folder_, book_, std::nullopt, size, entry, object);
  }

  // A card of this file is there already; one of another file is copied with its UID, by which lists name it.
  HRESULT Link(const ENTRYLIST& entries, ULONG) override {
    folder_->Refresh(book_);
    std::vector<CardRef> cards;
    if (const HRESULT hr = FindAll(*folder_, entries, cards); Failed(hr)) return hr;
    CardStore& own = folder_->book(book_).cards();
    for (const CardRef& card : cards) {
      CardStore& from = folder_->book(card.book).cards();
      if (card.book == book_ || own.Find(from.key(card.card))) continue;
      std::string text(from.text(card.card));
      if (!from.HasUid(card.card)) SetUid(text, from.UidOf(card.card));
      folder_->AddCard(book_, std::move(text));
    }
    return folder_->book(book_).Save(false);
  }
  HRESULT Remove(const ENTRYLIST& entries) override { return DeleteCards(*folder_, entries, book_); }

 private:
  BookNumber book_;
  Writer writer_;
};

}  // namespace

Properties RootProperties(Folder& folder) {
  Properties properties;
  properties.AddText(PR_DISPLAY_NAME_W, folder.name());
  properties.AddBytes(PR_ENTRYID, folder.RootId());
  properties.Add(PR_OBJECT_TYPE, MAPI_ABCONT);
  properties.Add(PR_CONTAINER_FLAGS, AB_SUBCONTAINERS | AB_UNMODIFIABLE);
  properties.Add(PR_DEPTH, 0u);
  return properties;
}

Properties BookProperties(Folder& folder, BookNumber book, bool count_skipped) {
  Properties properties;
  properties.AddText(PR_DISPLAY_NAME_W, folder.book(book).name());
  properties.AddBytes(PR_ENTRYID, folder.BookId(book));
  properties.Add(PR_OBJECT_TYPE, MAPI_ABCONT);
  properties.Add(PR_CONTAINER_FLAGS, AB_RECIPIENTS | AB_MODIFIABLE);
  properties.Add(PR_DEPTH, 0u);
  if (count_skipped) properties.Add(PR_VCARD_SKIPPED, static_cast<ULONG>(folder.book(book).cards().skipped()));
  return properties;
}

HRESULT FindAll(Folder& folder, const ENTRYLIST& entries, std::vector<CardRef>& cards) {
  for (ULONG i = 0; i < entries.cValues; ++i) {
    EntryName name;
    if (!folder.Read(entries.lpbin[i].cb, entries.lpbin[i].lpb, name)) return MAPI_E_INVALID_ENTRYID;
    const std::optional<CardRef> card = folder.FindCard(name);
    if (!card) return MAPI_E_NOT_FOUND;
    cards.push_back(*card);
  }
  return S_OK;
}

HRESULT DeleteCards(Folder& folder, const ENTRYLIST& entries, std::optional<BookNumber> only_in) {
  folder.RefreshAll();
  std::vector<CardRef> cards;
  if (const HRESULT hr = FindAll(folder, entries, cards); Failed(hr)) return hr;
  for (const CardRef& card : cards) {
    if (only_in && card.book != *only_in) return MAPI_E_NOT_FOUND;
  }
  for (const CardRef& card : cards) {
    if (!folder.book(card.book).cards().deleted(card.card)) folder.DeleteCard(card);
  }
  HRESULT result = S_OK;
  for (BookNumber book = 0; book < folder.book_count(); ++book) {
    if (const HRESULT hr = folder.book(book).Save(false); Failed(hr)) result = hr;
  }
  return result;
}

IABContainer* MakeRoot(std::shared_ptr<Folder> folder) { return new Root(std::move(folder)); }

IABContainer* MakeBook(std::shared_ptr<Folder> folder, BookNumber book) {
  return new BookContainer(std::move(folder), book);
}

}  // namespace uab::vcard
