// What a provider tells a watcher: IMAPIAdviseSink::OnNotify receives an array of these, which stays the provider's and
// is valid during the call only. It goes from the provider to the host's watcher directly: this library never sees it.
#pragma once

#include <cstddef>

#include "keluab/base.h"
#include "keluab/values.h"

namespace uab {

// Event types, which are also the bits of Advise's event mask.
inline constexpr ULONG fnevObjectCreated = 0x00000004;
inline constexpr ULONG fnevObjectDeleted = 0x00000008;
inline constexpr ULONG fnevObjectModified = 0x00000010;

// The object that was created, deleted or changed.
struct OBJECT_NOTIFICATION {
  ULONG cbEntryID;
  ENTRYID* lpEntryID;
  ULONG ulObjType;  // as in PR_OBJECT_TYPE
  ULONG cbParentID;
  ENTRYID* lpParentID;  // the container
  ULONG cbOldID;        // 0 and null: objects don't move
  ENTRYID* lpOldID;
  ULONG cbOldParentID;
  ENTRYID* lpOldParentID;
  SPropTagArray* lpPropTagArray;  // null: any property may have changed
};

struct NOTIFICATION {
  ULONG ulEventType;
  ULONG ulAlignPad;  // 0
  union {
    OBJECT_NOTIFICATION obj;  // fnevObjectCreated, fnevObjectDeleted, fnevObjectModified
  } info;
};

static_assert(sizeof(OBJECT_NOTIFICATION) == 72 && offsetof(OBJECT_NOTIFICATION, lpPropTagArray) == 64,
              "OBJECT_NOTIFICATION");
static_assert(sizeof(NOTIFICATION) == 80 && offsetof(NOTIFICATION, info) == 8, "NOTIFICATION");

}  // namespace uab
