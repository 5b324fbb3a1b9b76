// Tables when memory runs out, at every request: the table stays as it was.
#include <gtest/gtest.h>

#include "support/failure_sweep.h"
#include "support/values.h"
#include "tables/mem_table.h"

namespace uab {
namespace {

HRESULT Add(MemTable& table) {
  SPropValue values[] = {LongValue(PR_DEPTH, 1), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("row"))};
  return table.AddRow(SRow{0, 2, values}, 0);
}

TEST(MemTableFault, ReadingIsAllOrNothing) {
  ForEachAllocationFailure(
      [] {
        ComPtr<MemTable> table;
        EXPECT_TRUE(MemTable::Create(table) == S_OK && Add(*table) == S_OK && Add(*table) == S_OK);
        return table;
      },
      [](ComPtr<MemTable>& table) {
        TagArray<2> columns = {2, {PR_DISPLAY_NAME_W, PR_DEPTH}};
        ChainPtr<SPropTagArray> tags;
        RowSetPtr rows;
        if (HRESULT hr = table->SetColumns(columns.address(), 0); Failed(hr)) return hr;
        for (ULONG flags : {ULONG{0}, TBL_ALL_COLUMNS}) {
          if (HRESULT hr = table->QueryColumns(flags, tags.Put()); Failed(hr)) return hr;
        }
        return table->QueryRows(2, 0, rows.Put());
      },
      [](ComPtr<MemTable>& table, HRESULT hr) {
        ULONG row = 9, numerator, denominator;
        EXPECT_EQ(table->QueryPosition(&row, &numerator, &denominator), S_OK);
        EXPECT_EQ(row, hr == S_OK ? 2u : 0u);
        EXPECT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY) << std::hex << hr;
      });
}

}  // namespace
}  // namespace uab
