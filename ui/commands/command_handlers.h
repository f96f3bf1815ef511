// What each command of the main window does.
#pragma once

#include "view/commands.h"

namespace hivequarry {

struct MainWindow;
using CommandHandler = void (*)(MainWindow& window);

// Of a command that has a row in view/command_table.h. Never null.
CommandHandler HandlerOf(CommandNumber number);

}  // namespace hivequarry
