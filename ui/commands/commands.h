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
inline constexpr uint16_t kCommandOutputList = 1502;
inline constexpr uint16_t kCommandLastPane = 1503;
inline constexpr uint16_t kCommandTreeFindNext = 1507;
inline constexpr uint16_t kCommandTreeFindPrevious = 1508;
inline constexpr uint16_t kCommandAbout = 1542;
inline constexpr uint16_t kCommandToggleView = 1544;
inline constexpr uint16_t kCommandTechnicalView = 9001;
inline constexpr uint16_t kCommandCellDetails = 9002;
inline constexpr uint16_t kCommandDetailPane = 9003;
inline constexpr uint16_t kCommandBlockList = 9004;
inline constexpr uint16_t kCommandListBlockRuns = 9005;
inline constexpr uint16_t kCommandListRoots = 9006;
inline constexpr uint16_t kCommandListKeys = 9007;
inline constexpr uint16_t kCommandListValues = 9008;
inline constexpr uint16_t kCommandListLostValues = 9009;
inline constexpr uint16_t kCommandCopyKeyName = 9010;
inline constexpr uint16_t kCommandExpand = 9011;
inline constexpr uint16_t kCommandCollapse = 9012;
inline constexpr uint16_t kCommandValueDetails = 9013;
inline constexpr uint16_t kCommandCurrentBranch = 9014;
inline constexpr uint16_t kCommandDeleteKeys = 9015;
inline constexpr uint16_t kCommandShowAllKeys = 9016;
inline constexpr uint16_t kCommandSelectAllValues = 9017;
inline constexpr uint16_t kCommandInvertValues = 9018;
inline constexpr uint16_t kCommandCopyValues = 9019;
inline constexpr uint16_t kCommandNextPane = 9020;
inline constexpr uint16_t kCommandPreviousPane = 9021;
inline constexpr uint16_t kCommandSaveValue = 9022;
inline constexpr uint16_t kCommandListEdits = 9023;
inline constexpr uint16_t kCommandTakeBackAll = 9024;
inline constexpr uint16_t kCommandRawPosition = 9025;
inline constexpr uint16_t kCommandRawKey = 9026;
inline constexpr uint16_t kCommandRawValue = 9027;
inline constexpr uint16_t kCommandTakeBackEdit = 9028;
inline constexpr uint16_t kCommandAddressBar = 9029;
inline constexpr uint16_t kCommandSearchBranch = 9030;
inline constexpr uint16_t kCommandUsedRecords = 9031;
inline constexpr uint16_t kCommandPermissions = 9032;
inline constexpr uint16_t kCommandKeyOwners = 9033;
inline constexpr uint16_t kCommandRecordsOfKeys = 9034;
inline constexpr uint16_t kCommandLocalGroups = 9035;
inline constexpr uint16_t kCommandReplaceSid = 9036;
inline constexpr uint16_t kCommandListFreedKeys = 9037;
inline constexpr uint16_t kCommandListFreedValues = 9038;
inline constexpr uint16_t kCommandHiveRoot = 9039;
inline constexpr uint16_t kCommandReport = 9040;      // and one for each further report
inline constexpr uint16_t kCommandLiveReport = 9060;  // likewise, of the live registry
inline constexpr uint16_t kCommandSearchWorkspace = 1415;
inline constexpr uint16_t kCommandOpenSnapshot = 1405;
inline constexpr uint16_t kCommandLoadHive = 1435;
inline constexpr uint16_t kCommandUnloadHive = 1436;
inline constexpr uint16_t kCommandRootSnapshots = 1498;
inline constexpr uint16_t kCommandKeySnapshot = 1499;
inline constexpr uint16_t kCommandExportHive = 1419;
inline constexpr uint16_t kCommandKeyDates = 1421;
inline constexpr uint16_t kCommandSearchRegistry = 1422;
inline constexpr uint16_t kCommandListSecurity = 7043;
inline constexpr uint16_t kCommandListAces = 7045;
inline constexpr uint16_t kCommandCompareDisplayed = 4141;
inline constexpr uint16_t kCommandCompareFolder = 4143;
inline constexpr uint16_t kCommandCompareWorkspace = 9301;
inline constexpr uint16_t kCommandGoToRegedit = 9302;
inline constexpr uint16_t kCommandExportFolder = 9303;
inline constexpr uint16_t kCommandMergeFolder = 9304;
inline constexpr uint16_t kCommandSecurityRecord = 9305;
inline constexpr uint16_t kCommandAddToBookmarks = 9306;
inline constexpr uint16_t kCommandEditValue = 9307;
inline constexpr uint16_t kCommandRecentHive = 9101;  // and the six after it
inline constexpr uint16_t kRecentHives = 7;

// When a command is refused, always without a word.
enum class Guard : uint8_t {
  kNone,             // accepted at any time
  kRunning,          // not while the running flag is set
  kRunningOrBackup,  // nor while a backup runs
};

// What a command works on; without it the command is shown grey and does nothing.
enum class Needs : uint8_t {
  kNothing,
  kRunning,  // an operation under way
  kHive,     // the facts of the same names
  kItem,
  kBranch,
  kKey,
  kKeyCell,
  kRootCell,
  kRemovable,
  kHiddenKeys,
  kValue,
  kEditedValue,
  kEdits,
  kValueRows,
  kRowSelected,
  kListRows,
  kFindable,
  kRecentHive,
};

// What guards and check marks look at; filled anew each time they are asked.
struct CommandFacts {
  bool running = false;
  bool backup = false;
  bool hive = false;          // a hive is shown
  bool item = false;          // an item of its tree is selected
  bool branch = false;        // and it has children
  bool key = false;           // and it has a path: it is no folder of the program's own
  bool key_cell = false;      // and it has a cell of its own
  bool root_cell = false;     // and that is the root of a hive
  bool removable = false;     // it may be taken out of the tree
  bool hidden_keys = false;   // something was taken out
  bool value = false;         // a value row is selected
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
  bool comparing = false;  // "Displayed Sub Keys" is on
};

inline constexpr uint8_t kWithControl = 1;
inline constexpr uint8_t kWithShift = 2;
inline constexpr uint8_t kWithAlt = 4;
struct Accelerator {
  uint16_t key = 0;  // virtual key code, 0 for none
  uint8_t modifiers = 0;
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
inline constexpr uint16_t kGroupGap = 0;  // is between two groups of command numbers
// The numbers offered there, in order.
std::span<const uint16_t> CommandsIn(CommandPlace place);

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

struct Command {
  uint16_t number = 0;
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
  // The fact that its check mark shows; null: no check mark.
  bool CommandFacts::*checked = nullptr;
  CommandHandler handler = nullptr;
};

// All commands, those of the main menu in its order.
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
inline const char* TooltipOf(const Command& command, const CommandFacts& facts) {
  return facts.list_shown && command.list_tooltip != nullptr ? command.list_tooltip
                                                             : command.tooltip;
}

}  // namespace hivequarry
