// The user's side of a terminal dialog: shows it on standard error and carries out the commands that standard input
// gives, one a line.
//
//   show                  shows the dialog again
//   select N              selects line N (from 1) of the list
//   double N              selects line N and double-clicks it
//   press NAME | ID       presses a button, by its text or the beginning of it, or by its identifier
//   focus NAME | ID       moves the focus to a button or list
//   ok, cancel            presses that button, there or not
//   help
//
// Words and names are compared without regard to case; lines that are empty or begin with "#" are passed over. A
// command that can't be carried out changes nothing and says why. The end of the input is "cancel".
#pragma once

#include "platform/posix/dialog_window.h"

namespace uab {

// Runs the dialog until it has ended. Throws std::bad_alloc.
void RunDialogOnTerminal(DialogWindow& dialog);

}  // namespace uab
