#include "values.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace uab::vcard {
namespace {

constexpr std::size_t RoundUp(std::size_t size) noexcept { return (size + 7) & ~std::size_t{7}; }

std::size_t OutOfLineSize(const Property& property) noexcept {
  if (PropType(property.tag) == PT_UNICODE) return RoundUp((property.text.size() + 1) * sizeof(WCHAR));
  return PropType(property.tag) == PT_BINARY ? RoundUp(property.bytes.size()) : 0;
}

// Writes one value whose data goes to *space, which moves on.
void Write(const Property& property, SPropValue& value, BYTE*& space) noexcept {
  value.ulPropTag = property.tag;
  if (PropType(property.tag) == PT_UNICODE) {
    value.Value.lpszW = reinterpret_cast<WCHAR*>(space);
    std::memcpy(space, property.text.c_str(), (property.text.size() + 1) * sizeof(WCHAR));
  } else if (PropType(property.tag) == PT_BINARY) {
    value.Value.bin.cb = static_cast<ULONG>(property.bytes.size());
    value.Value.bin.lpb = property.bytes.empty() ? nullptr : space;
    std::memcpy(space, property.bytes.data(), property.bytes.size());
  } else {
    value.Value.ul = property.number;
  }
  space += OutOfLineSize(property);
}

}  // namespace

void* Memory::Allocate(std::size_t size) const {
  void* block = nullptr;
  if (size > 0xFFFFFF00u || Failed(allocate(static_cast<ULONG>(size), &block))) throw std::bad_alloc();
  return block;
}

const Property* Properties::Find(ULONG tag) const noexcept {
  const auto found = std::find_if(values_.begin(), values_.end(), [tag](const Property& property) {
    return PropId(property.tag) == PropId(tag) &&
           (PropType(tag) == PT_UNSPECIFIED || PropType(tag) == PropType(property.tag));
  });
  return found == values_.end() ? nullptr : &*found;
}

SPropValue* MakeValues(const Memory& memory, const Properties& properties, const SPropTagArray* tags, ULONG& count,
                       bool& missing) {
  const auto all = properties.values();
  const std::size_t wanted = tags == nullptr ? all.size() : tags->cValues;
  std::size_t size = wanted * sizeof(SPropValue);
  const auto at = [&](std::size_t i) { return tags == nullptr ? &all[i] : properties.Find(tags->aulPropTag[i]); };
  for (std::size_t i = 0; i < wanted; ++i) {
    if (const Property* property = at(i)) size += OutOfLineSize(*property);
  }
  auto* values = memory.AllocateAs<SPropValue>(size);
  auto* space = reinterpret_cast<BYTE*>(values + wanted);
  for (std::size_t i = 0; i < wanted; ++i) {
    const Property* property = at(i);
    if (property != nullptr) {
      Write(*property, values[i], space);
    } else if (tags->aulPropTag[i] == PR_NULL) {
      values[i].ulPropTag = PR_NULL;
    } else {
      missing = true;
      values[i].ulPropTag = WithPropType(tags->aulPropTag[i], PT_ERROR);
      values[i].Value.err = MAPI_E_NOT_FOUND;
    }
  }
  count = static_cast<ULONG>(wanted);
  return values;
}

HRESULT HandOver(const Memory& memory, const Properties& properties, const SPropTagArray* tags, ULONG* count,
                 SPropValue** values) {
  bool missing = false;
  *values = MakeValues(memory, properties, tags, *count, missing);
  return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
}

HRESULT HandOverTags(const Memory& memory, const std::vector<ULONG>& tags, SPropTagArray** out) {
  auto* array = memory.AllocateAs<SPropTagArray>(4 + 4 * tags.size());
  array->cValues = static_cast<ULONG>(tags.size());
  std::copy(tags.begin(), tags.end(), array->aulPropTag);
  *out = array;
  return S_OK;
}

RowSetBuilder::RowSetBuilder(const Memory& memory, std::size_t rows)
    : memory_(memory), rows_(memory.AllocateAs<SRowSet>(8 + 16 * rows)) {}

RowSetBuilder::~RowSetBuilder() {
  if (rows_ == nullptr) return;
  for (ULONG i = 0; i < rows_->cRows; ++i) memory_.free(rows_->aRow[i].lpProps);
  memory_.free(rows_);
}

void RowSetBuilder::Add(SPropValue* values, ULONG count) noexcept { rows_->aRow[rows_->cRows++] = {0, count, values}; }

std::string IdentifierBytes(const void* bytes, std::size_t size) {
  return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

}  // namespace uab::vcard
