#include "props/prop_values.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/at_boundary.h"
#include "platform/text_length.h"
#include "props/multi_value.h"

namespace uab {

SPropValue* FindProp(SPropValue* values, ULONG count, ULONG tag) noexcept {
  for (ULONG i = 0; i < count; ++i) {
    if (TagMatches(tag, values[i].ulPropTag)) return &values[i];
  }
  return nullptr;
}

std::span<const BYTE> BytesOf(const SBinary& binary) noexcept {
  return binary.lpb == nullptr ? std::span<const BYTE>() : std::span<const BYTE>(binary.lpb, binary.cb);
}

std::span<const BYTE> EntryIdOf(SPropValue* values, ULONG count) noexcept {
  const SPropValue* entry = FindProp(values, count, PR_ENTRYID);
  return entry == nullptr ? std::span<const BYTE>() : BytesOf(entry->Value.bin);
}

bool IsTagListed(ULONG tag, const SPropTagArray* tags) noexcept {
  if (tags == nullptr) return false;
  for (ULONG i = 0; i < tags->cValues; ++i) {
    if (TagMatches(tag, tags->aulPropTag[i])) return true;
  }
  return false;
}

namespace {

// Whether one of many tags names a tag: sorted they answer at once, unsorted (there is no memory) after a walk.
class TagSearch {
 public:
  explicit TagSearch(const SPropTagArray& tags) noexcept : tags_(tags.aulPropTag, tags.cValues) {
    if (tags.cValues <= kFew) return;
    (void)at_boundary([&] {
      sorted_.assign(tags_.begin(), tags_.end());
      std::sort(sorted_.begin(), sorted_.end());
      return S_OK;
    });
  }

  bool Names(ULONG tag) const noexcept {
    if (sorted_.empty()) {
      return std::any_of(tags_.begin(), tags_.end(), [tag](ULONG search) { return TagMatches(search, tag); });
    }
    return Has(tag) || Has(WithPropType(tag, PT_UNSPECIFIED));
  }

 private:
  static constexpr ULONG kFew = 16;
  bool Has(ULONG tag) const noexcept { return std::binary_search(sorted_.begin(), sorted_.end(), tag); }

  const std::span<const ULONG> tags_;
  std::vector<ULONG> sorted_;
};

}  // namespace

bool ExcludeTags(SPropTagArray* tags, const SPropTagArray* excluded) noexcept {
  if (tags == nullptr || excluded == nullptr) return false;
  const TagSearch search(*excluded);
  ULONG* const end = tags->aulPropTag + tags->cValues;
  ULONG* const kept = std::remove_if(tags->aulPropTag, end, [&](ULONG tag) { return search.Names(tag); });
  tags->cValues = static_cast<ULONG>(kept - tags->aulPropTag);
  return true;
}

HRESULT StripObjectAndBinaryTags(const SPropTagArray* tags, SPropTagArray** stripped) noexcept {
  if (tags == nullptr || stripped == nullptr || tags->cValues == 0) return E_INVALIDARG;
  *stripped = nullptr;
  ChainPtr<SPropTagArray> result;
  if (HRESULT hr = AllocateInto(result, TagArraySize(tags->cValues)); Failed(hr)) return hr;
  for (ULONG i = 0; i < tags->cValues; ++i) {
    ULONG type = PropType(tags->aulPropTag[i]);
    if (type == PT_OBJECT || type == PT_BINARY || type == PT_MV_BINARY) continue;
    result->aulPropTag[result->cValues++] = tags->aulPropTag[i];
  }
  if (result->cValues == 0) return MAPI_E_NOT_FOUND;
  *stripped = result.Detach();
  return S_OK;
}

bool DupBinary(SBinary** copy, const SBinary* source) noexcept {
  *copy = nullptr;
  if (source == nullptr) return true;
  ChainPtr<SBinary> block;
  if (Failed(AllocateInto(block, sizeof(SBinary) + std::size_t{source->cb}))) return false;
  block->cb = source->cb;
  if (source->cb != 0 && source->lpb != nullptr) {
    block->lpb = reinterpret_cast<BYTE*>(block.Get() + 1);
    std::memcpy(block->lpb, source->lpb, source->cb);
  }
  *copy = block.Detach();
  return true;
}

namespace {

// A linked copy of size bytes; a null source stays null and costs nothing.
template <typename T>
HRESULT CopyData(T*& copy, const T* source, std::size_t size, void* head) noexcept {
  copy = nullptr;
  return source == nullptr ? S_OK : CopyLinked(source, size, head, reinterpret_cast<void**>(&copy));
}

HRESULT CopySingleValue(SPropValue& destination, const SPropValue& source, void* head) noexcept {
  destination = SPropValue{};
  destination.ulPropTag = source.ulPropTag;
  const SPropValueUnion& from = source.Value;
  SPropValueUnion& to = destination.Value;
  switch (PropType(source.ulPropTag)) {
    case PT_STRING8:
      return CopyData(to.lpszA, from.lpszA, TextSize(from.lpszA), head);
    case PT_UNICODE:
      return CopyData(to.lpszW, from.lpszW, TextSize(from.lpszW), head);
    case PT_CLSID:
      return CopyData(to.lpguid, from.lpguid, sizeof(GUID), head);
    case PT_BINARY:
      to.bin.cb = from.bin.cb;
      return from.bin.cb == 0 ? S_OK : CopyData(to.bin.lpb, from.bin.lpb, from.bin.cb, head);
    default:
      to = from;
      return S_OK;
  }
}

}  // namespace

HRESULT CopyValue(SPropValue& destination, const SPropValue& source, void* head) noexcept {
  return IsMultiValued(source.ulPropTag) ? CopyMultiValue(destination, source, head)
                                         : CopySingleValue(destination, source, head);
}

HRESULT CopyMultiValue(SPropValue& destination, const SPropValue& source, void* head) noexcept {
  std::size_t size = 0;
  if (HRESULT hr = MeasureMultiValue(source, &size); Failed(hr)) return hr;
  destination = source;
  destination.dwAlignPad = 0;
  if (size == 0) return S_OK;
  BYTE* block = nullptr;
  if (HRESULT hr = AllocateLinkedInto(block, size, head); Failed(hr)) return hr;
  WriteMultiValue(source, block, true);
  destination.Value.MVbin.lpbin = reinterpret_cast<SBinary*>(block);
  return S_OK;
}

}  // namespace uab
