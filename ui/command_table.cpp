#include "ui/commands.h"
#include "ui/handlers.h"

namespace hivequarry {
namespace {

// Virtual key codes; letters are their own codes.
constexpr uint16_t kKeyReturn = 0x0D;
constexpr uint16_t kKeyNumericPlus = 0x6B;
constexpr uint16_t kKeyF6 = 0x75;

// Rows stand in the order of the menus; a command without a menu stands where the toolbar or a
// context menu wants it.
// clang-format off
constexpr Command kCommands[] = {
    {.number = kCommandOpen, .menu = "&File", .text = "&Open File\tCtrl+O",
     .tooltip = "Open File", .icon = ToolIcon::kOpen, .accelerator = {'O', kWithControl},
     .places = kInToolbar, .handler = OnOpenFile},
    {.number = kCommandStop,
     .tooltip = "Stop current Process (Ctrl+Q)", .icon = ToolIcon::kStop,
     .accelerator = {'Q', kWithControl}, .places = kInToolbar,
     .guard = Guard::kNone, .needs = Needs::kRunning, .handler = OnStop},

    {.number = kCommandTechnicalView, .menu = "&View", .text = "Tec&hnical view\tCtrl+H",
     .tooltip = "Technical view", .icon = ToolIcon::kTechnical,
     .accelerator = {'H', kWithControl}, .places = kInToolbar | kGroupStart,
     .checked = &CommandFacts::technical_view, .handler = OnTechnicalView},
    {.number = kCommandCellDetails, .menu = "&View", .text = "&Cell details",
     .checked = &CommandFacts::cell_details, .handler = OnCellDetails},
    {.number = kCommandDetailPane, .menu = "&View", .text = "&Detail pane\tCtrl+D",
     .tooltip = "Detail pane", .icon = ToolIcon::kDetails, .accelerator = {'D', kWithControl},
     .places = kInToolbar, .guard = Guard::kNone,
     .checked = &CommandFacts::detail_pane, .handler = OnDetailPane},
    {.number = kCommandBlockList, .menu = "&View", .text = "&Block list",
     .tooltip = "Block list", .icon = ToolIcon::kBlocks, .places = kInToolbar | kGroupStart,
     .needs = Needs::kHive, .handler = OnBlockList},

    {.number = kCommandValueDetails, .text = "&Value details\tAlt+Enter",
     .accelerator = {kKeyReturn, kWithAlt}, .places = kInValueMenu,
     .needs = Needs::kValue, .handler = OnValueDetails},
    {.number = kCommandResizeColumns, .menu = "&View",
     .text = "&Resize List columns\tCtrl+(Num+)", .context_text = "&Resize columns",
     .tooltip = "Resize list columns", .icon = ToolIcon::kColumns,
     .accelerator = {kKeyNumericPlus, kWithControl},
     .places = kInToolbar | kInValueMenu | kGroupStart,
     .guard = Guard::kNone, .handler = OnResizeColumns},

    {.number = kCommandCopyKeyName, .text = "&Copy Key Name",
     .places = kInTreeMenu | kInValueMenu | kGroupStart,
     .needs = Needs::kKey, .handler = OnCopyKeyName},
    {.number = kCommandExpand, .text = "E&xpand subfolders",
     .places = kInTreeMenu | kGroupStart, .needs = Needs::kBranch, .handler = OnExpandSubfolders},
    {.number = kCommandCollapse, .text = "Coll&apse subfolders",
     .places = kInTreeMenu, .needs = Needs::kBranch, .handler = OnCollapseSubfolders},

    {.number = kCommandAbout, .menu = "&Misc", .text = "&About",
     .guard = Guard::kRunningOrBackup, .handler = OnAbout},
    {.number = kCommandExit, .menu = "&File", .text = "E&xit",
     .tooltip = "Exit", .icon = ToolIcon::kExit, .places = kInToolbar | kGroupStart,
     .guard = Guard::kNone, .handler = OnExit},

    {.number = kCommandNextPane, .accelerator = {kKeyF6, 0},
     .guard = Guard::kNone, .handler = OnNextPane},
    {.number = kCommandPreviousPane, .accelerator = {kKeyF6, kWithShift},
     .guard = Guard::kNone, .handler = OnPreviousPane},
};
// clang-format on

}  // namespace

std::span<const Command> Commands() { return kCommands; }

}  // namespace hivequarry
