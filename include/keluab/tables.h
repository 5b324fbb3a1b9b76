// IMAPITable: a read-only snapshot with a column set and a position. Profile tables, service tables and hierarchies are
// read through it, and providers' contents tables have its shape.
#pragma once

#include "keluab/base.h"
#include "keluab/codes.h"
#include "keluab/props.h"
#include "keluab/values.h"

namespace uab {

struct SRestriction;   // never read by this library
struct SSortOrderSet;  // never read by this library
struct IMAPIAdviseSink;

// Slots 1 to 26. Several threads may share one table: each call runs alone, and the position is common to all.
// This library's tables answer MAPI_E_NO_SUPPORT where it says "refused", and take no notice of flags that an operation
// does not name, MAPI_UNICODE among them.
struct IMAPITable : IUnknown {
  virtual HRESULT UAB_CALL GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;        // 4. refused
  virtual HRESULT UAB_CALL Advise(ULONG event_mask, IMAPIAdviseSink* sink, ULONG* connection) = 0;  // 5. refused
  virtual HRESULT UAB_CALL Unadvise(ULONG connection) = 0;                                          // 6. refused

  // 7. Stores TBLSTAT_COMPLETE and TBLTYPE_SNAPSHOT.
  virtual HRESULT UAB_CALL GetStatus(ULONG* status, ULONG* type) = 0;

  // 8. Copies the tags, in the order in which rows will show them; repeats and PR_NULL are allowed. The position stays.
  // E_INVALIDARG: no tags. After a failure the old column set stays.
  virtual HRESULT UAB_CALL SetColumns(SPropTagArray* tags, ULONG flags) = 0;

  // 9. Stores the column set, or the first row's tags if there is none or flags has TBL_ALL_COLUMNS. The caller frees
  // it with UABFreeBuffer. MAPI_E_TABLE_EMPTY: the tags of the first row of an empty table. Null on failure.
  virtual HRESULT UAB_CALL QueryColumns(ULONG flags, SPropTagArray** tags) = 0;

  // 10. Stores the number of rows.
  virtual HRESULT UAB_CALL GetRowCount(ULONG flags, ULONG* count) = 0;

  // 11. Moves the position from BOOKMARK_BEGINNING, BOOKMARK_CURRENT or BOOKMARK_END by count rows, at most to the
  // edge. sought may be null, or receives the signed number of rows moved; not written on failure.
  // MAPI_E_INVALID_BOOKMARK: another bookmark.
  virtual HRESULT UAB_CALL SeekRow(BOOKMARK origin, LONG count, LONG* sought) = 0;

  // 12. Moves the position to the fraction numerator / denominator of the table, rounded to the nearest row (half a row
  // is one); to the end if that is 1 or more, or the denominator 0.
  virtual HRESULT UAB_CALL SeekRowApprox(ULONG numerator, ULONG denominator) = 0;

  // 13. Stores the position twice and the number of rows.
  virtual HRESULT UAB_CALL QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) = 0;

  virtual HRESULT UAB_CALL FindRow(SRestriction* restriction, BOOKMARK origin, ULONG flags) = 0;  // 14. refused
  virtual HRESULT UAB_CALL Restrict(SRestriction* restriction, ULONG flags) = 0;                  // 15. refused
  virtual HRESULT UAB_CALL CreateBookmark(BOOKMARK* bookmark) = 0;                                // 16. refused
  virtual HRESULT UAB_CALL FreeBookmark(BOOKMARK bookmark) = 0;                                   // 17. refused
  virtual HRESULT UAB_CALL SortTable(SSortOrderSet* order, ULONG flags) = 0;                      // 18. refused
  virtual HRESULT UAB_CALL QuerySortOrder(SSortOrderSet** order) = 0;                             // 19. refused

  // 20. Stores a row set, which the caller frees with UABFreeProws: up to count rows from the position on, or for a
  // negative count the rows in front of it, always in table order. The position moves behind the last row returned
  // (a backward read leaves it) unless flags has TBL_NOADVANCE. At the end the set is empty. Each row shows the column
  // set, or all its properties without one; PR_NULL is a placeholder of that tag; a missing column is a PT_ERROR value
  // holding MAPI_E_NOT_FOUND, and the result is MAPI_W_ERRORS_RETURNED when the last row lacked one. E_INVALIDARG:
  // count 0. Not written on failure; the position stays then.
  virtual HRESULT UAB_CALL QueryRows(LONG count, ULONG flags, SRowSet** rows) = 0;

  virtual HRESULT UAB_CALL Abort() = 0;  // 21. S_OK, nothing else

  virtual HRESULT UAB_CALL ExpandRow(ULONG key_size, BYTE* key, ULONG count, ULONG flags, SRowSet** rows,
                                     ULONG* more) = 0;                                             // 22. refused
  virtual HRESULT UAB_CALL CollapseRow(ULONG key_size, BYTE* key, ULONG flags, ULONG* count) = 0;  // 23. refused
  virtual HRESULT UAB_CALL WaitForCompletion(ULONG flags, ULONG timeout, ULONG* status) = 0;       // 24. refused
  virtual HRESULT UAB_CALL GetCollapseState(ULONG flags, ULONG key_size, BYTE* key, ULONG* size,
                                            BYTE** state) = 0;  // 25. refused
  virtual HRESULT UAB_CALL SetCollapseState(ULONG flags, ULONG size, BYTE* state,
                                            BOOKMARK* bookmark) = 0;  // 26. refused
};

}  // namespace uab
