#include "tables/mem_table.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/at_boundary.h"

namespace uab {
namespace {

constexpr std::size_t kReadAhead = 3;

HRESULT CopyTags(const SPropTagArray& tags, ChainPtr<SPropTagArray>& copy) noexcept {
  std::size_t size = TagArraySize(tags.cValues);
  HRESULT hr = AllocateInto(copy, size);
  if (Succeeded(hr)) std::memcpy(copy.Get(), &tags, size);
  return hr;
}

}  // namespace

HRESULT MemTable::Create(ComPtr<MemTable>& table) noexcept {
  return at_boundary([&] {
    table = ComPtr<MemTable>::Attach(new MemTable);
    return S_OK;
  });
}

HRESULT MemTable::AddRow(const SRow& row, std::size_t index) noexcept {
  TableRow built;
  if (HRESULT hr = built.Build(row); Failed(hr)) return hr;
  return InsertRow(std::move(built), index);
}

HRESULT MemTable::InsertRow(TableRow row, std::size_t index) noexcept {
  return at_boundary([&] {
    LockedScope scope(section_);
    index_.Forget();
    auto at = rows_.begin() + static_cast<std::ptrdiff_t>(std::min(index, rows_.size()));
    rows_.insert(at, std::move(row));
    return S_OK;
  });
}

std::size_t MemTable::FirstMatch(const SPropValue& key) noexcept {
  LockedScope scope(section_);
  return index_.Find(rows_, key);
}

void MemTable::ReplaceRow(std::size_t index, TableRow row) noexcept {
  LockedScope scope(section_);
  index_.Replaced(rows_[index], row);
  rows_[index] = std::move(row);
}

HRESULT MemTable::DeleteRow(const SPropValue& key) noexcept {
  LockedScope scope(section_);
  std::size_t found = index_.Find(rows_, key);
  if (found == kNowhere) return MAPI_E_NOT_FOUND;
  if (found < position_) --position_;
  index_.Forget();
  rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(found));
  return S_OK;
}

HRESULT MemTable::GetStatus(ULONG* status, ULONG* type) noexcept {
  if (status == nullptr || type == nullptr) return E_INVALIDARG;
  *status = TBLSTAT_COMPLETE;
  *type = TBLTYPE_SNAPSHOT;
  return S_OK;
}

HRESULT MemTable::SetColumns(SPropTagArray* tags, ULONG) noexcept {
  if (tags == nullptr || tags->cValues == 0) return E_INVALIDARG;
  ChainPtr<SPropTagArray> copy;
  if (HRESULT hr = CopyTags(*tags, copy); Failed(hr)) return hr;
  LockedScope scope(section_);
  columns_ = std::move(copy);
  return S_OK;
}

HRESULT MemTable::QueryColumns(ULONG flags, SPropTagArray** tags) noexcept {
  if (tags == nullptr) return E_INVALIDARG;
  *tags = nullptr;
  LockedScope scope(section_);
  if ((flags & TBL_ALL_COLUMNS) == 0 && columns_) {
    ChainPtr<SPropTagArray> copy;
    HRESULT hr = CopyTags(*columns_.Get(), copy);
    if (Succeeded(hr)) *tags = copy.Detach();
    return hr;
  }
  return rows_.empty() ? MAPI_E_TABLE_EMPTY : ListTags(rows_.front(), tags);
}

HRESULT MemTable::GetRowCount(ULONG, ULONG* count) noexcept {
  if (count == nullptr) return E_INVALIDARG;
  LockedScope scope(section_);
  *count = static_cast<ULONG>(rows_.size());
  return S_OK;
}

HRESULT MemTable::SeekRow(BOOKMARK origin, LONG count, LONG* sought) noexcept {
  LockedScope scope(section_);
  auto rows = static_cast<std::int64_t>(rows_.size());
  std::int64_t from = 0;
  if (origin == BOOKMARK_CURRENT) {
    from = static_cast<std::int64_t>(position_);
  } else if (origin == BOOKMARK_END) {
    from = rows;
  } else if (origin != BOOKMARK_BEGINNING) {
    return MAPI_E_INVALID_BOOKMARK;
  }
  std::int64_t reached = std::clamp<std::int64_t>(from + count, 0, rows);
  if (sought != nullptr) *sought = static_cast<LONG>(reached - from);
  position_ = static_cast<std::size_t>(reached);
  return S_OK;
}

HRESULT MemTable::SeekRowApprox(ULONG numerator, ULONG denominator) noexcept {
  LockedScope scope(section_);
  if (numerator >= denominator) {
    position_ = rows_.size();
    return S_OK;
  }
  if (((numerator | denominator) & 0x80000000u) != 0) {
    numerator >>= 1;
    denominator >>= 1;
  }
  int row = MulDiv(static_cast<int>(rows_.size()), static_cast<int>(numerator), static_cast<int>(denominator));
  position_ = static_cast<std::size_t>(row);
  return S_OK;
}

HRESULT MemTable::QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) noexcept {
  if (row == nullptr || numerator == nullptr || denominator == nullptr) return E_INVALIDARG;
  LockedScope scope(section_);
  *row = *numerator = static_cast<ULONG>(position_);
  *denominator = static_cast<ULONG>(rows_.size());
  return S_OK;
}

HRESULT MemTable::QueryRows(LONG count, ULONG flags, SRowSet** rows) noexcept {
  if (count == 0 || rows == nullptr) return E_INVALIDARG;
  LockedScope scope(section_);
  std::size_t wanted = static_cast<std::size_t>(std::abs(std::int64_t{count}));
  std::size_t start = count > 0 ? position_ : position_ - std::min(wanted, position_);
  wanted = std::min(wanted, count > 0 ? rows_.size() - start : position_ - start);
  RowSetPtr read;
  if (HRESULT hr = AllocateHead(RowSetSize(wanted), reinterpret_cast<void**>(read.Put())); Failed(hr)) return hr;
  HRESULT status = S_OK;
  for (std::size_t i = 0; i < wanted; ++i) {
    // Tables are mostly read from the first row to the last: one further on is fetched while this one is copied.
    if (start + i + kReadAhead < rows_.size()) rows_[start + i + kReadAhead].Prefetch();
    status = ProjectRow(rows_[start + i], columns_.Get(), read->aRow[i]);
    if (Failed(status)) return status;
    read->cRows = static_cast<ULONG>(i + 1);
  }
  if ((flags & TBL_NOADVANCE) == 0) position_ = start + wanted;
  *rows = read.Detach();
  return status;
}

}  // namespace uab
