// IMAPITable over rows that are made when they are read. A snapshot of which rows there are; one thread at a time is
// let in by the folder's lock.
#pragma once

#include <memory>

#include "folder.h"

namespace uab::vcard {

// Where a table's rows come from. Called inside Folder::Run.
class RowSource {
 public:
  virtual ~RowSource() = default;
  virtual std::size_t count() const = 0;
  virtual Properties Row(std::size_t index) const = 0;
};

// A table with one reference for the caller.
IMAPITable* MakeTable(std::shared_ptr<Folder> folder, std::unique_ptr<RowSource> rows);

// Few rows, made beforehand.
std::unique_ptr<RowSource> FixedRows(std::vector<Properties> rows);

// Cards: 8 bytes each, and the cards of a file stay in memory for as long as the table lives, also when the file has
// been read again meanwhile.
std::unique_ptr<RowSource> CardRows(Folder& folder, std::vector<CardRef> refs);

}  // namespace uab::vcard
