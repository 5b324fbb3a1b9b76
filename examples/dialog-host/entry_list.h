// The list of a container's entries: name, kind, address.
#pragma once

#include <windows.h>

#include "entries.h"

namespace host {

class EntryList {
 public:
  void Create(HWND parent, HINSTANCE module);
  HWND window() const { return list_; }
  void Clear();
  void Add(const Entry& entry);

 private:
  HWND list_ = nullptr;
  int count_ = 0;
};

}  // namespace host
