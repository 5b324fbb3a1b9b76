// The one table object: rows in insertion order, filled by its owner and read by callers through IMAPITable. The
// profile table, message service tables and hierarchies are MemTables.
//
// Any thread may call any operation; each runs alone under the table's lock. References to rows are for owners whose
// table nobody else holds.
#pragma once

#include <deque>

#include "frame/allocation_chain.h"
#include "frame/com_object.h"
#include "keluab/iids.h"
#include "keluab/tables.h"
#include "tables/row_index.h"
#include "tables/table_row.h"

namespace uab {

class MemTable final : public ComObject<MemTable, IMAPITable, &IID_IMAPITable> {
 public:
  // Stores an empty table. E_OUTOFMEMORY.
  static HRESULT Create(ComPtr<MemTable>& table) noexcept;

  // Owner operations ------------------------------------------------------------------------------------------------

  // Adds a copy of the row in front of the one that has the index; at or beyond the end, last. At either end the time
  // is constant. E_INVALIDARG: no values. Errors of TableRow::Build; the table is unchanged.
  HRESULT AddRow(const SRow& row, std::size_t index) noexcept;
  HRESULT InsertRow(TableRow row, std::size_t index) noexcept;

  // The index of the first row that holds exactly the key's property (see MatchRecord); kNowhere when there is none.
  std::size_t FirstMatch(const SPropValue& key) noexcept;
  bool HasRow(const SPropValue& key) noexcept { return FirstMatch(key) != kNowhere; }

  // Removes the first such row. MAPI_E_NOT_FOUND. A position behind it moves with its row.
  HRESULT DeleteRow(const SPropValue& key) noexcept;

  std::size_t row_count() const noexcept { return rows_.size(); }
  const TableRow& row(std::size_t index) const noexcept { return rows_[index]; }
  void ReplaceRow(std::size_t index, TableRow row) noexcept;

  // IMAPITable ------------------------------------------------------------------------------------------------------

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Advise(ULONG, IMAPIAdviseSink*, ULONG*) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Unadvise(ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetStatus(ULONG* status, ULONG* type) noexcept override;
  HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG flags) noexcept override;
  HRESULT UAB_CALL QueryColumns(ULONG flags, SPropTagArray** tags) noexcept override;
  HRESULT UAB_CALL GetRowCount(ULONG flags, ULONG* count) noexcept override;
  HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG* sought) noexcept override;
  HRESULT UAB_CALL SeekRowApprox(ULONG numerator, ULONG denominator) noexcept override;
  HRESULT UAB_CALL QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) noexcept override;
  HRESULT UAB_CALL FindRow(SRestriction*, BOOKMARK, ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL Restrict(SRestriction*, ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CreateBookmark(BOOKMARK*) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL FreeBookmark(BOOKMARK) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SortTable(SSortOrderSet*, ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QuerySortOrder(SSortOrderSet**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL QueryRows(LONG count, ULONG flags, SRowSet** rows) noexcept override;
  HRESULT UAB_CALL Abort() noexcept override { return S_OK; }
  HRESULT UAB_CALL ExpandRow(ULONG, BYTE*, ULONG, ULONG, SRowSet**, ULONG*) noexcept override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL CollapseRow(ULONG, BYTE*, ULONG, ULONG*) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL WaitForCompletion(ULONG, ULONG, ULONG*) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetCollapseState(ULONG, ULONG, BYTE*, ULONG*, BYTE**) noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL SetCollapseState(ULONG, ULONG, BYTE*, BOOKMARK*) noexcept override { return MAPI_E_NO_SUPPORT; }

 private:
  std::deque<TableRow> rows_;
  RowIndex index_;
  ChainPtr<SPropTagArray> columns_;  // none: all of a row's properties
  std::size_t position_ = 0;         // of the next row to be read, at most the row count
};

}  // namespace uab
