#include "fuzz/table_script.h"

#include "fuzz/values.h"

namespace uab::fuzz {
namespace {

// Anywhere in a table, which always knows where it is.
void Wander(Input& input, IMAPITable& table, ULONG count) {
  for (std::size_t left = input.Below(4); left > 0; --left) {
    const LONG by = input.OneIn(4) ? input.Draw<LONG>() : static_cast<LONG>(input.Below(7)) - 3;
    LONG sought = 0;
    ULONG row = 0, numerator = 0, denominator = 0;
    RowSetPtr rows;
    ChainPtr<SPropTagArray> columns;
    switch (input.Below(4)) {
      case 0:
        (void)table.SeekRow(static_cast<BOOKMARK>(input.Below(4)), by, &sought);
        break;
      case 1:
        (void)table.SeekRowApprox(static_cast<ULONG>(by), input.Draw<ULONG>());
        break;
      case 2:
        if (Succeeded(table.QueryRows(by, 0, rows.Put()))) Expect(rows && rows->cRows <= count, "rows come once");
        break;
      default:
        (void)table.QueryColumns(input.OneIn(2) ? TBL_ALL_COLUMNS : 0, columns.Put());
    }
    Expect(Succeeded(table.QueryPosition(&row, &numerator, &denominator)) && row <= count && denominator == count,
           "a table knows its position");
  }
}

}  // namespace

void ReadTable(Input& input, IMAPITable& table) {
  ULONG count = 0;
  Expect(Succeeded(table.GetRowCount(0, &count)), "a table has a row count");
  ChainPtr<SPropTagArray> columns = DrawTags(input, 5);
  if (columns) (void)table.SetColumns(columns.Get(), 0);
  Expect(Succeeded(table.SeekRow(BOOKMARK_BEGINNING, 0, nullptr)), "a table can be rewound");
  ULONG rows_left = count;
  for (RowSetPtr rows; rows_left > 0; rows_left -= rows->cRows) {
    const LONG most = 1 + static_cast<LONG>(input.Below(3));
    Expect(Succeeded(table.QueryRows(most, 0, rows.Put())) && rows, "rows can be read");
    Expect(rows->cRows != 0 && rows->cRows <= rows_left, "as many rows as were counted");
  }
  RowSetPtr none;
  Expect(Succeeded(table.QueryRows(1, 0, none.Put())) && none && none->cRows == 0, "as many rows as were counted");
  Wander(input, table, count);
}

}  // namespace uab::fuzz
