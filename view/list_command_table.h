// The rows of view/list_commands.h, in the order of toolbar and menu.
#pragma once

#include "view/key_codes.h"
#include "view/list_commands.h"

namespace hivequarry {

inline constexpr const char* kItemsMenu = "Selected &Items";
inline constexpr const char* kListMenu = "&Output List";

// clang-format off
inline constexpr ListCommand kListCommandTable[] = {
    {.number = kCommandFollowRecord, .text = "F&ollow offset\tEnter",
     .needs = ListNeeds::kFocus, .about = ListAbout::kRecord},
    {.number = kCommandPreviousRecord, .text = "Previous recor&d\tBackspace",
     .accelerator = {kKeyBack, 0}, .about = ListAbout::kRecord},
    {.number = kCommandGoToTree, .text = "Go to &Tree\tCtrl-T",
     .accelerator = {'T', kWithControl}, .needs = ListNeeds::kFocus},
    {.number = kCommandListRawRecord, .text = "Ra&w record\tEnter",
     .needs = ListNeeds::kFocus, .about = ListAbout::kFaults},
    {.number = kCommandShowAsOf, .text = "&Show the hive as of this entry",
     .needs = ListNeeds::kEntry, .about = ListAbout::kLogs},
    {.number = kCommandListRegedit, .text = "Go to &Regedit\tCtrl-R",
     .accelerator = {'R', kWithControl}, .needs = ListNeeds::kSelection, .writes = true},
    {.number = kCommandOpenValidRoot, .text = "Open valid &Root",
     .needs = ListNeeds::kRoots, .about = ListAbout::kRoots},
    {.number = kCommandOpenKey, .text = "Open &Key",
     .needs = ListNeeds::kRoots, .about = ListAbout::kRoots},
    {.number = kCommandSplitFile, .text = "Split File",
     .needs = ListNeeds::kPieces, .about = ListAbout::kPieces},
    {.number = kCommandKeysOfRecord, .text = "Keys with this Security &Record",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity},
    {.number = kCommandKeysOfOwner, .text = "Keys with this &Owner Sid",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity},
    {.number = kCommandKeysOfAce, .text = "Keys with this &ACE Sid",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity},
    {.number = kCommandRecordProperties, .text = "&Properties Security Record",
     .needs = ListNeeds::kFocus, .about = ListAbout::kSecurity},
    {.number = kCommandCopyClassId, .text = "Copy CLS&ID",
     .needs = ListNeeds::kSelection, .about = ListAbout::kClasses},
    {.number = kCommandListExport, .text = "&Export",
     .needs = ListNeeds::kFocus, .about = ListAbout::kKeys},

    {.number = kCommandOnlyMissing, .text = "Only &missing in registry", .group_start = true,
     .needs = ListNeeds::kAgain, .about = ListAbout::kCompared,
     .checked = ListSwitch::kOnlyMissing},
    {.number = kCommandOnlyDifferent, .text = "Only &different data",
     .needs = ListNeeds::kAgain, .about = ListAbout::kCompared,
     .checked = ListSwitch::kOnlyDifferent},

    {.number = kCommandSaveListText, .text = "&Save as Text File", .submenu = kListMenu,
     .tooltip = "Save List as Text file", .icon = ToolIcon::kSaveText,
     .accelerator = {'S', kWithControl}, .group_start = true,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows},
    {.number = kCommandSaveReport, .text = "&Save as Report List", .submenu = kListMenu,
     .tooltip = "Save as Report List", .icon = ToolIcon::kSaveReport,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows},
    {.number = kCommandLoadReport, .text = "&Load Report List", .submenu = kListMenu,
     .tooltip = "Load Report List", .icon = ToolIcon::kLoadReport,
     .guard = Guard::kRunningOrBackup},
    {.number = kCommandClearList, .tooltip = "Clear List", .icon = ToolIcon::kClearList,
     .group_start = true, .needs = ListNeeds::kRows},
    {.number = kCommandCopyList, .text = "&Copy to Clipboard", .submenu = kListMenu,
     .tooltip = "Copy List to Clipboard", .icon = ToolIcon::kCopyList, .group_start = true,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows},
    {.number = kCommandPrintList, .text = "&Print", .submenu = kListMenu,
     .tooltip = "Print List", .icon = ToolIcon::kPrint, .accelerator = {'P', kWithControl},
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows},
    {.number = kCommandListNotepad, .text = "&Notepad", .submenu = kListMenu,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows},

    {.number = kCommandFindInList, .text = "&Find\tCtrl+F",
     .tooltip = "Find in List", .icon = ToolIcon::kFind, .accelerator = {'F', kWithControl},
     .second_accelerator = {kKeyF3, kWithAlt}, .group_start = true,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kRows},
    {.number = kCommandFindNext, .text = "Find &next\tF3", .accelerator = {kKeyF3, 0},
     .needs = ListNeeds::kRows},
    {.number = kCommandFindPrevious, .text = "Find &previous\tF4", .accelerator = {kKeyF4, 0},
     .needs = ListNeeds::kRows},

    {.number = kCommandListSelectAll, .text = "Select &all", .accelerator = {'A', kWithControl},
     .group_start = true, .needs = ListNeeds::kRows},
    {.number = kCommandListInvert, .text = "In&vert Selection",
     .needs = ListNeeds::kRows},
    {.number = kCommandListSelectWith, .text = "&Select all with...",
     .needs = ListNeeds::kRows},
    {.number = kCommandCopySelected, .text = "&Copy to ClipBoard", .submenu = kItemsMenu,
     .accelerator = {'C', kWithControl}, .needs = ListNeeds::kSelection},
    {.number = kCommandCopyFirstColumn, .text = "Copy &first column", .submenu = kItemsMenu,
     .guard = Guard::kRunningOrBackup, .needs = ListNeeds::kSelection},
    {.number = kCommandSaveSelected, .text = "&Save to File", .submenu = kItemsMenu,
     .needs = ListNeeds::kSelection},
    {.number = kCommandSaveSelectedReport, .text = "&Save as Report List", .submenu = kItemsMenu,
     .needs = ListNeeds::kSelection},
    {.number = kCommandPrintSelected, .text = "&Print", .submenu = kItemsMenu,
     .needs = ListNeeds::kSelection},

    {.number = kCommandSortByType, .text = "Sort by &type", .group_start = true,
     .needs = ListNeeds::kRows},
    {.number = kCommandSortByLength, .text = "Sort by l&ength",
     .needs = ListNeeds::kRows},
    {.number = kCommandSortByLevel, .text = "Sort by nesting &level",
     .needs = ListNeeds::kRows},
    {.number = kCommandResizeColumns, .text = "&Resize columns",
     .tooltip = "Resize list columns", .icon = ToolIcon::kColumns,
     .accelerator = {kKeyNumericPlus, kWithControl}, .group_start = true,
     .guard = Guard::kNone},

    {.number = kCommandStop, .tooltip = "Stop current Process", .icon = ToolIcon::kStop,
     .accelerator = {'Q', kWithControl}, .group_start = true,
     .guard = Guard::kNone, .needs = ListNeeds::kRunning},
    {.number = kCommandExit, .tooltip = "Close Window", .icon = ToolIcon::kExit,
     .guard = Guard::kNone},
};
// clang-format on

}  // namespace hivequarry
