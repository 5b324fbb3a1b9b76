// PrepareRecips: giving recipients the properties that a host asks for, without losing one that they have. Copy it.
#pragma once

#include <vector>

#include "provider_base.h"

namespace guide {

inline const SPropValue* FindValue(const ADRENTRY& entry, ULONG tag) {
  for (ULONG i = 0; i < entry.cValues; ++i) {
    if (entry.rgPropVals[i].ulPropTag == tag) return &entry.rgPropVals[i];
  }
  return nullptr;
}

// A copy of a value whose data is linked to another head. False: a type that this doesn't copy.
inline bool CopyValue(const Memory& memory, const SPropValue& source, void* head, SPropValue& copy) {
  copy = source;
  switch (PropType(source.ulPropTag)) {
    case PT_UNICODE:
      if (source.Value.lpszW != nullptr) copy.Value.lpszW = memory.LinkText(head, source.Value.lpszW);
      return true;
    case PT_BINARY:
      if (source.Value.bin.lpb == nullptr) return source.Value.bin.cb == 0;
      copy.Value.bin.lpb = static_cast<BYTE*>(memory.Link(head, source.Value.bin.lpb, source.Value.bin.cb));
      return true;
    case PT_LONG:
    case PT_BOOLEAN:
    case PT_SYSTIME:
    case PT_ERROR:
    case PT_NULL:
      return true;
    default:
      return false;
  }
}

// The tags' values in their order, then whatever else the entry has. False: it has what can't be copied.
template <typename Read>
bool CompleteEntry(const Memory& memory, const SPropTagArray& tags, const ADRENTRY& entry, Read read,
                   SPropValue* values, ULONG& count) {
  for (ULONG i = 0; i < tags.cValues; ++i) {
    SPropValue& value = values[count++];
    value.ulPropTag = tags.aulPropTag[i];
    if (read(tags.aulPropTag[i], values, value)) continue;
    const SPropValue* own = FindValue(entry, tags.aulPropTag[i]);
    if (own == nullptr) SetMissing(tags.aulPropTag[i], value);
    if (own != nullptr && !CopyValue(memory, *own, values, value)) return false;
  }
  for (ULONG i = 0; i < entry.cValues; ++i) {
    const SPropValue& own = entry.rgPropVals[i];
    bool listed = false;
    for (ULONG j = 0; j < tags.cValues; ++j) listed = listed || PropId(tags.aulPropTag[j]) == PropId(own.ulPropTag);
    if (!listed && !CopyValue(memory, own, values, values[count++])) return false;
  }
  return true;
}

// read(id, tag, head, value) as in MakeValues, for the entry that the PR_ENTRYID value names. All value arrays are made
// before the first one is replaced: after a failure the list is what it was.
template <typename Read>
HRESULT CompleteRecipients(const Memory& memory, const SPropTagArray& tags, ADRLIST& list, Read read) {
  struct Completed {
    ADRENTRY* entry;
    Block<SPropValue> values;
    ULONG count = 0;
  };
  std::vector<Completed> all;
  all.reserve(list.cEntries);
  for (ULONG i = 0; i < list.cEntries; ++i) {
    ADRENTRY& entry = list.aEntries[i];
    const SPropValue* id = entry.rgPropVals == nullptr ? nullptr : FindValue(entry, PR_ENTRYID);
    if (id == nullptr) continue;
    std::size_t room = std::size_t{tags.cValues} + entry.cValues;
    all.push_back({&entry, Block<SPropValue>(memory, room * sizeof(SPropValue))});
    auto read_this = [&](ULONG tag, void* head, SPropValue& value) { return read(id->Value.bin, tag, head, value); };
    SPropValue* values = all.back().values.get();
    if (!CompleteEntry(memory, tags, entry, read_this, values, all.back().count)) return MAPI_E_NO_SUPPORT;
  }
  for (Completed& completed : all) {
    memory.free_buffer(completed.entry->rgPropVals);
    completed.entry->cValues = completed.count;
    completed.entry->rgPropVals = completed.values.Detach();
  }
  return S_OK;
}

}  // namespace guide
