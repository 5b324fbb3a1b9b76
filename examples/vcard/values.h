// Properties inside the provider, and handing them to callers as value arrays, tag arrays and rows.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "keluab/keluab.h"
#include "text.h"

namespace uab::vcard {

// Properties of the provider's own.
inline constexpr ULONG PR_VCARD_FOLDER_W = 0x6601001F;  // service: the folder with the address files
inline constexpr ULONG PR_VCARD_UID = 0x66020102;       // service: the MAPIUID of its entries, for as long as it lives
inline constexpr ULONG PR_VCARD_TEXT_W = 0x6603001F;    // card: all of it; what copies of it lose nothing by
inline constexpr ULONG PR_VCARD_SKIPPED = 0x66040003;   // container: how many cards could not be read

// The allocation routines that the provider was opened with.
struct Memory {
  UABAllocateBufferFunction allocate = nullptr;
  UABAllocateMoreFunction allocate_more = nullptr;
  UABFreeBufferFunction free = nullptr;

  void* Allocate(std::size_t size) const;  // a head block; throws std::bad_alloc
  template <typename T>
  T* AllocateAs(std::size_t size) const {
    return static_cast<T*>(Allocate(size));
  }
};

struct Property {
  ULONG tag = PR_NULL;
  ULONG number = 0;   // PT_LONG, PT_ERROR
  std::string bytes;  // PT_BINARY
  WideString text;    // PT_UNICODE
};

class Properties {
 public:
  void Add(Property property) { values_.push_back(std::move(property)); }
  void Add(ULONG tag, ULONG number) { values_.push_back({tag, number, {}, {}}); }
  void AddText(ULONG tag, std::string_view utf8) { values_.push_back({tag, 0, {}, ToWide(utf8)}); }
  void AddBytes(ULONG tag, std::string bytes) { values_.push_back({tag, 0, std::move(bytes), {}}); }
  const Property* Find(ULONG tag) const noexcept;  // by identifier, and by type unless that is PT_UNSPECIFIED
  std::span<const Property> values() const noexcept { return values_; }

 private:
  std::vector<Property> values_;
};

// One head block with a value for each tag, or all of them for null. Sets missing if one of the tags is not there:
// its place holds PT_ERROR with MAPI_E_NOT_FOUND.
SPropValue* MakeValues(const Memory& memory, const Properties& properties, const SPropTagArray* tags, ULONG& count,
                       bool& missing);

// The same as the result of a GetProps.
HRESULT HandOver(const Memory& memory, const Properties& properties, const SPropTagArray* tags, ULONG* count,
                 SPropValue** values);
HRESULT HandOverTags(const Memory& memory, const std::vector<ULONG>& tags, SPropTagArray** out);

// Frees a partly built row set unless it has been handed over.
class RowSetBuilder {
 public:
  RowSetBuilder(const Memory& memory, std::size_t rows);
  ~RowSetBuilder();
  RowSetBuilder(const RowSetBuilder&) = delete;
  void Add(SPropValue* values, ULONG count) noexcept;  // takes over the array. REQUIRES: room
  SRowSet* Detach() noexcept { return std::exchange(rows_, nullptr); }

 private:
  const Memory& memory_;
  SRowSet* rows_;
};

std::string IdentifierBytes(const void* bytes, std::size_t size);

}  // namespace uab::vcard
