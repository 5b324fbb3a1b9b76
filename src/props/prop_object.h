// The property set behind a COM object, with the property operations over it: what profile sections offer as IMAPIProp
// and where the address book keeps its settings. An object has one as a member and forwards its slots. Values, tag and
// problem arrays that are handed out are head blocks of the allocation chain.
//
// Any thread may call; each operation takes the lock, which is the owning object's and guards its reference count too.
#pragma once

#include "keluab/values.h"
#include "platform/section.h"
#include "props/prop_list.h"

namespace uab {

class PropObject : NonCopyable {
 public:
  // The lock is borrowed.
  explicit PropObject(Section& section) noexcept : section_(section) {}

  // Replaces the set by copies of the values; PR_NULL and PT_ERROR values are skipped. On an error the set stays.
  HRESULT InitProps(ULONG count, const SPropValue* values) noexcept;

  // IMAPIProp's operations of the same names; see keluab/props.h. A value that can't be set is a problem or, without a
  // problem array, dropped in silence. A refusal stores null, but for GetProps, which stores nothing.
  HRESULT GetProps(const SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) noexcept;
  HRESULT GetPropList(ULONG flags, SPropTagArray** tags) noexcept;
  HRESULT SetProps(ULONG count, const SPropValue* values, SPropProblemArray** problems) noexcept;
  HRESULT DeleteProps(const SPropTagArray* tags, SPropProblemArray** problems) noexcept;

  // Stores every property in list order: count 0 and null when there is none. E_OUTOFMEMORY: nothing is stored.
  HRESULT GetAllProps(ULONG* count, SPropValue** values) noexcept;

  // Checks and stores one value. PR_NULL and PT_ERROR values: S_OK, nothing stored. E_ACCESSDENIED, MAPI_E_COMPUTED: a
  // tag that callers may not write. Errors of PropList::Set.
  HRESULT SetOneProp(const SPropValue& value) noexcept;

  // Runs work on the list under the lock.
  template <typename Work>
  auto WithList(Work&& work) noexcept {
    LockedScope scope(section_);
    return work(list_);
  }

 private:
  Section& section_;
  PropList list_ UAB_GUARDED_BY(section_);
};

// S_OK, or why callers may not write the tag. E_ACCESSDENIED: PT_OBJECT. MAPI_E_COMPUTED: a computed identifier.
HRESULT CheckPropTag(ULONG tag) noexcept;

}  // namespace uab
