#include "tables/mem_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "support/values.h"

namespace uab {
namespace {

constexpr ULONG kMissing = PropTag(PT_LONG, 0x6677);

class MemTableTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(MemTable::Create(table_), S_OK); }

  // Rows with PR_DEPTH 0, 1, ... and a name.
  void Fill(LONG rows) {
    for (LONG i = 0; i < rows; ++i) Add(i, static_cast<std::size_t>(i));
  }
  void Add(LONG depth, std::size_t index) {
    SPropValue values[] = {LongValue(PR_DEPTH, depth), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("row"))};
    ASSERT_EQ(table_->AddRow(SRow{0, 2, values}, index), S_OK);
  }

  HRESULT Query(LONG count, ULONG flags = 0) { return table_->QueryRows(count, flags, rows_.Put()); }
  std::vector<LONG> Depths() const {
    std::vector<LONG> depths;
    for (ULONG i = 0; i < rows_->cRows; ++i) depths.push_back(rows_->aRow[i].lpProps[0].Value.l);
    return depths;
  }
  ULONG Position() {
    ULONG row = 0, numerator = 0, denominator = 0;
    EXPECT_EQ(table_->QueryPosition(&row, &numerator, &denominator), S_OK);
    EXPECT_EQ(row, numerator);
    EXPECT_EQ(denominator, table_->row_count());
    return row;
  }

  ComPtr<MemTable> table_;
  RowSetPtr rows_;
};

TEST_F(MemTableTest, RowsGoWhereTheyAreAdded) {
  Fill(3);
  Add(10, 0);
  Add(11, 7);
  Add(12, 2);
  ASSERT_EQ(Query(100), S_OK);
  EXPECT_EQ(Depths(), (std::vector<LONG>{10, 0, 12, 1, 2, 11}));
  EXPECT_EQ(table_->AddRow(SRow{}, 0), E_INVALIDARG);
  SPropValue unknown = LongValue(PropTag(MV_FLAG | PT_OBJECT, 0x6601), 0);
  EXPECT_EQ(table_->AddRow(SRow{0, 1, &unknown}, 0), MAPI_E_NO_SUPPORT);
  EXPECT_EQ(table_->row_count(), 6u);
}

TEST_F(MemTableTest, ReadingMovesThePosition) {
  Fill(5);
  struct {
    LONG count;
    ULONG flags;
    std::vector<LONG> rows;
    ULONG position;
  } steps[] = {
      {2, 0, {0, 1}, 2},
      {-2, 0, {0, 1}, 2},
      {3, TBL_NOADVANCE, {2, 3, 4}, 2},
      {10, 0, {2, 3, 4}, 5},
      {10, 0, {}, 5},
      {-2, 0, {3, 4}, 5},
      {-9, 0, {0, 1, 2, 3, 4}, 5},
      {std::numeric_limits<LONG>::min(), 0, {0, 1, 2, 3, 4}, 5},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.count);
    ASSERT_EQ(Query(step.count, step.flags), S_OK);
    EXPECT_EQ(Depths(), step.rows);
    EXPECT_EQ(Position(), step.position);
  }
  EXPECT_EQ(table_->QueryRows(0, 0, rows_.Put()), E_INVALIDARG);
}

TEST_F(MemTableTest, Seeking) {
  Fill(10);
  struct {
    BOOKMARK from;
    LONG count, sought;
    ULONG position;
  } seeks[] = {
      {BOOKMARK_BEGINNING, 4, 4, 4},
      {BOOKMARK_CURRENT, -10, -4, 0},
      {BOOKMARK_END, 1, 0, 10},
      {BOOKMARK_END, -3, -3, 7},
      {BOOKMARK_CURRENT, std::numeric_limits<LONG>::max(), 3, 10},
      {BOOKMARK_BEGINNING, 0, 0, 0},
  };
  for (const auto& seek : seeks) {
    LONG sought = 99;
    ASSERT_EQ(table_->SeekRow(seek.from, seek.count, &sought), S_OK);
    EXPECT_EQ(sought, seek.sought);
    EXPECT_EQ(Position(), seek.position);
  }
  EXPECT_EQ(table_->SeekRow(BOOKMARK_BEGINNING, 5, nullptr), S_OK);
  EXPECT_EQ(table_->SeekRow(3, 1, nullptr), MAPI_E_INVALID_BOOKMARK);
  EXPECT_EQ(Position(), 5u);
  struct {
    ULONG numerator, denominator, position;
  } fractions[] = {{1, 3, 3}, {2, 3, 7}, {3, 3, 10}, {5, 0, 10}, {0, 5, 0}, {0x80000000u, 0xFFFFFFFFu, 5}};
  for (const auto& f : fractions) {
    ASSERT_EQ(table_->SeekRowApprox(f.numerator, f.denominator), S_OK);
    EXPECT_EQ(Position(), f.position) << f.numerator << "/" << f.denominator;
  }
}

TEST_F(MemTableTest, ColumnsShapeTheRows) {
  ChainPtr<SPropTagArray> tags;
  auto* refused = reinterpret_cast<SPropTagArray*>(this);
  EXPECT_TRUE(table_->QueryColumns(TBL_ALL_COLUMNS, &refused) == MAPI_E_TABLE_EMPTY && refused == nullptr);
  Fill(2);
  TagArray<3> columns = {3, {PR_DISPLAY_NAME_A, kMissing, PR_NULL}}, none = {0, {}};
  ASSERT_EQ(table_->SetColumns(columns.address(), 0), S_OK);
  EXPECT_EQ(table_->SetColumns(none.address(), 0), E_INVALIDARG);
  ASSERT_EQ(table_->QueryColumns(0, tags.Put()), S_OK);
  EXPECT_EQ(tags->cValues, 3u);
  ASSERT_EQ(table_->QueryColumns(TBL_ALL_COLUMNS, tags.Put()), S_OK);
  EXPECT_EQ(tags->cValues, 2u);
  ASSERT_EQ(Query(1), MAPI_W_ERRORS_RETURNED);
  const SRow& row = rows_->aRow[0];
  ASSERT_EQ(row.cValues, 3u);
  EXPECT_EQ(TextOf(row.lpProps[0]), UAB_TEXT("row")) << "the stored type, whatever the column's";
  EXPECT_EQ(row.lpProps[1].ulPropTag, WithPropType(kMissing, PT_ERROR));
  EXPECT_EQ(row.lpProps[1].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(row.lpProps[2].ulPropTag, PR_NULL);
  EXPECT_EQ(row.lpProps[2].Value.x, 0);
}

// Repeated searches are answered from a list: whatever happens to the rows between them, as by a walk.
TEST_F(MemTableTest, FindsTheFirstRowOfAnIdentifier) {
  std::vector<BYTE> ids;
  std::minstd_rand random(1);
  auto id_of = [](const BYTE& id) { return BinaryValue(PR_SERVICE_UID, &id, 1); };
  auto check = [&] {
    for (BYTE id = 0; id < 8; ++id) {
      auto first = std::find(ids.begin(), ids.end(), id);
      ASSERT_EQ(table_->FirstMatch(id_of(id)), first == ids.end() ? kNowhere : first - ids.begin());
    }
    if (random() % 4 != 0) return;
    ASSERT_EQ(table_->FirstMatch(BinaryValue(PR_ENTRYID, &random, 1)), kNowhere);
  };
  for (int step = 0; step < 400; ++step) {
    const BYTE id = random() % 8;
    const std::size_t at = random() % (ids.size() + 1);
    SPropValue value = id_of(id);
    TableRow row;
    ASSERT_EQ(row.Build(SRow{0, 1, &value}), S_OK);
    switch (random() % 3) {
      case 0:
        ASSERT_EQ(table_->InsertRow(std::move(row), at), S_OK);
        ids.insert(ids.begin() + static_cast<std::ptrdiff_t>(at), id);
        break;
      case 1:
        if (table_->DeleteRow(value) == S_OK) ids.erase(std::find(ids.begin(), ids.end(), id));
        break;
      default:
        if (at == ids.size()) break;
        table_->ReplaceRow(at, std::move(row));
        ids[at] = id;
    }
    // Sometimes twice, sometimes not at all.
    for (auto again = random() % 3; again > 0; --again) check();
  }
}

TEST_F(MemTableTest, DeletingRemovesTheFirstMatch) {
  Fill(3);
  Add(1, 3);
  ASSERT_EQ(table_->SeekRow(BOOKMARK_BEGINNING, 2, nullptr), S_OK);
  EXPECT_EQ(table_->DeleteRow(LongValue(PR_DEPTH, 1)), S_OK);
  EXPECT_EQ(Position(), 1u) << "still in front of the same row";
  ASSERT_EQ(Query(9), S_OK);
  EXPECT_EQ(Depths(), (std::vector<LONG>{2, 1}));
  EXPECT_EQ(table_->DeleteRow(LongValue(PR_DEPTH, 5)), MAPI_E_NOT_FOUND);
}

}  // namespace
}  // namespace uab
