// Owners of a SQLite database and of its statements, for the comparisons. Every error ends the program.
#pragma once

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>

#include "platform/noncopyable.h"

namespace uab {

class Database : NonCopyable {
 public:
  explicit Database(const char* path) { Check(sqlite3_open(path, &database_)); }
  ~Database() { sqlite3_close(database_); }
  void Run(const char* sql) { Check(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr)); }
  void Check(int result) {
    if (result == SQLITE_OK || result == SQLITE_ROW || result == SQLITE_DONE) return;
    std::fprintf(stderr, "sqlite: %s\n", sqlite3_errmsg(database_));
    std::abort();
  }
  sqlite3* get() noexcept { return database_; }

 private:
  sqlite3* database_ = nullptr;
};

class Statement : NonCopyable {
 public:
  Statement(Database& database, const char* sql) : database_(database) {
    database.Check(sqlite3_prepare_v2(database.get(), sql, -1, &statement_, nullptr));
  }
  ~Statement() { sqlite3_finalize(statement_); }
  sqlite3_stmt* get() noexcept { return statement_; }
  bool Step() {  // false: no row is left
    int result = sqlite3_step(statement_);
    database_.Check(result);
    return result == SQLITE_ROW;
  }
  void Reset() { sqlite3_reset(statement_); }

 private:
  Database& database_;
  sqlite3_stmt* statement_ = nullptr;
};

}  // namespace uab
