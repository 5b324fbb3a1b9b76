// The main window: a tree of the containers on the left, the selected one's entries on the right.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "entries.h"
#include "entry_list.h"
#include "library.h"

namespace host {

class MainWindow {
 public:
  MainWindow(HINSTANCE module, Library& library, std::string profile);
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  int Run(int show);  // until the window is closed

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  LRESULT Handle(UINT message, WPARAM wparam, LPARAM lparam);
  void CreateChildren();
  void Layout();
  void LogOn();
  void FillTree();
  std::size_t FirstWithEntries() const;
  void ShowContainer(std::size_t index);
  void Configure();
  void Say(const std::string& text);
  template <typename Work>
  void Guarded(Work work);  // a failure becomes the status line

  HINSTANCE module_;
  Library& library_;
  std::string profile_;
  std::unique_ptr<Session> session_;
  std::vector<Container> containers_;
  HWND window_ = nullptr;
  HWND tree_ = nullptr;
  HWND status_ = nullptr;
  EntryList list_;
};

}  // namespace host
