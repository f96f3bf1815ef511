// The filter box of a list window.
#include <atomic>

#include "hive/timestamp.h"
#include "host/files.h"
#include "lists/list_rows.h"
#include "reports/key_dates.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/lists/list_dates.h"
#include "ui/lists/list_frame.h"
#include "ui/lists/list_sorting.h"
#include "ui/lists/list_work.h"
#include "ui/main/status.h"

namespace hivequarry::testing {
namespace {

class ListFilterTest : public ListTest {
 protected:
  static HWND Box(const ListPlace& place, int control = kListFilterId) {
    return GetDlgItem(place.window, control);
  }
  // Types the words and waits until what is shown follows.
  void Type(ListPlace& place, const wchar_t* words) {
    SetWindowTextW(Box(place), words);
    Settle(place);
  }
  void Settle(ListPlace& place) {
    ASSERT_TRUE(PumpUntil([&] { return !place.filter.thread.joinable() && !place.working; }));
  }
  static bool Press(const ListPlace& place, HWND focus, WPARAM key) {
    SetFocus(focus);
    MSG message{focus, WM_KEYDOWN, key, 0, 0, {}};
    const bool used = TranslateListKeys(message);
    if (!used && place.window != nullptr) DispatchMessageW(&message);
    return used;
  }
};

TEST_F(ListFilterTest, ShowsWhatHoldsTheWords) {
  ListPlace& place = OpenList(
      MakeRows(5, {{"A\\Run", "one"}, {"A\\Select", "Two"}, {"B\\Run", "two"}, {"B\\x", "-"}}));
  Type(place, L"run");
  EXPECT_EQ(Column(place, 0), (Texts{"A\\Run", "B\\Run"}));
  EXPECT_EQ(PartText(place, kListRows), "Number of Items : 2 of 4");
  Type(place, L"run value:TWO");
  EXPECT_EQ(Column(place, 0), Texts{"B\\Run"});
  Type(place, L"-run");
  EXPECT_EQ(Column(place, 0), (Texts{"A\\Select", "B\\x"}));
  Type(place, L"two");
  SendMessageW(Box(place, kListFilterCaseId), BM_CLICK, 0, 0);
  Settle(place);
  EXPECT_EQ(Column(place, 0), Texts{"B\\Run"});
  SendMessageW(Box(place, kListFilterCaseId), BM_CLICK, 0, 0);
  SendMessageW(Box(place, kListFilterWordsId), BM_CLICK, 0, 0);
  Type(place, L"ru");
  EXPECT_EQ(Column(place, 0), Texts());
  SendMessageW(Box(place, kListFilterWordsId), BM_CLICK, 0, 0);
  SendMessageW(Box(place, kListFilterRegularId), BM_CLICK, 0, 0);
  Type(place, L"^[AB].(R|x)");
  EXPECT_EQ(Column(place, 0), (Texts{"A\\Run", "B\\Run", "B\\x"}));
}

TEST_F(ListFilterTest, SaysWhatIsWrongBesideTheBox) {
  ListPlace& place = OpenList(MakeRows(5, {{"a"}, {"b"}}));
  const auto note = [&] { return TextOf(Box(place, kListFilterNoteId)); };
  Type(place, L"kye:a");
  EXPECT_EQ(note(), "No column is called \"kye\". It is looked for as text.");
  SendMessageW(Box(place, kListFilterRegularId), BM_CLICK, 0, 0);
  Type(place, L"b");
  EXPECT_EQ(note(), "");
  Type(place, L"(a");
  EXPECT_EQ(note(), "A ( has no ).");
  EXPECT_EQ(Column(place, 0), Texts{"b"}) << "what was shown stays";
  Type(place, L"(a)");
  EXPECT_EQ(note(), "");
  EXPECT_EQ(Column(place, 0), Texts{"a"});
}

TEST_F(ListFilterTest, Keys) {
  ListPlace& place = OpenList(MakeRows(51, {{"a"}, {"b"}}));
  RunList(place, kCommandFilterRows);
  EXPECT_EQ(GetFocus(), Box(place));
  for (const WPARAM key : {WPARAM{'A'}, WPARAM{VK_BACK}, WPARAM{VK_LEFT}, WPARAM{VK_SPACE}}) {
    EXPECT_FALSE(Press(place, Box(place), key)) << "is typed: " << key;
  }
  Type(place, L"b");
  EXPECT_TRUE(Press(place, Box(place), VK_DOWN));
  EXPECT_EQ(GetFocus(), place.list);
  EXPECT_EQ(FocusedRow(place), 0) << "commands of a row are at hand";
  EXPECT_TRUE(Press(place, Box(place), VK_ESCAPE));
  Settle(place);
  EXPECT_EQ(TextOf(Box(place)), "");
  EXPECT_EQ(Column(place, 0), (Texts{"a", "b"}));
  EXPECT_TRUE(IsWindow(place.window));
  const HWND window = place.window;
  EXPECT_TRUE(Press(place, Box(place), VK_ESCAPE));  // nothing is left to end
  EXPECT_TRUE(PumpUntil([&] { return IsWindow(window) == FALSE; }));
}

// The same box is above the main window's own list.
TEST_F(ListFilterTest, PaneOfTheMainWindow) {
  ListPlace& pane = window_->output;
  EXPECT_FALSE(IsWindowVisible(Box(pane)));
  ShowArrangement(*window_, kOutputArrangement);
  ShowList(pane, MakeRows(51, {{"one"}, {"two"}, {"two more"}}));
  EXPECT_TRUE(IsWindowVisible(Box(pane)));
  RECT box{};
  RECT list{};
  GetWindowRect(Box(pane), &box);
  GetWindowRect(pane.list, &list);
  EXPECT_LE(box.bottom, list.top);
  Type(pane, L"two");
  EXPECT_EQ(Column(pane, 0), (Texts{"two", "two more"}));
  EXPECT_EQ(StatusText(kStatusCounts), " Number of Items : 2 of 3");
  const auto press = [&](HWND focus, WPARAM key) {
    SetFocus(focus);
    MSG message{focus, WM_KEYDOWN, key, 0, 0, {}};
    HandleMessage(handle_, message);
  };
  press(Box(pane), VK_DOWN);
  EXPECT_EQ(GetFocus(), pane.list);
  EXPECT_EQ(FocusedRow(pane), 0);
  Type(pane, L"(");
  SendMessageW(Box(pane, kListFilterRegularId), BM_CLICK, 0, 0);
  EXPECT_EQ(TextOf(Box(pane, kListFilterNoteId)), "A ( has no ).");
  press(Box(pane), VK_ESCAPE);
  Settle(pane);
  EXPECT_EQ(TextOf(Box(pane)), "");
  EXPECT_EQ(Column(pane, 0), (Texts{"one", "two", "two more"}));
  EXPECT_EQ(StatusText(kStatusCounts), " Number of Items : 3");
  // Another list begins with an empty box.
  Type(pane, L"two");
  ShowList(pane, MakeRows(51, {{"a"}}));
  EXPECT_EQ(TextOf(Box(pane)), "");
  EXPECT_EQ(Column(pane, 0), Texts{"a"});
  ShowArrangement(*window_, kKeysArrangement);
  EXPECT_FALSE(IsWindowVisible(Box(pane)));
}

// Lists that are open show their dates in the zone that is chosen, and stay what they are.
TEST_F(ListFilterTest, DatesFollowTheZone) {
  const uint64_t noon = FileTimeOf({2020, 7, 1, 12, 0, 0});
  const auto dated = [&](uint32_t rows) {
    OutputListPtr list = MakeOutputList(kListKeyDates);
    for (uint32_t row = 0; row < rows; ++row) {
      const uint64_t time = noon - row * 36'000'000'000;  // hour by hour
      AddListRow(*list, {{FormatTimestamp(time, false), DateValue(time)}, "Key"}, row + 1);
    }
    return list;
  };
  ListPlace& few = OpenList(dated(3));
  ListPlace& many = OpenList(dated(6000));
  ShowList(window_->output, dated(2));
  ASSERT_TRUE(SortList(few, {{0, SortMode::kDate, false}}));
  Finish(few);
  FocusRow(few, 0, false);
  Type(few, L"20:00");
  EXPECT_EQ(Column(few, 0), Texts{});
  ShownZone zone;
  ASSERT_TRUE(ReadZone("+09:00", zone));
  SetShownZone(zone);
  // Of a list that is worked on the zone follows that work.
  Finish(many);
  std::atomic<bool> go = false;
  ASSERT_TRUE(StartListWork(
      many, kOperationFind,
      [&go] {
        while (!go) Sleep(1);
      },
      [] {}));
  ShowListsInZone(*window_);
  EXPECT_NE(many.dates_in, zone);
  EXPECT_EQ(few.dates_in, zone);
  go = true;
  ASSERT_TRUE(PumpUntil([&] { return many.dates_in == zone; }));
  Settle(few);
  EXPECT_EQ(Column(few, 0), Texts{"2020/07/01, 20:00:00 +09:00"});
  Type(few, L"");
  EXPECT_EQ(Column(few, 0), (Texts{"2020/07/01, 19:00:00 +09:00", "2020/07/01, 20:00:00 +09:00",
                                   "2020/07/01, 21:00:00 +09:00"}));
  EXPECT_EQ(CellText(*many.model, 5999, 0), FormatTimestamp(noon - 5999 * 36'000'000'000, false));
  EXPECT_EQ(CellText(*window_->output.model, 0, 0), "2020/07/01, 21:00:00 +09:00");
  EXPECT_EQ(RowDatum(*many.model, 5999), 6000U);
  SetShownZone({});
  ShowListsInZone(*window_);
  ASSERT_TRUE(
      PumpUntil([&] { return few.dates_in == ShownZone() && many.dates_in == ShownZone(); }));
  EXPECT_EQ(Column(few, 0).back(), "2020/07/01, 12:00:00");
}

TEST_F(ListFilterTest, SortingAndSelectionWorkOnWhatIsShown) {
  ListPlace& place = OpenList(MakeRows(51, {{"b1"}, {"a2"}, {"c1"}, {"a1"}}));
  SelectShown(place, {0, 1}, false);
  Type(place, L"1");
  EXPECT_EQ(Selected(place), Texts{"b1"});
  RunList(place, kCommandSortByLevel);
  RunList(place, kCommandListSelectAll);
  EXPECT_EQ(Selected(place), (Texts{"b1", "c1", "a1"}));
  Type(place, L"");
  EXPECT_EQ(Column(place, 0), (Texts{"b1", "a2", "c1", "a1"}));
}

TEST_F(ListFilterTest, RowsThatComeLaterAreHeldAgainstTheWords) {
  ListPlace& place = OpenList(MakeOutputList(51));
  SetWindowTextW(Box(place), L"7");
  std::atomic<bool> go{false};
  ASSERT_TRUE(FillList(place, kOperationList, [&](OutputList& list) {
    for (uint32_t i = 0; i < 30; ++i) AddText(list, std::to_string(i));
    while (!go) Sleep(1);
    for (uint32_t i = 30; i < 60; ++i) AddText(list, std::to_string(i));
  }));
  EXPECT_TRUE(PumpUntil([&] { return ListView_GetItemCount(place.list) == 3; }));
  EXPECT_EQ(Column(place, 0), (Texts{"7", "17", "27"})) << "while the list is filled";
  go = true;
  Settle(place);
  EXPECT_TRUE(PumpUntil([&] { return ListView_GetItemCount(place.list) == 6; }));
  EXPECT_EQ(Column(place, 0), (Texts{"7", "17", "27", "37", "47", "57"}));
  RunList(place, kCommandClearList);
  ASSERT_TRUE(FillList(place, kOperationList, [](OutputList& list) {
    for (const char* text : {"70", "8", "71"}) AddText(list, text);
  }));
  EXPECT_TRUE(PumpUntil([&] { return PartText(place, kListRows) == "Number of Items : 2 of 3"; }));
}

TEST_F(ListFilterTest, RowsThatComeLaterAreHeldAgainstTheRange) {
  ListPlace& place = OpenList(MakeRows(51, {{"17"}, {"8"}}));
  ASSERT_TRUE(FilterList(place, [](const OutputList& list, uint32_t row) {
    return CellText(list, row, 0).ends_with('7');
  }));
  Settle(place);
  EXPECT_EQ(Column(place, 0), Texts{"17"});
  ASSERT_TRUE(FillList(place, kOperationList, [](OutputList& list) {
    for (const char* text : {"27", "9", "37"}) AddText(list, text);
  }));
  EXPECT_TRUE(PumpUntil([&] { return PartText(place, kListRows) == "Number of Items : 3 of 5"; }))
      << PartText(place, kListRows);
  EXPECT_EQ(Column(place, 0), (Texts{"17", "27", "37"}));
}

TEST_F(ListFilterTest, TheHeadSaysTheFilter) {
  const ListDialogs real = TheListDialogs();
  const TempFile here(std::string_view("x"), "old.txt");
  FileChoice choice;
  TheListDialogs().save = [&](const FileRequest&) { return choice; };
  ListPlace& place = OpenList(MakeRows(15, {{"a", "x"}, {"b", "y"}}));
  Type(place, L"key:b");
  choice.name = here.folder() + "\\new.txt";
  RunList(place, kCommandSaveListText);
  EXPECT_EQ(ContentOf(choice.name),
            "Filter: key:b\r\nRows: 1 of 2\r\n\r\nNumber of Items : 1\r\n\r\n"
            "Key  : b\r\nValue: y\r\n\r\n");
  choice.name = here.folder() + "\\new.rpt";
  RunList(place, kCommandSaveReport);
  EXPECT_NE(ContentOf(choice.name).find("=Filter: key:b\r\n"), std::string::npos);
  TheListDialogs() = real;
}

TEST_F(ListFilterTest, TypedLettersNeverWait) {
  ListPlace& place = OpenList(MakeManyRows(1000000));
  using Clock = std::chrono::steady_clock;
  double longest = 0;
  std::wstring words;
  for (const wchar_t letter : std::wstring(L"row 0000 99")) {
    words += letter;
    const auto start = Clock::now();
    SetWindowTextW(Box(place), words.c_str());
    longest = std::max(longest, std::chrono::duration<double>(Clock::now() - start).count());
    Pump();
  }
  EXPECT_LT(longest, 0.5);  // seconds; on an idle machine a few thousandths
  Settle(place);
  EXPECT_EQ(PartText(place, kListRows).substr(0, 18), "Number of Items : ");
  EXPECT_TRUE(place.rows.filtered);
  // Closed while it looks at the rows.
  SetWindowTextW(Box(place), L"x");
  const HWND window = place.window;
  SendMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_EQ(IsWindow(window), FALSE);
}

}  // namespace
}  // namespace hivequarry::testing
