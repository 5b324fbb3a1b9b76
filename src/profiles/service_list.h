// The list box of the message service dialog, control 1155: a line with the display name of each service and, as the
// line's item data, a record of that service, which the line owns. Lines are counted from 0. On the window's thread.
#pragma once

#include <memory>

#include "keluab/admin.h"
#include "platform/noncopyable.h"
#include "platform/win32.h"

namespace uab {

inline constexpr int kServiceList = 1155;

struct ServiceRecord {
  MAPIUID uid;
  ULONG flags;  // PR_RESOURCE_FLAGS
};
static_assert(sizeof(ServiceRecord) == 20, "a record begins with its identifier");

class ServiceList : NonCopyable {
 public:
  explicit ServiceList(HWND window) noexcept : window_(window) {}

  // Adds a line for each service and selects the first. Adds none, or not all, when they can't be read.
  void Fill(IMsgServiceAdmin& admin);

  ServiceRecord* Selected(LRESULT* line) const noexcept;  // null: no line is selected, or it has no record

  void Remove(LRESULT line) noexcept;  // with its record; the line that follows, or else the last one, is selected

  // Puts a new line, selected and with the same record, in the place of one. If it can't be added all stays as it was.
  void Replace(LRESULT line, const WCHAR* name) noexcept;

  void FreeRecords() noexcept;  // the lines stay, without records: the window may live a little longer

 private:
  LRESULT Send(UINT message, LRESULT line = 0, LPARAM data = 0) const noexcept {
    return SendDlgItemMessageW(window_, kServiceList, message, static_cast<WPARAM>(line), data);
  }
  void Add(const WCHAR* name, std::unique_ptr<ServiceRecord> record) noexcept;
  ServiceRecord* RecordAt(LRESULT line) const noexcept;  // null: no such line, or it has none

  const HWND window_;
};

// The display name that a value is; null: it is none.
const WCHAR* ServiceNameOf(const SPropValue& value) noexcept;

// What a line shows and records: PR_DISPLAY_NAME_W, PR_SERVICE_UID, PR_RESOURCE_FLAGS.
SPropTagArray* ServiceLineTags() noexcept;

}  // namespace uab
