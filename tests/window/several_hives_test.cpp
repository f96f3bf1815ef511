// Several hives open in one window, each a root of the tree.
#include "app/settings.h"
#include "hive/hive_table.h"
#include "hive/shown_zone.h"
#include "lists/list_writers.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/commands/misc_commands.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_reports.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/value_window.h"
#include "ui/main/status.h"
#include "ui/resources/resource.h"
#include "view/list_commands.h"

namespace hivequarry::testing {
namespace {

BuiltHive HiveWith(const std::string& key, int values = 1) {
  HiveBuilder builder("HIVE_" + key);
  KeyRef made = builder.Key(key + "\\Inner");
  for (int i = 0; i < values; ++i) made.Sz("of " + key + std::to_string(i), key);
  builder.Key(key + "\\Gone").FreeBehind(64);
  BuiltHive hive = builder.Build();
  hive.Unlink(key + "\\Gone");
  hive.Free(hive.PositionOf(key + "\\Gone"));
  return hive;
}

class SeveralHivesTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    Open(first_.name());
    Open(second_.name());
  }
  HWND Tree() const { return window_->controls.tree; }
  Texts Roots() const {
    Texts texts;
    for (HTREEITEM at = RootHandle(); at != nullptr; at = TreeView_GetNextSibling(Tree(), at)) {
      texts.push_back(ItemText(at));
    }
    return texts;
  }
  WindowHive& Hive(size_t index) const { return *window_->hives[index]; }
  std::string RootText(size_t index) const { return Hive(index).tree->root_text; }
  void View(size_t index, const std::string& path) {
    WindowHive& hive = Hive(index);
    SelectItem(hive.pane, FindItemByPath(HiveOfSlot(hive.slot), *hive.tree, path));
    WaitForRows();
  }
  bool Shows(const TempFile& file) const { return TextOf(handle_).ends_with(file.name()); }

  const BuiltHive one_ = HiveWith("One");
  const BuiltHive two_ = HiveWith("Two", 2);
  const TempFile first_{one_.bytes, "FIRST"};
  const TempFile second_{two_.bytes, "SECOND"};
};

TEST_F(SeveralHivesTest, EachIsARootAndTheOneOfTheSelectedItemIsViewed) {
  EXPECT_TRUE(surroundings_.launches.empty());
  EXPECT_EQ(Roots(), (Texts{RootText(0), RootText(1), "Workspace"}));
  EXPECT_TRUE(Shows(second_)) << TextOf(handle_);
  View(1, "Two\\Inner");
  EXPECT_EQ(ListView_GetItemCount(window_->values.window), 2);
  View(0, "One\\Inner");
  EXPECT_TRUE(Shows(first_)) << TextOf(handle_);
  EXPECT_EQ(ListView_GetItemCount(window_->values.window), 1);
  EXPECT_EQ(ValueRowTexts(0)[0], "of One0");
  EXPECT_EQ(TextOf(window_->controls.path), RootText(0) + "\\One\\Inner");
  EXPECT_EQ(window_->shown, &Hive(0));
  // What is open is not opened again.
  OpenNamedFile(*window_, {second_.name()});
  Pump();
  EXPECT_EQ(LoadedHives(*window_), 2U);
  EXPECT_TRUE(Shows(second_)) << TextOf(handle_);
}

// What is about no hive stays so, whatever is looked at meanwhile.
TEST_F(SeveralHivesTest, TurnsEndAsTheyBegan) {
  View(1, "Two\\Inner");
  {
    const HiveTurn none(*window_, kOfNoHive);
    { const HiveTurn first(*window_, Hive(0).number); }
    EXPECT_EQ(window_->shown, &window_->none);
  }
  EXPECT_EQ(window_->shown, &Hive(1));
}

// Neither of the hive viewed nor of the others.
TEST_F(SeveralHivesTest, NoFolderOfTheirsIsProposed) {
  const ListDialogs real = TheListDialogs();
  std::string proposed;
  TheListDialogs().save = [&proposed](const FileRequest& request) {
    proposed = request.folder;
    return FileChoice();
  };
  for (const TempFile* hive : {&first_, &second_}) {
    TheSettings().folders[kFolderTexts] = hive->folder();
    ChooseFile(handle_, true, kFolderTexts, FileRequest());
    EXPECT_EQ(proposed, TheProgram().facts.documents);
  }
  TheSettings().folders[kFolderTexts] = "C:\\elsewhere";
  ChooseFile(handle_, true, kFolderTexts, FileRequest());
  EXPECT_EQ(proposed, "C:\\elsewhere");
  TheListDialogs() = real;
}

TEST_F(SeveralHivesTest, TheWorkspaceHasThemAll) {
  TreeView_SelectItem(Tree(), WorkspaceHandle());
  Pump();
  int rows_of_first = 0;
  while (rows_of_first < 20 && ValueRowTexts(rows_of_first)[2] != second_.name()) ++rows_of_first;
  EXPECT_EQ(ValueRowTexts(0)[2], first_.name());
  ASSERT_LT(rows_of_first, 20);
  const std::string detail = TextOf(window_->viewer.detail.window);
  EXPECT_NE(detail.find("File: " + first_.name()), std::string::npos);
  EXPECT_NE(detail.find("File: " + second_.name()), std::string::npos);
  for (const int row : {0, rows_of_first}) {
    TreeView_SelectItem(Tree(), WorkspaceHandle());
    ListView_SetItemState(window_->values.window, -1, 0, LVIS_SELECTED);
    ListView_SetItemState(window_->values.window, row, LVIS_SELECTED, LVIS_SELECTED);
    const NMHDR notice{window_->values.window, kValuesId, static_cast<UINT>(LVN_ITEMACTIVATE)};
    SendMessageW(handle_, WM_NOTIFY, kValuesId, reinterpret_cast<LPARAM>(&notice));
    EXPECT_TRUE(Shows(row == 0 ? first_ : second_)) << TextOf(handle_);
  }
}

TEST_F(SeveralHivesTest, AListLeadsToItsOwnHive) {
  View(0, "One");
  Run(kCommandListKeys);
  View(1, "Two");  // while the list is made
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  ListPlace* const list = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->hive, Hive(0).number);
  EXPECT_TRUE(Shows(second_));
  FocusRow(*list, 1, false);
  RunList(*list, kCommandGoToTree);
  WaitForRows();
  EXPECT_TRUE(Shows(first_)) << TextOf(handle_);
  EXPECT_EQ(SelectedItem(Hive(0).pane), 2U);
  // A record that is opened from it is of that hive too, whatever is viewed.
  View(1, "Two");
  RunList(*list, kCommandListRawRecord);
  ListPlace* const raw = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(raw, nullptr);
  EXPECT_EQ(raw->hive, Hive(0).number);
  EXPECT_TRUE(Shows(second_));
  EXPECT_EQ(window_->shown, window_->viewed);
  // So are the details of a row, which a thread reads.
  RunList(*list, kCommandRowsValue);
  const HWND value = FindWindowW(L"HivequarryValue", nullptr);
  ASSERT_NE(value, nullptr);
  const auto says = [&](const std::string& words) {
    return PumpUntil([&] {
      for (HWND edit = nullptr; (edit = FindWindowExW(GetWindow(value, GW_CHILD), edit, WC_EDITW,
                                                      nullptr)) != nullptr;) {
        if (TextOf(edit).find(words) != std::string::npos) return true;
      }
      return false;
    });
  };
  EXPECT_TRUE(says(RootText(0) + "\\One"));
  // They follow the zone of dates, whatever hive is viewed.
  ShownZone zone;
  ASSERT_TRUE(ReadZone("+05:30", zone));
  SetShownZone(zone);
  RenewValueWindow();
  EXPECT_TRUE(says(" +05:30"));
  EXPECT_TRUE(says(RootText(0) + "\\One"));
  SetShownZone({});
  DestroyWindow(value);
}

TEST_F(SeveralHivesTest, ClosingOneLeavesTheOther) {
  View(0, "One");
  Run(kCommandListKeys);
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  ListPlace* const list = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(list, nullptr);
  FocusRow(*list, 1, false);
  EXPECT_TRUE(IsListCommandAvailable(*list, kCommandGoToTree));
  Run(kCommandCloseHive);
  EXPECT_EQ(Roots(), (Texts{RootText(0), "Workspace"}));
  EXPECT_TRUE(Shows(second_)) << TextOf(handle_);
  EXPECT_FALSE(IsListCommandAvailable(*list, kCommandGoToTree));
  RunList(*list, kCommandGoToTree);
  EXPECT_EQ(PartText(*list, 0), " The hive of this row is no longer open.");
  ASSERT_TRUE(PumpUntil([&] { return Hive(0).findings.freed != nullptr; }));
  View(0, "Two\\Inner");
  EXPECT_EQ(ListView_GetItemCount(window_->values.window), 2);
  Run(kCommandCloseHive);
  EXPECT_EQ(LoadedHives(*window_), 0U);
  EXPECT_EQ(RootHandle(), nullptr);
  EXPECT_EQ(TextOf(handle_), "Hivequarry");
  EXPECT_NE(IsWindowVisible(window_->controls.empty), FALSE);
  Open(first_.name());
  EXPECT_EQ(Roots(), (Texts{RootText(0), "Workspace"}));
}

// A list that was saved of one of them, loaded while another is viewed.
TEST_F(SeveralHivesTest, RowsOfALoadedListLeadToTheirHive) {
  View(0, "One");
  Run(kCommandListKeys);
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  ListPlace* const list = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(list, nullptr);
  const ListDialogs real = TheListDialogs();
  const std::string file = first_.folder() + "\\keys.rpt";
  TheListDialogs().save = [&file](const FileRequest&) { return FileChoice{file}; };
  RunList(*list, kCommandSaveReport);
  TheListDialogs() = real;
  const std::string path(CellText(*list->model, 1, 0));
  View(1, "Two");
  LoadReport(*list, file);
  ASSERT_TRUE(PumpUntil([&] { return !list->working && RowCount(*list->model) != 0; }));
  Finish(*list);
  FocusRow(*list, 1, false);
  RunList(*list, kCommandGoToTree);
  EXPECT_TRUE(Shows(first_)) << TextOf(handle_);
  EXPECT_EQ(TextOf(window_->controls.path), path);
  // It is of no hive of its own: what is closed was not all that it could lead to.
  View(1, "Two");
  Run(kCommandCloseHive);
  View(0, "One");
  RunList(*list, kCommandGoToTree);
  EXPECT_EQ(TextOf(window_->controls.path), path);
  Run(kCommandCloseHive);
  RunList(*list, kCommandGoToTree);
  EXPECT_EQ(PartText(*list, 0), " No hive is open that rows could lead to.");
  DeleteFileW(WideName(file).c_str());
}

TEST_F(SeveralHivesTest, OneThatIsLoadedAgainStaysInItsPlace) {
  View(0, "One\\Inner");
  ReloadHive(*window_, LogChoice());
  ASSERT_TRUE(PumpUntil([&] { return !window_->load.thread.joinable() && IsLoaded(); }));
  WaitForRows();
  EXPECT_EQ(Roots(), (Texts{RootText(0), RootText(1), "Workspace"}));
  EXPECT_EQ(TextOf(window_->controls.path), RootText(0) + "\\One\\Inner");
  View(1, "Two\\Inner");
  EXPECT_TRUE(Shows(second_));
}

TEST_F(SeveralHivesTest, DeletedKeysAreBelowTheirOwnParents) {
  ASSERT_TRUE(PumpUntil(
      [&] { return Hive(0).freed_pane.freed != nullptr && Hive(1).freed_pane.freed != nullptr; }));
  for (const size_t index : {0U, 1U}) {
    const HTREEITEM top = TreeView_GetChild(Tree(), Hive(index).pane.handles[0]);
    TreeView_Expand(Tree(), top, TVE_EXPAND);
    EXPECT_EQ(ChildTexts(top), (Texts{"Inner", "Gone"})) << index;
    const HTREEITEM gone = TreeView_GetNextSibling(Tree(), TreeView_GetChild(Tree(), top));
    TreeView_SelectItem(Tree(), gone);
    WaitForRows();
    EXPECT_TRUE(Shows(index == 0 ? first_ : second_)) << TextOf(handle_);
    EXPECT_TRUE(TextOf(window_->controls.path).ends_with("Gone")) << TextOf(window_->controls.path);
  }
  Run(kCommandFreedInTree);
  for (const size_t index : {0U, 1U}) {
    EXPECT_EQ(ChildTexts(TreeView_GetChild(Tree(), Hive(index).pane.handles[0])), Texts{"Inner"});
  }
}

TEST_F(SeveralHivesTest, TheWorkspaceIsSearchedAndToldTogether) {
  InNextDialog([](HWND dialog) {
    Type(dialog, kSearchText, L"Inner");
    Click(dialog, IDOK);
  });
  Run(kCommandSearchWorkspace);
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  ListPlace* const found = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(found, nullptr);
  ASSERT_EQ(ShownRowCount(*found), 2U);
  for (const int row : {1, 0}) {
    FocusRow(*found, row, false);
    RunList(*found, kCommandGoToTree);
    WaitForRows();
    EXPECT_TRUE(Shows(row == 0 ? first_ : second_)) << TextOf(handle_);
    EXPECT_TRUE(TextOf(window_->controls.path).ends_with(row == 0 ? "One\\Inner" : "Two\\Inner"));
  }
  const std::vector<std::string> head = HeadLinesOf(*found->model);
  for (const TempFile* file : {&first_, &second_}) {
    EXPECT_TRUE(std::ranges::any_of(head, [&](const std::string& line) {
      return line.ends_with(file->name());
    })) << file->name();
  }
  DestroyWindow(found->window);
  Run(kCommandMachine);
  ASSERT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  ListPlace* const machine = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->hives.size(), RowCount(*machine->model));
}

TEST_F(SeveralHivesTest, FilesThatAreNamedDuringALoadFollow) {
  Run(kCommandCloseHive);
  Run(kCommandCloseHive);
  OpenNamedFile(*window_, {first_.name()});
  OpenNamedFile(*window_, {second_.name()});
  ASSERT_TRUE(PumpUntil([&] { return LoadedHives(*window_) == 2 && IsLoaded(); }));
  EXPECT_EQ(Roots(), (Texts{RootText(0), RootText(1), "Workspace"}));
  EXPECT_TRUE(Shows(second_)) << TextOf(handle_);
}

TEST_F(SeveralHivesTest, AFileThatIsNamedDuringWorkWaitsForItsEnd) {
  const TempFile third{one_.bytes, "THIRD"};
  Run(kCommandListKeys);
  ASSERT_TRUE(window_->work.thread.joinable());
  OpenNamedFile(*window_, {third.name(), 0, 0, one_.PositionOf("One\\Inner")});
  EXPECT_EQ(LoadedHives(*window_), 2U);
  ASSERT_TRUE(PumpUntil([&] { return LoadedHives(*window_) == 3 && IsLoaded(); }));
  WaitForRows();
  EXPECT_TRUE(surroundings_.launches.empty());
  EXPECT_TRUE(TextOf(window_->controls.path).ends_with("One\\Inner"));
  // Two of one name are told apart.
  EXPECT_NE(RootText(0), RootText(2));
  EXPECT_TRUE(RootText(2).ends_with("(1)")) << RootText(2);
}

TEST_F(SeveralHivesTest, OneThatCanNotBeOpenedTakesNothingAway) {
  OpenNamedFile(*window_, {first_.folder() + "\\NOTHING"});
  ASSERT_TRUE(PumpUntil([&] { return !window_->load.thread.joinable(); }));
  EXPECT_EQ(Roots(), (Texts{RootText(0), RootText(1), "Workspace"}));
  EXPECT_TRUE(Shows(second_)) << TextOf(handle_);
  View(0, "One\\Inner");
  EXPECT_EQ(ValueRowTexts(0)[0], "of One0");
}

}  // namespace
}  // namespace hivequarry::testing
