// A table over rows that are made when they are read. Copy it. Any thread; the position is common to all.
#pragma once

#include <algorithm>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "provider_base.h"

namespace guide {

// The values of a row for the tags, in their order, as GetProps gives them; every property for null.
using RowReader = std::function<HRESULT(std::size_t row, SPropTagArray* tags, ULONG* count, SPropValue** values)>;

class Table final : public TableBase {
 public:
  // Which rows there are stays as it is: changes are seen in the next table.
  Table(const Memory& memory, std::size_t rows, RowReader reader)
      : memory_(memory), rows_(static_cast<LONGLONG>(rows)), reader_(std::move(reader)) {}

  HRESULT UAB_CALL GetStatus(ULONG* status, ULONG* type) noexcept override {
    if (status == nullptr || type == nullptr) return E_INVALIDARG;
    *status = TBLSTAT_COMPLETE;
    *type = TBLTYPE_SNAPSHOT;
    return S_OK;
  }
  HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG) noexcept override {
    if (tags == nullptr || tags->cValues == 0) return E_INVALIDARG;
    return Guard([&]() -> HRESULT {
      std::vector<ULONG> columns{tags->cValues};  // the caller's array may be gone tomorrow
      columns.insert(columns.end(), tags->aulPropTag, tags->aulPropTag + tags->cValues);
      std::lock_guard lock(mutex_);
      columns_ = std::move(columns);
      return S_OK;
    });
  }
  HRESULT UAB_CALL GetRowCount(ULONG, ULONG* count) noexcept override {
    if (count == nullptr) return E_INVALIDARG;
    *count = static_cast<ULONG>(rows_);
    return S_OK;
  }
  HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG* sought) noexcept override {
    if (origin > BOOKMARK_END) return MAPI_E_INVALID_BOOKMARK;
    std::lock_guard lock(mutex_);
    LONGLONG from = origin == BOOKMARK_BEGINNING ? 0 : origin == BOOKMARK_END ? rows_ : position_;
    position_ = std::clamp<LONGLONG>(from + count, 0, rows_);
    if (sought != nullptr) *sought = static_cast<LONG>(position_ - from);
    return S_OK;
  }
  HRESULT UAB_CALL QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) noexcept override {
    if (row == nullptr || numerator == nullptr || denominator == nullptr) return E_INVALIDARG;
    std::lock_guard lock(mutex_);
    *row = *numerator = static_cast<ULONG>(position_);
    *denominator = static_cast<ULONG>(rows_);
    return S_OK;
  }
  HRESULT UAB_CALL QueryRows(LONG count, ULONG flags, SRowSet** rows) noexcept override {
    if (count == 0 || rows == nullptr) return E_INVALIDARG;
    return Guard([&]() -> HRESULT {
      std::lock_guard lock(mutex_);
      LONGLONG first = std::max<LONGLONG>(0, position_ + std::min<LONGLONG>(count, 0));
      LONGLONG end = std::min(rows_, position_ + std::max<LONGLONG>(count, 0));
      RowSet set(memory_, static_cast<std::size_t>(end - first));
      HRESULT last = S_OK;
      for (LONGLONG row = first; row < end; ++row) {
        last = ReadRow(static_cast<std::size_t>(row), set);
        if (Failed(last)) return last;
      }
      if ((flags & TBL_NOADVANCE) == 0) position_ = end;
      *rows = set.Detach();
      return last;
    });
  }
  HRESULT UAB_CALL Abort() noexcept override { return S_OK; }

 private:
  // A set is one head block, each row's value array another: until it is handed over, all are ours to free.
  class RowSet {
   public:
    RowSet(const Memory& memory, std::size_t rows) : memory_(memory), set_(memory, 8 + rows * sizeof(SRow)) {}
    ~RowSet() {
      for (ULONG i = 0; set_.get() != nullptr && i < set_.get()->cRows; ++i) {
        memory_.free_buffer(set_.get()->aRow[i].lpProps);
      }
    }
    SRowSet* get() const { return set_.get(); }
    SRowSet* Detach() { return set_.Detach(); }

   private:
    const Memory& memory_;
    Block<SRowSet> set_;
  };

  HRESULT ReadRow(std::size_t row, RowSet& set) {
    auto* columns = columns_.empty() ? nullptr : reinterpret_cast<SPropTagArray*>(columns_.data());
    SRow read{};
    HRESULT hr = reader_(row, columns, &read.cValues, &read.lpProps);
    if (Succeeded(hr)) set.get()->aRow[set.get()->cRows++] = read;
    return hr;
  }

  bool Answers(const IID& iid) const noexcept override { return iid == IID_IMAPITable; }

  const Memory memory_;
  const LONGLONG rows_;
  const RowReader reader_;
  std::mutex mutex_;
  std::vector<ULONG> columns_;  // the count, then the tags; empty: all
  LONGLONG position_ = 0;
};

}  // namespace guide
