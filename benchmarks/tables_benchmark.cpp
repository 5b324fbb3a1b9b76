// Reading rows one by one and as one page, and adding them: rows of five columns, two of them with data of their own.
// Rows one by one also against a SQLite database in memory, into memory of the caller's.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "benchmarks/sqlite.h"
#include "benchmarks/with_floor.h"
#include "keluab/tags.h"
#include "tables/mem_table.h"

namespace uab {
namespace {

constexpr WCHAR kName[] = UAB_TEXT("Ada Lovelace, London");
constexpr BYTE kId[28] = {1, 2, 3};
constexpr std::size_t kOverhead = sizeof(BlockHeader) + 1;  // of each block handed to a caller

// The five values of a row; text and bytes are borrowed.
void FillValues(SPropValue (&values)[5], LONG number) {
  values[0].ulPropTag = PR_DISPLAY_NAME_W;
  values[0].Value.lpszW = const_cast<WCHAR*>(kName);
  values[1].ulPropTag = PR_ENTRYID;
  values[1].Value.bin = {sizeof kId, const_cast<BYTE*>(kId)};
  values[2].ulPropTag = PR_OBJECT_TYPE;
  values[3].ulPropTag = PR_CONTAINER_FLAGS;
  values[4].ulPropTag = PR_DEPTH;
  for (int i = 2; i < 5; ++i) values[i].Value.l = number;
}

bool AddRows(MemTable& table, std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i) {
    SPropValue values[5] = {};
    FillValues(values, static_cast<LONG>(i));
    if (table.AddRow(SRow{0, 5, values}, static_cast<std::size_t>(i)) != S_OK) return false;
  }
  return true;
}

ComPtr<MemTable> TableOf(std::int64_t rows) {
  ComPtr<MemTable> table;
  if (MemTable::Create(table) != S_OK || !AddRows(*table, rows)) std::abort();
  return table;
}

void ReadOneByOne(benchmark::State& state) {
  ComPtr<MemTable> table = TableOf(state.range(0));
  for (auto _ : state) {
    table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      SRowSet* rows = nullptr;
      if (table->QueryRows(1, 0, &rows) != S_OK) return state.SkipWithError("no row");
      benchmark::DoNotOptimize(rows);
      UABFreeProws(rows);
    }
  }
}

void ReadOnePage(benchmark::State& state) {
  ComPtr<MemTable> table = TableOf(state.range(0));
  for (auto _ : state) {
    SRowSet* rows = nullptr;
    table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    if (table->QueryRows(static_cast<LONG>(state.range(0)), 0, &rows) != S_OK) return state.SkipWithError("no rows");
    benchmark::DoNotOptimize(rows);
    UABFreeProws(rows);
  }
}

// What the floor reads from: as much memory in as many blocks as the table's rows.
struct StoredRow {
  std::unique_ptr<SPropValue[]> values;
  std::unique_ptr<WCHAR[]> name;
  std::unique_ptr<BYTE[]> id;
};

std::vector<StoredRow> StoredRows(std::int64_t count) {
  std::vector<StoredRow> rows(static_cast<std::size_t>(count));
  for (StoredRow& row : rows) {
    row = {std::make_unique<SPropValue[]>(5), std::make_unique<WCHAR[]>(std::size(kName)),
           std::make_unique<BYTE[]>(sizeof kId)};
    std::memcpy(row.name.get(), kName, sizeof kName);
    std::memcpy(row.id.get(), kId, sizeof kId);
  }
  return rows;
}

void* ZeroedBlock(std::size_t size) {
  void* block = std::malloc(size + kOverhead);
  if (block == nullptr) std::abort();
  std::memset(block, 0, size + kOverhead);
  return block;
}

struct CopiedRow {
  void *values, *name, *id;
};

CopiedRow CopyRow(const StoredRow& row) {
  CopiedRow copy = {ZeroedBlock(5 * sizeof(SPropValue)), ZeroedBlock(sizeof kName), ZeroedBlock(sizeof kId)};
  std::memcpy(copy.values, row.values.get(), 5 * sizeof(SPropValue));
  std::memcpy(copy.name, row.name.get(), sizeof kName);
  std::memcpy(copy.id, row.id.get(), sizeof kId);
  return copy;
}

void FreeRow(const CopiedRow& row) {
  std::free(row.values);
  std::free(row.name);
  std::free(row.id);
}

void ReadOneByOneFloor(benchmark::State& state) {
  std::vector<StoredRow> rows = StoredRows(state.range(0));
  for (auto _ : state) {
    for (const StoredRow& row : rows) {
      void* set = ZeroedBlock(RowSetSize(1));
      CopiedRow copy = CopyRow(row);
      benchmark::DoNotOptimize(copy);
      FreeRow(copy);
      std::free(set);
    }
  }
}

void ReadOnePageFloor(benchmark::State& state) {
  std::vector<StoredRow> rows = StoredRows(state.range(0));
  std::vector<CopiedRow> copies(rows.size());
  for (auto _ : state) {
    void* set = ZeroedBlock(RowSetSize(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) copies[i] = CopyRow(rows[i]);
    benchmark::DoNotOptimize(copies.data());
    for (const CopiedRow& copy : copies) FreeRow(copy);
    std::free(set);
  }
}

void FillDatabase(Database& database, std::int64_t rows) {
  database.Run("PRAGMA encoding = 'UTF-16le'");
  database.Run("CREATE TABLE entries (name TEXT, id BLOB, type INTEGER, flags INTEGER, depth INTEGER)");
  database.Run("BEGIN");
  Statement insert(database, "INSERT INTO entries VALUES (?, ?, ?, ?, ?)");
  for (std::int64_t i = 0; i < rows; ++i) {
    sqlite3_bind_text16(insert.get(), 1, kName, sizeof kName - sizeof *kName, SQLITE_STATIC);
    sqlite3_bind_blob(insert.get(), 2, kId, sizeof kId, SQLITE_STATIC);
    for (int column = 3; column <= 5; ++column) sqlite3_bind_int64(insert.get(), column, i);
    insert.Step();
    insert.Reset();
  }
  database.Run("COMMIT");
}

// The same blocks for the caller as CopyRow makes.
CopiedRow ReadFrom(sqlite3_stmt* row) {
  CopiedRow copy = {ZeroedBlock(5 * sizeof(SPropValue)), ZeroedBlock(sizeof kName), ZeroedBlock(sizeof kId)};
  SPropValue values[5];
  FillValues(values, sqlite3_column_int(row, 2));
  values[3].Value.l = sqlite3_column_int(row, 3);
  values[4].Value.l = sqlite3_column_int(row, 4);
  std::memcpy(copy.values, values, sizeof values);
  std::memcpy(copy.name, sqlite3_column_text16(row, 0), sizeof kName);
  std::memcpy(copy.id, sqlite3_column_blob(row, 1), sizeof kId);
  return copy;
}

void ReadOneByOneFromSqlite(benchmark::State& state) {
  Database database(":memory:");
  FillDatabase(database, state.range(0));
  Statement select(database, "SELECT name, id, type, flags, depth FROM entries");
  for (auto _ : state) {
    std::int64_t read = 0;
    for (; select.Step(); ++read) {
      void* set = ZeroedBlock(RowSetSize(1));
      CopiedRow copy = ReadFrom(select.get());
      benchmark::DoNotOptimize(copy);
      FreeRow(copy);
      std::free(set);
    }
    select.Reset();
    if (read != state.range(0)) return state.SkipWithError("rows are missing");
  }
}

void AddAtTheEnd(benchmark::State& state) {
  for (auto _ : state) {
    ComPtr<MemTable> table = TableOf(state.range(0));
    benchmark::DoNotOptimize(table.Get());
  }
}

// A block of a row's size for each row, made and freed.
void AddAtTheEndFloor(benchmark::State& state) {
  constexpr std::size_t kRowSize = 304;
  std::vector<void*> blocks(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (void*& block : blocks) {
      block = std::malloc(kRowSize);
      if (block == nullptr) std::abort();
      std::memset(block, 0, kRowSize);
    }
    benchmark::DoNotOptimize(blocks.data());
    for (void* block : blocks) std::free(block);
  }
}

const WithFloor one_by_one("rows read one by one", {10'000, 100'000, 1'000'000}, &ReadOneByOne, &ReadOneByOneFloor,
                           {"SQLite", &ReadOneByOneFromSqlite});
const WithFloor one_page("rows read as one page", {1'000, 10'000, 100'000}, &ReadOnePage, &ReadOnePageFloor);
const WithFloor at_the_end("rows added at the end", {1'000, 10'000, 100'000}, &AddAtTheEnd, &AddAtTheEndFloor);

}  // namespace
}  // namespace uab
