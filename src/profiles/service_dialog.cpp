// The dialog procedure. Its parts: the sections that are kept until the user confirms, the list of services, the
// buttons, the commands, and the messages.
#include "profiles/service_dialog.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "platform/at_boundary.h"
#include "platform/com_ptr.h"
#include "platform/module_path.h"
#include "platform/registry.h"
#include "platform/system_calls.h"
#include "profiles/kept_sections.h"
#include "profiles/service_definitions.h"

namespace uab {
namespace {

constexpr int kServiceList = 1155;
constexpr int kAddButton = 1156;
constexpr int kRemoveButton = 1157;
constexpr int kConfigureButton = 1158;

constexpr TagArray<3> kLineTags = {3, {PR_DISPLAY_NAME_W, PR_SERVICE_UID, PR_RESOURCE_FLAGS}};

// The item data of a line.
struct ServiceRecord {
  MAPIUID uid;
  ULONG flags;  // PR_RESOURCE_FLAGS
};
static_assert(sizeof(ServiceRecord) == 20, "a record begins with its identifier");

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

const WCHAR* NameOf(const SPropValue& value) noexcept {
  return value.ulPropTag == PR_DISPLAY_NAME_W ? value.Value.lpszW : nullptr;
}

class ServiceDialog {
 public:
  ServiceDialog(HWND window, const ServiceDialogParams& params) noexcept : window_(window), params_(params) {}

  void Initialize();
  bool HandleCommand(WORD control, WORD notification);  // false: not one of ours

  void FreeRecords() noexcept;  // REQUIRES: the window is there

  // A service's library runs a dialog of its own, and with it whatever reaches this window in the meantime.
  bool busy() const noexcept { return busy_; }
  bool destroyed = false;  // the window went while a library ran

 private:
  LRESULT Send(int control, UINT message, WPARAM wparam = 0, LPARAM lparam = 0) const noexcept {
    return SendDlgItemMessageW(window_, control, message, wparam, lparam);
  }
  LRESULT SendList(UINT message, WPARAM wparam = 0, LPARAM lparam = 0) const noexcept {
    return Send(kServiceList, message, wparam, lparam);
  }

  void FillList();
  LRESULT AddLine(const WCHAR* name, std::unique_ptr<ServiceRecord> record);
  ServiceRecord* RecordAt(LRESULT line) const noexcept;  // null: no such line, or it has none
  ServiceRecord* SelectedRecord(LRESULT* line) const noexcept;

  void RefreshButtons();
  void EnableOrPassFocus(int button, bool enable, int next);
  bool CanAddService() const noexcept;

  void RemoveSelected();
  void ConfigureSelected();
  void ReplaceLine(LRESULT line, const WCHAR* name);
  void Close(WORD control) noexcept;

  const HWND window_;
  const ServiceDialogParams& params_;
  KeptSections kept_;
  bool busy_ = false;
};

// ---- The list ------------------------------------------------------------------------------------------------------

void ServiceDialog::FillList() {
  ComPtr<IMAPITable> table;
  if (Failed(params_.service_admin->GetMsgServiceTable(MAPI_UNICODE, table.Put())) || !table) return;
  table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
  if (Failed(table->SetColumns(kLineTags.address(), 0))) return;
  for (;;) {
    RowSetPtr rows;
    if (Failed(table->QueryRows(1, 0, rows.Put())) || !rows || rows->cRows == 0) break;
    const SRow& row = rows->aRow[0];
    if (row.cValues < kLineTags.cValues) break;
    AddLine(NameOf(row.lpProps[0]), MakeRecord(row.lpProps));
  }
  SendList(LB_SETCURSEL, 0);
}

// Returns the new line's index, negative when there is none. The line owns the record, if it takes it.
LRESULT ServiceDialog::AddLine(const WCHAR* name, std::unique_ptr<ServiceRecord> record) {
  const WCHAR* shown = name != nullptr ? name : UAB_TEXT("");
  LRESULT line = SendList(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(shown));
  if (line < 0 || record == nullptr) return line;
  SendList(LB_SETITEMDATA, static_cast<WPARAM>(line), reinterpret_cast<LPARAM>(record.get()));
  if (RecordAt(line) == record.get()) record.release();  // asked back: a template may lack the list
  return line;
}

ServiceRecord* ServiceDialog::RecordAt(LRESULT line) const noexcept {
  if (line < 0) return nullptr;
  LRESULT data = SendList(LB_GETITEMDATA, static_cast<WPARAM>(line));
  return data == LB_ERR ? nullptr : reinterpret_cast<ServiceRecord*>(data);
}

ServiceRecord* ServiceDialog::SelectedRecord(LRESULT* line) const noexcept {
  *line = SendList(LB_GETCURSEL);
  return RecordAt(*line);
}

// The lines stay, without records: the window may live a little longer.
void ServiceDialog::FreeRecords() noexcept {
  LRESULT count = SendList(LB_GETCOUNT);
  for (LRESULT line = 0; line < count; ++line) {
    std::unique_ptr<ServiceRecord> record(RecordAt(line));
    SendList(LB_SETITEMDATA, static_cast<WPARAM>(line), 0);
  }
}

// ---- The buttons ---------------------------------------------------------------------------------------------------

void ServiceDialog::RefreshButtons() {
  LRESULT line;
  const ServiceRecord* record = SelectedRecord(&line);
  ULONG flags = record != nullptr ? record->flags : 0;
  EnableOrPassFocus(kRemoveButton, (flags & UAB_SERVICE_NO_REMOVE) == 0, kConfigureButton);
  EnableOrPassFocus(kConfigureButton, (flags & UAB_SERVICE_NO_CONFIGURE) == 0, IDOK);
  EnableWindow(GetDlgItem(window_, kAddButton), CanAddService());
}

// A button that is about to be disabled hands the focus, and the default, to the next one.
void ServiceDialog::EnableOrPassFocus(int button, bool enable, int next) {
  HWND control = GetDlgItem(window_, button);
  if (!enable && control != nullptr && GetFocus() == control) {
    Send(button, BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
    Send(next, BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
    SetFocus(GetDlgItem(window_, next));
  }
  EnableWindow(control, enable ? TRUE : FALSE);
}

bool ServiceDialog::CanAddService() const noexcept {
  PathBuffer path;
  ChainPtr<WCHAR> lines;
  return Succeeded(GetServiceDefinitionPath(path)) && Succeeded(ReadIniSection(path, kServicesSection, lines)) &&
         CountLines(lines.Get()) > 1;
}

// ---- The commands --------------------------------------------------------------------------------------------------

void ServiceDialog::RemoveSelected() {
  LRESULT line;
  ServiceRecord* record = SelectedRecord(&line);
  if (record == nullptr || (record->flags & UAB_SERVICE_NO_REMOVE) != 0) return;
  if (Failed(params_.service_admin->DeleteMsgService(&record->uid))) return;
  kept_.Drop(record->uid);
  std::unique_ptr<ServiceRecord> owned(record);
  SendList(LB_DELETESTRING, static_cast<WPARAM>(line));
  LRESULT count = SendList(LB_GETCOUNT);
  if (count > 0) SendList(LB_SETCURSEL, static_cast<WPARAM>(std::min(line, count - 1)));
}

void ServiceDialog::ConfigureSelected() {
  LRESULT line;
  const ServiceRecord* record = SelectedRecord(&line);
  if (record == nullptr || (record->flags & UAB_SERVICE_NO_CONFIGURE) != 0) return;
  MAPIUID uid = record->uid;
  kept_.Reserve();  // so that nothing fails once the library has done its work
  ComPtr<IMAPIProp> section = kept_.Find(uid);
  IMAPIProp* raw = section.Detach();
  busy_ = true;
  HRESULT hr = call_out([&] {
    return params_.service_admin->ConfigureMsgService(&uid, reinterpret_cast<ULONG_PTR>(window_),
                                                      MAPI_UNICODE | SERVICE_UI_ALWAYS, 0, nullptr, &raw);
  });
  busy_ = false;
  section = ComPtr<IMAPIProp>::Attach(raw);
  if (Succeeded(hr) && !section) hr = params_.service_admin->OpenProfileSection(&uid, nullptr, 0, section.Put());
  if (Failed(hr) || !section || destroyed) return;
  kept_.Keep(uid, section);

  ULONG count = 0;
  ChainPtr<SPropValue> values;
  if (Failed(section->GetProps(kLineTags.address(), MAPI_UNICODE, &count, values.Put())) || count == 0) return;
  if (const WCHAR* name = NameOf(*values.Get())) ReplaceLine(line, name);
}

// The new line takes over the record of the old one. When it can't be added, all stays as it was.
void ServiceDialog::ReplaceLine(LRESULT line, const WCHAR* name) {
  LRESULT added = SendList(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name));
  if (added < 0) return;
  if (added <= line) ++line;  // a sorted list
  SendList(LB_SETITEMDATA, static_cast<WPARAM>(added), reinterpret_cast<LPARAM>(RecordAt(line)));
  SendList(LB_DELETESTRING, static_cast<WPARAM>(line));
  SendList(LB_SETCURSEL, static_cast<WPARAM>(added > line ? added - 1 : added));
}

void ServiceDialog::Close(WORD control) noexcept {
  FreeRecords();
  EndDialog(window_, control);
}

// ---- The messages --------------------------------------------------------------------------------------------------

void ServiceDialog::Initialize() {
  if (params_.template_id != kServiceDialogTemplate) return;
  FillList();
  RefreshButtons();
}

bool ServiceDialog::HandleCommand(WORD control, WORD notification) {
  switch (control) {
    case IDOK:
      kept_.Save(params_.app_key);
      Close(control);
      return true;
    case IDCANCEL:
      kept_.Clear();
      Close(control);
      return true;
    case kServiceList:
      if (notification == LBN_SELCHANGE) RefreshButtons();
      if (notification == LBN_DBLCLK) ConfigureSelected();
      return true;
    case kAddButton:
      RefreshButtons();
      return true;
    case kRemoveButton:
      RemoveSelected();
      RefreshButtons();
      return true;
    case kConfigureButton:
      ConfigureSelected();
      return true;
    default:
      return false;
  }
}

ServiceDialog* DialogOf(HWND window) noexcept {
  return reinterpret_cast<ServiceDialog*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

void CentreOnDesktop(HWND window) noexcept {
  RECT desktop{};
  RECT dialog{};
  GetWindowRect(GetDesktopWindow(), &desktop);
  GetWindowRect(window, &dialog);
  int width = dialog.right - dialog.left;
  int height = dialog.bottom - dialog.top;
  MoveWindow(window, (desktop.right - desktop.left) / 2 - width / 2, (desktop.bottom - desktop.top) / 2 - height / 2,
             width, height, FALSE);
}

void OnInitDialog(HWND window, const ServiceDialogParams& params) {
  CentreOnDesktop(window);
  auto* dialog = new (std::nothrow) ServiceDialog(window, params);
  if (dialog == nullptr) {
    EndDialog(window, IDCANCEL);
    return;
  }
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(dialog));
  dialog->Initialize();
}

bool OnCommand(HWND window, WPARAM wparam) {
  ServiceDialog* dialog = DialogOf(window);
  if (dialog == nullptr) return false;
  if (dialog->busy()) return true;
  bool handled = false;
  at_boundary([&]() -> HRESULT {
    handled = dialog->HandleCommand(LOWORD(wparam), HIWORD(wparam));
    return S_OK;
  });
  if (dialog->destroyed) delete dialog;
  return handled;
}

void OnDestroy(HWND window) noexcept {
  ServiceDialog* dialog = DialogOf(window);
  if (dialog == nullptr) return;
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  dialog->FreeRecords();
  if (dialog->busy()) {
    dialog->destroyed = true;  // the command that runs deletes it
  } else {
    delete dialog;
  }
}

}  // namespace

INT_PTR ShowServiceDialog(HINSTANCE resources, ULONG_PTR ui, const ServiceDialogParams& params) noexcept {
  return Sys().dialog_box_param(resources, MAKEINTRESOURCEW(kServiceDialogTemplate), reinterpret_cast<HWND>(ui),
                                &ServiceDialogProcedure, reinterpret_cast<LPARAM>(&params));
}

INT_PTR UAB_CALL ServiceDialogProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  switch (message) {
    case WM_INITDIALOG:
      at_boundary([&]() -> HRESULT {
        OnInitDialog(window, *reinterpret_cast<const ServiceDialogParams*>(lparam));
        return S_OK;
      });
      return TRUE;
    case WM_COMMAND:
      return OnCommand(window, wparam) ? TRUE : FALSE;
    case WM_DESTROY:
      OnDestroy(window);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace uab
