// From the start of the process to the end of its message loop.
#pragma once

#include <string>
#include <string_view>

#include "ui/win.h"

namespace hivequarry {

struct CommandLine;
struct MainWindow;

// Loads the common controls and the buffered painting.
void StartControls();
// What stands behind the program's own name, quoted or not, in a process's command line.
std::wstring ArgumentsOf(std::wstring_view command_line);
// Opens the file that the command line names, with its partial range.
void OpenFromCommandLine(MainWindow& window, const CommandLine& line);
// Runs until the main window of that handle is gone; the exit code.
int RunMessageLoop(HWND handle);

}  // namespace hivequarry
