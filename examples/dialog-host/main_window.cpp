#include "main_window.h"

#include <commctrl.h>

#include <exception>

#include "failure.h"
#include "resource.h"
#include "text.h"

namespace host {
namespace {

constexpr wchar_t kClassName[] = L"KELUAB dialog host";
constexpr int kTreeWidth = 260;

HFONT MessageFont() {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = sizeof metrics;
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
  static HFONT font = CreateFontIndirectW(&metrics.lfMessageFont);
  return font;
}

}  // namespace

MainWindow::MainWindow(HINSTANCE module, Library& library, std::string profile)
    : module_(module), library_(library), profile_(std::move(profile)) {
  WNDCLASSEXW window_class = {};
  window_class.cbSize = sizeof window_class;
  window_class.lpfnWndProc = Procedure;
  window_class.hInstance = module;
  window_class.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  window_class.hIcon = LoadIconW(nullptr, reinterpret_cast<LPCWSTR>(IDI_APPLICATION));
  window_class.hbrBackground = GetSysColorBrush(COLOR_3DFACE);
  window_class.lpszMenuName = MAKEINTRESOURCEW(IDR_MENU);
  window_class.lpszClassName = kClassName;
  RegisterClassExW(&window_class);
  CreateWindowExW(0, kClassName, L"Address Books", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 860, 520, nullptr,
                  nullptr, module, this);
  if (window_ == nullptr) throw Failure(kExitFailed, "The main window can't be made.");
}

int MainWindow::Run(int show) {
  ShowWindow(window_, show);
  Guarded([this] { LogOn(); });
  HACCEL keys = LoadAcceleratorsW(module_, MAKEINTRESOURCEW(IDR_KEYS));
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (TranslateAcceleratorW(window_, keys, &message) != 0 || IsDialogMessageW(window_, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return static_cast<int>(message.wParam);
}

LRESULT CALLBACK MainWindow::Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE) {
    auto* self = static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(lparam)->lpCreateParams);
    self->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  return self != nullptr ? self->Handle(message, wparam, lparam) : DefWindowProcW(window, message, wparam, lparam);
}

LRESULT MainWindow::Handle(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_CREATE:
      CreateChildren();
      return 0;
    case WM_SIZE:
      Layout();
      return 0;
    case WM_COMMAND:
      if (LOWORD(wparam) == IDM_CONFIGURE) Guarded([this] { Configure(); });
      if (LOWORD(wparam) == IDM_LOGON) Guarded([this] { LogOn(); });
      if (LOWORD(wparam) == IDM_EXIT) DestroyWindow(window_);
      return 0;
    case WM_NOTIFY: {
      const auto* notice = reinterpret_cast<const NMTREEVIEWW*>(lparam);
      if (notice->hdr.hwndFrom == tree_ && notice->hdr.code == TVN_SELCHANGEDW && notice->itemNew.hItem != nullptr) {
        Guarded([&] { ShowContainer(static_cast<std::size_t>(notice->itemNew.lParam)); });
      }
      return 0;
    }
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window_, message, wparam, lparam);
  }
}

void MainWindow::CreateChildren() {
  tree_ = CreateWindowExW(
      WS_EX_CLIENTEDGE, WC_TREEVIEWW, L"Containers",
      WS_CHILD | WS_VISIBLE | WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT | TVS_SHOWSELALWAYS, 0, 0, 0,
      0, window_, nullptr, module_, nullptr);
  status_ = CreateWindowExW(0, STATUSCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0, window_,
                            nullptr, module_, nullptr);
  list_.Create(window_, module_);
  for (HWND child : {tree_, status_, list_.window()}) {
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(MessageFont()), TRUE);
  }
}

void MainWindow::Layout() {
  SendMessageW(status_, WM_SIZE, 0, 0);
  RECT area, status;
  GetClientRect(window_, &area);
  GetWindowRect(status_, &status);
  int height = area.bottom - (status.bottom - status.top);
  MoveWindow(tree_, 0, 0, kTreeWidth, height, TRUE);
  MoveWindow(list_.window(), kTreeWidth + 4, 0, area.right - kTreeWidth - 4, height, TRUE);
}

void MainWindow::LogOn() {
  list_.Clear();
  TreeView_DeleteAllItems(tree_);
  session_.reset();
  session_ = std::make_unique<Session>(library_, profile_);
  FillTree();
}

void MainWindow::FillTree() {
  containers_ = ListContainers(session_->book());
  std::vector<HTREEITEM> items, parents;
  for (std::size_t i = 0; i < containers_.size(); ++i) {
    WideText name = ToWide(containers_[i].name);
    parents.resize(std::min<std::size_t>(parents.size(), containers_[i].depth));
    TVINSERTSTRUCTW insert = {};
    insert.hParent = parents.empty() ? TVI_ROOT : parents.back();
    insert.hInsertAfter = TVI_LAST;
    insert.item.mask = TVIF_TEXT | TVIF_PARAM;
    insert.item.pszText = name.data();
    insert.item.lParam = static_cast<LPARAM>(i);
    items.push_back(TreeView_InsertItem(tree_, &insert));
    parents.push_back(items.back());
  }
  for (HTREEITEM item = TreeView_GetRoot(tree_); item != nullptr; item = TreeView_GetNextSibling(tree_, item)) {
    TreeView_Expand(tree_, item, TVE_EXPAND);
  }
  Say(std::to_string(containers_.size()) + " containers");
  if (!items.empty()) TreeView_SelectItem(tree_, items[FirstWithEntries()]);
}

// The first container that has entries; the first of all when none has.
std::size_t MainWindow::FirstWithEntries() const {
  for (std::size_t i = 0; i < containers_.size(); ++i) {
    bool any = false;
    ForEachEntry(session_->book(), containers_[i].id, [&any](const Entry&) {
      any = true;
      return false;
    });
    if (any) return i;
  }
  return 0;
}

void MainWindow::ShowContainer(std::size_t index) {
  if (index >= containers_.size()) return;
  list_.Clear();
  std::size_t count = 0;
  ForEachEntry(session_->book(), containers_[index].id, [&](const Entry& entry) {
    list_.Add(entry);
    ++count;
    return true;
  });
  Say(containers_[index].path + ": " + std::to_string(count) + (count == 1 ? " entry" : " entries"));
}

void MainWindow::Configure() {
  std::string profile = profile_.empty() ? library_.DefaultProfile() : profile_;
  HRESULT hr = library_.OpenProfiles()->ConfigureProfile(ToWide(profile).data(), reinterpret_cast<ULONG_PTR>(window_),
                                                         uab::MAPI_UNICODE);
  if (hr == uab::MAPI_E_USER_CANCEL) return;
  Check(hr, "configure profile '" + profile + "'");
  LogOn();
}

void MainWindow::Say(const std::string& text) {
  SendMessageW(status_, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(ToWide(text).c_str()));
}

template <typename Work>
void MainWindow::Guarded(Work work) {
  try {
    work();
  } catch (const std::exception& error) {
    Say(error.what());
  }
}

}  // namespace host
