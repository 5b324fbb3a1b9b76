// The template of the message service dialog on Linux: data that the program exports (CMake: ENABLE_EXPORTS).
#include "keluab/terminal_dialog.h"

namespace {

const uab::TerminalControl controls[] = {
    {1155, uab::kTerminalList, 0, UAB_TEXT("&Services")},
    {1158, uab::kTerminalButton, 0, UAB_TEXT("&Configure...")},
    {1157, uab::kTerminalButton, 0, UAB_TEXT("&Remove")},
    {1156, uab::kTerminalButton, 0, UAB_TEXT("Re&fresh")},
    {1, uab::kTerminalButton, uab::kTerminalDefault, UAB_TEXT("OK")},
    {2, uab::kTerminalButton, 0, UAB_TEXT("Cancel")},
};

}  // namespace

UAB_TERMINAL_DIALOG(255) = {sizeof(uab::TerminalDialog), 6, UAB_TEXT("Message Services"),
                            UAB_TEXT("Services of this profile"), controls};
