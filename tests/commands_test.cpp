// The tables of commands, against what was promised of each command.
#include "view/commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

#include "evidence/decoders.h"
#include "view/key_codes.h"
#include "view/list_commands.h"
#include "view/recent_text.h"

namespace hivequarry::testing {
namespace {

struct MenuItem {
  std::string menu, text;
  uint32_t number;
  bool operator==(const MenuItem&) const = default;
};
void PrintTo(const MenuItem& item, std::ostream* out) {
  *out << item.menu << " | " << item.text << " | " << item.number;
}

const MenuItem kMainMenu[] = {
    {"&File", "&Open File\tCtrl+O", 1400},
    {"&File", "Open in a new &window...", 9097},
    {"&File", "Close h&ive\tCtrl+W", 9098},
    {"&File", "Re&create Hive", 5104},
    {"&File", "Export Hive to &reg file", 1419},
    {"&File", "Regis&try root of hive...", 9039},
    {"&File", "&State of the hive...", 9080},
    {"&File", "Chec&k structure", 9087},
    {"&File", "Sa&ve repaired hive...", 9092},
    {"&File", "C&arve...", 9093},
    {"&File", "Open &machine...", 9094},
    {"&File>Transaction lo&gs", "&None", 9081},
    {"&File>Transaction lo&gs", "&Automatic", 9082},
    {"&File>Transaction lo&gs", "&Choose files...", 9083},
    {"&File>Transaction lo&gs", "&Until entry...", 9084},
    {"&File>Transaction lo&gs", "List log &entries", 9085},
    {"&File>Transaction lo&gs", "List c&hanges by log entries", 9086},
    {"&File>Security R&ecords", "List &Security Records", 7043},
    {"&File>Security R&ecords", "List &ACEs", 7045},
    {"&File>Security R&ecords", "&Records used by keys", 9031},
    {"&File>Security R&ecords", "&Owners of keys", 9033},
    {"&File>Security R&ecords", "Records of &keys", 9034},
    {"&File>Security R&ecords", "&Find Keys with Permissions...", 9032},
    {"&File>Security R&ecords", "&Who may write where...", 9095},
    {"&File>Security R&ecords", "Re&place SID...", 9036},
    {"&File>Security R&ecords", "List local &groups", 9035},
    {"&File", "&Load Hive into Registry", 1435},
    {"&File", "&Unload Hive from Registry", 1436},
    {"&File", "E&xit", 1470},
    {"&Compare", "&Folder to Registry", 4143},
    {"&Compare", "&Displayed Sub Keys", 4141},
    {"&Compare", "&Hive to hive...", 9091},
    {"&Registry", "&Search", 1422},
    {"&Registry", "&Backup Registry", 1494},
    {"&Registry", "Replace Registry &Hives", 1496},
    {"&Registry", "&Uninstall entries", 9061},
    {"&Registry", "&Count keys of current user", 9062},
    {"&Registry", "&Keys that name files", 9066},
    {"&Registry", "&Files named by keys", 9067},
    {"Re&ports", "&Search...\tCtrl+Shift+F", 9030},
    {"Re&ports", "Search in &Workspace...", 1415},
    {"Re&ports", "Key &Dates...", 1421},
    {"Re&ports", "Timeline...\tCtrl+Shift+T", 9088},
    {"Re&ports", "M&achine overview", 9090},
    {"Re&ports", "Ser&vices", 9040},
    {"Re&ports", "Uninstall entr&ies", 9041},
    {"Re&ports", "&Class registrations", 9043},
    {"Re&ports", "&ProgIDs", 9044},
    {"Re&ports", "&Open-with associations", 9045},
    {"Re&ports", "&Keys that name files", 9046},
    {"Re&ports", "&Files named by keys", 9047},
    {"Re&ports", "Count ke&ys", 9042},
    {"Re&ports", "OpenSave&MRU", 9048},
    {"Re&ports", "S&treamMRU", 9049},
    {"&View", "&Toggle View\tCtrl+Tab", 1544},
    {"&View", "&Resize List columns\tCtrl+(Num+)", 1445},
    {"&View", "Tec&hnical view\tCtrl+H", 9001},
    {"&View", "&Cell details", 9002},
    {"&View", "&Detail pane\tCtrl+D", 9003},
    {"&View>Book&marks pane", "&Shown\tCtrl+Shift+M", 9124},
    {"&View>Book&marks pane", "&Below other panes", 9125},
    {"&View", "Deleted ke&ys in tree", 9089},
    {"&View", "Time &zone of dates...", 9096},
    {"&View>Windo&w look", "Show &toolbar", 9120},
    {"&View>Windo&w look", "Colours as the &system", 9121},
    {"&View>Windo&w look", "&Light colours", 9122},
    {"&View>Windo&w look", "&Dark colours", 9123},
    {"&View", "&Block list", 9004},
    {"&View", "List block r&uns", 9005},
    {"&View", "List r&oot cells", 9006},
    {"&View", "List &keys of branch", 9007},
    {"&View", "List &values of branch", 9008},
    {"&View", "List disconnected valu&es", 9009},
    {"&View", "List &freed keys", 9037},
    {"&View", "List freed va&lues", 9038},
    {"&View", "List ed&ited values", 9023},
    {"&View", "Take back &all edits", 9024},
    {"&View", "&Next recovered\tF7", 1509},
    {"&View", "Previou&s recovered\tShift+F7", 1510},
    {"&View", "Le&gend", 1511},
    {"&View", "Raw record at &position...", 9025},
    {"&Misc", "&Help\tF1", 1540},
    {"&Misc", "&Options", 1455},
    {"&Misc", "&Bookmarks", 6410},
    {"&Misc", "&Evidence mode", 1512},
    {"&Misc", "&About", 1542},
};

TEST(CommandTable, MainMenu) {
  std::vector<MenuItem> offered;
  for (const Command& command : Commands()) {
    const bool made_when_opened = command.needs == Needs::kRecentHive;
    if (command.menu == nullptr || made_when_opened) continue;
    offered.push_back({command.menu, command.text, command.number});
  }
  // Decoders of evidence are after the reports, in sub menus.
  const auto first = std::ranges::find(offered, uint32_t{kCommandDecoder}, &MenuItem::number);
  const auto decoders = static_cast<std::ptrdiff_t>(Decoders().size());
  ASSERT_GE(offered.end() - first, decoders);
  for (std::ptrdiff_t i = 0; i < decoders; ++i) {
    EXPECT_TRUE(first[i].menu.starts_with("Re&ports>")) << first[i].menu;
    EXPECT_EQ(first[i].text, Decoders()[static_cast<size_t>(i)].menu);
    EXPECT_EQ(first[i].number, kCommandDecoder + i);
  }
  offered.erase(first, first + decoders);
  EXPECT_EQ(offered, std::vector(std::begin(kMainMenu), std::end(kMainMenu)));
}

TEST(CommandTable, Toolbar) {
  const std::map<uint32_t, std::string> expected = {{1400, "Open File"},
                                                    {1405, "Open Registry Snapshot"},
                                                    {1415, "Search Workspace"},
                                                    {1416, "Save Output list as text file"},
                                                    {1417, "Save as Report List"},
                                                    {1418, "Load Report List"},
                                                    {1421, "Key Dates"},
                                                    {1422, "Search Registry"},
                                                    {1425, "Copy Output list to Clipboard"},
                                                    {1430, "Print Output list"},
                                                    {1440, "Find in Output list"},
                                                    {1445, "Resize list columns"},
                                                    {1450, "Recent keys"},
                                                    {1455, "Options"},
                                                    {1460, "Stop current Process (Ctrl+Q)"},
                                                    {1470, "Exit"},
                                                    {1494, "Backup Registry"},
                                                    {1498, "Generate Registry Snapshot"},
                                                    {1499, "Registry Key Snapshot"},
                                                    {1502, "Output List"},
                                                    {1503, "Toggle View"},
                                                    {4148, "Clear Output list"},
                                                    {6410, "Bookmarks"},
                                                    {9001, "Technical view"},
                                                    {9003, "Detail pane"},
                                                    {9004, "Block list"}};
  std::map<uint32_t, std::string> shown;
  CommandFacts facts;
  // What looks into the hive is the first, and what looks into the live registry among its like.
  const auto buttons = CommandsIn(CommandPlace::kToolbar);
  EXPECT_EQ(buttons[0], kCommandSearchWorkspace);
  const auto live = std::ranges::find(buttons, kCommandSearchRegistry);
  EXPECT_EQ(*(live - 1), kGroupGap);
  EXPECT_EQ(*(live + 1), kCommandBackupRegistry);
  for (const CommandNumber number : CommandsIn(CommandPlace::kToolbar)) {
    if (number != kGroupGap) shown[number] = TooltipOf(*FindCommand(Commands(), number), facts);
  }
  EXPECT_EQ(shown, expected);
  facts.list_shown = true;
  EXPECT_STREQ(TooltipOf(*FindCommand(Commands(), kCommandOutputList), facts), "Toggle View");
  EXPECT_STREQ(TooltipOf(*FindCommand(Commands(), kCommandLastPane), facts), "Last pane");
}

TEST(CommandTable, Keys) {
  const std::set<std::tuple<int, int, int>> expected = {{kWithControl, 'O', 1400},
                                                        {kWithControl, 'W', 9098},
                                                        {kWithControl, 'F', 1440},
                                                        {kWithAlt, kKeyF3, 1440},
                                                        {kWithControl, 'P', 1430},
                                                        {kWithControl, 'Q', 1460},
                                                        {kWithControl, 'S', 1416},
                                                        {0, kKeyF1, 1540},
                                                        {kWithControl, kKeyTab, 1544},
                                                        {kWithControl, 'B', 9014},
                                                        {0, kKeyF3, 1507},
                                                        {0, kKeyF4, 1508},
                                                        {kWithControl, kKeyNumericPlus, 1445},
                                                        {kWithControl, 'H', 9001},
                                                        {kWithControl, 'D', 9003},
                                                        {kWithAlt, kKeyReturn, 9013},
                                                        {0, kKeyF7, 1509},
                                                        {kWithShift, kKeyF7, 1510},
                                                        {0, kKeyF6, 9020},
                                                        {kWithShift, kKeyF6, 9021},
                                                        {kWithControl, 'L', 9029},
                                                        {kWithAlt, 'S', 9305},
                                                        {kWithControl | kWithShift, 'F', 9030},
                                                        {kWithControl | kWithShift, 'T', 9088},
                                                        {kWithControl | kWithShift, 'M', 9124},
                                                        {kWithControl | kWithShift, 'B', 9127}};
  std::set<std::tuple<int, int, int>> shown;
  for (const Command& command : Commands()) {
    for (const Accelerator& key : {command.accelerator, command.second_accelerator}) {
      if (key.key != 0) shown.insert({key.modifiers, key.key, command.number});
    }
  }
  EXPECT_EQ(shown, expected);
}

bool IsIn(CommandPlace place, uint16_t number) {
  const auto numbers = CommandsIn(place);
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

TEST(CommandTable, RowsAreWhole) {
  std::set<std::pair<int, int>> keys;
  for (const Command& command : Commands()) {
    SCOPED_TRACE(command.number);
    for (const Accelerator& key : {command.accelerator, command.second_accelerator}) {
      EXPECT_TRUE(key.key == 0 || keys.insert({key.key, key.modifiers}).second);
    }
    const bool in_toolbar = IsIn(CommandPlace::kToolbar, command.number);
    EXPECT_EQ(in_toolbar, command.icon != ToolIcon::kNone);
    EXPECT_EQ(in_toolbar, command.tooltip != nullptr);
    const bool recent =
        command.number >= kCommandRecentHive && command.number < kCommandRecentHive + kRecentHives;
    bool in_menus = command.menu != nullptr && !recent;
    for (int place = 1; place < static_cast<int>(CommandPlace::kCount); ++place) {
      in_menus = in_menus || IsIn(static_cast<CommandPlace>(place), command.number);
    }
    EXPECT_TRUE(!in_menus || ContextText(command)[0] != '\0');
    EXPECT_TRUE(in_menus || recent || in_toolbar || command.accelerator.key != 0 ||
                FindListCommand(command.number) != nullptr);
  }
}

TEST(CommandTable, OffWithoutAHive) {
  for (const uint16_t number : {kCommandBlockList, kCommandRecentHive}) {
    EXPECT_FALSE(IsAvailable(*FindCommand(Commands(), number), CommandFacts())) << number;
  }
}

template <size_t kCount>
bool IsAmong(const uint16_t (&numbers)[kCount], uint32_t number) {
  return std::find(std::begin(numbers), std::end(numbers), number) != std::end(numbers);
}

// What the program promises for every command number it has, by the flags alone.
bool IsPromised(CommandNumber number, bool running, bool backup) {
  constexpr uint16_t kAlways[] = {
      kCommandExit,          kCommandResizeColumns, kCommandDetailPane,  kCommandNextPane,
      kCommandPreviousPane,  kCommandHiveState,     kCommandLegend,      kCommandToolbar,
      kCommandColoursSystem, kCommandColoursLight,  kCommandColoursDark, kCommandBookmarkPane,
      kCommandBookmarksBelow};
  constexpr uint16_t kNotInBackup[] = {
      kCommandSaveListText,     kCommandSaveReport,  kCommandLoadReport,      kCommandExportHive,
      kCommandKeyDates,         kCommandCopyList,    kCommandPrintList,       kCommandFindInList,
      kCommandOptions,          kCommandListNotepad, kCommandCopyFirstColumn, kCommandTreeFindNext,
      kCommandTreeFindPrevious, kCommandHelp,        kCommandAbout,           kCommandEvidenceMode,
      kCommandCompareFolder};
  if (number == kCommandStop) return running || backup;
  if (number == kCommandOpenValidRoot) return false;  // no root cell is selected
  if (IsAmong(kAlways, number)) return true;
  return !running && !(backup && IsAmong(kNotInBackup, number));
}

// What writes into the live registry or the hive in memory is nowhere: not in menus, not by keys.
TEST(CommandTable, EvidenceModeOffersNothingThatWrites) {
  CommandFacts facts;
  facts.hive = facts.item = facts.key = facts.key_cell = facts.value = true;
  facts.key_path = facts.key_record = facts.value_record = true;
  for (const uint16_t number :
       {kCommandMergeFolder, kCommandLoadHive, kCommandUnloadHive, kCommandReplaceHives,
        kCommandReplaceSid, kCommandEditValue, kCommandGoToRegedit}) {
    const Command& command = *FindCommand(Commands(), number);
    facts.evidence = false;
    EXPECT_TRUE(IsOffered(command, false) && IsAvailable(command, facts)) << number;
    facts.evidence = true;
    EXPECT_FALSE(IsOffered(command, true) || IsAvailable(command, facts)) << number;
  }
  EXPECT_TRUE(IsAvailable(*FindCommand(Commands(), kCommandExportFolder), facts));
  ListFacts list;
  list.rows = list.row_selected = true;
  const ListCommand& regedit = *FindListCommand(kCommandListRegedit);
  EXPECT_TRUE(IsAvailable(regedit, list));
  list.evidence = true;
  EXPECT_FALSE(IsOffered(regedit, list) || IsAvailable(regedit, list));
}

TEST(CommandTable, EveryCommandObeysTheFlags) {
  // Everything that a command may work on is there but a root cell, so only the flags decide.
  CommandFacts facts;
  for (bool CommandFacts::*const there :
       {&CommandFacts::hive, &CommandFacts::item, &CommandFacts::branch, &CommandFacts::key,
        &CommandFacts::key_cell, &CommandFacts::key_path, &CommandFacts::key_record,
        &CommandFacts::value_record, &CommandFacts::removable, &CommandFacts::hidden_keys,
        &CommandFacts::value, &CommandFacts::edited_value, &CommandFacts::edits,
        &CommandFacts::value_rows, &CommandFacts::row_selected, &CommandFacts::list_rows,
        &CommandFacts::findable, &CommandFacts::logs, &CommandFacts::replayed}) {
    facts.*there = true;
  }
  facts.recent_hives = kRecentHives;
  for (const bool running : {false, true}) {
    for (const bool backup : {false, true}) {
      facts.running = running;
      facts.backup = backup;
      for (const Command& command : Commands()) {
        SCOPED_TRACE(::testing::Message() << command.number << running << backup);
        EXPECT_EQ(IsAvailable(command, facts), IsPromised(command.number, running, backup));
      }
    }
  }
}

TEST(ListCommandTable, GuardsAndNeeds) {
  struct Case {
    CommandNumber number;
    bool idle, running, backup, empty;
  };
  constexpr Case kCases[] = {{kCommandSaveListText, true, false, false, false},
                             {kCommandSaveReport, true, false, false, false},
                             {kCommandLoadReport, true, false, false, true},
                             {kCommandCopyList, true, false, false, false},
                             {kCommandPrintList, true, false, false, false},
                             {kCommandFindInList, true, false, false, false},
                             {kCommandResizeColumns, true, true, true, true},
                             {kCommandStop, false, true, true, false},
                             {kCommandExit, true, true, true, true},
                             {kCommandListNotepad, true, false, false, false},
                             {kCommandCopyFirstColumn, true, false, false, false},
                             {kCommandFindNext, true, false, true, false},
                             {kCommandFindPrevious, true, false, true, false},
                             {kCommandClearList, true, false, true, false},
                             {kCommandListSelectAll, true, false, true, false},
                             {kCommandSaveSelected, true, false, true, false},
                             {kCommandGoToTree, false, false, false, false},
                             {kCommandListRegedit, true, false, true, false}};
  ListFacts full;
  full.kind = 51;
  full.rows = full.row_selected = true;
  ListFacts empty;
  empty.kind = 51;
  ListFacts running = full;
  running.busy = running.stoppable = true;
  ListFacts backup = full;
  backup.backup = backup.stoppable = true;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.number);
    const ListCommand& command = *FindListCommand(c.number);
    EXPECT_EQ(IsAvailable(command, full), c.idle);
    EXPECT_EQ(IsAvailable(command, empty), c.empty);
    EXPECT_EQ(IsAvailable(command, running), c.running);
    EXPECT_EQ(IsAvailable(command, backup), c.backup);
  }
}

TEST(CommandTable, WordsOfRecentHives) {
  const std::string folders(80, 'f');
  EXPECT_EQ(RecentHiveText(0, "C:\\a & b\\SYSTEM"), u"&1 C:\\a && b\\SYSTEM");
  EXPECT_EQ(RecentHiveText(8, "C:\\one\\" + folders + "\\SAM"),
            u"&9 C:\\one\\..." + std::u16string(46, u'f') + u"\\SAM");
}

}  // namespace
}  // namespace hivequarry::testing
