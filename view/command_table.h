// The rows of view/commands.h. Included where the table is read as a whole by the compiler;
// everybody else asks Commands(), FindCommand() and CommandsIn().
#pragma once

#include <algorithm>
#include <array>

#include "evidence/decoder_table.h"
#include "reports/structure_reports.h"
#include "view/commands.h"
#include "view/key_codes.h"

namespace hivequarry {

// Numbers that follow from the place of a report, in a hive and in the live registry.
constexpr CommandNumber ReportNumber(Report report) {
  return NumberInRange(kCommandReport, static_cast<int>(report));
}
constexpr CommandNumber LiveReportNumber(Report report) {
  return NumberInRange(kCommandLiveReport, static_cast<int>(report));
}
inline constexpr const char* kSecurityMenu = "&File>Security R&ecords";
inline constexpr const char* kLogsMenu = "&File>Transaction lo&gs";
inline constexpr const char* kReportsMenu = "Re&ports";
inline constexpr const char* kRecentMenu = "&File>Recent &hives";

// The sub menus of decoders, by their groups.
inline constexpr const char* kDecoderMenus[] = {
    "Re&ports>Programs &run", "Re&ports>Fo&lders and files", "Re&ports>D&evices",
    "Re&ports>A&utostart",    "Re&ports>&Networks",          "Re&ports>Accounts and &groups",
    "Re&ports>Mac&hine"};
static_assert(std::size(kDecoderMenus) == static_cast<size_t>(DecoderGroup::kCount));
static_assert(std::size(kDecoders) <= 60, "more decoders than commands for them");

// In the order of the menus: a menu, or a sub menu, is where its first row is. Rows without a menu
// are for the toolbar, context menus and keys alone.
// clang-format off
inline constexpr Command kFixedCommands[] = {
    {.number = kCommandOpen, .menu = "&File", .text = "&Open File\tCtrl+O",
     .tooltip = "Open File", .icon = ToolIcon::kOpen, .accelerator = {'O', kWithControl}},
    {.number = kCommandOpenInWindow, .menu = "&File", .text = "Open in a new &window..."},
    {.number = kCommandCloseHive, .menu = "&File", .text = "Close h&ive\tCtrl+W",
     .accelerator = {'W', kWithControl}, .needs = Needs::kHive},
    {.number = kCommandRecreateHive, .menu = "&File", .text = "Re&create Hive"},
    {.number = kCommandExportHive, .menu = "&File", .text = "Export Hive to &reg file",
     .group_start = true, .guard = Guard::kRunningOrBackup, .needs = Needs::kHive},
    {.number = kCommandHiveRoot, .menu = "&File", .text = "Regis&try root of hive...",
     .needs = Needs::kHive},
    {.number = kCommandHiveState, .menu = "&File", .text = "&State of the hive...",
     .guard = Guard::kNone, .needs = Needs::kHive},
    {.number = kCommandCheckStructure, .menu = "&File", .text = "Chec&k structure",
     .needs = Needs::kHive},
    {.number = kCommandSaveRepaired, .menu = "&File", .text = "Sa&ve repaired hive...",
     .needs = Needs::kHive},
    {.number = kCommandCarve, .menu = "&File", .text = "C&arve..."},
    {.number = kCommandOpenMachine, .menu = "&File", .text = "Open &machine..."},
    {.number = kCommandLogsNone, .menu = kLogsMenu, .text = "&None",
     .needs = Needs::kLogs, .checked = &CommandFacts::logs_none},
    {.number = kCommandLogsAuto, .menu = kLogsMenu, .text = "&Automatic",
     .needs = Needs::kLogs, .checked = &CommandFacts::logs_auto},
    {.number = kCommandLogsChosen, .menu = kLogsMenu, .text = "&Choose files...",
     .needs = Needs::kLogs, .checked = &CommandFacts::logs_chosen},
    {.number = kCommandLogsUntil, .menu = kLogsMenu, .text = "&Until entry...",
     .needs = Needs::kLogs, .checked = &CommandFacts::logs_until},
    {.number = kCommandListLogs, .menu = kLogsMenu, .text = "List log &entries",
     .group_start = true, .needs = Needs::kLogs},
    {.number = kCommandListLogChanges, .menu = kLogsMenu, .text = "List c&hanges by log entries",
     .needs = Needs::kReplayed},
    {.number = kCommandListSecurity, .menu = kSecurityMenu, .text = "List &Security Records",
     .needs = Needs::kHive},
    {.number = kCommandListAces, .menu = kSecurityMenu, .text = "List &ACEs",
     .needs = Needs::kHive},
    {.number = kCommandUsedRecords, .menu = kSecurityMenu, .text = "&Records used by keys",
     .group_start = true, .needs = Needs::kItem},
    {.number = kCommandKeyOwners, .menu = kSecurityMenu, .text = "&Owners of keys",
     .needs = Needs::kItem},
    {.number = kCommandRecordsOfKeys, .menu = kSecurityMenu, .text = "Records of &keys",
     .needs = Needs::kItem},
    {.number = kCommandPermissions, .menu = kSecurityMenu,
     .text = "&Find Keys with Permissions..."},
    {.number = kCommandWhoMayWrite, .menu = kSecurityMenu, .text = "&Who may write where...",
     .needs = Needs::kHive},
    {.number = kCommandReplaceSid, .menu = kSecurityMenu, .text = "Re&place SID...",
     .group_start = true, .needs = Needs::kHive, .writes = true},
    {.number = kCommandLocalGroups, .menu = kSecurityMenu, .text = "List local &groups"},
    {.number = kCommandLoadHive, .menu = "&File", .text = "&Load Hive into Registry",
     .group_start = true, .writes = true},
    {.number = kCommandUnloadHive, .menu = "&File", .text = "&Unload Hive from Registry", .writes = true},
    // Their texts are those of the settings, and change while the program runs
    // (view/recent_text.h).
    {.number = kCommandRecentHive, .menu = kRecentMenu, .group_start = true,
     .needs = Needs::kRecentHive},
    {.number = NumberInRange(kCommandRecentHive, 1), .menu = kRecentMenu,
     .needs = Needs::kRecentHive},
    {.number = NumberInRange(kCommandRecentHive, 2), .menu = kRecentMenu,
     .needs = Needs::kRecentHive},
    {.number = NumberInRange(kCommandRecentHive, 3), .menu = kRecentMenu,
     .needs = Needs::kRecentHive},
    {.number = NumberInRange(kCommandRecentHive, 4), .menu = kRecentMenu,
     .needs = Needs::kRecentHive},
    {.number = NumberInRange(kCommandRecentHive, 5), .menu = kRecentMenu,
     .needs = Needs::kRecentHive},
    {.number = NumberInRange(kCommandRecentHive, 6), .menu = kRecentMenu,
     .needs = Needs::kRecentHive},
    {.number = kCommandExit, .menu = "&File", .text = "E&xit", .tooltip = "Exit",
     .icon = ToolIcon::kExit, .group_start = true, .guard = Guard::kNone},

    {.number = kCommandCompareFolder, .menu = "&Compare", .text = "&Folder to Registry",
     .context_text = "Compare &Folder to Registry", .guard = Guard::kRunningOrBackup,
     .needs = Needs::kKey},
    {.number = kCommandCompareDisplayed, .menu = "&Compare", .text = "&Displayed Sub Keys",
     .checked = &CommandFacts::comparing},
    {.number = kCommandCompareHive, .menu = "&Compare", .text = "&Hive to hive...",
     .group_start = true, .needs = Needs::kHive},

    {.number = kCommandSearchRegistry, .menu = "&Registry", .text = "&Search",
     .tooltip = "Search Registry", .icon = ToolIcon::kSearchRegistry},
    {.number = kCommandBackupRegistry, .menu = "&Registry", .text = "&Backup Registry", .tooltip = "Backup Registry",
     .icon = ToolIcon::kBackup},
    {.number = kCommandReplaceHives, .menu = "&Registry", .text = "Replace Registry &Hives", .writes = true},
    {.number = LiveReportNumber(Report::kUninstall), .menu = "&Registry",
     .text = "&Uninstall entries", .group_start = true},
    {.number = LiveReportNumber(Report::kCountKeys), .menu = "&Registry",
     .text = "&Count keys of current user"},
    {.number = LiveReportNumber(Report::kKeyFiles), .menu = "&Registry",
     .text = "&Keys that name files"},
    {.number = LiveReportNumber(Report::kFiles), .menu = "&Registry",
     .text = "&Files named by keys"},

    {.number = kCommandSearchBranch, .menu = kReportsMenu, .text = "&Search...\tCtrl+Shift+F",
     .accelerator = {'F', kWithControl | kWithShift}, .needs = Needs::kItem},
    {.number = kCommandSearchWorkspace, .menu = kReportsMenu, .text = "Search in &Workspace...",
     .context_text = "&Search in Workspace", .tooltip = "Search Workspace",
     .icon = ToolIcon::kSearchWorkspace, .needs = Needs::kHive},
    {.number = kCommandKeyDates, .menu = kReportsMenu, .text = "Key &Dates...",
     .tooltip = "Key Dates", .icon = ToolIcon::kKeyDates, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kItem},
    {.number = kCommandTimeline, .menu = kReportsMenu, .text = "Timeline...\tCtrl+Shift+T",
     .accelerator = {'T', kWithControl | kWithShift}, .needs = Needs::kItem},
    {.number = kCommandMachine, .menu = kReportsMenu, .text = "M&achine overview",
     .group_start = true, .needs = Needs::kHive},
    {.number = ReportNumber(Report::kServices), .menu = kReportsMenu, .text = "Ser&vices",
     .needs = Needs::kItem},
    {.number = ReportNumber(Report::kUninstall), .menu = kReportsMenu,
     .text = "Uninstall entr&ies", .needs = Needs::kItem},
    {.number = ReportNumber(Report::kClasses), .menu = kReportsMenu,
     .text = "&Class registrations", .needs = Needs::kItem},
    {.number = ReportNumber(Report::kProgIds), .menu = kReportsMenu, .text = "&ProgIDs",
     .needs = Needs::kItem},
    {.number = ReportNumber(Report::kOpenWith), .menu = kReportsMenu,
     .text = "&Open-with associations", .needs = Needs::kItem},
    {.number = ReportNumber(Report::kKeyFiles), .menu = kReportsMenu,
     .text = "&Keys that name files", .group_start = true, .needs = Needs::kItem},
    {.number = ReportNumber(Report::kFiles), .menu = kReportsMenu,
     .text = "&Files named by keys", .needs = Needs::kItem},
    {.number = ReportNumber(Report::kCountKeys), .menu = kReportsMenu, .text = "Count ke&ys",
     .group_start = true, .needs = Needs::kItem},
    {.number = ReportNumber(Report::kOpenSaveMru), .menu = kReportsMenu, .text = "OpenSave&MRU",
     .needs = Needs::kItem},
    {.number = ReportNumber(Report::kStreamMru), .menu = kReportsMenu, .text = "S&treamMRU",
     .needs = Needs::kItem},

    {.number = kCommandToggleView, .menu = "&View", .text = "&Toggle View\tCtrl+Tab",
     .accelerator = {kKeyTab, kWithControl}},
    {.number = kCommandResizeColumns, .menu = "&View",
     .text = "&Resize List columns\tCtrl+(Num+)", .context_text = "&Resize columns",
     .tooltip = "Resize list columns", .icon = ToolIcon::kColumns,
     .accelerator = {kKeyNumericPlus, kWithControl}, .guard = Guard::kNone},
    {.number = kCommandTechnicalView, .menu = "&View", .text = "Tec&hnical view\tCtrl+H",
     .tooltip = "Technical view", .icon = ToolIcon::kTechnical,
     .accelerator = {'H', kWithControl}, .group_start = true,
     .checked = &CommandFacts::technical_view},
    {.number = kCommandCellDetails, .menu = "&View", .text = "&Cell details",
     .checked = &CommandFacts::cell_details},
    {.number = kCommandDetailPane, .menu = "&View", .text = "&Detail pane\tCtrl+D",
     .tooltip = "Detail pane", .icon = ToolIcon::kDetails, .accelerator = {'D', kWithControl},
     .guard = Guard::kNone, .checked = &CommandFacts::detail_pane},
    {.number = kCommandBookmarkPane, .menu = "&View>Book&marks pane", .text = "&Shown\tCtrl+Shift+M",
     .accelerator = {'M', kWithControl | kWithShift}, .guard = Guard::kNone,
     .checked = &CommandFacts::bookmark_pane},
    {.number = kCommandBookmarksBelow, .menu = "&View>Book&marks pane", .text = "&Below other panes",
     .guard = Guard::kNone, .checked = &CommandFacts::bookmarks_below},
    {.number = kCommandFreedInTree, .menu = "&View", .text = "Deleted ke&ys in tree",
     .checked = &CommandFacts::freed_in_tree},
    {.number = kCommandTimeZone, .menu = "&View", .text = "Time &zone of dates..."},
    {.number = kCommandToolbar, .menu = "&View>Windo&w look", .text = "Show &toolbar", .guard = Guard::kNone,
     .checked = &CommandFacts::toolbar},
    {.number = kCommandColoursSystem, .menu = "&View>Windo&w look", .text = "Colours as the &system",
     .guard = Guard::kNone, .checked = &CommandFacts::colours_system},
    {.number = kCommandColoursLight, .menu = "&View>Windo&w look", .text = "&Light colours",
     .guard = Guard::kNone, .checked = &CommandFacts::colours_light},
    {.number = kCommandColoursDark, .menu = "&View>Windo&w look", .text = "&Dark colours",
     .guard = Guard::kNone, .checked = &CommandFacts::colours_dark},
    {.number = kCommandBlockList, .menu = "&View", .text = "&Block list", .tooltip = "Block list",
     .icon = ToolIcon::kBlocks, .group_start = true, .needs = Needs::kHive},
    {.number = kCommandListBlockRuns, .menu = "&View", .text = "List block r&uns",
     .needs = Needs::kHive},
    {.number = kCommandListRoots, .menu = "&View", .text = "List r&oot cells",
     .needs = Needs::kHive},
    {.number = kCommandListKeys, .menu = "&View", .text = "List &keys of branch",
     .group_start = true, .needs = Needs::kItem},
    {.number = kCommandListValues, .menu = "&View", .text = "List &values of branch",
     .needs = Needs::kItem},
    {.number = kCommandListLostValues, .menu = "&View", .text = "List disconnected valu&es",
     .needs = Needs::kHive},
    {.number = kCommandListFreedKeys, .menu = "&View", .text = "List &freed keys",
     .needs = Needs::kHive},
    {.number = kCommandListFreedValues, .menu = "&View", .text = "List freed va&lues",
     .needs = Needs::kHive},
    {.number = kCommandListEdits, .menu = "&View", .text = "List ed&ited values",
     .group_start = true, .needs = Needs::kEdits},
    {.number = kCommandTakeBackAll, .menu = "&View", .text = "Take back &all edits",
     .needs = Needs::kEdits},
    {.number = kCommandNextRecovered, .menu = "&View", .text = "&Next recovered\tF7",
     .accelerator = {kKeyF7, 0}, .group_start = true, .needs = Needs::kHive},
    {.number = kCommandPreviousRecovered, .menu = "&View", .text = "Previou&s recovered\tShift+F7",
     .accelerator = {kKeyF7, kWithShift}, .needs = Needs::kHive},
    {.number = kCommandLegend, .menu = "&View", .text = "Le&gend", .guard = Guard::kNone},
    {.number = kCommandRawPosition, .menu = "&View", .text = "Raw record at &position...",
     .group_start = true, .needs = Needs::kHive},

    {.number = kCommandHelp, .menu = "&Misc", .text = "&Help\tF1", .accelerator = {kKeyF1, 0},
     .guard = Guard::kRunningOrBackup},
    {.number = kCommandOptions, .menu = "&Misc", .text = "&Options", .tooltip = "Options",
     .icon = ToolIcon::kOptions, .guard = Guard::kRunningOrBackup},
    {.number = kCommandBookmarks, .menu = "&Misc", .text = "&Bookmarks", .tooltip = "Bookmarks",
     .icon = ToolIcon::kBookmarks},
    {.number = kCommandEvidenceMode, .menu = "&Misc", .text = "&Evidence mode",
     .guard = Guard::kRunningOrBackup, .checked = &CommandFacts::evidence},
    {.number = kCommandAbout, .menu = "&Misc", .text = "&About", .group_start = true,
     .guard = Guard::kRunningOrBackup},

    // Of the toolbar alone.
    {.number = kCommandOpenSnapshot, .tooltip = "Open Registry Snapshot",
     .icon = ToolIcon::kOpenSnapshot},
    {.number = kCommandRecentKeys, .tooltip = "Recent keys", .icon = ToolIcon::kRecent,
     .needs = Needs::kHive},
    {.number = kCommandRootSnapshots, .tooltip = "Generate Registry Snapshot",
     .icon = ToolIcon::kSnapshot},
    {.number = kCommandKeySnapshot, .tooltip = "Registry Key Snapshot",
     .icon = ToolIcon::kKeySnapshot},
    {.number = kCommandOutputList, .tooltip = "Output List", .list_tooltip = "Toggle View",
     .icon = ToolIcon::kView},
    {.number = kCommandLastPane, .tooltip = "Toggle View", .list_tooltip = "Last pane",
     .icon = ToolIcon::kLastPane},
    {.number = kCommandStop, .tooltip = "Stop current Process (Ctrl+Q)", .icon = ToolIcon::kStop,
     .accelerator = {'Q', kWithControl}, .guard = Guard::kNone, .needs = Needs::kRunning},

    // Of the Output List pane.
    {.number = kCommandSaveListText, .tooltip = "Save Output list as text file",
     .icon = ToolIcon::kSaveText, .accelerator = {'S', kWithControl},
     .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows},
    {.number = kCommandSaveReport, .tooltip = "Save as Report List",
     .icon = ToolIcon::kSaveReport, .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows},
    {.number = kCommandLoadReport, .tooltip = "Load Report List", .icon = ToolIcon::kLoadReport,
     .guard = Guard::kRunningOrBackup},
    {.number = kCommandCopyList, .tooltip = "Copy Output list to Clipboard",
     .icon = ToolIcon::kCopyList, .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows},
    {.number = kCommandPrintList, .tooltip = "Print Output list", .icon = ToolIcon::kPrint,
     .accelerator = {'P', kWithControl}, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kListRows},
    {.number = kCommandListNotepad, .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows},
    {.number = kCommandCopyFirstColumn, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kListRows},
    {.number = kCommandFindNext, .needs = Needs::kListRows},
    {.number = kCommandFindPrevious, .needs = Needs::kListRows},
    {.number = kCommandClearList, .tooltip = "Clear Output list", .icon = ToolIcon::kClearList,
     .needs = Needs::kListRows},

    // Of the tree.
    {.number = kCommandFindInList, .text = "&Find\tCtrl+F", .tooltip = "Find in Output list",
     .icon = ToolIcon::kFind, .accelerator = {'F', kWithControl},
     .second_accelerator = {kKeyF3, kWithAlt}, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kFindable},
    {.number = kCommandTreeFindNext, .text = "Find &next\tF3", .accelerator = {kKeyF3, 0},
     .guard = Guard::kRunningOrBackup, .needs = Needs::kFindable},
    {.number = kCommandTreeFindPrevious, .text = "Find &previous\tF4", .accelerator = {kKeyF4, 0},
     .guard = Guard::kRunningOrBackup, .needs = Needs::kFindable},
    {.number = kCommandCurrentBranch, .text = "&Current Branch\tCtrl+b",
     .accelerator = {'B', kWithControl}, .needs = Needs::kItem},
    {.number = kCommandExpand, .text = "E&xpand subfolders", .needs = Needs::kBranch},
    {.number = kCommandCollapse, .text = "Coll&apse subfolders", .needs = Needs::kBranch},
    {.number = kCommandCopyKeyName, .text = "&Copy Key Name", .needs = Needs::kKeyPath},
    {.number = kCommandOpenValidRoot, .text = "Open valid &Root", .needs = Needs::kRootCell},
    {.number = kCommandOpenKey, .text = "Open &Key", .needs = Needs::kKeyCell},
    {.number = kCommandDeleteKeys, .text = "&Delete Keys from Tree", .needs = Needs::kRemovable},
    {.number = kCommandShowAllKeys, .text = "Sho&w all keys again", .needs = Needs::kHiddenKeys},
    {.number = kCommandCompareWorkspace, .text = "&Compare Workspace to Registry",
     .needs = Needs::kHive},
    {.number = kCommandGoToRegedit, .text = "&Go to Regedit", .needs = Needs::kKey, .writes = true},
    {.number = kCommandExportFolder, .text = "&Export Folder", .needs = Needs::kItem},
    {.number = kCommandMergeFolder, .text = "&Merge Folder into Registry", .needs = Needs::kItem, .writes = true},
    {.number = kCommandSecurityRecord, .text = "&Security Record\tAlt+s",
     .accelerator = {'S', kWithAlt}, .needs = Needs::kKeyCell},
    {.number = kCommandKeysOfRecord, .text = "Keys with this Security &Record",
     .needs = Needs::kKeyCell},
    {.number = kCommandKeysOfOwner, .text = "Keys with this &Owner Sid",
     .needs = Needs::kKeyCell},
    {.number = kCommandAddToBookmarks, .text = "Add to &Bookmarks", .needs = Needs::kKeyPath},
    {.number = kCommandRawKey, .text = "Ra&w record", .needs = Needs::kKeyRecord},

    // Of the value pane.
    {.number = kCommandValueDetails, .text = "&Value details",
     .accelerator = {kKeyReturn, kWithAlt}, .needs = Needs::kValueRecord},
    {.number = kCommandEditValue, .text = "&Edit Value (Memory only)", .needs = Needs::kValue, .writes = true},
    {.number = kCommandTakeBackEdit, .text = "&Take back edit", .needs = Needs::kEditedValue},
    {.number = kCommandRawValue, .text = "Ra&w record", .needs = Needs::kValueRecord},
    {.number = kCommandSelectAllValues, .text = "Select &all", .needs = Needs::kValueRows},
    {.number = kCommandInvertValues, .text = "In&vert Selection", .needs = Needs::kValueRows},
    {.number = kCommandCopyValues, .text = "&Copy to ClipBoard", .needs = Needs::kRowSelected},
    {.number = kCommandSaveValue, .text = "&Save to File", .needs = Needs::kValueRecord},
    {.number = kCommandBookmarkValue, .text = "Add to &Bookmarks\tCtrl+Shift+B",
     .needs = Needs::kValueRecord},
    {.number = kCommandBookmarkHere, .accelerator = {'B', kWithControl | kWithShift},
     .needs = Needs::kKeyPath},

    {.number = kCommandAddressBar, .accelerator = {'L', kWithControl}, .needs = Needs::kHive},
    {.number = kCommandNextPane, .accelerator = {kKeyF6, 0}, .guard = Guard::kNone},
    {.number = kCommandPreviousPane, .accelerator = {kKeyF6, kWithShift}, .guard = Guard::kNone},
};

// Those above, and after those of the reports one for each decoder of evidence, in sub menus. A
// decoder's number is its place in kDecoders.
constexpr auto AllCommands() {
  std::array<Command, std::size(kFixedCommands) + std::size(kDecoders)> all{};
  const auto of_reports = [](const Command& command) {
    return command.menu != nullptr && std::string_view(command.menu) == kReportsMenu;
  };
  const auto last =
      std::find_if(std::rbegin(kFixedCommands), std::rend(kFixedCommands), of_reports);
  auto row = std::copy(std::begin(kFixedCommands), last.base(), all.begin());
  for (size_t i = 0; i < std::size(kDecoders); ++i, ++row) {
    row->number = NumberInRange(kCommandDecoder, static_cast<int>(i));
    row->menu = kDecoderMenus[static_cast<size_t>(kDecoders[i].group)];
    row->text = kDecoders[i].menu;
    row->group_start = i == 0;
    row->needs = Needs::kItem;
  }
  std::copy(last.base(), std::end(kFixedCommands), row);
  return all;
}
inline constexpr auto kCommandTable = AllCommands();

inline constexpr CommandNumber kToolbar[] = {
    kCommandSearchWorkspace, kGroupGap,
    kCommandOpen, kCommandOpenSnapshot, kGroupGap,
    kCommandKeyDates, kCommandRecentKeys, kCommandBookmarks, kGroupGap,
    kCommandSaveListText, kCommandSaveReport, kCommandLoadReport, kCommandCopyList,
    kCommandPrintList, kCommandFindInList, kCommandResizeColumns, kCommandClearList, kGroupGap,
    kCommandSearchRegistry, kCommandBackupRegistry, kCommandRootSnapshots, kCommandKeySnapshot,
    kGroupGap,
    kCommandOutputList, kCommandLastPane, kCommandTechnicalView, kCommandDetailPane,
    kCommandBlockList, kGroupGap,
    kCommandOptions, kCommandStop, kCommandExit};
inline constexpr CommandNumber kTreeMenu[] = {
    kCommandFindInList, kCommandTreeFindNext, kCommandTreeFindPrevious, kGroupGap,
    kCommandExpand, kCommandCollapse, kCommandCurrentBranch, kGroupGap,
    kCommandGoToRegedit, kCommandCompareFolder, kCommandMergeFolder, kGroupGap,
    kCommandExportFolder, kGroupGap,
    kCommandSearchBranch, kCommandKeyDates, kGroupGap,
    kCommandSecurityRecord, kCommandKeysOfRecord, kCommandKeysOfOwner, kGroupGap,
    kCommandAddToBookmarks, kCommandCopyKeyName, kCommandRawKey, kGroupGap,
    kCommandOpenValidRoot, kCommandOpenKey, kGroupGap,
    kCommandDeleteKeys, kCommandShowAllKeys};
inline constexpr CommandNumber kWorkspaceMenu[] = {
    kCommandFindInList, kCommandTreeFindNext, kCommandTreeFindPrevious, kGroupGap,
    kCommandCompareWorkspace, kCommandSearchWorkspace};
inline constexpr CommandNumber kValueMenu[] = {
    kCommandValueDetails, kCommandRawValue, kGroupGap,
    kCommandEditValue, kCommandTakeBackEdit, kGroupGap,
    kCommandSelectAllValues, kCommandInvertValues, kGroupGap,
    kCommandCopyValues, kCommandSaveValue, kGroupGap,
    kCommandGoToRegedit, kCommandCopyKeyName, kCommandBookmarkValue, kGroupGap,
    kCommandResizeColumns};
inline constexpr CommandNumber kPathMenu[] = {
    kCommandCopyKeyName, kGroupGap,
    kCommandCurrentBranch, kCommandGoToRegedit, kCommandAddToBookmarks};
// clang-format on

// By CommandPlace.
inline constexpr std::array<std::span<const CommandNumber>,
                            static_cast<size_t>(CommandPlace::kCount)>
    kCommandPlaces = {kToolbar, kTreeMenu, kWorkspaceMenu, kValueMenu, kPathMenu};

}  // namespace hivequarry
