#include "recipients.h"

#include <cstring>

#include "card_props.h"

namespace uab::vcard {
namespace {

// A new value array under construction: a head block whose data is linked to it.
class Block {
 public:
  Block(const Memory& memory, std::size_t values)
      : memory_(memory), values_(memory.AllocateAs<SPropValue>(values * sizeof(SPropValue))) {}
  Block(Block&& other) noexcept
      : memory_(other.memory_), values_(std::exchange(other.values_, nullptr)), count_(other.count_) {}
  ~Block() {
    if (values_ != nullptr) memory_.free(values_);
  }

  ULONG count() const noexcept { return count_; }
  SPropValue* Detach() noexcept { return std::exchange(values_, nullptr); }

  void AddError(ULONG tag) noexcept {
    values_[count_].ulPropTag = WithPropType(tag, PT_ERROR);
    values_[count_++].Value.err = MAPI_E_NOT_FOUND;
  }
  void Add(const Property& property) {
    SPropValue value{};
    value.ulPropTag = property.tag;
    value.Value.ul = property.number;
    if (PropType(property.tag) == PT_UNICODE) value.Value.lpszW = const_cast<WCHAR*>(property.text.c_str());
    if (PropType(property.tag) == PT_BINARY) {
      value.Value.bin = {static_cast<ULONG>(property.bytes.size()),
                         reinterpret_cast<BYTE*>(const_cast<char*>(property.bytes.data()))};
    }
    Add(value);
  }
  void Add(const SPropValue& value);

 private:
  void* Copy(const void* data, std::size_t size) {
    void* copy = nullptr;
    if (data == nullptr || size == 0) return nullptr;
    if (size > 0xFFFFFF00u || Failed(memory_.allocate_more(static_cast<ULONG>(size), values_, &copy))) {
      throw std::bad_alloc();
    }
    std::memcpy(copy, data, size);
    return copy;
  }
  char* CopyString(const char* text) {
    return static_cast<char*>(Copy(text, text == nullptr ? 0 : std::strlen(text) + 1));
  }
  WCHAR* CopyString(const WCHAR* text) {
    std::size_t length = 0;
    while (text != nullptr && text[length] != 0) ++length;
    return static_cast<WCHAR*>(Copy(text, (length + 1) * sizeof(WCHAR)));
  }
  SBinary CopyBinary(const SBinary& binary) { return {binary.cb, static_cast<BYTE*>(Copy(binary.lpb, binary.cb))}; }
  void CopyArray(SPropValue& value);

  const Memory& memory_;
  SPropValue* values_;
  ULONG count_ = 0;
};

std::size_t ElementSize(ULONG type) noexcept {
  switch (type) {
    case PT_MV_I2:
      return 2;
    case PT_MV_LONG:
    case PT_MV_R4:
      return 4;
    case PT_MV_CLSID:
    case PT_MV_BINARY:
      return 16;
    default:
      return 8;
  }
}

void Block::CopyArray(SPropValue& value) {
  const ULONG type = PropType(value.ulPropTag);
  SBinaryArray& array = value.Value.MVbin;  // all arrays have this shape
  array.lpbin = static_cast<SBinary*>(Copy(array.lpbin, array.cValues * ElementSize(type)));
  for (ULONG i = 0; i < array.cValues && array.lpbin != nullptr; ++i) {
    if (type == PT_MV_STRING8) value.Value.MVszA.lppszA[i] = CopyString(value.Value.MVszA.lppszA[i]);
    if (type == PT_MV_UNICODE) value.Value.MVszW.lppszW[i] = CopyString(value.Value.MVszW.lppszW[i]);
    if (type == PT_MV_BINARY) array.lpbin[i] = CopyBinary(array.lpbin[i]);
  }
}

void Block::Add(const SPropValue& source) {
  SPropValue value = source;
  const ULONG type = PropType(value.ulPropTag);
  if (type == PT_UNICODE) value.Value.lpszW = CopyString(value.Value.lpszW);
  if (type == PT_STRING8) value.Value.lpszA = CopyString(value.Value.lpszA);
  if (type == PT_CLSID) value.Value.lpguid = static_cast<GUID*>(Copy(value.Value.lpguid, sizeof(GUID)));
  if (type == PT_BINARY) value.Value.bin = CopyBinary(value.Value.bin);
  if ((type & MV_FLAG) != 0) CopyArray(value);
  values_[count_++] = value;
}

const SPropValue* FindValue(const ADRENTRY& entry, ULONG tag) noexcept {
  for (ULONG i = 0; i < entry.cValues; ++i) {
    const ULONG own = entry.rgPropVals[i].ulPropTag;
    if (PropId(own) == PropId(tag) && (PropType(tag) == PT_UNSPECIFIED || own == tag)) return &entry.rgPropVals[i];
  }
  return nullptr;
}

bool IsListed(const SPropTagArray& tags, ULONG tag) noexcept {
  for (ULONG i = 0; i < tags.cValues; ++i) {
    if (PropId(tags.aulPropTag[i]) == PropId(tag)) return true;
  }
  return false;
}

Block Complete(const Memory& memory, const Properties& card, const SPropTagArray& tags, const ADRENTRY& entry) {
  Block block(memory, std::size_t{tags.cValues} + entry.cValues);
  for (ULONG i = 0; i < tags.cValues; ++i) {
    const ULONG tag = tags.aulPropTag[i];
    if (const Property* property = card.Find(tag)) {
      block.Add(*property);
    } else if (const SPropValue* value = FindValue(entry, tag)) {
      block.Add(*value);
    } else {
      block.AddError(tag);
    }
  }
  for (ULONG i = 0; i < entry.cValues; ++i) {
    if (!IsListed(tags, entry.rgPropVals[i].ulPropTag)) block.Add(entry.rgPropVals[i]);
  }
  return block;
}

}  // namespace

HRESULT PrepareRecipients(Folder& folder, const SPropTagArray& tags, ADRLIST& list) {
  const Memory& memory = folder.memory();
  std::vector<Block> blocks;
  blocks.reserve(list.cEntries);
  for (ULONG i = 0; i < list.cEntries; ++i) {
    const ADRENTRY& entry = list.aEntries[i];
    if (entry.cValues != 0 && entry.rgPropVals == nullptr) return E_INVALIDARG;
    Properties properties;
    if (const SPropValue* id = FindValue(entry, PR_ENTRYID)) {
      if (const auto card = folder.FindCard(id->Value.bin.lpb, id->Value.bin.cb)) {
        const CardStore& cards = folder.book(card->book).cards();
        properties = CardProperties(cards.text(card->card), folder.CardId(*card), cards.group(card->card));
      }
    }
    blocks.push_back(Complete(memory, properties, tags, entry));
  }
  for (ULONG i = 0; i < list.cEntries; ++i) {  // nothing can fail from here on
    ADRENTRY& entry = list.aEntries[i];
    if (entry.rgPropVals != nullptr) memory.free(entry.rgPropVals);
    entry.cValues = blocks[i].count();
    entry.rgPropVals = blocks[i].Detach();
  }
  return S_OK;
}

}  // namespace uab::vcard
