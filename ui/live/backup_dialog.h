// The dialog that saves the registry's hives and puts saved ones in their place.
#pragma once

#include "app/command_line.h"

namespace hivequarry {

struct MainWindow;

// They show the dialog, which starts the work on a worker and stays until the user closes it; while
// a backup runs the flag `backup` is set.
void OnBackupRegistry(MainWindow& window);
void OnReplaceHives(MainWindow& window);

// True when the command line asks for a backup alone and its time has not come.
bool IsBackupNotDue(const CommandLine& line);
// The backup that a command line asks for, in a dialog that nobody has to answer; the main window
// closes soon afterwards. False when a hive was not saved; true where none is asked for.
bool RunUnattendedBackup(MainWindow& window, const CommandLine& line);

}  // namespace hivequarry
