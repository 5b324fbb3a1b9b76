#include "profiles/service_list.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "platform/com_ptr.h"

namespace uab {
namespace {

constexpr TagArray<3> kLineTags = {3, {PR_DISPLAY_NAME_W, PR_SERVICE_UID, PR_RESOURCE_FLAGS}};

// Null: the values name no service.
std::unique_ptr<ServiceRecord> MakeRecord(const SPropValue* values) noexcept {
  const SPropValue& uid = values[1];
  if (uid.ulPropTag != PR_SERVICE_UID || uid.Value.bin.cb < sizeof(MAPIUID) || uid.Value.bin.lpb == nullptr) return {};
  std::unique_ptr<ServiceRecord> record(new (std::nothrow) ServiceRecord{});
  if (record == nullptr) return record;
  std::memcpy(&record->uid, uid.Value.bin.lpb, sizeof(MAPIUID));
  record->flags = values[2].ulPropTag == PR_RESOURCE_FLAGS ? values[2].Value.ul : 0;
  return record;
}

}  // namespace

SPropTagArray* ServiceLineTags() noexcept { return kLineTags.address(); }

const WCHAR* ServiceNameOf(const SPropValue& value) noexcept {
  return value.ulPropTag == PR_DISPLAY_NAME_W ? value.Value.lpszW : nullptr;
}

void ServiceList::Fill(IMsgServiceAdmin& admin) {
  ComPtr<IMAPITable> table;
  if (Failed(admin.GetMsgServiceTable(MAPI_UNICODE, table.Put())) || !table) return;
  table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
  if (Failed(table->SetColumns(ServiceLineTags(), 0))) return;
  for (;;) {
    RowSetPtr rows;
    if (Failed(table->QueryRows(1, 0, rows.Put())) || !rows || rows->cRows == 0) break;
    const SRow& row = rows->aRow[0];
    if (row.cValues < kLineTags.cValues) break;
    Add(ServiceNameOf(row.lpProps[0]), MakeRecord(row.lpProps));
  }
  Send(LB_SETCURSEL, 0);
}

// The new line owns the record, if it takes it.
void ServiceList::Add(const WCHAR* name, std::unique_ptr<ServiceRecord> record) noexcept {
  const WCHAR* shown = name != nullptr ? name : UAB_TEXT("");
  LRESULT line = Send(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(shown));
  if (line < 0 || record == nullptr) return;
  Send(LB_SETITEMDATA, line, reinterpret_cast<LPARAM>(record.get()));
  if (RecordAt(line) == record.get()) record.release();  // asked back: a template may lack the list
}

ServiceRecord* ServiceList::RecordAt(LRESULT line) const noexcept {
  if (line < 0) return nullptr;
  LRESULT data = Send(LB_GETITEMDATA, line);
  return data == LB_ERR ? nullptr : reinterpret_cast<ServiceRecord*>(data);
}

ServiceRecord* ServiceList::Selected(LRESULT* line) const noexcept {
  *line = Send(LB_GETCURSEL);
  return RecordAt(*line);
}

void ServiceList::Remove(LRESULT line) noexcept {
  std::unique_ptr<ServiceRecord> record(RecordAt(line));
  Send(LB_DELETESTRING, line);
  LRESULT count = Send(LB_GETCOUNT);
  if (count > 0) Send(LB_SETCURSEL, std::min(line, count - 1));
}

void ServiceList::Replace(LRESULT line, const WCHAR* name) noexcept {
  LRESULT added = Send(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name));
  if (added < 0) return;
  if (added <= line) ++line;  // a sorted list
  Send(LB_SETITEMDATA, added, reinterpret_cast<LPARAM>(RecordAt(line)));
  Send(LB_DELETESTRING, line);
  Send(LB_SETCURSEL, added > line ? added - 1 : added);
}

void ServiceList::FreeRecords() noexcept {
  LRESULT count = Send(LB_GETCOUNT);
  for (LRESULT line = 0; line < count; ++line) {
    std::unique_ptr<ServiceRecord> record(RecordAt(line));
    Send(LB_SETITEMDATA, line, 0);
  }
}

}  // namespace uab
