// The commands as the user meets them, against what was promised of each; and what the main window
// does beyond showing a hive.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

#include "app/settings.h"
#include "host/files.h"
#include "reports/hive_lists.h"
#include "tests/window/window_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/lists/list_window.h"
#include "ui/main/program.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
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

std::string TextAt(HMENU menu, int at) {
  wchar_t text[200] = L"";
  GetMenuStringW(menu, static_cast<UINT>(at), text, 200, MF_BYPOSITION);
  return Utf8Name(text);
}

void AddItems(HMENU menu, const std::string& path, std::vector<MenuItem>& items) {
  for (int at = 0; at < GetMenuItemCount(menu); ++at) {
    const HMENU sub = GetSubMenu(menu, at);
    const std::string text = TextAt(menu, at);
    if (sub != nullptr) AddItems(sub, path.empty() ? text : path + ">" + text, items);
    if (sub == nullptr && !text.empty()) items.push_back({path, text, GetMenuItemID(menu, at)});
  }
}

std::vector<MenuItem> ItemsOf(HMENU menu) {
  std::vector<MenuItem> items;
  AddItems(menu, "", items);
  return items;
}

char MnemonicOf(const std::string& text) {
  const size_t at = text.find('&');
  return at == std::string::npos ? '\0' : static_cast<char>(tolower(text[at + 1]));
}

void CheckMnemonics(HMENU menu) {
  std::set<char> seen;
  for (int at = 0; at < GetMenuItemCount(menu); ++at) {
    const std::string text = TextAt(menu, at);
    EXPECT_TRUE(text.empty() || seen.insert(MnemonicOf(text)).second) << text;
    if (GetSubMenu(menu, at) != nullptr) CheckMnemonics(GetSubMenu(menu, at));
  }
}

BuiltHive CommandsHive() {
  HiveBuilder hive;
  hive.Key("Alpha\\Beta").Sz("Path", "C:\\Tools").Binary("Blob", 20);
  hive.Key("Alpha\\Delta");
  hive.Key("Gamma\\Betamax\\Inner");
  return hive.Build();
}

class CommandsTest : public WindowTest {
 protected:
  std::string Tooltip(uint16_t number) {
    NMTTDISPINFOW notice{};
    notice.hdr = {window_->controls.toolbar, number, static_cast<UINT>(TTN_GETDISPINFOW)};
    SendMessageW(handle_, WM_NOTIFY, number, reinterpret_cast<LPARAM>(&notice));
    return Utf8Name(notice.szText);
  }
  std::string SelectedName() const {
    return ItemText(TreeView_GetSelection(window_->controls.tree));
  }
  void OpenTools() { OpenBytes(tools_.bytes); }
  uint32_t Item(const char* path) const {
    return FindItemByPath(ShownHive(*window_), *window_->shown->tree, path);
  }
  Texts ContextTexts(CommandPlace place, bool available) {
    const HMENU menu = MakeContextMenu(*window_, place);
    Texts texts;
    for (int at = 0; at < GetMenuItemCount(menu); ++at) {
      const bool grey = (GetMenuState(menu, static_cast<UINT>(at), MF_BYPOSITION) & MF_GRAYED) != 0;
      if (!TextAt(menu, at).empty() && grey != available) texts.push_back(TextAt(menu, at));
    }
    DestroyMenu(menu);
    return texts;
  }

  BuiltHive tools_ = CommandsHive();
};

TEST_F(CommandsTest, MainMenu) {
  TheSettings().histories.recent_files = {"C:\\a & b\\SYSTEM", "D:\\SAM"};
  std::vector<MenuItem> expected;
  size_t recent = 0;
  for (const Command& command : Commands()) {
    if (command.menu == nullptr) continue;
    std::string text = command.text;
    if (command.needs == Needs::kRecentHive) {
      const History& files = TheSettings().histories.recent_files;
      if (recent == files.size()) continue;
      text = TextOfWide(RecentHiveText(recent, files[recent]));
      ++recent;
    }
    expected.push_back({command.menu, text, command.number});
  }
  SendMessageW(handle_, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(window_->menus.recent), 0);
  EXPECT_EQ(ItemsOf(GetMenu(handle_)), expected);
  CheckMnemonics(GetMenu(handle_));
}

TEST_F(CommandsTest, Toolbar) {
  std::map<uint32_t, std::string> expected;
  for (const CommandNumber number : CommandsIn(CommandPlace::kToolbar)) {
    if (number == kGroupGap) continue;
    expected[number] = TooltipOf(*FindCommand(Commands(), number), CommandFacts());
  }
  std::map<uint32_t, std::string> shown;
  LONG right = 0;
  const LRESULT count = SendMessageW(window_->controls.toolbar, TB_BUTTONCOUNT, 0, 0);
  for (LRESULT at = 0; at < count; ++at) {
    TBBUTTON button{};
    RECT area{};
    SendMessageW(window_->controls.toolbar, TB_GETBUTTON, at, reinterpret_cast<LPARAM>(&button));
    SendMessageW(window_->controls.toolbar, TB_GETITEMRECT, at, reinterpret_cast<LPARAM>(&area));
    if ((button.fsStyle & BTNS_SEP) != 0) continue;
    shown[static_cast<uint32_t>(button.idCommand)] =
        Tooltip(static_cast<uint16_t>(button.idCommand));
    right = std::max(right, area.right);
  }
  EXPECT_EQ(shown, expected);
  EXPECT_LE(right, Scale(1024, window_->dpi));
  // A narrow window has every button all the same.
  const int row = WrapToolbar(*window_, 2000);
  EXPECT_GT(WrapToolbar(*window_, 400), row);
  RECT last{};
  SendMessageW(window_->controls.toolbar, TB_GETITEMRECT, count - 1,
               reinterpret_cast<LPARAM>(&last));
  EXPECT_LE(last.right, 400);
  ShowArrangement(*window_, kOutputArrangement);
  EXPECT_EQ(Tooltip(kCommandOutputList), "Toggle View");
  EXPECT_EQ(Tooltip(kCommandLastPane), "Last pane");
}

TEST_F(CommandsTest, Keys) {
  std::set<std::tuple<int, int, int>> expected;
  for (const Command& command : Commands()) {
    for (const Accelerator& key : {command.accelerator, command.second_accelerator}) {
      const int flags = ((key.modifiers & kWithControl) != 0 ? FCONTROL : 0) |
                        ((key.modifiers & kWithShift) != 0 ? FSHIFT : 0) |
                        ((key.modifiers & kWithAlt) != 0 ? FALT : 0);
      if (key.key != 0) expected.insert({flags, key.key, command.number});
    }
  }
  ACCEL keys[64];
  const int count = CopyAcceleratorTableW(window_->menus.accelerators, keys, 64);
  std::set<std::tuple<int, int, int>> shown;
  for (int i = 0; i < count; ++i) {
    shown.insert({keys[i].fVirt & ~(FVIRTKEY | FNOINVERT), keys[i].key, keys[i].cmd});
  }
  EXPECT_EQ(shown, expected);
}

TEST_F(CommandsTest, EvidenceModeTakesWhatWritesOutOfTheMenus) {
  OpenTools();
  SelectPath("Alpha");
  const auto has = [this](CommandNumber number) {
    return GetMenuState(GetMenu(handle_), number, MF_BYCOMMAND) != UINT(-1);
  };
  ASSERT_TRUE(has(kCommandLoadHive) && has(kCommandReplaceHives));
  SetEvidenceMode(*window_, true);
  EXPECT_FALSE(has(kCommandLoadHive) || has(kCommandUnloadHive) || has(kCommandReplaceHives));
  EXPECT_TRUE(has(kCommandOpen));
  EXPECT_EQ(window_->band.glance.figures.back().text, "Evidence mode");
  const Texts offered = ContextTexts(CommandPlace::kTreeMenu, true);
  EXPECT_EQ(std::ranges::count(offered, "&Merge Folder into Registry"), 0);
  EXPECT_EQ(std::ranges::count(offered, "&Export Folder"), 1);
  SetEvidenceMode(*window_, false);
  EXPECT_TRUE(has(kCommandLoadHive));
}

TEST_F(CommandsTest, ContextMenus) {
  OpenTools();
  SelectPath("Alpha");
  const Texts offered = ContextTexts(CommandPlace::kTreeMenu, true);
  EXPECT_EQ(offered, (Texts{"&Find\tCtrl+F",
                            "Find &next\tF3",
                            "Find &previous\tF4",
                            "E&xpand subfolders",
                            "Coll&apse subfolders",
                            "&Current Branch\tCtrl+b",
                            "&Go to Regedit",
                            "Compare &Folder to Registry",
                            "&Merge Folder into Registry",
                            "&Export Folder",
                            "&Search...\tCtrl+Shift+F",
                            "Key &Dates...",
                            "&Security Record\tAlt+s",
                            "Keys with this Security &Record",
                            "Keys with this &Owner Sid",
                            "Add to &Bookmarks",
                            "&Copy Key Name",
                            "Ra&w record",
                            "Open &Key",
                            "&Delete Keys from Tree"}));
  EXPECT_EQ(ContextTexts(CommandPlace::kTreeMenu, false),
            (Texts{"Open valid &Root", "Sho&w all keys again"}));
  SelectPath("Alpha\\Beta");
  SelectRow(0);
  EXPECT_EQ(ContextTexts(CommandPlace::kValueMenu, true),
            (Texts{"&Value details", "Ra&w record", "&Edit Value (Memory only)", "Select &all",
                   "In&vert Selection", "&Copy to ClipBoard", "&Save to File", "&Go to Regedit",
                   "&Copy Key Name", "Add to &Bookmarks\tCtrl+Shift+B", "&Resize columns"}));
  EXPECT_EQ(ContextTexts(CommandPlace::kValueMenu, false), Texts{"&Take back edit"});
  // The root's cell is one that a window of its own can be opened on, and it can not be deleted.
  SelectItemAndWait(0);
  const Texts texts = ContextTexts(CommandPlace::kTreeMenu, false);
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "Open valid &Root"), 0);
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "&Delete Keys from Tree"), 1);
}

TEST_F(CommandsTest, Arrangements) {
  OpenTools();
  const struct {
    uint16_t command;
    int arrangement;
  } kSteps[] = {{0, 2},
                {kCommandToggleView, 1},  // the Output List has nothing to show
                {kCommandToggleView, 2},
                {kCommandOutputList, 3},
                {kCommandLastPane, 2},
                {kCommandOutputList, 3},
                {kCommandOutputList, 1},
                {kCommandLastPane, 3},
                {kCommandLastPane, 1},
                {kCommandListKeys, 1},
                {kCommandRecreateHive, 1}};
  for (const auto& step : kSteps) {
    SCOPED_TRACE(step.command);
    Run(step.command);
    EXPECT_EQ(window_->layout.arrangement, step.arrangement);
    EXPECT_EQ(IsWindowVisible(window_->controls.tree) != FALSE, step.arrangement != 3);
    EXPECT_EQ(IsWindowVisible(window_->values.window) != FALSE, step.arrangement == 2);
    EXPECT_EQ(IsWindowVisible(window_->viewer.detail.window) != FALSE, step.arrangement == 2);
    EXPECT_EQ(IsWindowVisible(window_->output.list) != FALSE, step.arrangement == 3);
  }
  EXPECT_EQ(window_->layout.recent_arrangements, (std::array<int, 3>{1, 3, 1}));
  // The list of keys that one step asked for: a window of its own, a row for each key.
  ASSERT_TRUE(PumpUntil([&] { return FindWindowW(L"HivequarryList", nullptr) != nullptr; }));
  const ListPlace* place = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(ShownRowCount(*place), window_->shown->summary.keys);
}

TEST_F(CommandsTest, WorkspaceListsTheHive) {
  OpenTools();
  TreeView_SelectItem(window_->controls.tree, WorkspaceHandle());
  EXPECT_EQ(SelectedName(), "Workspace");
  ASSERT_EQ(ListView_GetItemCount(window_->values.window), 2);
  EXPECT_EQ(ValueRowTexts(1)[0], "State");
  EXPECT_EQ(ValueRowTexts(0),
            (Texts{window_->shown->tree->root_text, "Hive", hive_file_->name(), "0x00000000"}));
  EXPECT_EQ(TextOf(window_->viewer.detail.window).find("File: " + hive_file_->name()), 0U);
  EXPECT_EQ(ContextTexts(CommandPlace::kWorkspaceMenu, false), Texts());
  for (const Command& command : Commands()) {  // none takes it for a key
    if (command.number >= kCommandListBlockRuns && command.number <= kCommandSaveValue)
      Run(command.number);
  }
  EXPECT_TRUE(surroundings_.boxes.empty());
  TreeView_SelectItem(window_->controls.tree, WorkspaceHandle());
  const NMHDR notice{window_->values.window, kValuesId, static_cast<UINT>(LVN_ITEMACTIVATE)};
  SendMessageW(handle_, WM_NOTIFY, kValuesId, reinterpret_cast<LPARAM>(&notice));
  EXPECT_EQ(SelectedItem(window_->shown->pane), 0U);
}

TEST_F(CommandsTest, FindsInTheTree) {
  OpenTools();
  window_->tree_find.text = "bETA";
  const struct {
    uint16_t command;
    const char* found;
    const char* status;
  } kSteps[] = {{kCommandTreeFindNext, "Beta", ""},
                {kCommandTreeFindNext, "Betamax", ""},
                {kCommandTreeFindNext, "Beta", "Search passed end of list."},
                {kCommandTreeFindPrevious, "Betamax", "Search passed beginning of list."},
                {kCommandTreeFindPrevious, "Beta", ""}};
  for (const auto& step : kSteps) {
    ShowStatus("");
    PumpUntil([&] { return StatusText(kStatusText) == " "; });
    Run(step.command);
    EXPECT_EQ(SelectedName(), step.found);
    const std::string status = std::string(" ") + step.status;
    EXPECT_TRUE(PumpUntil([&] { return StatusText(kStatusText) == status; })) << step.status;
  }
  Run(kCommandTreeFindPrevious);  // passes the beginning once more; the text goes by itself
  EXPECT_TRUE(PumpUntil([&] { return StatusText(kStatusText) == " "; }));
  window_->tree_find.wrap = false;
  Run(kCommandTreeFindNext);
  ASSERT_EQ(surroundings_.boxes.size(), 1U);
  EXPECT_EQ(surroundings_.boxes[0].text, "No items found !");
  EXPECT_EQ(surroundings_.boxes[0].icon, Icon::kInformation);
  EXPECT_EQ(SelectedName(), "Betamax");
}

TEST_F(CommandsTest, BranchAndBack) {
  OpenTools();
  SelectPath("Gamma\\Betamax\\Inner");
  for (const char* name : {"Gamma", "Inner", "Gamma"}) {
    Run(kCommandCurrentBranch);
    EXPECT_EQ(SelectedName(), name);
  }
  SelectPath("Alpha");
  Run(kCommandCurrentBranch);
  EXPECT_EQ(SelectedName(), "Alpha");
}

TEST_F(CommandsTest, DeletedKeysAreLeftOutUntilShownAgain) {
  OpenTools();
  const uint32_t inner = Item("Gamma\\Betamax\\Inner");
  const uint32_t position = window_->shown->tree->items[inner].position;
  SelectPath("Gamma\\Betamax");
  Run(kCommandDeleteKeys);
  ASSERT_EQ(surroundings_.boxes.size(), 1U);
  EXPECT_EQ(surroundings_.boxes[0].text, "Delete 2 keys from tree ?");
  EXPECT_EQ(SelectedName(), "Betamax");  // the answer was No
  surroundings_.answer = Answer::kYes;
  Run(kCommandDeleteKeys);
  EXPECT_EQ(SelectedName(), "Gamma");
  EXPECT_TRUE(ChildTexts(TreeView_GetSelection(window_->controls.tree)).empty());
  EXPECT_EQ(Item("Gamma\\Betamax"), kNoItem);
  EXPECT_FALSE(GoToPosition(*window_, position));
  EXPECT_EQ(RowCount(*ListKeyTree(ShownHive(*window_), *window_->shown->tree, 0)), 5U);
  SelectPath("Alpha\\Beta");
  Run(kCommandDeleteKeys);  // a single key: nothing is asked
  EXPECT_EQ(surroundings_.boxes.size(), 2U);
  EXPECT_EQ(SelectedName(), "Delta");
  Run(kCommandShowAllKeys);
  EXPECT_EQ(SelectedName(), "Delta");
  EXPECT_TRUE(GoToPosition(*window_, position));
  EXPECT_EQ(SelectedName(), "Inner");
  EXPECT_EQ(RowCount(*ListKeyTree(ShownHive(*window_), *window_->shown->tree, 0)), 7U);
}

TEST_F(CommandsTest, GoesToKeysAndValues) {
  OpenTools();
  ShowArrangement(*window_, kOutputArrangement);
  EXPECT_TRUE(GoToPosition(*window_, tools_.ValuePosition("Alpha\\Beta", "Blob")));
  EXPECT_EQ(window_->layout.arrangement, kKeysArrangement);
  WaitForRows();
  EXPECT_EQ(SelectedName(), "Beta");
  EXPECT_EQ(window_->selection.value, tools_.ValuePosition("Alpha\\Beta", "Blob"));
  EXPECT_FALSE(GoToPosition(*window_, 4));
}

TEST_F(CommandsTest, CopiesOfTheProgram) {
  OpenTools();
  SelectPath("Gamma");
  Run(kCommandOpenKey);
  SelectItemAndWait(0);
  Run(kCommandOpenValidRoot);
  const std::string end = std::to_string(tools_.bytes.size());
  const std::string tail = " -eoff=" + end + " \"" + hive_file_->name() + "\"";
  ASSERT_EQ(surroundings_.launches.size(), 2U);
  EXPECT_EQ(surroundings_.launches[0],
            "-key=" + std::to_string(tools_.PositionOf("Gamma")) + " -soff=0" + tail);
  EXPECT_EQ(surroundings_.launches[1], "-soff=0" + tail);
  // What the first of them does.
  CloseWindow();
  MakeWindow();
  OpenFromCommandLine(*window_, ParseCommandLine(surroundings_.launches[0]));
  ASSERT_TRUE(PumpUntil([&] { return IsLoaded(); }));
  EXPECT_EQ(SelectedName(), "Gamma");
  EXPECT_EQ(TheSettings().range_end, tools_.bytes.size());
}

TEST_F(CommandsTest, SelectedValues) {
  OpenTools();
  SelectPath("Alpha\\Beta");
  SelectRow(1);
  const TempFile out("what was there before");
  std::string proposed;
  std::string file = hive_file_->name();
  TheListDialogs().save = [&](const FileRequest& request) {
    proposed = request.name;
    return FileChoice{file, 0};
  };
  Run(kCommandSaveValue);
  EXPECT_EQ(proposed, ValueRowTexts(1)[0] + " of " + LeafOf(FilePath(file)) + ".bin");
  EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Could Not Open or Create File " + file +
                               " !\r\nIt is a hive or one of its logs: these are never written."});
  file = out.name();
  Run(kCommandSaveValue);
  const std::string written = ContentOf(out.name());
  const auto& bytes = tools_.bytes;
  const std::string_view whole(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  EXPECT_EQ(written.size(), 20U);
  EXPECT_NE(whole.find(written), std::string_view::npos);
  Run(kCommandInvertValues);
  EXPECT_EQ(SelectedRow(window_->values), 0);
  Run(kCommandCopyValues);
  EXPECT_TRUE(ClipboardText().starts_with("Path\tREG_SZ\tC:\\Tools\t0x"));
  Run(kCommandSelectAllValues);
  EXPECT_EQ(ListView_GetSelectedCount(window_->values.window), 2U);
}

TEST_F(CommandsTest, RecentHives) {
  OpenTools();
  EXPECT_EQ(TheSettings().histories.recent_files, Texts{hive_file_->name()});
  EXPECT_EQ(TheSettings().folders[kFolderHives], hive_file_->folder());
  Run(kCommandRecentHive + 1);
  EXPECT_TRUE(surroundings_.launches.empty());
  TheSettings().options.window_for_each = true;
  Run(kCommandRecentHive);
  EXPECT_EQ(surroundings_.launches, Texts{"/C \"" + hive_file_->name() + "\""});
}

TEST_F(CommandsTest, PlaceAndSizesSurviveARestart) {
  const TempFile ini("[LTFS]\r\nLF0=D:\\opened by another copy\r\n", "hivequarry.ini");
  TheProgram().settings_file = ini.name();
  OpenTools();
  SetWindowPos(handle_, nullptr, 60, 50, 800, 600, SWP_NOZORDER);
  ListView_SetColumnWidth(window_->values.window, 0, 111);
  window_->values.columns_touched = true;
  window_->layout.tree_width = 222;
  Run(kCommandDetailPane);
  CloseWindow();
  TheSettings() = Settings();
  ReadSettings(ini.name(), TheSettings());
  TheProgram().settings_file.clear();
  EXPECT_EQ(TheSettings().histories.recent_files,
            (Texts{hive_file_->name(), "D:\\opened by another copy"}));
  MakeWindow();
  RECT place{};
  GetWindowRect(handle_, &place);
  EXPECT_EQ(place.left, 60);
  EXPECT_EQ(place.top, 50);
  EXPECT_NEAR(place.right - place.left, 800, 1);
  EXPECT_NEAR(place.bottom - place.top, 600, 1);
  EXPECT_NEAR(ListView_GetColumnWidth(window_->values.window, 0), 111, 1);
  EXPECT_EQ(window_->layout.tree_width, 222);
  EXPECT_FALSE(window_->layout.detail_shown);
  ShowWindow(handle_, SW_MAXIMIZE);
  CloseWindow();
  MakeWindow();
  EXPECT_TRUE(IsZoomed(handle_));
  CloseWindow();
  // A place that no screen shows any more.
  TheSettings().main = {9000, 9000, 9800, 9600, false, {}};
  MakeWindow();
  GetWindowRect(handle_, &place);
  EXPECT_NE(MonitorFromPoint({place.right - 1, place.top}, MONITOR_DEFAULTTONULL), nullptr);
}

TEST_F(CommandsTest, SurroundingsThatAreNotRight) {
  SystemFacts facts;
  CheckSurroundings(facts);
  CommandLine line = ParseCommandLine("-SYSTEM X:\\no\\such\\folder");
  ASSERT_FALSE(line.backup_hives.empty());
  CheckBackupRequest(line);
  EXPECT_TRUE(line.backup_hives.empty());
  EXPECT_EQ(TakeBoxes(), (Texts{"Hivequarry: Can not determine Windows directory !",
                                "Hivequarry: Can not determine System directory !",
                                "Hivequarry: Unknown OS !", "Hivequarry: Invalid directory !"}));
  CheckSurroundings(ReadSystemFacts());
  EXPECT_EQ(TakeBoxes(), Texts());
}

TEST(SystemFlagsTest, VersionsOfTheSystem) {
  using Flag = bool SystemFlags::*;
  const struct {
    uint32_t platform, major, minor;
    std::vector<Flag> flags;
    int live_hives;
  } kCases[] = {
      {1, 4, 0, {&SystemFlags::family_9x, &SystemFlags::windows_95}, 7},
      {1, 4, 10, {&SystemFlags::family_9x, &SystemFlags::windows_98}, 7},
      {1, 4, 90, {&SystemFlags::millennium}, 7},
      {2, 3, 51, {&SystemFlags::family_nt, &SystemFlags::nt3}, 7},
      {2, 4, 0, {&SystemFlags::family_nt, &SystemFlags::nt4}, 7},
      {2, 5, 0, {&SystemFlags::family_nt, &SystemFlags::windows_2000}, 7},
      {2, 5, 2, {&SystemFlags::family_nt, &SystemFlags::xp_class}, 7},
      {2, 6, 0, {&SystemFlags::family_nt, &SystemFlags::xp_class, &SystemFlags::vista}, 9},
      {2, 10, 0, {&SystemFlags::family_nt, &SystemFlags::xp_class, &SystemFlags::vista}, 9},
      {3, 10, 0, {}, 7},
  };
  constexpr Flag kAll[] = {&SystemFlags::family_9x,  &SystemFlags::windows_95,
                           &SystemFlags::windows_98, &SystemFlags::millennium,
                           &SystemFlags::family_nt,  &SystemFlags::nt3,
                           &SystemFlags::nt4,        &SystemFlags::windows_2000,
                           &SystemFlags::xp_class,   &SystemFlags::vista};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(::testing::Message() << expected.major << "." << expected.minor);
    const SystemFlags flags = FlagsOfVersion(expected.platform, expected.major, expected.minor);
    for (const Flag flag : kAll) {
      const bool wanted = std::ranges::find(expected.flags, flag) != expected.flags.end();
      EXPECT_EQ(flags.*flag, wanted);
    }
    EXPECT_EQ(LiveHives(flags), expected.live_hives);
  }
}

}  // namespace
}  // namespace hivequarry::testing
