// The commands of the main window: what each is called, where it is offered, which keys it has and
// when it may be carried out. Menus, toolbar, accelerators and guards are made from these rows;
// what a command does is said in ui/commands/command_handlers.cpp.
#pragma once

#include <cstdint>
#include <span>

#include "view/command_numbers.h"

namespace hivequarry {

// When a command is refused, always without a word.
enum class Guard : uint8_t {
  kNone,             // accepted at any time
  kRunning,          // not while the running flag is set
  kRunningOrBackup,  // nor while a backup runs
};

// What a command works on; without it the command is shown grey and does nothing.
enum class Needs : uint8_t {
  kNothing,
  kRunning,  // something under way that "Stop" ends
  kHive,  // from here to kFindable the facts of these names, in the order of kFacts in commands.cpp
  kLogs,
  kReplayed,
  kItem,
  kBranch,
  kKey,
  kKeyCell,
  kRootCell,
  kRemovable,
  kHiddenKeys,
  kKeyPath,
  kKeyRecord,
  kValueRecord,
  kValue,
  kEditedValue,
  kEdits,
  kValueRows,
  kRowSelected,
  kListRows,
  kFindable,
  kRecentHive,  // so many recent hives that the command's number is one of theirs
};

// What guards and check marks look at; filled anew each time they are asked.
struct CommandFacts {
  bool running = false;
  bool backup = false;
  bool expanding = false;     // branches of the tree are being opened
  bool hive = false;          // a hive is shown
  bool logs = false;          // and logs can be applied to it
  bool replayed = false;      // and some were
  bool item = false;          // an item of its tree is selected
  bool branch = false;        // and it has children
  bool key = false;           // and it has a path: it is no folder of the program's own
  bool key_cell = false;      // and it has a cell of its own
  bool root_cell = false;     // and that is the root of a hive
  bool removable = false;     // it may be taken out of the tree
  bool hidden_keys = false;   // something was taken out
  bool key_path = false;      // as `key`, or a deleted key is selected
  bool key_record = false;    // as `key_cell`, or that
  bool value_record = false;  // the row of a value is selected, deleted or not
  bool value = false;         // and the value is not
  bool edited_value = false;  // and its value was edited in memory
  bool edits = false;         // some value was
  bool value_rows = false;    // the value pane has rows
  bool row_selected = false;  // and one of them is selected
  bool list_rows = false;     // the Output List pane has rows
  bool findable = false;      // the pane that is searched holds something
  bool list_shown = false;    // the Output List pane is shown
  uint16_t recent_hives = 0;  // how many there are to choose from
  bool technical_view = false;
  bool cell_details = false;
  bool detail_pane = false;
  bool bookmark_pane = false;
  bool bookmarks_below = false;  // that pane is below the others, not at their right
  bool toolbar = false;          // the toolbar is shown
  bool colours_system = false;   // one of the three: the colours that were chosen
  bool colours_light = false;
  bool colours_dark = false;
  bool freed_in_tree = false;  // deleted keys are in the tree
  bool evidence = false;   // evidence mode: what writes anywhere but into new files is not offered
  bool comparing = false;  // "Displayed Sub Keys" is on
  // What is done about the hive's logs.
  bool logs_none = false;
  bool logs_auto = false;
  bool logs_chosen = false;
  bool logs_until = false;
};

inline constexpr uint8_t kWithControl = 1;
inline constexpr uint8_t kWithShift = 2;
inline constexpr uint8_t kWithAlt = 4;
// A key that does what a command does.
struct Accelerator {
  uint16_t key = 0;       // virtual key code, 0 for none
  uint8_t modifiers = 0;  // kWithControl and the like
};

// Where commands are offered beside the main menu.
enum class CommandPlace : uint8_t {
  kToolbar,
  kTreeMenu,
  kWorkspaceMenu,
  kValueMenu,
  kPathMenu,
  kCount
};
// The commands offered there, in order, kGroupGap between their groups.
std::span<const CommandNumber> CommandsIn(CommandPlace place);

// Pictures of the toolbar, in the order of its image list.
enum class ToolIcon : int8_t {
  kNone = -1,
  kOpen,
  kStop,
  kColumns,
  kTechnical,
  kDetails,
  kBlocks,
  kExit,
  kOpenSnapshot,
  kSearchWorkspace,
  kSaveText,
  kSaveReport,
  kLoadReport,
  kKeyDates,
  kSearchRegistry,
  kCopyList,
  kPrint,
  kFind,
  kRecent,
  kOptions,
  kBackup,
  kSnapshot,
  kKeySnapshot,
  kView,
  kLastPane,
  kClearList,
  kBookmarks,
  kCount
};

// One row of the table of commands. Texts last as long as the program.
struct Command {
  CommandNumber number = kGroupGap;
  // Titles of the main menu and its sub menus, joined by '>'; null: in no menu.
  const char* menu = nullptr;
  const char* text = "";               // item text with its mnemonic, the keys after a tab
  const char* context_text = nullptr;  // in context menus; null: `text`
  const char* tooltip = nullptr;       // null: not in the toolbar
  const char* list_tooltip = nullptr;  // while the Output List pane is shown; null: `tooltip`
  ToolIcon icon = ToolIcon::kNone;
  Accelerator accelerator = {};
  Accelerator second_accelerator = {};
  bool group_start = false;  // a separator is before it in its menu
  Guard guard = Guard::kRunning;
  Needs needs = Needs::kNothing;
  // Into the live registry, or into the hive in memory: not in evidence mode.
  bool writes = false;
  // The fact that its check mark shows; null: no check mark.
  bool CommandFacts::*checked = nullptr;
};

// All commands, those of the main menu in its order.
std::span<const Command> Commands();

// The row of a number, null when there is none.
const Command* FindCommand(std::span<const Command> commands, uint32_t number);
// True when the command is in menus and has its keys.
inline bool IsOffered(const Command& command, bool evidence) {
  return !(evidence && command.writes);
}
// The guard alone.
bool PassesGuard(Guard guard, const CommandFacts& facts);
// True when the command may be carried out: it is offered, its guard passes and what it needs is
// there.
bool IsAvailable(const Command& command, const CommandFacts& facts);
inline bool IsChecked(const Command& command, const CommandFacts& facts) {
  return command.checked != nullptr && facts.*command.checked;
}
inline const char* ContextText(const Command& command) {
  return command.context_text != nullptr ? command.context_text : command.text;
}
inline const char* TooltipOf(const Command& command, const CommandFacts& facts) {
  return facts.list_shown && command.list_tooltip != nullptr ? command.list_tooltip
                                                             : command.tooltip;
}

}  // namespace hivequarry
