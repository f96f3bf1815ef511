// The windows "Security Record": the text of one record each, beside the other windows.
#pragma once

#include <cstdint>

#include "ui/draw/win.h"

namespace hivequarry {

struct MainWindow;

inline constexpr size_t kSecurityWindows = 32;  // open at once

// Opens a window for the record at an image position of the hive shown. Null for one window too
// many (after a beep), while an operation runs, and, after the message "Invalid security key at
// 0x%X", where there is no valid record.
HWND OpenSecurityWindow(MainWindow& window, uint32_t record);
// "Invalid security key at 0x%X", with the offset as the hive stores it.
void TellInvalidRecord(const MainWindow& window, uint32_t record);
// Carries out the keys of the window that a message is for; true when that used it up.
bool TranslateSecurityKeys(MSG& message);
// Closes all of them and forgets where they were.
void CloseSecurityWindows();

}  // namespace hivequarry
