// Dialog templates where there are no windows: what a host exports in place of a dialog resource.
//
// The template with identifier N is the exported data "UABDialogTemplateN" of the module that the host names as its
// resources; with a null module that of the program itself, which must export it (CMake: ENABLE_EXPORTS):
//
//   static const uab::TerminalControl controls[] = {
//       {1155, uab::kTerminalList, 0, UAB_TEXT("&Services")},
//       {1158, uab::kTerminalButton, 0, UAB_TEXT("&Configure...")},
//       {1, uab::kTerminalButton, uab::kTerminalDefault, UAB_TEXT("OK")},
//       {2, uab::kTerminalButton, 0, UAB_TEXT("Cancel")},
//   };
//   UAB_TERMINAL_DIALOG(255) = {sizeof(uab::TerminalDialog), 4, UAB_TEXT("Message Services"),
//                               UAB_TEXT("Services of this profile"), controls};
//
// The dialog is written to standard error and takes its commands from standard input, one a line, from a terminal or
// not: "select 2", "double 2", "press configure" or "press 1158", "focus ...", "show", "ok", "cancel", "help". The end
// of the input cancels it.
#pragma once

#include "keluab/base.h"

#if defined(_WIN32)
#define UAB_TERMINAL_EXPORT
#else
#define UAB_TERMINAL_EXPORT __attribute__((visibility("default")))
#endif
#define UAB_TERMINAL_DIALOG(id)                                                   \
  extern "C" UAB_TERMINAL_EXPORT const uab::TerminalDialog UABDialogTemplate##id; \
  extern "C" UAB_TERMINAL_EXPORT const uab::TerminalDialog UABDialogTemplate##id

namespace uab {

inline constexpr WORD kTerminalLabel = 0;   // text only
inline constexpr WORD kTerminalButton = 1;  // can be pressed
inline constexpr WORD kTerminalList = 2;    // lines, one of which may be selected

inline constexpr ULONG kTerminalDefault = 0x00000001u;   // the default button
inline constexpr ULONG kTerminalDisabled = 0x00000002u;  // disabled at first

struct TerminalControl {
  WORD id;    // what messages name it by
  WORD kind;  // kTerminalLabel ...; others are passed over
  ULONG flags;
  const WCHAR* text;  // "&" marks a letter and is not shown, "&&" is an ampersand; null: none
};

struct TerminalDialog {
  ULONG size;  // sizeof(TerminalDialog), to tell a later, longer one
  ULONG control_count;
  const WCHAR* title;        // null: none
  const WCHAR* description;  // one line below the title; null: none
  const TerminalControl* controls;
};

static_assert(sizeof(TerminalControl) == 16 && sizeof(TerminalDialog) == 32, "shared layouts");

}  // namespace uab
