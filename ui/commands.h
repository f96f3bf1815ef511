// The commands of the desktop program: one row each, from which the menus, the toolbar, the
// accelerators and the guards are made. Knows nothing of windows.
#pragma once

#include <cstdint>
#include <span>

namespace hivequarry {

struct MainWindow;
using CommandHandler = void (*)(MainWindow& window);

// Command numbers that code outside the table names.
inline constexpr uint16_t kCommandOpen = 1400;
inline constexpr uint16_t kCommandResizeColumns = 1445;
inline constexpr uint16_t kCommandStop = 1460;
inline constexpr uint16_t kCommandExit = 1470;
inline constexpr uint16_t kCommandAbout = 1542;
inline constexpr uint16_t kCommandTechnicalView = 9001;
inline constexpr uint16_t kCommandCellDetails = 9002;
inline constexpr uint16_t kCommandDetailPane = 9003;
inline constexpr uint16_t kCommandBlockList = 9004;
inline constexpr uint16_t kCommandCopyKeyName = 9010;
inline constexpr uint16_t kCommandExpand = 9011;
inline constexpr uint16_t kCommandCollapse = 9012;
inline constexpr uint16_t kCommandValueDetails = 9013;
inline constexpr uint16_t kCommandNextPane = 9020;
inline constexpr uint16_t kCommandPreviousPane = 9021;

// When a command is refused, always without a word.
enum class Guard : uint8_t {
  kNone,             // accepted at any time
  kRunning,          // not while the running flag is set
  kRunningOrBackup,  // nor while a backup runs
};

// What a command works on; without it the command is shown grey and does nothing.
enum class Needs : uint8_t { kNothing, kHive, kItem, kBranch, kKey, kValue, kRunning };

// What guards and check marks look at; filled anew each time they are asked.
struct CommandFacts {
  bool running = false;
  bool backup = false;
  bool hive = false;    // a hive is shown
  bool item = false;    // a tree item is selected
  bool branch = false;  // and it has children
  bool key = false;     // and it has a path: it is no folder of the program's own
  bool value = false;   // a value row is selected
  bool technical_view = false;
  bool cell_details = false;
  bool detail_pane = false;
};

inline constexpr uint8_t kWithControl = 1;
inline constexpr uint8_t kWithShift = 2;
inline constexpr uint8_t kWithAlt = 4;
struct Accelerator {
  uint16_t key = 0;  // virtual key code, 0 for none
  uint8_t modifiers = 0;
};

// Where a command is offered beside its main menu.
inline constexpr uint8_t kInTreeMenu = 1;
inline constexpr uint8_t kInValueMenu = 2;
inline constexpr uint8_t kInToolbar = 4;
inline constexpr uint8_t kGroupStart = 8;  // a separator stands before it, wherever it is offered

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
  kCount
};

struct Command {
  uint16_t number = 0;
  // Titles of the main menu and its sub menus, joined by '>'; null: in no menu.
  const char* menu = nullptr;
  const char* text = "";               // item text with its mnemonic, the keys behind a tab
  const char* context_text = nullptr;  // in context menus; null: `text`
  const char* tooltip = nullptr;       // null: not in the toolbar
  ToolIcon icon = ToolIcon::kNone;
  Accelerator accelerator = {};
  uint8_t places = 0;
  Guard guard = Guard::kRunning;
  Needs needs = Needs::kNothing;
  // The fact that its check mark shows; null: no check mark.
  bool CommandFacts::*checked = nullptr;
  CommandHandler handler = nullptr;
};

// All commands in the order in which menus and toolbar show them.
std::span<const Command> Commands();

// The row of a number, null when there is none.
const Command* FindCommand(std::span<const Command> commands, uint32_t number);
// The guard alone.
bool PassesGuard(Guard guard, const CommandFacts& facts);
// True when the command may be carried out: its guard passes and what it needs is there.
bool IsAvailable(const Command& command, const CommandFacts& facts);
inline bool IsChecked(const Command& command, const CommandFacts& facts) {
  return command.checked != nullptr && facts.*command.checked;
}
inline const char* ContextText(const Command& command) {
  return command.context_text != nullptr ? command.context_text : command.text;
}

}  // namespace hivequarry
