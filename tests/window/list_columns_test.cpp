// Columns of lists that the user hides and moves: what is kept of it, and what does not know of it.
#include <algorithm>

#include "lists/list_rows.h"
#include "tests/window/list_fixture.h"
#include "ui/frame/text.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_filtering.h"
#include "ui/lists/list_sorting.h"

namespace hivequarry::testing {
namespace {

class ListColumnsTest : public ListTest {
 protected:
  static HWND Header(const ListPlace& place) { return ListView_GetHeader(place.list); }
  ListPlace& Dates() {
    return OpenList(MakeRows(kListKeyDates, {{"2023/10/9", "Zeta", "0x00000010"},
                                             {"2023/9/30", "Alpha", "0x00000030"},
                                             {"1999/12/31", "Mid", "0x00000020"}}));
  }
  static POINT MiddleOf(const ListPlace& place, int column) {
    RECT area{};
    Header_GetItemRect(Header(place), column, &area);
    return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
  }
  static void Mouse(const ListPlace& place, UINT message, POINT at) {
    SendMessageW(Header(place), message, message == WM_LBUTTONUP ? 0 : MK_LBUTTON,
                 MAKELPARAM(at.x, at.y));
  }
  void ClickTitle(ListPlace& place, int column) {
    // A busy display may take the mouse away in between.
    EXPECT_TRUE(PumpUntil([&] {
      const POINT at = MiddleOf(place, column);
      Mouse(place, WM_LBUTTONDOWN, at);
      Mouse(place, WM_LBUTTONUP, at);
      Finish(place);
      return place.sorted_column == column;
    }));
  }
  // Before another one.
  static void Drag(const ListPlace& place, int column, int before) {
    RECT target{};
    Header_GetItemRect(Header(place), before, &target);
    const POINT from = MiddleOf(place, column);
    const POINT to = {target.left + 4, from.y};
    Mouse(place, WM_LBUTTONDOWN, from);
    Mouse(place, WM_MOUSEMOVE, {(from.x + to.x) / 2, from.y});
    Mouse(place, WM_MOUSEMOVE, to);
    Mouse(place, WM_LBUTTONUP, to);
  }
  static int WidthOf(const ListPlace& place, int column) {
    return ListView_GetColumnWidth(place.list, column);
  }
  static std::string Kept(int kind) {
    const auto found = TheSettings().columns.find(kind);
    return found == TheSettings().columns.end() ? "" : ColumnsAsText(found->second);
  }
  static std::vector<std::pair<std::string, UINT>> MenuItems(const ListPlace& place) {
    const HMENU menu = MakeColumnMenu(place);
    std::vector<std::pair<std::string, UINT>> items;
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
      wchar_t text[80] = L"";
      GetMenuStringW(menu, static_cast<UINT>(i), text, 80, MF_BYPOSITION);
      items.emplace_back(Utf8Name(text), GetMenuState(menu, static_cast<UINT>(i), MF_BYPOSITION) &
                                             (MF_CHECKED | MF_GRAYED));
    }
    DestroyMenu(menu);
    return items;
  }
};

// What the control is given for a cell while it draws, and while somebody asks for the text.
std::string GivenText(const ListPlace& place, int column, bool drawing) {
  const auto tell = [&place](NMHDR& notice, UINT code) {
    notice = {place.list, static_cast<UINT_PTR>(GetDlgCtrlID(place.list)), code};
    SendMessageW(place.window, WM_NOTIFY, notice.idFrom, reinterpret_cast<LPARAM>(&notice));
  };
  NMLVCUSTOMDRAW draw{};
  draw.nmcd.dwDrawStage = CDDS_PREPAINT;
  if (drawing) tell(draw.nmcd.hdr, NM_CUSTOMDRAW);
  wchar_t text[260] = L"";
  NMLVDISPINFOW asked{};
  asked.item.mask = LVIF_TEXT;
  asked.item.iSubItem = column;
  asked.item.pszText = text;
  asked.item.cchTextMax = 260;
  tell(asked.hdr, LVN_GETDISPINFOW);
  draw.nmcd.dwDrawStage = CDDS_POSTPAINT;
  if (drawing) tell(draw.nmcd.hdr, NM_CUSTOMDRAW);
  return Utf8Name(text);
}

TEST_F(ListColumnsTest, PathsKeepTheirEndWhereTheColumnIsNarrow) {
  const std::string path = "HKLM\\" + std::string(300, 'x') + "\\Last of it";
  ListPlace& place = OpenList(MakeRows(kListKeyDates, {{"2023/10/9", path, "0x00000010"}}));
  const std::string drawn = GivenText(place, 1, true);
  EXPECT_TRUE(drawn.starts_with("HKLM\\x") && drawn.ends_with("x\\Last of it")) << drawn;
  EXPECT_NE(drawn.find("..."), drawn.npos);
  EXPECT_EQ(GivenText(place, 1, false), path.substr(0, 259)) << "as it is for who asks";
  EXPECT_EQ(GivenText(place, 0, true), "2023/10/9");
}

// What was deleted is told from what is there, as in the tree and the values.
TEST_F(ListColumnsTest, RowsOfFreedRecordsAreStruckAmongOthers) {
  const auto struck = [](const ListPlace& place, DWORD_PTR row) {
    NMLVCUSTOMDRAW draw{};
    draw.nmcd.hdr = {place.list, static_cast<UINT_PTR>(GetDlgCtrlID(place.list)), NM_CUSTOMDRAW};
    draw.nmcd.dwDrawStage = CDDS_ITEMPREPAINT;
    draw.nmcd.dwItemSpec = row;
    draw.nmcd.hdc = GetDC(place.list);
    const LRESULT answer = SendMessageW(place.window, WM_NOTIFY, draw.nmcd.hdr.idFrom,
                                        reinterpret_cast<LPARAM>(&draw));
    LOGFONTW font{};
    GetObjectW(GetCurrentObject(draw.nmcd.hdc, OBJ_FONT), sizeof font, &font);
    ReleaseDC(place.list, draw.nmcd.hdc);
    return answer == CDRF_NEWFONT && font.lfStrikeOut != 0;
  };
  OutputListPtr dates = MakeOutputList(kListKeyDates);
  AddColumns(*dates, {kPlaceTitle});
  AddListRow(*dates, {"2023/10/9", "A", "0x00000010", ""}, 16);
  AddListRow(*dates, {"2023/10/9", "B", "0x00000020", "free cell"}, 32);
  const ListPlace& mixed = OpenList(std::move(dates));
  EXPECT_FALSE(struck(mixed, 0));
  EXPECT_TRUE(struck(mixed, 1));
  const ListPlace& freed = OpenList(MakeRows(
      kListFreedKeys, {{"A", "0x00000010", "0x00000020", "2023/10/9", "0", "0", "free cell"}}));
  EXPECT_FALSE(struck(freed, 0)) << "all rows are";
}

TEST_F(ListColumnsTest, HiddenOnesStayForListsOfTheKind) {
  ListPlace& place = Dates();
  const int width = WidthOf(place, 1);
  ShowColumn(place, 1, false);
  EXPECT_EQ(WidthOf(place, 1), 0);
  EXPECT_EQ(Kept(kListKeyDates), "0,-1,2");
  // No way of making it wider shows it.
  NMHEADERW notice{};
  notice.hdr = {Header(place), 0, static_cast<UINT>(HDN_BEGINTRACKW)};
  notice.iItem = 1;
  EXPECT_TRUE(OnColumnsNotify(place, notice));
  notice.iItem = 2;
  EXPECT_FALSE(OnColumnsNotify(place, notice));
  notice.iItem = 1;
  notice.hdr.code = static_cast<UINT>(HDN_DIVIDERDBLCLICKW);
  SendMessageW(place.list, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notice));
  EXPECT_TRUE(PumpUntil([&] { return WidthOf(place, 1) == 0; }));
  place.columns_touched = false;
  RunList(place, kCommandResizeColumns);
  EXPECT_EQ(WidthOf(place, 1), 0);
  ShowColumn(place, 0, false);
  EXPECT_GT(WidthOf(place, 0), 0) << "the first one is always shown";
  ListPlace& same = Dates();
  EXPECT_EQ(WidthOf(same, 1), 0);
  EXPECT_GT(WidthOf(same, 2), 0);
  ListPlace& other = OpenList(MakeRows(kListSearch, {{"a", "b", "c"}}));
  EXPECT_GT(WidthOf(other, 1), 0);
  // The window keeps the place of the widths for it.
  same.columns_touched = true;
  SendMessageW(same.window, WM_CLOSE, 0, 0);
  ListPlace& again = Dates();
  EXPECT_EQ(WidthOf(again, 1), 0);
  ShowColumn(again, 1, true);
  EXPECT_GE(WidthOf(again, 1), width / 2);
  EXPECT_EQ(Kept(kListKeyDates), "") << "as built in";
}

TEST_F(ListColumnsTest, DraggedOnesStayInTheirOrder) {
  ListPlace& place = Dates();
  Drag(place, 2, 0);
  EXPECT_EQ(SeenColumns(place), (std::vector<int>{2, 0, 1}));
  EXPECT_EQ(Kept(kListKeyDates), "2,0,1");
  ListPlace& same = Dates();
  EXPECT_EQ(SeenColumns(same), (std::vector<int>{2, 0, 1}));
  // A click means the column under the mouse, wherever that is.
  ClickTitle(same, 2);
  EXPECT_EQ(same.sorted_column, 2);
  EXPECT_EQ(Column(same, 2), (Texts{"0x00000010", "0x00000020", "0x00000030"}));
  EXPECT_EQ(Column(same, 1), (Texts{"Zeta", "Mid", "Alpha"}));
  ClickTitle(same, 0);
  EXPECT_EQ(Column(same, 0), (Texts{"1999/12/31", "2023/9/30", "2023/10/9"}));
  // Another list in the same control has its own.
  ShowList(same, MakeRows(kListSearch, {{"a", "b", "c"}}));
  const std::vector<int> seen = SeenColumns(same);
  EXPECT_TRUE(std::ranges::is_sorted(seen));
}

TEST_F(ListColumnsTest, HiddenOnesAreSortedAndFilteredBy) {
  ListPlace& place = Dates();
  ASSERT_TRUE(SortList(place, {{1, SortMode::kText, false}}));
  Finish(place);
  ShowColumn(place, 1, false);
  EXPECT_EQ(Column(place, 2), (Texts{"0x00000030", "0x00000020", "0x00000010"}));
  SetFilterWords(place, {"key:mid", {}});
  ASSERT_TRUE(PumpUntil([&] { return !place.filter.thread.joinable(); }));
  EXPECT_EQ(Column(place, 0), Texts{"1999/12/31"});
}

TEST_F(ListColumnsTest, Menu) {
  ListPlace& place = Dates();
  ShowColumn(place, 2, false);
  auto items = MenuItems(place);
  ASSERT_EQ(items.size(), 6U);
  EXPECT_EQ(items[0], std::pair(std::string("Key Date"), UINT{MF_CHECKED | MF_GRAYED}));
  EXPECT_EQ(items[1], std::pair(std::string("Key"), UINT{MF_CHECKED}));
  EXPECT_EQ(items[2].second, 0U);
  const HMENU menu = MakeColumnMenu(place);
  const auto number = [&](int at) { return static_cast<int>(GetMenuItemID(menu, at)); };
  const int second = number(1);
  const int all = number(4);
  const int built_in = number(5);
  DestroyMenu(menu);
  RunColumnMenu(place, second);
  EXPECT_EQ(SeenColumns(place), std::vector<int>{0});
  RunColumnMenu(place, all);
  EXPECT_EQ(SeenColumns(place), (std::vector<int>{0, 1, 2}));
  Drag(place, 1, 0);
  EXPECT_EQ(SeenColumns(place), (std::vector<int>{1, 0, 2}));
  RunColumnMenu(place, second);
  RunColumnMenu(place, built_in);
  EXPECT_EQ(SeenColumns(place), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(Kept(kListKeyDates), "");
  RunColumnMenu(place, 0);  // nothing was chosen
  EXPECT_EQ(Kept(kListKeyDates), "");
}

}  // namespace
}  // namespace hivequarry::testing
