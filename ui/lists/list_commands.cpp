#include "ui/lists/list_commands.h"

#include <algorithm>
#include <initializer_list>

#include "ui/commands/export_commands.h"
#include "ui/commands/report_commands.h"
#include "ui/lists/list_handlers.h"
#include "ui/lists/raw_view.h"
#include "ui/live/compare_commands.h"
#include "ui/live/regedit_commands.h"
#include "ui/security/security_commands.h"

namespace hivequarry {
namespace {

// Virtual key codes; letters are their own codes.
constexpr uint16_t kKeyBack = 0x08;
constexpr uint16_t kKeyNumericPlus = 0x6B;
constexpr uint16_t kKeyF3 = 0x72;
constexpr uint16_t kKeyF4 = 0x73;

constexpr const char* kItems = "Selected &Items";
constexpr const char* kWhole = "&Output List";

// clang-format off
constexpr ListCommand kCommands[] = {
    {.number = kCommandFollowRecord, .text = "F&ollow offset\tEnter",
     .needs = ListNeeds::kFocus, .about = ListAbout::kRecord, .handler = OnFollowRecord},
    {.number = kCommandPreviousRecord, .text = "Previous recor&d\tBackspace",
     .accelerator = {kKeyBack, 0}, .about = ListAbout::kRecord, .handler = OnPreviousRecord},
    {.number = kCommandGoToTree, .text = "Go to &Tree\tCtrl-T",
     .accelerator = {'T', kWithControl}, .needs = ListNeeds::kFocus, .handler = OnGoToTree},
    {.number = kCommandListRegedit, .text = "Go to &Regedit\tCtrl-R",
     .accelerator = {'R', kWithControl}, .needs = ListNeeds::kSelection,
     .handler = OnListRegedit},
    {.number = kCommandOpenValidRoot, .text = "Open valid &Root",
     .needs = ListNeeds::kRoots, .about = ListAbout::kRoots, .handler = OnOpenValidRoot},
    {.number = kCommandOpenKey, .text = "Open &Key",
     .needs = ListNeeds::kRoots, .about = ListAbout::kRoots, .handler = OnOpenKey},
    {.number = kCommandSplitFile, .text = "Split File",
     .needs = ListNeeds::kPieces, .about = ListAbout::kPieces, .handler = OnSplitFile},
    {.number = kCommandKeysOfRecord, .text = "Keys with this Security &Record",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity, .handler = OnKeysOfRowsRecord},
    {.number = kCommandKeysOfOwner, .text = "Keys with this &Owner Sid",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity, .handler = OnKeysOfRowsOwner},
    {.number = kCommandKeysOfAce, .text = "Keys with this &ACE Sid",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity, .handler = OnKeysOfRowsAce},
    {.number = kCommandRecordProperties, .text = "&Properties Security Record",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity, .handler = OnRowsSecurityRecord},
    {.number = kCommandCopyClassId, .text = "Copy CLS&ID",
     .needs = ListNeeds::kSelection, .about = ListAbout::kClasses, .handler = OnCopyClassId},
    {.number = kCommandListExport, .text = "&Export",
     .needs = ListNeeds::kFocus, .about = ListAbout::kKeys, .handler = OnListExport},

    {.number = kCommandOnlyMissing, .text = "Only &missing in registry", .group_start = true,
     .needs = ListNeeds::kAgain, .about = ListAbout::kCompared, .checked = ListsOnlyMissing,
     .handler = OnOnlyMissing},
    {.number = kCommandOnlyDifferent, .text = "Only &different data",
     .needs = ListNeeds::kAgain, .about = ListAbout::kCompared, .checked = ListsOnlyDifferent,
     .handler = OnOnlyDifferent},

    {.number = kCommandSaveListText, .text = "&Save as Text File", .submenu = kWhole,
     .tooltip = "Save List as Text file", .icon = ToolIcon::kSaveText,
     .accelerator = {'S', kWithControl}, .group_start = true,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows, .handler = OnSaveListText},
    {.number = kCommandSaveReport, .text = "&Save as Report List", .submenu = kWhole,
     .tooltip = "Save as Report List", .icon = ToolIcon::kSaveReport,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows, .handler = OnSaveReport},
    {.number = kCommandLoadReport, .text = "&Load Report List", .submenu = kWhole,
     .tooltip = "Load Report List", .icon = ToolIcon::kLoadReport,
     .guard = Guard::kRunningOrBackup, .handler = OnLoadReport},
    {.number = kCommandClearList, .tooltip = "Clear List", .icon = ToolIcon::kClearList,
     .group_start = true, .needs = ListNeeds::kRows, .handler = OnClearList},
    {.number = kCommandCopyList, .text = "&Copy to Clipboard", .submenu = kWhole,
     .tooltip = "Copy List to Clipboard", .icon = ToolIcon::kCopyList, .group_start = true,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows, .handler = OnCopyList},
    {.number = kCommandPrintList, .text = "&Print", .submenu = kWhole,
     .tooltip = "Print List", .icon = ToolIcon::kPrint, .accelerator = {'P', kWithControl},
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows, .handler = OnPrintList},
    {.number = kCommandListNotepad, .text = "&Notepad", .submenu = kWhole,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows, .handler = OnListNotepad},

    {.number = kCommandFindInList, .text = "&Find\tCtrl+F",
     .tooltip = "Find in List", .icon = ToolIcon::kFind, .accelerator = {'F', kWithControl},
     .group_start = true, .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows,
     .handler = OnFindInList},
    {.number = kCommandFindInList, .accelerator = {kKeyF3, kWithAlt},
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows, .handler = OnFindInList},
    {.number = kCommandFindNext, .text = "Find &next\tF3", .accelerator = {kKeyF3, 0},
     .needs = ListNeeds::kRows, .handler = OnFindNext},
    {.number = kCommandFindPrevious, .text = "Find &previous\tF4", .accelerator = {kKeyF4, 0},
     .needs = ListNeeds::kRows, .handler = OnFindPrevious},

    {.number = kCommandListSelectAll, .text = "Select &all", .accelerator = {'A', kWithControl},
     .group_start = true, .needs = ListNeeds::kRows, .handler = OnSelectAllRows},
    {.number = kCommandListInvert, .text = "In&vert Selection",
     .needs = ListNeeds::kRows, .handler = OnInvertRows},
    {.number = kCommandListSelectWith, .text = "&Select all with...",
     .needs = ListNeeds::kRows, .handler = OnSelectWith},
    {.number = kCommandCopySelected, .text = "&Copy to ClipBoard", .submenu = kItems,
     .accelerator = {'C', kWithControl}, .needs = ListNeeds::kSelection,
     .handler = OnCopySelected},
    {.number = kCommandCopyFirstColumn, .text = "Copy &first column", .submenu = kItems,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kSelection,
     .handler = OnCopyFirstColumn},
    {.number = kCommandSaveSelected, .text = "&Save to File", .submenu = kItems,
     .needs = ListNeeds::kSelection, .handler = OnSaveSelected},
    {.number = kCommandSaveSelectedReport, .text = "&Save as Report List", .submenu = kItems,
     .needs = ListNeeds::kSelection, .handler = OnSaveSelectedReport},
    {.number = kCommandPrintSelected, .text = "&Print", .submenu = kItems,
     .needs = ListNeeds::kSelection, .handler = OnPrintSelected},

    {.number = kCommandSortByType, .text = "Sort by &type", .group_start = true,
     .needs = ListNeeds::kRows, .handler = OnSortByType},
    {.number = kCommandSortByLength, .text = "Sort by l&ength",
     .needs = ListNeeds::kRows, .handler = OnSortByLength},
    {.number = kCommandSortByLevel, .text = "Sort by nesting &level",
     .needs = ListNeeds::kRows, .handler = OnSortByLevel},
    {.number = kCommandResizeColumns, .text = "&Resize columns",
     .tooltip = "Resize list columns", .icon = ToolIcon::kColumns,
     .accelerator = {kKeyNumericPlus, kWithControl}, .group_start = true,
     .guard = Guard::kNone, .handler = OnResizeListColumns},

    {.number = kCommandStop, .tooltip = "Stop current Process", .icon = ToolIcon::kStop,
     .accelerator = {'Q', kWithControl}, .group_start = true,
     .guard = Guard::kNone, .needs = ListNeeds::kRunning, .handler = OnStopListWork},
    {.number = kCommandExit, .tooltip = "Close Window", .icon = ToolIcon::kExit,
     .guard = Guard::kNone, .handler = OnCloseList},
};
// clang-format on

constexpr bool HandlersAreThere() {
  return std::all_of(std::begin(kCommands), std::end(kCommands),
                     [](const ListCommand& command) { return command.handler != nullptr; });
}
static_assert(HandlersAreThere());

bool IsOneOf(int kind, std::initializer_list<int> kinds) {
  return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

}  // namespace

std::span<const ListCommand> ListCommands() { return kCommands; }

const ListCommand* FindListCommand(uint32_t number) {
  for (const ListCommand& command : kCommands) {
    if (command.number == number) return &command;
  }
  return nullptr;
}

bool IsListAbout(ListAbout about, int kind) {
  switch (about) {
    case ListAbout::kAnything:
      return true;
    case ListAbout::kPieces:
      return kind == 55;
    case ListAbout::kRoots:
      return kind == 38;
    case ListAbout::kSecurity:
      return IsOneOf(kind, {39, 45, 46, 47, 48, 49});
    case ListAbout::kClasses:
      return IsOneOf(kind, {25, 28});
    case ListAbout::kKeys:
      return IsOneOf(kind, {5, 7, 11, kListFreedKeys, kListFreedValues});
    case ListAbout::kRecord:
      return kind == kListRawRecord;
    case ListAbout::kCompared:
      return kind == 7;
  }
  return false;
}

}  // namespace hivequarry
