#include <array>

#include "ui/commands/bookmarks_dialog.h"
#include "ui/commands/commands.h"
#include "ui/commands/edit_commands.h"
#include "ui/commands/export_commands.h"
#include "ui/commands/handlers.h"
#include "ui/commands/misc_commands.h"
#include "ui/commands/recent_keys_dialog.h"
#include "ui/commands/report_commands.h"
#include "ui/commands/root_dialog.h"
#include "ui/commands/search_commands.h"
#include "ui/lists/list_commands.h"
#include "ui/lists/raw_view.h"
#include "ui/live/backup_dialog.h"
#include "ui/live/compare_commands.h"
#include "ui/live/merge_commands.h"
#include "ui/live/mount_dialogs.h"
#include "ui/live/regedit_commands.h"
#include "ui/live/snapshot_commands.h"
#include "ui/main/address_bar.h"
#include "ui/security/security_commands.h"

namespace hivequarry {
namespace {

// Virtual key codes; letters are their own codes.
constexpr uint16_t kKeyTab = 0x09;
constexpr uint16_t kKeyReturn = 0x0D;
constexpr uint16_t kKeyNumericPlus = 0x6B;
constexpr uint16_t kKeyF1 = 0x70;
constexpr uint16_t kKeyF3 = 0x72;
constexpr uint16_t kKeyF4 = 0x73;
constexpr uint16_t kKeyF6 = 0x75;

constexpr uint16_t ReportNumber(Report report) {
  return static_cast<uint16_t>(kCommandReport + static_cast<int>(report));
}
constexpr uint16_t LiveReportNumber(Report report) {
  return static_cast<uint16_t>(kCommandLiveReport + static_cast<int>(report));
}
constexpr const char* kSecurityMenu = "&File>Security R&ecords";
constexpr const char* kReportsMenu = "Re&ports";

// clang-format off
constexpr Command kCommands[] = {
    {.number = kCommandOpen, .menu = "&File", .text = "&Open File\tCtrl+O",
     .tooltip = "Open File", .icon = ToolIcon::kOpen, .accelerator = {'O', kWithControl},
     .handler = OnOpenFile},
    {.number = 5104, .menu = "&File", .text = "Re&create Hive", .handler = OnNothing},
    {.number = kCommandExportHive, .menu = "&File", .text = "Export Hive to &reg file",
     .group_start = true, .guard = Guard::kRunningOrBackup, .needs = Needs::kHive,
     .handler = OnExportHive},
    {.number = kCommandHiveRoot, .menu = "&File", .text = "Regis&try root of hive...",
     .needs = Needs::kHive, .handler = OnHiveRoot},
    {.number = kCommandListSecurity, .menu = kSecurityMenu, .text = "List &Security Records",
     .needs = Needs::kHive, .handler = OnListSecurityRecords},
    {.number = kCommandListAces, .menu = kSecurityMenu, .text = "List &ACEs",
     .needs = Needs::kHive, .handler = OnListAces},
    {.number = kCommandUsedRecords, .menu = kSecurityMenu, .text = "&Records used by keys",
     .group_start = true, .needs = Needs::kItem, .handler = OnListUsedRecords},
    {.number = kCommandKeyOwners, .menu = kSecurityMenu, .text = "&Owners of keys",
     .needs = Needs::kItem, .handler = OnListKeyOwners},
    {.number = kCommandRecordsOfKeys, .menu = kSecurityMenu, .text = "Records of &keys",
     .needs = Needs::kItem, .handler = OnListRecordKeys},
    {.number = kCommandPermissions, .menu = kSecurityMenu,
     .text = "&Find Keys with Permissions...", .handler = OnFindKeysWithPermissions},
    {.number = kCommandReplaceSid, .menu = kSecurityMenu, .text = "Re&place SID...",
     .group_start = true, .needs = Needs::kHive, .handler = OnReplaceSid},
    {.number = kCommandLocalGroups, .menu = kSecurityMenu, .text = "List local &groups",
     .handler = OnListLocalGroups},
    {.number = kCommandLoadHive, .menu = "&File", .text = "&Load Hive into Registry",
     .group_start = true, .handler = OnLoadHive},
    {.number = kCommandUnloadHive, .menu = "&File", .text = "&Unload Hive from Registry",
     .handler = OnUnloadHive},
    {.number = kCommandRecentHive, .menu = "&File>Recent &hives", .group_start = true,
     .needs = Needs::kRecentHive, .handler = OnRecentHive<0>},
    {.number = kCommandRecentHive + 1, .menu = "&File>Recent &hives",
     .needs = Needs::kRecentHive, .handler = OnRecentHive<1>},
    {.number = kCommandRecentHive + 2, .menu = "&File>Recent &hives",
     .needs = Needs::kRecentHive, .handler = OnRecentHive<2>},
    {.number = kCommandRecentHive + 3, .menu = "&File>Recent &hives",
     .needs = Needs::kRecentHive, .handler = OnRecentHive<3>},
    {.number = kCommandRecentHive + 4, .menu = "&File>Recent &hives",
     .needs = Needs::kRecentHive, .handler = OnRecentHive<4>},
    {.number = kCommandRecentHive + 5, .menu = "&File>Recent &hives",
     .needs = Needs::kRecentHive, .handler = OnRecentHive<5>},
    {.number = kCommandRecentHive + 6, .menu = "&File>Recent &hives",
     .needs = Needs::kRecentHive, .handler = OnRecentHive<6>},
    {.number = kCommandExit, .menu = "&File", .text = "E&xit", .tooltip = "Exit",
     .icon = ToolIcon::kExit, .group_start = true, .guard = Guard::kNone, .handler = OnExit},

    {.number = kCommandCompareFolder, .menu = "&Compare", .text = "&Folder to Registry",
     .context_text = "Compare &Folder to Registry", .guard = Guard::kRunningOrBackup,
     .needs = Needs::kKey, .handler = OnCompareFolder},
    {.number = kCommandCompareDisplayed, .menu = "&Compare", .text = "&Displayed Sub Keys",
     .checked = &CommandFacts::comparing, .handler = OnCompareDisplayed},

    {.number = kCommandSearchRegistry, .menu = "&Registry", .text = "&Search",
     .tooltip = "Search Registry", .icon = ToolIcon::kSearchRegistry,
     .handler = OnSearchRegistry},
    {.number = 1494, .menu = "&Registry", .text = "&Backup Registry", .tooltip = "Backup Registry",
     .icon = ToolIcon::kBackup, .handler = OnBackupRegistry},
    {.number = 1496, .menu = "&Registry", .text = "Replace Registry &Hives",
     .handler = OnReplaceHives},
    {.number = LiveReportNumber(Report::kUninstall), .menu = "&Registry",
     .text = "&Uninstall entries", .group_start = true,
     .handler = OnLiveReport<Report::kUninstall>},
    {.number = LiveReportNumber(Report::kCountKeys), .menu = "&Registry",
     .text = "&Count keys of current user", .handler = OnLiveReport<Report::kCountKeys>},
    {.number = LiveReportNumber(Report::kKeyFiles), .menu = "&Registry",
     .text = "&Keys that name files", .handler = OnLiveReport<Report::kKeyFiles>},
    {.number = LiveReportNumber(Report::kFiles), .menu = "&Registry",
     .text = "&Files named by keys", .handler = OnLiveReport<Report::kFiles>},

    {.number = kCommandSearchBranch, .menu = kReportsMenu, .text = "&Search...\tCtrl+Shift+F",
     .accelerator = {'F', kWithControl | kWithShift}, .needs = Needs::kItem,
     .handler = OnSearchBranch},
    {.number = kCommandSearchWorkspace, .menu = kReportsMenu, .text = "Search in &Workspace...",
     .context_text = "&Search in Workspace", .tooltip = "Search Workspace",
     .icon = ToolIcon::kSearchWorkspace, .needs = Needs::kHive, .handler = OnSearchWorkspace},
    {.number = kCommandKeyDates, .menu = kReportsMenu, .text = "Key &Dates...",
     .tooltip = "Key Dates", .icon = ToolIcon::kKeyDates, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kItem, .handler = OnKeyDates},
    {.number = ReportNumber(Report::kServices), .menu = kReportsMenu, .text = "Ser&vices",
     .group_start = true, .needs = Needs::kItem, .handler = OnReport<Report::kServices>},
    {.number = ReportNumber(Report::kUninstall), .menu = kReportsMenu,
     .text = "&Uninstall entries", .needs = Needs::kItem,
     .handler = OnReport<Report::kUninstall>},
    {.number = ReportNumber(Report::kClasses), .menu = kReportsMenu,
     .text = "&Class registrations", .needs = Needs::kItem,
     .handler = OnReport<Report::kClasses>},
    {.number = ReportNumber(Report::kProgIds), .menu = kReportsMenu, .text = "&ProgIDs",
     .needs = Needs::kItem, .handler = OnReport<Report::kProgIds>},
    {.number = ReportNumber(Report::kOpenWith), .menu = kReportsMenu,
     .text = "&Open-with associations", .needs = Needs::kItem,
     .handler = OnReport<Report::kOpenWith>},
    {.number = ReportNumber(Report::kKeyFiles), .menu = kReportsMenu,
     .text = "&Keys that name files", .group_start = true, .needs = Needs::kItem,
     .handler = OnReport<Report::kKeyFiles>},
    {.number = ReportNumber(Report::kFiles), .menu = kReportsMenu,
     .text = "&Files named by keys", .needs = Needs::kItem, .handler = OnReport<Report::kFiles>},
    {.number = ReportNumber(Report::kCountKeys), .menu = kReportsMenu, .text = "Cou&nt keys",
     .group_start = true, .needs = Needs::kItem, .handler = OnReport<Report::kCountKeys>},
    {.number = ReportNumber(Report::kOpenSaveMru), .menu = kReportsMenu, .text = "OpenSave&MRU",
     .needs = Needs::kItem, .handler = OnReport<Report::kOpenSaveMru>},
    {.number = ReportNumber(Report::kStreamMru), .menu = kReportsMenu, .text = "S&treamMRU",
     .needs = Needs::kItem, .handler = OnReport<Report::kStreamMru>},

    {.number = kCommandToggleView, .menu = "&View", .text = "&Toggle View\tCtrl+Tab",
     .accelerator = {kKeyTab, kWithControl}, .handler = OnToggleView},
    {.number = kCommandResizeColumns, .menu = "&View",
     .text = "&Resize List columns\tCtrl+(Num+)", .context_text = "&Resize columns",
     .tooltip = "Resize list columns", .icon = ToolIcon::kColumns,
     .accelerator = {kKeyNumericPlus, kWithControl}, .guard = Guard::kNone,
     .handler = OnResizeColumns},
    {.number = kCommandTechnicalView, .menu = "&View", .text = "Tec&hnical view\tCtrl+H",
     .tooltip = "Technical view", .icon = ToolIcon::kTechnical,
     .accelerator = {'H', kWithControl}, .group_start = true,
     .checked = &CommandFacts::technical_view, .handler = OnTechnicalView},
    {.number = kCommandCellDetails, .menu = "&View", .text = "&Cell details",
     .checked = &CommandFacts::cell_details, .handler = OnCellDetails},
    {.number = kCommandDetailPane, .menu = "&View", .text = "&Detail pane\tCtrl+D",
     .tooltip = "Detail pane", .icon = ToolIcon::kDetails, .accelerator = {'D', kWithControl},
     .guard = Guard::kNone, .checked = &CommandFacts::detail_pane, .handler = OnDetailPane},
    {.number = kCommandBlockList, .menu = "&View", .text = "&Block list", .tooltip = "Block list",
     .icon = ToolIcon::kBlocks, .group_start = true, .needs = Needs::kHive,
     .handler = OnBlockList},
    {.number = kCommandListBlockRuns, .menu = "&View", .text = "List block r&uns",
     .needs = Needs::kHive, .handler = OnListBlockRuns},
    {.number = kCommandListRoots, .menu = "&View", .text = "List r&oot cells",
     .needs = Needs::kHive, .handler = OnListRoots},
    {.number = kCommandListKeys, .menu = "&View", .text = "List &keys of branch",
     .group_start = true, .needs = Needs::kItem, .handler = OnListKeys},
    {.number = kCommandListValues, .menu = "&View", .text = "List &values of branch",
     .needs = Needs::kItem, .handler = OnListValues},
    {.number = kCommandListLostValues, .menu = "&View", .text = "List disconnected valu&es",
     .needs = Needs::kHive, .handler = OnListLostValues},
    {.number = kCommandListFreedKeys, .menu = "&View", .text = "List &freed keys",
     .needs = Needs::kHive, .handler = OnListFreedKeys},
    {.number = kCommandListFreedValues, .menu = "&View", .text = "List freed va&lues",
     .needs = Needs::kHive, .handler = OnListFreedValues},
    {.number = kCommandListEdits, .menu = "&View", .text = "List ed&ited values",
     .group_start = true, .needs = Needs::kEdits, .handler = OnListEdits},
    {.number = kCommandTakeBackAll, .menu = "&View", .text = "Take back &all edits",
     .needs = Needs::kEdits, .handler = OnTakeBackAllEdits},
    {.number = kCommandRawPosition, .menu = "&View", .text = "Raw record at &position...",
     .group_start = true, .needs = Needs::kHive, .handler = OnRawPosition},

    {.number = 1540, .menu = "&Misc", .text = "&Help\tF1", .accelerator = {kKeyF1, 0},
     .guard = Guard::kRunningOrBackup, .handler = OnHelp},
    {.number = 1455, .menu = "&Misc", .text = "&Options", .tooltip = "Options",
     .icon = ToolIcon::kOptions, .guard = Guard::kRunningOrBackup, .handler = OnOptions},
    {.number = 6410, .menu = "&Misc", .text = "&Bookmarks", .tooltip = "Bookmarks",
     .icon = ToolIcon::kBookmarks, .handler = OnBookmarks},
    {.number = kCommandAbout, .menu = "&Misc", .text = "&About", .group_start = true,
     .guard = Guard::kRunningOrBackup, .handler = OnAbout},

    // Of the toolbar alone.
    {.number = kCommandOpenSnapshot, .tooltip = "Open Registry Snapshot",
     .icon = ToolIcon::kOpenSnapshot, .handler = OnOpenSnapshot},
    {.number = 1450, .tooltip = "Recent keys", .icon = ToolIcon::kRecent,
     .needs = Needs::kHive, .handler = OnRecentKeys},
    {.number = kCommandRootSnapshots, .tooltip = "Generate Registry Snapshot",
     .icon = ToolIcon::kSnapshot, .handler = OnRootSnapshots},
    {.number = kCommandKeySnapshot, .tooltip = "Registry Key Snapshot",
     .icon = ToolIcon::kKeySnapshot, .handler = OnKeySnapshot},
    {.number = kCommandOutputList, .tooltip = "Output List", .list_tooltip = "Toggle View",
     .icon = ToolIcon::kView, .handler = OnOutputListButton},
    {.number = kCommandLastPane, .tooltip = "Toggle View", .list_tooltip = "Last pane",
     .icon = ToolIcon::kLastPane, .handler = OnLastPane},
    {.number = kCommandStop, .tooltip = "Stop current Process (Ctrl+Q)", .icon = ToolIcon::kStop,
     .accelerator = {'Q', kWithControl}, .guard = Guard::kNone, .needs = Needs::kRunning,
     .handler = OnStop},

    // Of the Output List pane.
    {.number = kCommandSaveListText, .tooltip = "Save Output list as text file",
     .icon = ToolIcon::kSaveText, .accelerator = {'S', kWithControl},
     .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows,
     .handler = OnListCommand<kCommandSaveListText>},
    {.number = kCommandSaveReport, .tooltip = "Save as Report List",
     .icon = ToolIcon::kSaveReport, .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows,
     .handler = OnListCommand<kCommandSaveReport>},
    {.number = kCommandLoadReport, .tooltip = "Load Report List", .icon = ToolIcon::kLoadReport,
     .guard = Guard::kRunningOrBackup,
     .handler = OnListCommand<kCommandLoadReport>},
    {.number = kCommandCopyList, .tooltip = "Copy Output list to Clipboard",
     .icon = ToolIcon::kCopyList, .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows,
     .handler = OnListCommand<kCommandCopyList>},
    {.number = kCommandPrintList, .tooltip = "Print Output list", .icon = ToolIcon::kPrint,
     .accelerator = {'P', kWithControl}, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kListRows, .handler = OnListCommand<kCommandPrintList>},
    {.number = kCommandListNotepad, .guard = Guard::kRunningOrBackup, .needs = Needs::kListRows,
     .handler = OnListCommand<kCommandListNotepad>},
    {.number = kCommandCopyFirstColumn, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kListRows, .handler = OnListCommand<kCommandCopyFirstColumn>},
    {.number = kCommandFindNext, .needs = Needs::kListRows,
     .handler = OnListCommand<kCommandFindNext>},
    {.number = kCommandFindPrevious, .needs = Needs::kListRows,
     .handler = OnListCommand<kCommandFindPrevious>},
    {.number = kCommandClearList, .tooltip = "Clear Output list", .icon = ToolIcon::kClearList,
     .needs = Needs::kListRows, .handler = OnListCommand<kCommandClearList>},

    // Of the tree.
    {.number = kCommandFindInList, .text = "&Find\tCtrl+F", .tooltip = "Find in Output list",
     .icon = ToolIcon::kFind, .accelerator = {'F', kWithControl},
     .second_accelerator = {kKeyF3, kWithAlt}, .guard = Guard::kRunningOrBackup,
     .needs = Needs::kFindable, .handler = OnFind},
    {.number = kCommandTreeFindNext, .text = "Find &next\tF3", .accelerator = {kKeyF3, 0},
     .guard = Guard::kRunningOrBackup, .needs = Needs::kFindable, .handler = OnFindNext},
    {.number = kCommandTreeFindPrevious, .text = "Find &previous\tF4", .accelerator = {kKeyF4, 0},
     .guard = Guard::kRunningOrBackup, .needs = Needs::kFindable, .handler = OnFindPrevious},
    {.number = kCommandCurrentBranch, .text = "&Current Branch\tCtrl+b",
     .accelerator = {'B', kWithControl}, .needs = Needs::kItem, .handler = OnCurrentBranch},
    {.number = kCommandExpand, .text = "E&xpand subfolders", .needs = Needs::kBranch,
     .handler = OnExpandSubfolders},
    {.number = kCommandCollapse, .text = "Coll&apse subfolders", .needs = Needs::kBranch,
     .handler = OnCollapseSubfolders},
    {.number = kCommandCopyKeyName, .text = "&Copy Key Name", .needs = Needs::kKey,
     .handler = OnCopyKeyName},
    {.number = kCommandOpenValidRoot, .text = "Open valid &Root", .needs = Needs::kRootCell,
     .handler = OnOpenValidRoot},
    {.number = kCommandOpenKey, .text = "Open &Key", .needs = Needs::kKeyCell,
     .handler = OnOpenKey},
    {.number = kCommandDeleteKeys, .text = "&Delete Keys from Tree", .needs = Needs::kRemovable,
     .handler = OnDeleteKeys},
    {.number = kCommandShowAllKeys, .text = "Sho&w all keys again", .needs = Needs::kHiddenKeys,
     .handler = OnShowAllKeys},
    {.number = kCommandCompareWorkspace, .text = "&Compare Workspace to Registry",
     .needs = Needs::kHive, .handler = OnCompareWorkspace},
    {.number = kCommandGoToRegedit, .text = "&Go to Regedit", .needs = Needs::kKey,
     .handler = OnGoToRegedit},
    {.number = kCommandExportFolder, .text = "&Export Folder", .needs = Needs::kItem,
     .handler = OnExportFolder},
    {.number = kCommandMergeFolder, .text = "&Merge Folder into Registry", .needs = Needs::kItem,
     .handler = OnMergeFolder},
    {.number = kCommandSecurityRecord, .text = "&Security Record\tAlt+s",
     .accelerator = {'S', kWithAlt}, .needs = Needs::kKeyCell, .handler = OnSecurityRecord},
    {.number = kCommandKeysOfRecord, .text = "Keys with this Security &Record",
     .needs = Needs::kKeyCell, .handler = OnKeysOfKeysRecord},
    {.number = kCommandKeysOfOwner, .text = "Keys with this &Owner Sid",
     .needs = Needs::kKeyCell, .handler = OnKeysOfKeysOwner},
    {.number = kCommandAddToBookmarks, .text = "Add to &Bookmarks", .needs = Needs::kKey,
     .handler = OnAddToBookmarks},
    {.number = kCommandRawKey, .text = "Ra&w record", .needs = Needs::kKeyCell,
     .handler = OnRawKey},

    // Of the value pane.
    {.number = kCommandValueDetails, .text = "&Value details",
     .accelerator = {kKeyReturn, kWithAlt}, .needs = Needs::kValue, .handler = OnValueDetails},
    {.number = kCommandEditValue, .text = "&Edit Value (Memory only)", .needs = Needs::kValue,
     .handler = OnEditValue},
    {.number = kCommandTakeBackEdit, .text = "&Take back edit", .needs = Needs::kEditedValue,
     .handler = OnTakeBackEdit},
    {.number = kCommandRawValue, .text = "Ra&w record", .needs = Needs::kValue,
     .handler = OnRawValue},
    {.number = kCommandSelectAllValues, .text = "Select &all", .needs = Needs::kValueRows,
     .handler = OnSelectAllValues},
    {.number = kCommandInvertValues, .text = "In&vert Selection", .needs = Needs::kValueRows,
     .handler = OnInvertValues},
    {.number = kCommandCopyValues, .text = "&Copy to ClipBoard", .needs = Needs::kRowSelected,
     .handler = OnCopyValues},
    {.number = kCommandSaveValue, .text = "&Save to File", .needs = Needs::kValue,
     .handler = OnSaveValue},

    {.number = kCommandAddressBar, .accelerator = {'L', kWithControl}, .needs = Needs::kHive,
     .handler = OnAddressBar},
    {.number = kCommandNextPane, .accelerator = {kKeyF6, 0}, .guard = Guard::kNone,
     .handler = OnNextPane},
    {.number = kCommandPreviousPane, .accelerator = {kKeyF6, kWithShift}, .guard = Guard::kNone,
     .handler = OnPreviousPane},
};

constexpr uint16_t kToolbar[] = {
    kCommandOpen, kCommandOpenSnapshot, kGroupGap,
    1415, 1422, 1421, 1450, 6410, kGroupGap,
    kCommandSaveListText, kCommandSaveReport, kCommandLoadReport, kCommandCopyList,
    kCommandPrintList, kCommandFindInList, kCommandResizeColumns, kCommandClearList, kGroupGap,
    1494, kCommandRootSnapshots, kCommandKeySnapshot, kGroupGap,
    kCommandOutputList, kCommandLastPane, kCommandTechnicalView, kCommandDetailPane,
    kCommandBlockList, kGroupGap,
    1455, kCommandStop, kCommandExit};
constexpr uint16_t kTreeMenu[] = {
    kCommandFindInList, kCommandTreeFindNext, kCommandTreeFindPrevious, kGroupGap,
    kCommandExpand, kCommandCollapse, kCommandCurrentBranch, kGroupGap,
    kCommandGoToRegedit, kCommandCompareFolder, kCommandExportFolder, kCommandMergeFolder, kGroupGap,
    kCommandSearchBranch, kCommandKeyDates, kGroupGap,
    kCommandSecurityRecord, kCommandKeysOfRecord, kCommandKeysOfOwner, kGroupGap,
    kCommandAddToBookmarks, kCommandCopyKeyName, kCommandRawKey, kGroupGap,
    kCommandOpenValidRoot, kCommandOpenKey, kGroupGap,
    kCommandDeleteKeys, kCommandShowAllKeys};
constexpr uint16_t kWorkspaceMenu[] = {
    kCommandFindInList, kCommandTreeFindNext, kCommandTreeFindPrevious, kGroupGap,
    kCommandCompareWorkspace, kCommandSearchWorkspace};
constexpr uint16_t kValueMenu[] = {
    kCommandValueDetails, kCommandRawValue, kGroupGap,
    kCommandEditValue, kCommandTakeBackEdit, kGroupGap,
    kCommandSelectAllValues, kCommandInvertValues, kGroupGap,
    kCommandCopyValues, kCommandSaveValue, kGroupGap,
    kCommandGoToRegedit, kCommandCopyKeyName, kGroupGap,
    kCommandResizeColumns};
constexpr uint16_t kPathMenu[] = {
    kCommandCopyKeyName, kGroupGap,
    kCommandCurrentBranch, kCommandGoToRegedit, kCommandAddToBookmarks};
// clang-format on

constexpr std::array<std::span<const uint16_t>, static_cast<size_t>(CommandPlace::kCount)> kPlaces =
    {kToolbar, kTreeMenu, kWorkspaceMenu, kValueMenu, kPathMenu};

}  // namespace

std::span<const Command> Commands() { return kCommands; }

std::span<const uint16_t> CommandsIn(CommandPlace place) {
  return kPlaces[static_cast<size_t>(place)];
}

}  // namespace hivequarry
