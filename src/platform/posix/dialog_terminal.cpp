#include "platform/posix/dialog_terminal.h"

#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

#include "platform/posix/fold_case.h"
#include "platform/posix/utf.h"

namespace uab {
namespace {

constexpr WORD kClicked = 0;                    // a button's notification
constexpr std::size_t kMaxCommandBytes = 4096;  // the rest of a longer line is passed over

// Text for the terminal: what would move its cursor or change its state is shown as "?".
std::string Shown(std::u16string_view text) {
  std::u16string safe(text);
  for (char16_t& unit : safe) {
    bool control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0x2028 && unit <= 0x202E) ||
                   (unit >= 0x2066 && unit <= 0x2069);
    if (control) unit = u'?';
  }
  return ToUtf8(safe);
}

void Say(const std::string& text) { fputs((text + "\n").c_str(), stderr); }

std::u16string Folded(std::u16string_view text) {
  std::u16string folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), FoldCase);
  return folded;
}

// Takes the first word off, and the blanks round it.
std::string_view TakeWord(std::string_view& line) {
  constexpr const char* kBlanks = " \t\r\f\v";
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
  std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
  line = line.substr(0, line.find_last_not_of(kBlanks) + 1);
  return word;
}

// False: no number, or one that an int does not hold.
bool ParseNumber(std::string_view text, int& number) {
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

// False at the end of the input. Read through stdio, so that a host that reads its input the same way goes on behind
// the dialog's last line.
bool ReadLine(std::string& line) {
  line.clear();
  for (;;) {
    int c = getc(stdin);
    if (c == EOF && ferror(stdin) && errno == EINTR) {
      clearerr(stdin);
      continue;
    }
    if (c == EOF) return !line.empty();
    if (c == '\n') return true;
    if (line.size() < kMaxCommandBytes) line.push_back(static_cast<char>(c));
  }
}

std::string Described(const DialogControl& control, const DialogControl* focus) {
  std::string text = "[" + Shown(control.text) + "]  " + std::to_string(control.id);
  if (!control.enabled) text += "  (disabled)";
  if (control.is_default) text += "  (default)";
  if (&control == focus) text += "  (focus)";
  return text;
}

class Terminal {
 public:
  explicit Terminal(DialogWindow& dialog) : dialog_(dialog), interactive_(isatty(STDIN_FILENO) == 1) {}

  void Run() {
    Show();
    if (interactive_) Say("Type \"help\" for the commands.");
    std::string line;
    while (!dialog_.ended()) {
      if (interactive_) fputs("> ", stderr);
      if (!ReadLine(line)) {
        Close(IDCANCEL);
        dialog_.End(IDCANCEL);  // a procedure that does not close would wait for input that never comes
      } else if (Execute(line) && interactive_ && !dialog_.ended()) {
        Show();
      }
    }
  }

 private:
  void Show() {
    auto& windows = dialog_.windows();
    Say("\n== " + Shown(windows[0].text) + " ==");
    if (!dialog_.description().empty()) Say(Shown(dialog_.description()));
    for (std::size_t i = 1; i < windows.size(); ++i) {
      const DialogControl& control = windows[i];
      if (control.kind == kTerminalList) {
        ShowList(control);
      } else {
        Say("  " + (control.kind == kTerminalButton ? Described(control, dialog_.focus) : Shown(control.text)));
      }
    }
  }

  void ShowList(const DialogControl& list) {
    Say("  " + Shown(list.text) + ":" + (list.enabled ? "" : "  (disabled)"));
    if (list.lines.empty()) Say("      (none)");
    for (std::size_t i = 0; i < list.lines.size(); ++i) {
      bool selected = static_cast<int>(i) == list.selected;
      Say((selected ? "    * " : "      ") + std::to_string(i + 1) + "  " + Shown(list.lines[i].text));
    }
  }

  static void Help() {
    Say("show                shows the dialog again\n"
        "select N            selects line N of the list\n"
        "double N            selects line N and double-clicks it\n"
        "press NAME or ID    presses a button\n"
        "focus NAME or ID    moves the focus\n"
        "ok, cancel          closes the dialog");
  }

  // False: there is nothing new to show.
  bool Execute(std::string_view line) {
    std::string word(TakeWord(line));
    if (word.empty() || word.front() == '#') return false;
    std::transform(word.begin(), word.end(), word.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    if (word == "select") return Select(line, false);
    if (word == "double") return Select(line, true);
    if (word == "press") return Press(line);
    if (word == "focus") return Focus(line);
    if (word == "ok") return Close(IDOK);
    if (word == "cancel") return Close(IDCANCEL);
    if (word == "show") return interactive_ || (Show(), false);
    if (word != "help") return Refuse("Unknown command. Type \"help\" for the commands.");
    Help();
    return false;
  }

  static bool Refuse(const char* reason) {
    Say(reason);
    return false;
  }

  // The list with the focus, else the first one.
  DialogControl* CurrentList() {
    auto is_list = [](const DialogControl& control) { return control.kind == kTerminalList; };
    if (dialog_.focus != nullptr && is_list(*dialog_.focus)) return dialog_.focus;
    auto found = std::find_if(dialog_.windows().begin(), dialog_.windows().end(), is_list);
    return found == dialog_.windows().end() ? nullptr : &*found;
  }

  bool Select(std::string_view argument, bool double_click) {
    DialogControl* list = CurrentList();
    int number = 0;
    if (list == nullptr || !list->enabled) return Refuse("There is no list to select from.");
    if (!ParseNumber(argument, number) || number < 1 || static_cast<std::size_t>(number) > list->lines.size()) {
      return Refuse("There is no such line.");
    }
    dialog_.focus = list;
    list->selected = number - 1;
    dialog_.Notify(*list, LBN_SELCHANGE);
    if (double_click && !dialog_.ended()) dialog_.Notify(*list, LBN_DBLCLK);
    return true;
  }

  // By identifier, by text, or by the beginning of exactly one control's text. Null: no such control.
  DialogControl* FindNamed(std::string_view name) {
    int id = 0;
    if (ParseNumber(name, id)) return dialog_.FindControl(id);
    std::u16string wanted = Folded(ToUtf16(name));
    DialogControl* match = nullptr;
    int matches = 0;
    for (std::size_t i = 1; i < dialog_.windows().size() && !wanted.empty(); ++i) {
      DialogControl& control = dialog_.windows()[i];
      if (control.kind == kTerminalLabel) continue;
      std::u16string text = Folded(control.text);
      if (text == wanted) return &control;
      if (!text.starts_with(wanted)) continue;
      match = &control;
      ++matches;
    }
    return matches == 1 ? match : nullptr;
  }

  bool Press(std::string_view name) {
    DialogControl* button = FindNamed(name);
    if (button == nullptr || button->kind != kTerminalButton) return Refuse("There is no such button.");
    return Click(*button);
  }

  bool Click(DialogControl& button) {
    if (!button.enabled) return Refuse("That button is disabled.");
    dialog_.focus = &button;
    dialog_.Notify(button, kClicked);
    return true;
  }

  bool Focus(std::string_view name) {
    DialogControl* control = FindNamed(name);
    if (control == nullptr || !control->TakesFocus()) return Refuse("That can't have the focus.");
    dialog_.focus = control;
    return true;
  }

  // A dialog can be confirmed and cancelled without such a button too, as with the keyboard elsewhere.
  bool Close(int id) {
    if (DialogControl* button = dialog_.FindControl(id); button != nullptr && button->kind == kTerminalButton) {
      return Click(*button);
    }
    dialog_.Send(WM_COMMAND, MAKEWPARAM(static_cast<WORD>(id), kClicked), 0);
    return true;
  }

  DialogWindow& dialog_;
  const bool interactive_;
};

}  // namespace

void RunDialogOnTerminal(DialogWindow& dialog) { Terminal(dialog).Run(); }

}  // namespace uab
