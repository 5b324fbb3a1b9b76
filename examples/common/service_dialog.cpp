// The same dialog where there are no windows: what service_dialog.rc is on Windows.
#include "keluab/terminal_dialog.h"

namespace {

const uab::TerminalControl kControls[] = {
    {1155, uab::kTerminalList, 0, UAB_TEXT("&Address books")},
    {1158, uab::kTerminalButton, 0, UAB_TEXT("&Configure...")},
    {1157, uab::kTerminalButton, 0, UAB_TEXT("&Remove")},
    {1156, uab::kTerminalButton, 0, UAB_TEXT("Re&fresh")},
    {1, uab::kTerminalButton, uab::kTerminalDefault, UAB_TEXT("OK")},
    {2, uab::kTerminalButton, 0, UAB_TEXT("Cancel")},
};

}  // namespace

UAB_TERMINAL_DIALOG(255) = {sizeof(uab::TerminalDialog), 6, UAB_TEXT("Address Books"),
                            UAB_TEXT("The address books that this profile brings together."), kControls};
