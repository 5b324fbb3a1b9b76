#include "tables/row_index.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "keluab/tags.h"
#include "props/record_match.h"

namespace uab {
namespace {

bool Holds(const TableRow& row, const SPropValue& value) noexcept {
  return MatchRecord(row.Find(value.ulPropTag), value) == S_OK;
}

std::size_t Walk(const std::deque<TableRow>& rows, const SPropValue& value) noexcept {
  auto found = std::find_if(rows.begin(), rows.end(), [&](const TableRow& row) { return Holds(row, value); });
  return found == rows.end() ? kNowhere : static_cast<std::size_t>(found - rows.begin());
}

// The bytes by which a value of the type is the same as another.
std::size_t HashOf(const void* data, std::size_t size) noexcept {
  return std::hash<std::string_view>()({static_cast<const char*>(data), size});
}

// The record that a search for the tag would compare.
const PropRecord* Searched(const TableRow& row, ULONG tag) noexcept {
  const PropRecord* record = row.Find(tag);
  return record != nullptr && record->tag() == tag ? record : nullptr;
}

bool SameData(const PropRecord* a, const PropRecord* b) noexcept {
  if (a == nullptr || b == nullptr) return a == b;
  return std::equal(a->data(), a->data() + a->dataLength, b->data(), b->data() + b->dataLength);
}

}  // namespace

bool RowIndex::List(const std::deque<TableRow>& rows) noexcept {
  try {
    entries_.clear();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const PropRecord* record = Searched(rows[i], tag_);
      if (record != nullptr) entries_.push_back({HashOf(record->data(), record->dataLength), i});
    }
    std::sort(entries_.begin(), entries_.end());
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::size_t RowIndex::Find(const std::deque<TableRow>& rows, const SPropValue& value) noexcept {
  // Only identifiers are asked for more than once in the same rows.
  if (PropType(value.ulPropTag) != PT_BINARY || value.Value.bin.lpb == nullptr) return Walk(rows, value);
  if (value.ulPropTag != tag_) {
    tag_ = value.ulPropTag;
    listed_ = false;
    return Walk(rows, value);
  }
  if (!listed_) listed_ = List(rows);
  if (!listed_) return Walk(rows, value);
  const std::size_t hash = HashOf(value.Value.bin.lpb, value.Value.bin.cb);
  auto first = std::lower_bound(entries_.begin(), entries_.end(), Entry{hash, 0});
  if (first == entries_.end() || first->hash != hash) return kNowhere;
  return Holds(rows[first->row], value) ? first->row : Walk(rows, value);  // another value may have the hash
}

void RowIndex::Replaced(const TableRow& row, const TableRow& by) noexcept {
  if (tag_ != 0 && !SameData(Searched(row, tag_), Searched(by, tag_))) Forget();
}

}  // namespace uab
