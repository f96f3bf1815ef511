// The commands of an Output List, one row each: from them its toolbar, context menu, keys and
// guards are made. The main window carries them out for its own pane.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "lists/list_kinds.h"
#include "lists/output_list.h"
#include "view/commands.h"

namespace hivequarry {

// What a list command works on.
enum class ListNeeds : uint8_t {
  kNothing,
  kRows,       // at least one row
  kSelection,  // at least one selected row
  kFocus,      // a focused row that speaks of a position
  kKeyOfRow,   // one that does, or has the path of a key, of a list that was loaded
  kPieces,     // a list of block runs with its source file
  kRoots,      // a focused row of a list of root cells
  kEntry,      // a focused row of an entry that the hive shown can be taken to
  kRunning,    // something under way that "Stop" ends
  kAgain,      // a list whose rows can be made anew
  kFiltered,   // a list that shows some of its rows
  kTimes,      // a list in a window of its own whose rows have times
  kPicture,    // one that shows the picture of them
};

// What a check mark shows.
enum class ListSwitch : uint8_t {
  kNone,
  kOnlyMissing,    // a comparison lists only what the registry lacks
  kOnlyDifferent,  // or only what has other data there
  kActivity,       // the picture of activity is shown
};

// What guards of one list look at; filled anew each time they are asked.
struct ListFacts {
  bool busy = false;          // an operation is under way, or this list is being worked on
  bool backup = false;        // a backup runs
  bool stoppable = false;     // something is under way that "Stop" ends
  bool hive = false;          // the main window shows a hive
  bool rows = false;          // the list has rows
  bool row_selected = false;  // one at least
  bool position = false;      // the row in focus speaks of a position in the hive shown
  bool path = false;          // it has the path of a key, and its list was loaded from a file
  bool source = false;        // the list names the file that it was made of
  bool entry = false;         // the row in focus is of such an entry
  bool evidence = false;      // evidence mode
  bool again = false;         // its rows can be made anew
  bool filtered = false;      // it shows some of its rows
  bool times = false;         // its window can show when they were
  bool picture = false;       // and does
  int kind = 0;               // of the list
};

// One row of the table of list commands. Texts last as long as the program.
struct ListCommand {
  CommandNumber number = kGroupGap;
  const char* text = nullptr;     // context menu; null: not there
  const char* submenu = nullptr;  // title of the sub menu that holds it
  const char* tooltip = nullptr;  // toolbar of a list window; null: not there
  ToolIcon icon = ToolIcon::kNone;
  Accelerator accelerator = {};
  Accelerator second_accelerator = {};
  bool group_start = false;  // a line is before it in the menu
  Guard guard = Guard::kRunning;
  ListNeeds needs = ListNeeds::kNothing;
  bool writes = false;  // as of Command
  ListAbout about = ListAbout::kAnything;
  ListSwitch checked = ListSwitch::kNone;
};
// The log entry that a row of a list about logs is of; false for one that no state of the hive has:
// left over, or none at all.
bool EntryOfRow(const OutputList& list, uint32_t row, uint32_t& entry);
// The path of the key that a row names, as its column "Key" shows it, without the row's number;
// empty for none.
std::string_view KeyPathOfRow(const OutputList& list, uint32_t row);
// In the order of toolbar and menu.
std::span<const ListCommand> ListCommands();
// The row of a number, null when there is none.
const ListCommand* FindListCommand(uint32_t number);
// True when the command is in the menu of such a list.
bool IsOffered(const ListCommand& command, const ListFacts& facts);
// True when the command means something for the list and is offered, its guard passes and what it
// needs is there.
bool IsAvailable(const ListCommand& command, const ListFacts& facts);

}  // namespace hivequarry
