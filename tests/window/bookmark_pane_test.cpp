// The pane of bookmarks, and bookmarks of values, rows and deleted keys, used as a user does.
#include <gtest/gtest.h>

#include "app/bookmarks.h"
#include "app/key_paths.h"
#include "tests/support/freed_hives.h"
#include "tests/support/sample_hives.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/commands/bookmark_file.h"
#include "ui/commands/bookmark_report.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/splitter.h"
#include "ui/frame/system_facts.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_saving.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

class BookmarkPaneTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    TheProgram().bookmark_file = bookmark_file_.name();
  }
  void OpenKeys() {
    HiveBuilder builder;
    builder.Key("A").Sz("one", "1").Dword("two", 2);
    builder.Key("B").Dword("three", 3);
    OpenBytes(builder.Build().bytes);
  }
  BookmarkPane& Pane() { return window_->bookmarks; }
  Texts Shown(size_t column = 0) {
    Texts texts;
    for (int row = 0; row < ListView_GetItemCount(Pane().list); ++row) {
      texts.push_back(RowTexts(Pane().list, row)[column]);
    }
    return texts;
  }
  void ShowPane() {
    if (!Pane().shown) Run(kCommandBookmarkPane);
  }
  void ChooseRow(int row) {
    ListView_SetItemState(Pane().list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    ListView_SetItemState(Pane().list, row, LVIS_SELECTED | LVIS_FOCUSED,
                          LVIS_SELECTED | LVIS_FOCUSED);
  }
  void PressInList(WORD key) {
    NMLVKEYDOWN notice{};
    notice.hdr = {Pane().list, kBookmarkListId, LVN_KEYDOWN};
    notice.wVKey = key;
    SendMessageW(handle_, WM_NOTIFY, kBookmarkListId, reinterpret_cast<LPARAM>(&notice));
  }
  void Activate() {
    NMITEMACTIVATE notice{};
    notice.hdr = {Pane().list, kBookmarkListId, LVN_ITEMACTIVATE};
    SendMessageW(handle_, WM_NOTIFY, kBookmarkListId, reinterpret_cast<LPARAM>(&notice));
  }
  RECT AreaOf(HWND child) const {
    RECT area;
    GetWindowRect(child, &area);
    MapWindowPoints(nullptr, handle_, reinterpret_cast<POINT*>(&area), 2);
    return area;
  }
  TempFile bookmark_file_{"", "bookmarks.txt"};
};

TEST_F(BookmarkPaneTest, ShowsKeysValuesAndRowsAndGoesToThem) {
  OpenKeys();
  ShowPane();
  EXPECT_EQ(GetFocus(), Pane().list);
  SelectPath("A");
  Run(kCommandAddToBookmarks);
  SelectRow(1);
  Run(kCommandBookmarkValue);
  SelectPath("");
  OutputListPtr list = MakeRows(51, {});
  AddText(
      *list, "a row",
      window_->shown->tree->items[FindItemByPath(ShownHive(*window_), *window_->shown->tree, "B")]
          .position);
  ListPlace& place = OpenList(std::move(list));
  FocusRow(place, 0, false);
  RunList(place, kCommandBookmarkRow);
  const Texts shown = Shown();
  ASSERT_EQ(shown.size(), 3U);
  EXPECT_TRUE(shown[0].ends_with(" : a row")) << shown[0];
  EXPECT_TRUE(shown[1].ends_with("\\A : two")) << shown[1];
  EXPECT_EQ(Shown(1), (Texts{"row", "value", "key"}));
  EXPECT_EQ(Shown(4), (Texts{"as it was", "as it was", "as it was"}));

  ChooseRow(1);
  Activate();
  WaitForRows();
  EXPECT_TRUE(PumpUntil([&] { return SelectedRow(window_->values) == 1; }));
  ChooseRow(0);
  Activate();
  WaitForRows();
  EXPECT_EQ(ValueRowTexts(0)[0], "three");
  EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(BookmarkPaneTest, NotesAndTagsAreEditedAndChoose) {
  OpenKeys();
  ShowPane();
  for (const char* path : {"A", "B"}) {
    SelectPath(path);
    Run(kCommandAddToBookmarks);
  }
  ChooseRow(1);
  InNextDialog([](HWND dialog) {
    Type(dialog, kBookmarkWordsNote, L"seen");
    Type(dialog, kBookmarkWordsTags, L"to do, bad");
    Click(dialog, IDOK);
  });
  PressInList(VK_F2);
  EXPECT_EQ(Shown(2), (Texts{"", "seen"}));
  EXPECT_EQ(Shown(3), (Texts{"", "to do, bad"}));
  SetWindowTextW(Pane().words, L"tag:\"to do\"");
  ASSERT_EQ(Shown().size(), 1U);
  EXPECT_TRUE(Shown()[0].ends_with("\\A"));
  PressInList(VK_DELETE);
  EXPECT_TRUE(Shown().empty());
  SetFocus(Pane().words);
  MSG escape{Pane().words, WM_KEYDOWN, VK_ESCAPE, 0, 0, {}};
  HandleMessage(handle_, escape);
  EXPECT_EQ(Shown().size(), 1U);
  EXPECT_TRUE(Shown()[0].ends_with("\\B"));
}

TEST_F(BookmarkPaneTest, IsBelowOrAtTheRightAndStaysSo) {
  OpenKeys();
  EXPECT_EQ(IsWindowVisible(Pane().list), FALSE);
  const LONG bottom = AreaOf(window_->controls.tree).bottom;
  ShowPane();
  EXPECT_LT(AreaOf(window_->controls.tree).bottom, AreaOf(Pane().words).top);
  MSG tab{Pane().list, WM_KEYDOWN, VK_TAB, 0, 0, {}};
  SetFocus(Pane().words);
  tab.hwnd = Pane().words;
  HandleMessage(handle_, tab);
  EXPECT_EQ(GetFocus(), Pane().list);
  Run(kCommandBookmarksBelow);
  EXPECT_EQ(AreaOf(window_->controls.tree).bottom, bottom);
  EXPECT_LE(AreaOf(window_->values.window).right, AreaOf(Pane().words).left);
  const LONG left = AreaOf(Pane().list).left;
  SendMessageW(handle_, kSplitterMoved, kBookmarkSplitterId, -40);
  EXPECT_EQ(AreaOf(Pane().list).left, left - 40);
  CloseWindow();
  MakeWindow();
  EXPECT_TRUE(Pane().shown);
  EXPECT_FALSE(Pane().below);
  EXPECT_EQ(AreaOf(Pane().list).left, left - 40);
  Run(kCommandBookmarkPane);
  EXPECT_EQ(IsWindowVisible(Pane().list), FALSE);
}

TEST_F(BookmarkPaneTest, EachLeadsToItsHive) {
  OpenKeys();
  ShowPane();
  SelectPath("A");
  window_->shown->hashing.hashes.hive = std::string(64, 'a');
  Run(kCommandAddToBookmarks);
  const uint32_t first = window_->viewed->number;
  HiveBuilder other;
  other.Key("0").Binary("b", 600);
  other.Key("A").Sz("of the other", "1");
  const TempFile file(other.Build().bytes, "OTHER");
  Open(file.name());
  EXPECT_NE(window_->viewed->number, first);
  EXPECT_EQ(Shown(4), (Texts{"as it was"}));
  ChooseRow(0);
  Activate();
  WaitForRows();
  EXPECT_EQ(window_->viewed->number, first);
  Run(kCommandCloseHive);
  PumpUntil([&] { return LoadedHives(*window_) == 1; });
  PumpUntil([&] { return !window_->viewed->hashing.hashes.hive.empty(); });
  const std::string state = Shown(4).at(0);
  EXPECT_NE(state.find("no longer at 0x"), std::string::npos) << state;
  EXPECT_NE(state.find("Set in another hive"), std::string::npos) << state;
}

// All that becomes known of a hive goes through the band: hashes, deleted records, logs.
TEST_F(BookmarkPaneTest, IsDrawnAnewWhenMoreIsKnownOfAHive) {
  OpenKeys();
  ShowPane();
  SelectPath("A");
  Run(kCommandAddToBookmarks);
  ASSERT_TRUE(PumpUntil([&] { return !window_->viewed->hashing.hashes.hive.empty(); }));
  EXPECT_EQ(Shown(4), (Texts{"as it was"}));
  UpdateWindow(Pane().list);
  ASSERT_EQ(GetUpdateRect(Pane().list, nullptr, FALSE), FALSE);
  window_->viewed->hashing.hashes.hive = std::string(64, 'b');
  RenewBand(*window_);
  EXPECT_NE(GetUpdateRect(Pane().list, nullptr, FALSE), FALSE);
}

TEST_F(BookmarkPaneTest, ColumnWidthsAreKept) {
  ShowPane();
  ListView_SetColumnWidth(Pane().list, 2, 77);
  CloseWindow();
  MakeWindow();
  EXPECT_EQ(ListView_GetColumnWidth(Pane().list, 2), 77);
}

TEST_F(BookmarkPaneTest, DeletedKeysAreKeptAndFoundAgain) {
  OpenBytes(HiveWithDeletedKeys().bytes);
  ShowPane();
  ASSERT_TRUE(PumpUntil([&] { return window_->shown->findings.freed != nullptr; }));
  ASSERT_TRUE(PumpUntil([&] { return !window_->viewed->hashing.hashes.hive.empty(); }));
  const FreedRecords& records = window_->shown->findings.freed->records;
  ASSERT_TRUE(GoToPosition(*window_, records.keys.at(0).position));
  Run(kCommandAddToBookmarks);
  ASSERT_EQ(Shown().size(), 1U);
  EXPECT_EQ(Shown(4), (Texts{"as it was"}));
  SelectItemAndWait(0);
  ChooseRow(0);
  Activate();
  EXPECT_EQ(SelectedItem(window_->shown->freed_pane),
            FreedItemAt(*window_->shown->findings.freed, records.keys.at(0).position));
}

TEST_F(BookmarkPaneTest, ReportIsGroupedByTagsWhenThatIsChosen) {
  OpenKeys();
  SelectPath("A");
  Run(kCommandAddToBookmarks);
  const Bookmarks bookmarks = ReadBookmarks();
  Bookmark tagged = bookmarks.lines.at(1).bookmark;
  tagged.tags = {"bad"};
  const std::string file = bookmark_file_.folder() + "\\tags.html";
  TheListDialogs().save = [&file](const FileRequest&) { return FileChoice{file, 0, 2}; };
  SaveBookmarkReport(*window_, {tagged});
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  EXPECT_NE(ContentOf(file).find("<h2>Tag: bad</h2>"), std::string::npos);
}

}  // namespace
}  // namespace hivequarry::testing
