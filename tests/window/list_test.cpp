// Lists on the screen: order, finding, selection, keys, guards, and windows of their own.
#include <algorithm>
#include <set>

#include "host/long_operation.h"
#include "reports/freed_lists.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/find_dialog.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/frame/window_place.h"
#include "ui/lists/list_finding.h"
#include "ui/lists/list_frame.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_sorting.h"
#include "ui/lists/list_work.h"
#include "ui/resources/resource.h"
#include "view/activity.h"

namespace hivequarry::testing {
namespace {

void ClickHeader(const ListPlace& place, int column) {
  NMLISTVIEW notice{};
  notice.hdr = {place.list, kListId, LVN_COLUMNCLICK};
  notice.iSubItem = column;
  SendMessageW(place.window, WM_NOTIFY, kListId, reinterpret_cast<LPARAM>(&notice));
}

int ArrowOf(const ListPlace& place, int column) {
  HDITEMW item{};
  item.mask = HDI_FORMAT;
  Header_GetItem(ListView_GetHeader(place.list), column, &item);
  return item.fmt & (HDF_SORTUP | HDF_SORTDOWN);
}

TEST_F(ListTest, HeaderClicksSortByWhatTheColumnHolds) {
  const struct {
    int kind;
    int column;
    std::initializer_list<Texts> rows;
    Texts up;  // of that column
  } cases[] = {
      {5, 0, {{"b"}, {"A"}, {"\u0436"}, {"C"}, {"\u0414"}}, {"A", "b", "C", "\u0414", "\u0436"}},
      {47, 1, {{"r", "10"}, {"r", "9"}, {"r", "100"}}, {"9", "10", "100"}},
      {11,
       0,
       {{"2023/10/9"}, {"2023/9/30"}, {"1999/12/31"}},
       {"1999/12/31", "2023/9/30", "2023/10/9"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.kind);
    ListPlace& place = OpenList(MakeRows(c.kind, c.rows));
    const auto click = [&] {
      ClickHeader(place, c.column);
      Finish(place);
    };
    click();
    EXPECT_EQ(Column(place, static_cast<size_t>(c.column)), c.up);
    EXPECT_EQ(ArrowOf(place, c.column), HDF_SORTUP);
    click();
    EXPECT_EQ(Column(place, static_cast<size_t>(c.column)), Texts(c.up.rbegin(), c.up.rend()));
    EXPECT_EQ(ArrowOf(place, c.column), HDF_SORTDOWN);
    ClickHeader(place, c.column == 0 ? 1 : 0);  // the column keeps its direction
    Finish(place);
    EXPECT_EQ(ArrowOf(place, c.column), 0);
    click();
    EXPECT_EQ(ArrowOf(place, c.column), HDF_SORTDOWN);
  }
}

// With the number that the header shows.
std::string TitleShown(const ListPlace& place, int column) {
  wchar_t text[80] = L"";
  HDITEMW item{};
  item.mask = HDI_TEXT;
  item.pszText = text;
  item.cchTextMax = 80;
  Header_GetItem(ListView_GetHeader(place.list), column, &item);
  return Utf8Name(text);
}

TEST_F(ListTest, SortsBySeveralColumns) {
  ListPlace& place =
      OpenList(MakeRows(5, {{"b", "x", "2"}, {"a", "y", "1"}, {"b", "x", "1"}, {"a", "x", "3"}}));
  const auto click = [&](int column, bool add) {
    OnHeaderClick(place, column, add);
    Finish(place);
  };
  click(1, true);  // the first one, with Shift or without
  click(0, true);
  click(2, true);
  EXPECT_EQ(Column(place, 2), (Texts{"3", "1", "2", "1"}));
  EXPECT_EQ(TitleShown(place, 1), "Value (1)");
  EXPECT_EQ(TitleShown(place, 2), "Data (3)");
  click(0, true);  // turns that one alone
  EXPECT_EQ(Column(place, 2), (Texts{"1", "2", "3", "1"}));
  EXPECT_EQ(ArrowOf(place, 0), HDF_SORTDOWN);
  EXPECT_EQ(ArrowOf(place, 1), HDF_SORTUP);
  click(2, false);
  EXPECT_EQ(Column(place, 2), (Texts{"1", "1", "2", "3"}));
  EXPECT_EQ(TitleShown(place, 1), "Value");
  EXPECT_EQ(ArrowOf(place, 1), 0);
}

TEST_F(ListTest, SortCommandsAndSelection) {
  ListPlace& place =
      OpenList(MakeRows(51, {{"root\\a\\b"}, {"root"}, {"root\\c"}, {"x\\y\\z\\q"}, {"r"}}));
  SelectShown(place, {0, 1}, false);
  RunList(place, kCommandSortByType);  // icons 0 1 2 3 0
  EXPECT_EQ(Column(place, 0), (Texts{"root\\a\\b", "r", "root", "root\\c", "x\\y\\z\\q"}));
  RunList(place, kCommandSortByLevel);
  EXPECT_EQ(Column(place, 0), (Texts{"r", "root", "root\\c", "root\\a\\b", "x\\y\\z\\q"}));
  RunList(place, kCommandSortByLength);  // the column sorted last, so the other way round
  EXPECT_EQ(Column(place, 0), (Texts{"root\\a\\b", "x\\y\\z\\q", "root\\c", "root", "r"}));
  EXPECT_EQ(Selected(place), (Texts{"root\\a\\b", "root"}));
  RunList(place, kCommandListInvert);
  EXPECT_EQ(Selected(place), (Texts{"x\\y\\z\\q", "root\\c", "r"}));
}

TEST_F(ListTest, EscapeAsksWhetherToStopTheSort) {
  for (const Answer answer : {Answer::kYes, Answer::kNo}) {
    surroundings_.answer = answer;
    TheEscapeKey().is_down = [] { return true; };
    ListPlace& place = OpenList(MakeManyRows(400));
    place.descending[0] = true;
    ClickHeader(place, 0);
    EXPECT_EQ(PartText(place, kListWords), " Sorting items (press Esc to stop) ...");
    Finish(place);
    EXPECT_EQ(PartText(place, kListWords), "");
    EXPECT_EQ(surroundings_.boxes.at(0).icon, Icon::kQuestion);
    EXPECT_EQ(TakeBoxes().at(0), "Hivequarry: Stop current Process ?");
    const Texts shown = Column(place, 0);
    EXPECT_EQ(std::set<std::string>(shown.begin(), shown.end()).size(), 400U);
    EXPECT_EQ(shown.front() == "Row 0000399", answer == Answer::kNo);
  }
}

TEST_F(ListTest, FindWrapsAndSaysSo) {
  const struct {
    const char* text;
    int focused;  // -1: none
    bool down;
    bool wrap;
    const char* selected;
    const char* status;
    bool box;
  } cases[] = {
      {"ALPHA", -1, true, true, "alpha one", "", false},
      {"alpha", 0, true, true, "alpha two", "", false},
      {"alpha", 3, true, true, "alpha one", "Search passed end of list.", false},
      {"alpha", 0, false, true, "alpha two", "Search passed beginning of list.", false},
      {"alpha", 3, true, false, "gamma", "", false},
      {"second cell", 0, true, true, "beta", "", false},
      {"nothing", 1, true, true, "beta", "Search passed end of list.", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " from " + std::to_string(c.focused));
    ListPlace& place =
        OpenList(MakeRows(5, {{"alpha one"}, {"beta", "Second Cell"}, {"alpha two"}, {"gamma"}}));
    if (c.focused >= 0) FocusRow(place, static_cast<uint32_t>(c.focused), false);
    place.last_find = c.text;
    TheSettings().options.wrap_find = c.wrap;
    RunList(place, c.down ? kCommandFindNext : kCommandFindPrevious);
    EXPECT_EQ(Selected(place), Texts{c.selected});
    EXPECT_EQ(PartText(place, kListWords), c.status);
    EXPECT_EQ(TakeBoxes(), c.box ? Texts{"Hivequarry: No items found !"} : Texts());
    if (!c.box) continue;
    EXPECT_TRUE(PumpUntil([&] { return PartText(place, kListWords).empty(); }));
  }
}

TEST_F(ListTest, FindDialog) {
  AddToHistory(TheSettings().histories.list_finds, "older");
  ListPlace& place = OpenList(MakeRows(51, {{"one"}, {"two"}, {"three"}, {"two again"}}));
  FocusRow(place, 0, false);
  SetFocus(place.list);
  InDialog(L"Find in List", [&](HWND dialog) {
    EXPECT_EQ(ComboBox_GetCount(GetDlgItem(dialog, kFindText)), 1);
    EXPECT_FALSE(IsWindowEnabled(handle_));  // nor the main window while it is up
    Click(dialog, kFindAdd);
    SendMessageW(dialog, WM_COMMAND, kFindUp, 0);  // without a text nothing happens
    SetDlgItemTextW(dialog, kFindText, L"Two");
    SendMessageW(dialog, WM_COMMAND, kFindUp, 0);
  });
  RunList(place, kCommandFindInList);
  EXPECT_EQ(Selected(place), (Texts{"one", "two again"}));
  EXPECT_EQ(TheSettings().histories.list_finds, (History{"Two", "older"}));
  EXPECT_EQ(GetFocus(), place.list);
  EXPECT_TRUE(IsWindowEnabled(handle_));
  RunList(place, kCommandFindPrevious);
  EXPECT_EQ(Selected(place), (Texts{"one", "two", "two again"}));

  InDialog(L"Select all with", [&](HWND dialog) {
    EXPECT_EQ(ComboBox_GetCount(GetDlgItem(dialog, kSelectColumn)), 2);
    SetDlgItemTextW(dialog, kSelectText, L"t");
    SendMessageW(dialog, WM_COMMAND, IDOK, 0);
  });
  RunList(place, kCommandListSelectWith);
  EXPECT_EQ(Selected(place), (Texts{"two", "three", "two again"}));
}

// Texts of a menu, sub menus in brackets after theirs, grey items after a '-'.
std::string MenuTexts(HMENU menu) {
  std::string texts;
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    wchar_t text[80] = L"";
    GetMenuStringW(menu, static_cast<UINT>(i), text, 80, MF_BYPOSITION);
    if (text[0] == L'\0') continue;
    if ((GetMenuState(menu, static_cast<UINT>(i), MF_BYPOSITION) & MF_GRAYED) != 0) texts += "-";
    texts += Utf8Name(text);
    const HMENU sub = GetSubMenu(menu, i);
    if (sub != nullptr) texts += "[" + MenuTexts(sub) + "]";
    texts += "|";
  }
  return texts;
}

TEST_F(ListTest, ContextMenu) {
  const std::string head =
      "-Go to &Tree\tCtrl-T|-&Value details\tAlt+Enter|-Add to &Bookmarks\tCtrl+Shift+B|"
      "-Go to &Regedit\tCtrl-R|";
  const std::string tail =
      "&Output List[&Save as Text File|&Save as Report List|&Load Report List|"
      "&Copy to Clipboard|&Print|&Notepad|Save as CSV, &JSON Lines, HTML...|]|&Find\tCtrl+F|Find "
      "&next\tF3|Find &previous\tF4|"
      "Select &all|In&vert Selection|&Select all with...|"
      "Selected &Items[-&Copy to ClipBoard|-Copy &first column|-&Save to File|"
      "-&Save as Report List|-&Print|-Save as CSV, &JSON Lines, HTML...|"
      "-Copy as &table\tCtrl+Shift+C|]|Sort by &type|Sort by l&ength|Sort by nesting &level|";
  const std::string end =
      "Picture of acti&vity\tCtrl+G|-Save pict&ure...|Fi&lter rows\tCtrl+E|-S&how all rows\tEsc|"
      "&Resize columns|Colu&mns...\tCtrl+K|";
  const struct {
    int kind;
    const char* middle;
  } cases[] = {{44, ""},
               {5, "-&Export|"},
               {28, "-Copy CLS&ID|"},
               {38, "-Open valid &Root|-Open &Key|"},
               {47,
                "-Keys with this Security &Record|-Keys with this &Owner Sid|"
                "-Keys with this &ACE Sid|-&Properties Security Record|"},
               {55, "-Split File|"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.kind);
    ListPlace& place = OpenList(MakeRows(c.kind, {{"a row"}}));
    const HMENU menu = MakeListMenu(place);
    const char* const no_dates = TimeColumnOf(*place.model) < 0 ? "-" : "";
    EXPECT_EQ(MenuTexts(menu), head + c.middle + tail + no_dates + end);
    DestroyMenu(menu);
  }
}

// The main window's place too is one that another window of the program has.
TEST_F(ListTest, WindowsBeginBesideEachOther) {
  std::set<std::pair<LONG, LONG>> corners;
  RECT area{};
  GetWindowRect(handle_, &area);
  corners.insert({area.left, area.top});
  WindowPlace& kept = TheSettings().places[kPlaceReports];
  kept = PlaceOfWindow(handle_, window_->dpi);
  kept.right = kept.left + 600;
  kept.bottom = kept.top + 300;
  constexpr int kWindows = 12;
  std::vector<ListPlace*> places;
  for (int i = 0; i < kWindows; ++i) {
    places.push_back(&OpenList(MakeRows(kListServices, {{"a"}})));
    GetWindowRect(places.back()->window, &area);
    corners.insert({area.left, area.top});
    const RECT seen = OnScreen(area);
    EXPECT_TRUE(EqualRect(&seen, &area)) << "all of it is on the screen";
  }
  EXPECT_EQ(corners.size(), kWindows + 1U);
  // One that was not moved leaves the place of its kind as it was.
  const WindowPlace before = TheSettings().places[kPlaceReports];
  SendMessageW(places.back()->window, WM_CLOSE, 0, 0);
  EXPECT_EQ(TheSettings().places[kPlaceReports].left, before.left);
  EXPECT_EQ(TheSettings().places[kPlaceReports].top, before.top);
}

TEST_F(ListTest, ToolbarAndCount) {
  const ListPlace& place = OpenList(MakeRows(51, {{"a"}, {"b"}}));
  const HWND toolbar = GetDlgItem(place.window, kListToolbarId);
  std::string tips;
  for (int i = 0; i < SendMessageW(toolbar, TB_BUTTONCOUNT, 0, 0); ++i) {
    TBBUTTON button{};
    SendMessageW(toolbar, TB_GETBUTTON, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&button));
    if ((button.fsStyle & BTNS_SEP) != 0) continue;
    NMTTDISPINFOW tip{};
    tip.hdr = {toolbar, static_cast<UINT_PTR>(button.idCommand), TTN_GETDISPINFOW};
    SendMessageW(place.window, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&tip));
    tips += std::to_string(button.idCommand) + " " + Utf8Name(tip.szText) + "|";
  }
  EXPECT_EQ(tips,
            "1416 Save List as Text file|1417 Save as Report List|1418 Load Report List|"
            "4148 Clear List|1425 Copy List to Clipboard|1430 Print List|1440 Find in List|"
            "1445 Resize list columns|1460 Stop current Process|1470 Close Window|");
  EXPECT_EQ(PartText(place, kListRows), "Number of Items : 2");
  SendMessageW(place.window, WM_COMMAND, kCommandClearList, 0);
  EXPECT_EQ(PartText(place, kListRows), "Number of Items : 0");
  EXPECT_EQ(ListView_GetItemCount(place.list), 0);
}

TEST_F(ListTest, GuardsLookAtTheList) {
  ListPlace& full = OpenList(MakeRows(51, {{"a"}}));
  FocusRow(full, 0, false);
  const ListPlace& empty = OpenList(MakeOutputList(51));
  LongOperation& operation = TheLongOperation();
  for (const CommandNumber number : {kCommandClearList, kCommandListSelectAll}) {
    EXPECT_TRUE(IsListCommandAvailable(full, number));
    EXPECT_FALSE(IsListCommandAvailable(empty, number));
  }
  EXPECT_TRUE(IsListCommandAvailable(full, kCommandSaveSelected));
  EXPECT_FALSE(IsListCommandAvailable(full, kCommandGoToTree)) << "no hive is shown";
  operation.backup = true;
  EXPECT_FALSE(IsListCommandAvailable(full, kCommandSaveListText));
  EXPECT_TRUE(IsListCommandAvailable(full, kCommandStop));
  operation.backup = false;
  operation.running = 7;  // refused without a word
  SendMessageW(full.window, WM_COMMAND, kCommandClearList, 0);
  EXPECT_EQ(ShownRowCount(full), 1U);
  EXPECT_TRUE(TakeBoxes().empty());
  operation.running = 0;
}

// Presses a key for the list window as its message loop would.
bool Press(HWND focus, WPARAM key, BYTE control = 0) {
  BYTE keys[256] = {};
  keys[VK_CONTROL] = control;
  SetKeyboardState(keys);
  MSG message{focus, WM_KEYDOWN, key, 0, 0, {}};
  return TranslateListKeys(message);
}

TEST_F(ListTest, Keys) {
  ListPlace& place = OpenList(MakeRows(51, {{"one"}, {"two"}}));
  const HWND window = place.window;
  const HWND list = place.list;
  EXPECT_TRUE(Press(list, 'A', 0x80));
  EXPECT_EQ(Selected(place).size(), 2U);
  place.last_find = "one";
  EXPECT_TRUE(Press(list, VK_F3));
  Finish(place);
  EXPECT_EQ(Selected(place), Texts{"one"});
  EXPECT_FALSE(Press(list, VK_DOWN));
  EXPECT_FALSE(Press(handle_, VK_F3));  // the main window's own business
  EXPECT_TRUE(Press(list, VK_TAB));
  EXPECT_EQ(GetFocus(), GetDlgItem(window, kListToolbarId));
  EXPECT_TRUE(Press(GetFocus(), VK_TAB));
  EXPECT_EQ(GetFocus(), GetDlgItem(window, kListFilterId));
  for (int tick = 0; tick < 4; ++tick) EXPECT_TRUE(Press(GetFocus(), VK_TAB));
  EXPECT_EQ(GetFocus(), list);
  TheLongOperation().running = 7;
  Press(list, VK_ESCAPE);
  Pump();
  EXPECT_TRUE(IsWindow(window));
  TheLongOperation().running = 0;
  Press(list, VK_ESCAPE);
  EXPECT_TRUE(PumpUntil([&] { return IsWindow(window) == FALSE; }));
}

TEST_F(ListTest, RowsLeadToTheTree) {
  HiveBuilder builder;
  builder.Key("Tools\\Inner");
  const BuiltHive hive = builder.Build();
  OpenBytes(hive.bytes);
  OutputListPtr list = MakeRows(51, {{"no position"}});
  AddText(*list, "Inner", hive.PositionOf("Tools\\Inner"));
  ListPlace& place = OpenList(std::move(list));
  FocusRow(place, 0, false);
  EXPECT_FALSE(IsListCommandAvailable(place, kCommandGoToTree));
  FocusRow(place, 1, false);
  RunList(place, kCommandGoToTree);
  EXPECT_EQ(window_->shown->tree->items[SelectedItem(window_->shown->pane)].position,
            hive.PositionOf("Tools\\Inner"));
}

// Where the tree has no deleted keys.
TEST_F(ListTest, AFreedRecordIsShownByItsBytes) {
  TheSettings().freed_in_tree = false;
  HiveBuilder builder;
  builder.Key("Tools\\Gone");
  BuiltHive hive = builder.Build();
  const uint32_t gone = hive.PositionOf("Tools\\Gone");
  OpenBytes(hive.Unlink("Tools\\Gone").Free(gone).bytes);
  ListPlace& place = OpenList(ListFreedKeys(ShownHive(*window_), *window_->shown->tree));
  ASSERT_EQ(RowCount(*place.model), 1U);
  FocusRow(place, 0, false);
  RunList(place, kCommandGoToTree);
  TheSettings().freed_in_tree = true;
  const ListPlace* record = FindListPlace(GetActiveWindow());
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(ListKindOf(*record->model), kListRawRecord);
}

// A window closed while its list is filled goes when the worker has ended.
TEST_F(ListTest, ClosedWhileItIsFilled) {
  ListPlace& place = OpenList(MakeOutputList(51));
  const HWND window = place.window;
  std::atomic<bool> ended{false};
  ASSERT_TRUE(FillList(place, kOperationList, [&](OutputList& list) {
    while (!StopRequested()) AddText(list, "row");
    ended = true;
  }));
  EXPECT_TRUE(PumpUntil([&] { return ListView_GetItemCount(place.list) > 0; }));
  EXPECT_EQ(RowTexts(place.list, 0)[0], "row");
  SendMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_TRUE(PumpUntil([&] { return IsWindow(window) == FALSE; }));
  EXPECT_TRUE(ended);
}

TEST_F(ListTest, NewListsAreNumberedAndSorted) {
  TheSettings().options.number_rows = true;
  TheSettings().options.sort_new_lists = true;
  EXPECT_EQ(Column(OpenList(MakeRows(51, {{"b"}, {"a"}})), 0), (Texts{"00001, b", "00002, a"}));
  const ListPlace& wide = OpenList(MakeRows(51, {{Utf8Name(std::wstring(600, L'\u0436'))}}));
  EXPECT_EQ(CellText(*wide.model, 0, 0), "00001, " + Utf8Name(std::wstring(511, L'\u0436')));
  ShowList(window_->output, MakeOutputList(51));
  TheSettings().options.number_rows = false;
  FillList(window_->output, kOperationList, [](OutputList& list) {
    for (const std::string_view text : {"b", "a"}) AddText(list, text);
  });
  Finish(window_->output);
  EXPECT_EQ(Column(window_->output, 0), (Texts{"a", "b"}));
}

TEST_F(ListTest, TextsOfAnyScriptAreShownAndTyped) {
  const std::string name = Utf8Name(std::wstring(250, L'\u0436'));
  const ListPlace& place = OpenList(MakeRows(51, {{"a"}, {name}, {"\u0436\u0443\u043A"}}));
  EXPECT_EQ(Column(place, 0)[1], name);
  LVFINDINFOW typed{};
  typed.flags = LVFI_STRING | LVFI_PARTIAL;
  typed.psz = L"\u0436\u0443";
  EXPECT_EQ(ListView_FindItem(place.list, -1, &typed), 2);
}

TEST_F(ListTest, WindowKeepsItsPlaceAndWidths) {
  const auto open = [&] { return OpenList(MakeRows(47, {{"a"}})).window; };
  const HWND first = open();
  MoveWindow(first, 60, 70, 700, 400, FALSE);
  ListView_SetColumnWidth(FindListPlace(first)->list, 2, 333);
  FindListPlace(first)->columns_touched = true;
  SendMessageW(first, WM_CLOSE, 0, 0);
  const ListPlace& other = OpenList(MakeRows(45, {{"a"}}));  // shares the place, not the widths
  EXPECT_NE(ListView_GetColumnWidth(other.list, 2), 333);
  SendMessageW(other.window, WM_CLOSE, 0, 0);
  RECT area;
  const HWND second = open();
  GetWindowRect(second, &area);
  EXPECT_EQ(area.left, 60);
  EXPECT_EQ(area.right, 760);
  EXPECT_EQ(ListView_GetColumnWidth(FindListPlace(second)->list, 2), 333);
  EXPECT_EQ(TextOf(second), "Security Records");
  area = {10, 10, 1010, 610};
  SendMessageW(second, WM_DPICHANGED, MAKEWPARAM(192, 192), reinterpret_cast<LPARAM>(&area));
  EXPECT_EQ(ListView_GetColumnWidth(FindListPlace(second)->list, 2), 666);
}

TEST_F(ListTest, ColumnsFitWhatIsInThem) {
  const std::string path(60, 'x');
  ListPlace& place = OpenList(MakeRows(5, {{path, "v", "d", "t"}, {"short", "v", "d", "t"}}));
  const auto width = [&](int column) { return ListView_GetColumnWidth(place.list, column); };
  EXPECT_GE(width(0), ListView_GetStringWidth(place.list, WideName(path).c_str()));
  EXPECT_LT(width(1), 120);
  RECT inside;
  GetClientRect(place.list, &inside);
  int sum = 0;
  for (int column = 0; column < 5; ++column) sum += width(column);
  EXPECT_LE(sum, inside.right);
  EXPECT_GT(sum, inside.right - 40) << "the last takes the rest";
  ListView_SetColumnWidth(place.list, 0, 50);
  place.columns_touched = true;
  RunList(place, kCommandResizeColumns);
  EXPECT_GE(width(0), ListView_GetStringWidth(place.list, WideName(path).c_str()));
  // Of a list that is filled later.
  ListPlace& other = OpenList(MakeOutputList(5));
  ASSERT_TRUE(FillList(other, kOperationList, [](OutputList& list) { AddText(list, "short"); }));
  Finish(other);
  EXPECT_LT(ListView_GetColumnWidth(other.list, 0), 120);
}

TEST_F(ListTest, EmptyPaneHasGenericColumns) {
  EXPECT_EQ(ColumnTitle(*window_->output.model, 17), "Col17");
  EXPECT_EQ(Header_GetItemCount(ListView_GetHeader(window_->output.list)), 18);
  EXPECT_EQ(ListView_GetColumnWidth(window_->output.list, 17), 160);
}

// The longest time that a message took until `done`, in seconds.
template <typename Done>
double LongestPause(const Done& done) {
  using Clock = std::chrono::steady_clock;
  double longest = 0;
  const auto end = Clock::now() + std::chrono::seconds(60);
  while (!done() && Clock::now() < end) {
    MSG message;
    const auto start = Clock::now();
    if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) DispatchMessageW(&message);
    longest = std::max(longest, std::chrono::duration<double>(Clock::now() - start).count());
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
  }
  EXPECT_TRUE(done());
  return longest;
}

TEST_F(ListTest, MillionRowsStayUsable) {
  constexpr uint32_t kRows = 1000000;
  constexpr double kPatience = 1.5;  // seconds; a frozen window would take many
  ListPlace& place = OpenList(MakeOutputList(51));
  const auto idle = [&] { return !place.working && !IsSelecting(place); };
  FillList(place, kOperationList, [](OutputList& list) {
    for (uint64_t i = 0; i < kRows; ++i) {
      AddText(list, Formatted("Row %07u", static_cast<uint32_t>(i * 7919 % kRows)));
    }
  });
  EXPECT_LT(LongestPause(idle), kPatience);
  EXPECT_EQ(PartText(place, kListRows), "Number of Items : 1000000");
  ClickHeader(place, 0);
  EXPECT_LT(LongestPause(idle), kPatience);
  for (const uint32_t row : {999999U, 0U, 500000U}) {
    ListView_EnsureVisible(place.list, row, FALSE);
    UpdateWindow(place.list);
    EXPECT_EQ(RowTexts(place.list, static_cast<int>(row))[0], Formatted("Row %07u", row));
  }
  place.last_find = "row 0999998";
  FindInRows(place, true);
  EXPECT_LT(LongestPause(idle), kPatience);
  EXPECT_EQ(Selected(place), Texts{"Row 0999998"});
  SelectRowsWith(place, {"00", 0, false});
  EXPECT_LT(LongestPause(idle), kPatience);
  EXPECT_GT(SelectedRows(place).size(), 20000U);
}

}  // namespace
}  // namespace hivequarry::testing
