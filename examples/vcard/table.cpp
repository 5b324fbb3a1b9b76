#include "table.h"

#include <algorithm>

#include "card_props.h"

namespace uab::vcard {
namespace {

class FixedSource final : public RowSource {
 public:
  explicit FixedSource(std::vector<Properties> rows) : rows_(std::move(rows)) {}
  std::size_t count() const override { return rows_.size(); }
  Properties Row(std::size_t index) const override { return rows_[index]; }

 private:
  std::vector<Properties> rows_;
};

class CardSource final : public RowSource {
 public:
  CardSource(Folder& folder, std::vector<CardRef> refs) : refs_(std::move(refs)), stores_(folder.book_count()) {
    for (const CardRef& ref : refs_) {
      Store& store = stores_[ref.book];
      if (!store.cards) store = {folder.book(ref.book).shared_cards(), folder.BookId(ref.book)};
    }
  }
  std::size_t count() const override { return refs_.size(); }
  Properties Row(std::size_t index) const override {
    const CardRef ref = refs_[index];
    const Store& store = stores_[ref.book];
    MAPIUID uid;
    std::copy_n(store.id.begin() + 4, sizeof uid.ab, reinterpret_cast<char*>(uid.ab));
    EntryName name;
    ReadEntryId(uid, static_cast<ULONG>(store.id.size()), store.id.data(), name);
    name.kind = EntryKind::kCard;
    name.card = store.cards->key(ref.card);
    return CardProperties(store.cards->text(ref.card), MakeEntryId(uid, name), store.cards->group(ref.card));
  }

 private:
  struct Store {
    std::shared_ptr<CardStore> cards;
    std::string id;  // the container's
  };
  std::vector<CardRef> refs_;
  std::vector<Store> stores_;
};

class Table final : public RefusingTable<Counted<IMAPITable, IID_IMAPITable>> {
 public:
  Table(std::shared_ptr<Folder> folder, std::unique_ptr<RowSource> rows)
      : folder_(std::move(folder)), rows_(std::move(rows)) {}

  HRESULT UAB_CALL GetStatus(ULONG* status, ULONG* type) noexcept override {
    if (status == nullptr || type == nullptr) return E_INVALIDARG;
    *status = TBLSTAT_COMPLETE;
    *type = TBLTYPE_SNAPSHOT;
    return S_OK;
  }

  HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG) noexcept override {
    if (tags == nullptr || tags->cValues == 0) return E_INVALIDARG;
    return folder_->Run([&]() -> HRESULT {
      std::vector<ULONG> columns{tags->cValues};
      columns.insert(columns.end(), tags->aulPropTag, tags->aulPropTag + tags->cValues);
      columns_ = std::move(columns);
      return S_OK;
    });
  }

  HRESULT UAB_CALL QueryColumns(ULONG flags, SPropTagArray** tags) noexcept override {
    if (tags == nullptr) return E_INVALIDARG;
    return folder_->Run([&]() -> HRESULT {
      if (!columns_.empty() && (flags & TBL_ALL_COLUMNS) == 0) {
        return HandOverTags(folder_->memory(), {columns_.begin() + 1, columns_.end()}, tags);
      }
      if (rows_->count() == 0) return MAPI_E_TABLE_EMPTY;
      std::vector<ULONG> all;
      const Properties first = rows_->Row(0);
      for (const Property& property : first.values()) all.push_back(property.tag);
      return HandOverTags(folder_->memory(), all, tags);
    });
  }

  HRESULT UAB_CALL GetRowCount(ULONG, ULONG* count) noexcept override {
    if (count == nullptr) return E_INVALIDARG;
    *count = static_cast<ULONG>(rows_->count());
    return S_OK;
  }

  HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG* sought) noexcept override {
    if (origin > BOOKMARK_END) return MAPI_E_INVALID_BOOKMARK;
    return folder_->Run([&]() -> HRESULT {
      const auto last = static_cast<LONGLONG>(rows_->count());
      const LONGLONG from = origin == BOOKMARK_BEGINNING ? 0 : origin == BOOKMARK_END ? last : Position();
      const LONGLONG to = std::clamp<LONGLONG>(from + count, 0, last);
      if (sought != nullptr) *sought = static_cast<LONG>(to - from);
      position_ = static_cast<std::size_t>(to);
      return S_OK;
    });
  }

  HRESULT UAB_CALL SeekRowApprox(ULONG numerator, ULONG denominator) noexcept override {
    return folder_->Run([&]() -> HRESULT {
      const std::uint64_t rows = rows_->count();
      position_ = numerator >= denominator ? rows : (rows * numerator + denominator / 2) / denominator;
      return S_OK;
    });
  }

  HRESULT UAB_CALL QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) noexcept override {
    if (row == nullptr || numerator == nullptr || denominator == nullptr) return E_INVALIDARG;
    return folder_->Run([&]() -> HRESULT {
      *row = *numerator = static_cast<ULONG>(position_);
      *denominator = static_cast<ULONG>(rows_->count());
      return S_OK;
    });
  }

  HRESULT UAB_CALL QueryRows(LONG count, ULONG flags, SRowSet** rows) noexcept override {
    if (count == 0 || rows == nullptr) return E_INVALIDARG;
    return folder_->Run([&]() -> HRESULT {
      const auto last = static_cast<LONGLONG>(rows_->count());
      const LONGLONG start = count > 0 ? Position() : std::max<LONGLONG>(0, Position() + count);
      const LONGLONG end = count > 0 ? std::min<LONGLONG>(last, start + count) : Position();
      const auto* tags = columns_.empty() ? nullptr : reinterpret_cast<const SPropTagArray*>(columns_.data());
      const Memory& memory = folder_->memory();
      RowSetBuilder set(memory, static_cast<std::size_t>(end - start));
      bool missing = false;
      for (LONGLONG row = start; row < end; ++row) {
        ULONG values = 0;
        SPropValue* array = MakeValues(memory, rows_->Row(static_cast<std::size_t>(row)), tags, values, missing);
        set.Add(array, values);
      }
      if ((flags & TBL_NOADVANCE) == 0) position_ = static_cast<std::size_t>(end);
      *rows = set.Detach();
      return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
    });
  }

  HRESULT UAB_CALL Abort() noexcept override { return S_OK; }

 private:
  LONGLONG Position() const noexcept { return static_cast<LONGLONG>(position_); }

  std::shared_ptr<Folder> folder_;
  std::unique_ptr<RowSource> rows_;
  std::vector<ULONG> columns_;  // as an SPropTagArray: the count, then the tags; empty: all
  std::size_t position_ = 0;
};

}  // namespace

IMAPITable* MakeTable(std::shared_ptr<Folder> folder, std::unique_ptr<RowSource> rows) {
  return new Table(std::move(folder), std::move(rows));
}

std::unique_ptr<RowSource> FixedRows(std::vector<Properties> rows) {
  return std::make_unique<FixedSource>(std::move(rows));
}

std::unique_ptr<RowSource> CardRows(Folder& folder, std::vector<CardRef> refs) {
  return std::make_unique<CardSource>(folder, std::move(refs));
}

}  // namespace uab::vcard
