// Deleted keys and values in the tree and value panes, and small things of the main window.
#include "app/settings.h"
#include "app/stop_command.h"
#include "host/long_operation.h"
#include "tests/support/freed_hives.h"
#include "tests/window/list_fixture.h"
#include "ui/frame/text.h"
#include "ui/main/expanding.h"
#include "ui/main/freed.h"
#include "ui/main/status.h"
#include "ui/panes/tree_expand.h"

namespace hivequarry::testing {
namespace {

class FreedInTreeTest : public ListTest {
 protected:
  void OpenDeleted() {
    built_ = HiveWithDeletedKeys();
    OpenBytes(built_.bytes);
    ASSERT_TRUE(PumpUntil([&] { return window_->shown->freed_pane.freed != nullptr; }));
  }
  void TearDown() override {
    TheSettings().freed_in_tree = true;
    ListTest::TearDown();
  }
  HWND Tree() const { return window_->controls.tree; }
  HTREEITEM ChildOf(HTREEITEM parent, const std::string& text) const {
    for (HTREEITEM child = TreeView_GetChild(Tree(), parent); child != nullptr;
         child = TreeView_GetNextSibling(Tree(), child)) {
      if (ItemText(child) == text) return child;
    }
    return nullptr;
  }
  // Until the panes show a deleted key.
  void SelectAndWait(HTREEITEM item) {
    TreeView_SelectItem(Tree(), item);
    ASSERT_TRUE(PumpUntil([&] {
      return window_->selection.deleted != kNoItem &&
             window_->selection.deleted == SelectedItem(window_->shown->freed_pane);
    }));
  }
  bool IsFree(uint32_t command) const {
    return IsAvailable(*FindCommand(Commands(), command), FactsNow(*window_));
  }
  BuiltHive built_;
};

TEST_F(FreedInTreeTest, DeletedKeysAreBelowTheirParentsWithTheirValues) {
  OpenDeleted();
  const HTREEITEM a = ChildOf(RootHandle(), "A");
  TreeView_Expand(Tree(), a, TVE_EXPAND);
  EXPECT_EQ(ChildTexts(a), (Texts{"Quick", "C"}));
  const HTREEITEM c = ChildOf(a, "C");
  TreeView_Expand(Tree(), c, TVE_EXPAND);
  EXPECT_EQ(ChildTexts(c), Texts{"D"});
  SelectAndWait(c);
  EXPECT_EQ(ValueRowTexts(0)[0], "text");
  EXPECT_EQ(ValueRowTexts(0)[2], "long enough");
  EXPECT_TRUE(TextOf(window_->controls.path).ends_with("\\A\\C"));
  const std::string detail = TextOf(window_->viewer.detail.window);
  EXPECT_EQ(detail.find("Why here: This key was deleted. Its record at 0x"), 0U) << detail;
  EXPECT_EQ(StatusText(kStatusText), " Deleted: free cell");
  EXPECT_TRUE(IsFree(kCommandRawKey));
  EXPECT_TRUE(IsFree(kCommandCopyKeyName));
  EXPECT_FALSE(IsFree(kCommandExportFolder));

  SelectRow(0);
  ASSERT_TRUE(PumpUntil([&] {
    return TextOf(window_->viewer.detail.window).find("This value was deleted.") !=
           std::string::npos;
  }));
  EXPECT_TRUE(IsFree(kCommandRawValue));
  EXPECT_TRUE(IsFree(kCommandSaveValue));
  EXPECT_FALSE(IsFree(kCommandEditValue));
}

TEST_F(FreedInTreeTest, ExpandSubfoldersOpensTheirBranchesToo) {
  OpenDeleted();
  SelectItemAndWait(0);
  Run(kCommandExpand);
  ASSERT_TRUE(PumpUntil([&] { return !IsExpanding(*window_); }));
  const HTREEITEM c = ChildOf(ChildOf(RootHandle(), "A"), "C");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(IsItemExpanded(c));
  EXPECT_EQ(ChildTexts(c), Texts{"D"});
}

// A deleted key, and a key that has no other children than deleted ones.
TEST_F(FreedInTreeTest, BranchesOfDeletedKeysAreOpenedAndClosed) {
  OpenDeleted();
  TreeView_Expand(Tree(), ChildOf(RootHandle(), "A"), TVE_EXPAND);
  const HTREEITEM c = ChildOf(ChildOf(RootHandle(), "A"), "C");
  SelectAndWait(c);
  ASSERT_TRUE(IsFree(kCommandExpand));
  Run(kCommandExpand);
  ASSERT_TRUE(PumpUntil([&] { return !IsExpanding(*window_); }));
  EXPECT_TRUE(IsItemExpanded(c));
  EXPECT_EQ(ChildTexts(c), Texts{"D"});
  SelectAndWait(ChildOf(c, "D"));
  EXPECT_FALSE(IsFree(kCommandExpand));
  SelectAndWait(c);
  Run(kCommandCollapse);
  EXPECT_FALSE(IsItemExpanded(c));
  TreeView_Expand(Tree(), c, TVE_EXPAND);
  EXPECT_EQ(ChildTexts(c), Texts{"D"});
  const HTREEITEM a = ChildOf(RootHandle(), "A");
  const auto select = [&](HTREEITEM handle) {
    SelectItemAndWait(ItemOfHandle(window_->shown->pane, handle));
  };
  select(ChildOf(a, "Quick"));
  Run(kCommandDeleteKeys);
  select(a);
  EXPECT_EQ(ChildTexts(a), Texts{"C"});
  EXPECT_TRUE(IsFree(kCommandExpand));
  // What goes from the control is not opened any further.
  TreeView_Expand(Tree(), a, TVE_EXPAND);
  SelectAndWait(ChildOf(a, "C"));
  StartExpand(window_->shown->freed_pane, SelectedItem(window_->shown->freed_pane));
  CollapseBranch(window_->shown->pane, 0);
  EXPECT_FALSE(IsExpanding(*window_));
}

TEST_F(FreedInTreeTest, WhatHasNoPlaceIsInAFolderAndTheOptionTakesAllOfItOut) {
  OpenDeleted();
  const HTREEITEM folder = TreeView_GetNextSibling(Tree(), RootHandle());
  EXPECT_EQ(ItemText(folder), "Freed Keys (1 key, 0 values)");
  TreeView_Expand(Tree(), folder, TVE_EXPAND);
  EXPECT_EQ(ChildTexts(folder), Texts{"Quack"});
  TreeView_Expand(Tree(), ChildOf(RootHandle(), "A"), TVE_EXPAND);
  SelectAndWait(ChildOf(folder, "Quack"));
  Run(kCommandFreedInTree);
  EXPECT_EQ(ItemText(TreeView_GetNextSibling(Tree(), RootHandle())), "Workspace");
  EXPECT_EQ(ChildTexts(ChildOf(RootHandle(), "A")), Texts{"Quick"});
  Run(kCommandFreedInTree);
  PumpUntil([&] { return window_->shown->pane.fills.empty(); });
  EXPECT_EQ(ChildTexts(ChildOf(RootHandle(), "A")), (Texts{"Quick", "C"}));
  // Closed with all below it, the branch gets them again.
  SelectItem(window_->shown->pane, ItemOfHandle(window_->shown->pane, ChildOf(RootHandle(), "A")));
  Run(kCommandCollapse);
  TreeView_Expand(Tree(), ChildOf(RootHandle(), "A"), TVE_EXPAND);
  EXPECT_EQ(ChildTexts(ChildOf(RootHandle(), "A")), (Texts{"Quick", "C"}));
}

TEST_F(FreedInTreeTest, FindingAndGoingLeadToThem) {
  OpenDeleted();
  SelectItemAndWait(0);
  window_->tree_find.text = "qu";
  window_->tree_find.wrap = true;
  Run(kCommandTreeFindNext);
  EXPECT_EQ(ItemText(TreeView_GetSelection(Tree())), "Quick");
  Run(kCommandTreeFindNext);
  EXPECT_EQ(ItemText(TreeView_GetSelection(Tree())), "Quack");
  Run(kCommandTreeFindPrevious);
  EXPECT_EQ(ItemText(TreeView_GetSelection(Tree())), "Quick");
  EXPECT_TRUE(GoToPosition(*window_, built_.PositionOf("A\\C\\D")));
  EXPECT_EQ(ItemText(TreeView_GetSelection(Tree())), "D");
  EXPECT_TRUE(GoToPosition(*window_, built_.ValuePosition("A\\C", "text")));
  ASSERT_TRUE(PumpUntil([&] { return SelectedRow(window_->values) == 0; }));
  EXPECT_EQ(ItemText(TreeView_GetSelection(Tree())), "C");
}

TEST_F(FreedInTreeTest, NextRecoveredComesToThem) {
  OpenDeleted();
  SelectItemAndWait(0);
  for (const char* name : {"C", "D", "Quack", "C"}) {
    Run(kCommandNextRecovered);
    EXPECT_EQ(ItemText(TreeView_GetSelection(Tree())), name);
  }
  Run(kCommandPreviousRecovered);
  EXPECT_EQ(ItemText(TreeView_GetSelection(Tree())), "Quack");
  EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(FreedInTreeTest, ParentTakenOutOfTheTreeTakesThemAlong) {
  OpenDeleted();
  const HTREEITEM a = ChildOf(RootHandle(), "A");
  TreeView_Expand(Tree(), a, TVE_EXPAND);
  SelectItem(window_->shown->pane, ItemOfHandle(window_->shown->pane, a));
  surroundings_.answer = Answer::kYes;
  Run(kCommandDeleteKeys);
  EXPECT_EQ(ChildOf(RootHandle(), "A"), nullptr);
  EXPECT_FALSE(GoToPosition(*window_, built_.PositionOf("A\\C") + 8));
  Run(kCommandShowAllKeys);
  TreeView_Expand(Tree(), ChildOf(RootHandle(), "A"), TVE_EXPAND);
  EXPECT_EQ(ChildTexts(ChildOf(RootHandle(), "A")), (Texts{"Quick", "C"}));
}

// The key is the command's; the system's own question for help after it does nothing more.
TEST_F(FreedInTreeTest, HelpComesOnce) {
  OpenDeleted();
  int helped = 0;
  window_->on_command = [&](const Command& command) { helped += command.number == kCommandHelp; };
  Run(kCommandHelp);
  SendMessageW(Tree(), 0x4D, 0, 0);
  Pump();
  window_->on_command = nullptr;
  EXPECT_EQ(helped, 1);
  EXPECT_TRUE(TakeBoxes().empty());
}

}  // namespace
}  // namespace hivequarry::testing
