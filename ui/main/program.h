// From the start of the process to the end of its message loop.
#pragma once

#include <string>
#include <string_view>

#include "app/command_line.h"
#include "ui/draw/win.h"
#include "ui/frame/system_facts.h"

namespace hivequarry {

struct MainWindow;

// Finds out about the system, names the program's files and reads the settings.
void StartProgram(Program& program);
// Says what is wrong with the surroundings; the program goes on all the same.
void CheckSurroundings(const SystemFacts& facts);
// The unattended backup that a command line asks for: its folder must be one, else nothing is left
// of the request, after a message.
void CheckBackupRequest(CommandLine& line);
// Loads the common controls and the buffered painting.
void StartControls();
// What is after the program's own name, quoted or not, in a process's command line.
std::wstring ArgumentsOf(std::wstring_view command_line);
// Opens the file that the command line names, with its partial range.
void OpenFromCommandLine(MainWindow& window, const CommandLine& line);
// Runs until the main window of that handle is gone; the exit code.
int RunMessageLoop(HWND handle);

}  // namespace hivequarry
