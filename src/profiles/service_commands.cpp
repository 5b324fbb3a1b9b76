#include "profiles/service_commands.h"

#include <utility>

#include "frame/allocation_chain.h"
#include "platform/at_boundary.h"
#include "platform/com_ptr.h"
#include "platform/module_path.h"
#include "profiles/service_definitions.h"

namespace uab {
namespace {

constexpr int kRefreshButton = 1156;
constexpr int kRemoveButton = 1157;
constexpr int kConfigureButton = 1158;

bool HasServiceChoice() noexcept {
  PathBuffer path;
  ChainPtr<WCHAR> lines;
  return Succeeded(GetServiceDefinitionPath(path)) && Succeeded(ReadIniSection(path, kServicesSection, lines)) &&
         CountLines(lines.Get()) > 1;
}

}  // namespace

void ServiceCommands::Initialize() {
  if (params_.template_id != kServiceDialogTemplate) return;
  list_.Fill(*params_.service_admin);
  RefreshButtons();
}

bool ServiceCommands::Handle(WORD control, WORD notification) {
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
    case kRefreshButton:
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

void ServiceCommands::RemoveSelected() {
  LRESULT line;
  ServiceRecord* record = list_.Selected(&line);
  if (record == nullptr || (record->flags & UAB_SERVICE_NO_REMOVE) != 0) return;
  if (Failed(params_.service_admin->DeleteMsgService(&record->uid))) return;
  kept_.Drop(record->uid);
  list_.Remove(line);
}

void ServiceCommands::ConfigureSelected() {
  LRESULT line;
  const ServiceRecord* record = list_.Selected(&line);
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
  if (Failed(section->GetProps(ServiceLineTags(), MAPI_UNICODE, &count, values.Put())) || count == 0) return;
  if (const WCHAR* name = ServiceNameOf(*values.Get())) list_.Replace(line, name);
}

void ServiceCommands::Close(WORD control) noexcept {
  FreeRecords();
  EndDialog(window_, control);
}

// What becomes enabled does so first and what becomes disabled last: a disabled window can't be given the focus, and
// takes it with it.
void ServiceCommands::RefreshButtons() {
  LRESULT line;
  const ServiceRecord* record = list_.Selected(&line);
  const ULONG flags = record != nullptr ? record->flags : 0;
  const bool can_configure = (flags & UAB_SERVICE_NO_CONFIGURE) == 0;
  const std::pair<int, bool> buttons[] = {{kRemoveButton, (flags & UAB_SERVICE_NO_REMOVE) == 0},
                                          {kConfigureButton, can_configure},
                                          {kRefreshButton, HasServiceChoice()}};
  auto set = [&](bool enable) {
    for (auto [button, enabled] : buttons) {
      if (enabled == enable) EnableWindow(GetDlgItem(window_, button), enable ? TRUE : FALSE);
    }
  };
  set(true);
  const bool configure_is_there = can_configure && GetDlgItem(window_, kConfigureButton) != nullptr;
  for (auto [button, enabled] : buttons) {
    if (!enabled) PassFocus(button, configure_is_there ? kConfigureButton : IDOK);
  }
  set(false);
}

// If the button has the focus, and the default, another one gets them.
void ServiceCommands::PassFocus(int button, int next) {
  HWND control = GetDlgItem(window_, button);
  if (control == nullptr || GetFocus() != control) return;
  SendDlgItemMessageW(window_, button, BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
  SendDlgItemMessageW(window_, next, BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
  SetFocus(GetDlgItem(window_, next));
}

}  // namespace uab
