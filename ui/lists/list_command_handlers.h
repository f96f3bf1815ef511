// What each command of a list does.
#pragma once

#include "view/list_commands.h"

namespace hivequarry {

struct ListPlace;
using ListHandler = void (*)(ListPlace& place);

// Of a command that has a row in view/list_command_table.h. Never null.
ListHandler ListHandlerOf(CommandNumber number);

}  // namespace hivequarry
