#include "entry_list.h"

#include <commctrl.h>

#include "text.h"

namespace host {

void EntryList::Create(HWND parent, HINSTANCE module) {
  list_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"Entries",
                          WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_SHOWSELALWAYS | LVS_SINGLESEL, 0, 0, 0,
                          0, parent, nullptr, module, nullptr);
  ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
  struct {
    const wchar_t* title;
    int width;
  } columns[] = {{L"Name", 250}, {L"Kind", 80}, {L"Fax number", 200}};
  for (int i = 0; i < 3; ++i) {
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.pszText = const_cast<wchar_t*>(columns[i].title);
    column.cx = columns[i].width;
    SendMessageW(list_, LVM_INSERTCOLUMNW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&column));
  }
}

void EntryList::Clear() {
  ListView_DeleteAllItems(list_);
  count_ = 0;
}

void EntryList::Add(const Entry& entry) {
  WideText cells[] = {ToWide(entry.name), ToWide(TypeName(entry.type)), ToWide(entry.address)};
  for (int i = 0; i < 3; ++i) {
    LVITEMW item = {};
    item.mask = LVIF_TEXT;
    item.iItem = count_;
    item.iSubItem = i;
    item.pszText = cells[i].data();
    SendMessageW(list_, i == 0 ? LVM_INSERTITEMW : LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
  }
  ++count_;
}

}  // namespace host
