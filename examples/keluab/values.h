// Property values as people and JSON see them.
#pragma once

#include <string>
#include <vector>

#include "com.h"
#include "keluab/keluab.h"
#include "output.h"

namespace host {

// The value under its property's name ("DISPLAY_NAME"), or its tag in hexadecimal.
std::string PropertyName(uab::ULONG tag);
Json PropertyValue(const uab::SPropValue& value);

// A tag from a property's name or from hexadecimal digits; 0: neither.
uab::ULONG PropertyTag(const std::string& text);

// The text or bytes of a value with that tag; empty when it is another.
std::string TextOf(const uab::SPropValue& value, uab::ULONG tag);
std::string BytesOf(const uab::SPropValue& value, uab::ULONG tag);
uab::ULONG NumberOf(const uab::SPropValue& value, uab::ULONG tag);

// One property set read from an object.
class Properties {
 public:
  // tags null: all.
  uab::HRESULT Read(uab::IMAPIProp* object, uab::SPropTagArray* tags);
  uab::ULONG count() const { return count_; }
  const uab::SPropValue& operator[](uab::ULONG i) const { return values_.get()[i]; }

 private:
  uab::ULONG count_ = 0;
  Buffer<uab::SPropValue> values_;
};

// Reads a table from its first row to its last, some rows at a time, and calls visit(row) for each; visit returns false
// to stop. Throws a Failure.
template <typename Visit>
void ForEachRow(uab::IMAPITable* table, uab::SPropTagArray* columns, Visit visit);

void ReadSetup(uab::IMAPITable* table, uab::SPropTagArray* columns);
bool ReadSome(uab::IMAPITable* table, Rows& rows);

template <typename Visit>
void ForEachRow(uab::IMAPITable* table, uab::SPropTagArray* columns, Visit visit) {
  ReadSetup(table, columns);
  Rows rows;
  while (ReadSome(table, rows)) {
    for (uab::ULONG i = 0; i < rows->cRows; ++i) {
      if (rows->aRow[i].cValues >= columns->cValues && !visit(rows->aRow[i])) return;
    }
  }
}

}  // namespace host
