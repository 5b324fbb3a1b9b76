// Tables when memory runs out, at every request: the table stays as it was.
#include <gtest/gtest.h>

#include "support/failure_sweep.h"
#include "support/values.h"
#include "tables/mem_table.h"

namespace uab {
namespace {

ComPtr<MemTable> TableOf(LONG rows) {
  ComPtr<MemTable> table;
  EXPECT_EQ(MemTable::Create(table), S_OK);
  for (LONG i = 0; i < rows; ++i) {
    SPropValue values[] = {LongValue(PR_DEPTH, i), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("row"))};
    EXPECT_EQ(table->AddRow(SRow{0, 2, values}, static_cast<std::size_t>(i)), S_OK);
  }
  return table;
}

TEST(MemTableFault, AddingARowIsAllOrNothing) {
  ForEachAllocationFailure(
      [] { return ComPtr<MemTable>(); },
      [](ComPtr<MemTable>& table) {
        HRESULT hr = MemTable::Create(table);
        SPropValue values[] = {LongValue(PR_DEPTH, 1), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("row"))};
        return Succeeded(hr) ? table->AddRow(SRow{0, 2, values}, 0) : hr;
      },
      [](ComPtr<MemTable>& table, HRESULT hr) {
        if (table) {
          EXPECT_EQ(table->row_count(), hr == S_OK ? 1u : 0u);
        }
        EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
      });
}

TEST(MemTableFault, ReadingLeavesPositionAndColumns) {
  ForEachAllocationFailure([] { return TableOf(3); },
                           [](ComPtr<MemTable>& table) {
                             TagArray<2> columns = {2, {PR_DISPLAY_NAME_W, PR_DEPTH}};
                             ChainPtr<SPropTagArray> tags;
                             RowSetPtr rows;
                             if (HRESULT hr = table->SetColumns(columns.address(), 0); Failed(hr)) return hr;
                             if (HRESULT hr = table->QueryColumns(0, tags.Put()); Failed(hr)) return hr;
                             if (HRESULT hr = table->QueryColumns(TBL_ALL_COLUMNS, tags.Put()); Failed(hr)) return hr;
                             return table->QueryRows(3, 0, rows.Put());
                           },
                           [](ComPtr<MemTable>& table, HRESULT hr) {
                             ULONG row = 9, numerator, denominator;
                             EXPECT_EQ(table->QueryPosition(&row, &numerator, &denominator), S_OK);
                             EXPECT_EQ(row, hr == S_OK ? 3u : 0u);
                             EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
                           });
}

}  // namespace
}  // namespace uab
