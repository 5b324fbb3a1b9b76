// Finds the first row of a table that holds a value, without walking the rows for each one: what opens every service of
// a profile in turn asks for all of them. The first search for a property walks; the second one lists the rows' values
// by their hash, and the list serves until the rows change. Where there is no memory for it, every search walks.
//
// One thread at a time.
#pragma once

#include <deque>
#include <vector>

#include "props/id_search.h"
#include "tables/table_row.h"

namespace uab {

class RowIndex {
 public:
  // The first row that holds exactly the value's property (see MatchRecord); kNowhere when there is none.
  std::size_t Find(const std::deque<TableRow>& rows, const SPropValue& value) noexcept;

  // The rows are no longer those that were searched.
  void Forget() noexcept { tag_ = 0; }

  // A row has taken another's place: the list stays when both hold the same value.
  void Replaced(const TableRow& row, const TableRow& by) noexcept;

 private:
  struct Entry {
    std::size_t hash;
    std::size_t row;
    auto operator<=>(const Entry&) const noexcept = default;
  };

  bool List(const std::deque<TableRow>& rows) noexcept;

  ULONG tag_ = 0;  // of the property that was searched last; 0: none
  bool listed_ = false;
  std::vector<Entry> entries_;  // when listed, of all rows with the property, by hash and then by row
};

}  // namespace uab
