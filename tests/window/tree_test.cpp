// What the tree tells of each key, and how branches with very many keys come into it.
#include "tests/window/window_fixture.h"
#include "ui/frame/text.h"
#include "ui/main/expanding.h"
#include "ui/main/status.h"
#include "view/tree_icons.h"
#include "words/value_text.h"

namespace hivequarry::testing {
namespace {

// The words a line each, and the position.
std::string TipText(std::string words, bool made, uint32_t position) {
  const size_t gap = words.find("    ");
  if (gap != std::string::npos) words.replace(gap, 4, "\r\n");
  if (!words.empty()) words += "\r\n";
  return words + Formatted(made ? "No key cell at 0x%08X (%u)" : "Position: 0x%08X (%u)", position,
                           position);
}

class TreeTest : public WindowTest {
 protected:
  HWND Tree() const { return window_->controls.tree; }
  HTREEITEM HandleOf(uint32_t item) const { return window_->shown->pane.handles[item]; }

  uint32_t ItemAt(uint32_t position) const {
    return ItemOfPosition(*window_->shown->tree, position);
  }

  // As the control has it: an open branch shows the open twin.
  int ShownIcon(uint32_t item) const {
    TVITEMW info{};
    info.mask = TVIF_IMAGE;
    info.hItem = HandleOf(item);
    TreeView_GetItem(Tree(), &info);
    return info.iImage - (IsItemExpanded(info.hItem) ? 1 : 0);
  }

  std::string TipOf(uint32_t item) const {
    wchar_t text[300] = L"";
    NMTVGETINFOTIPW notice{};
    notice.hdr = {Tree(), static_cast<UINT_PTR>(kTreeId), static_cast<UINT>(TVN_GETINFOTIPW)};
    notice.pszText = text;
    notice.cchTextMax = 300;
    notice.hItem = HandleOf(item);
    notice.lParam = static_cast<LPARAM>(item);
    SendMessageW(handle_, WM_NOTIFY, kTreeId, reinterpret_cast<LPARAM>(&notice));
    return Utf8Name(text);
  }

  // The items below a branch in the order of the control.
  std::vector<uint32_t> ShownChildren(uint32_t item) const {
    std::vector<uint32_t> items;
    for (HTREEITEM child = TreeView_GetChild(Tree(), HandleOf(item)); child != nullptr;
         child = TreeView_GetNextSibling(Tree(), child)) {
      items.push_back(ItemOfHandle(window_->shown->pane, child));
    }
    return items;
  }
  std::vector<uint32_t> ChildrenOf(uint32_t item) const {
    std::vector<uint32_t> items;
    for (uint32_t child = FirstChild(*window_->shown->tree, item); child != kNoItem;
         child = NextSibling(*window_->shown->tree, child)) {
      items.push_back(child);
    }
    return items;
  }
  bool IsFilled() {
    return PumpUntil([&] { return window_->shown->pane.fills.empty(); });
  }
};

// One key for each way of being repaired.
struct RepairedHive {
  BuiltHive hive;
  uint32_t tools, inner, deep, wiped, zapped, kid, nameless, twisted, slack;
};

RepairedHive MakeRepairedHive() {
  HiveBuilder builder;
  builder.DefaultList(List::kLf);
  builder.Key("Tools").Sz("Path", "C:\\Tools");
  builder.Key("Tools\\Inner\\Deep");
  builder.Key("Tools\\Other");
  builder.Key("Hashed").ListStyle(List::kLh);
  builder.Key("Hashed\\Zapped\\Kid");
  builder.Key("Slack").Slack(64);
  for (const char* name : {"Nameless", "Twisted", "Wiped"}) builder.Key(name);
  RepairedHive made{builder.Build(), 0, 0, 0, 0, 0, 0, 0, 0, 0};
  BuiltHive& hive = made.hive;
  const auto wipe = [&hive](uint32_t cell) {
    const uint32_t length = hive.CellLength(cell);
    hive.Zero(cell, length).SetU32(cell, 0, length);
  };
  made.tools = hive.PositionOf("Tools");
  made.inner = hive.PositionOf("Tools\\Inner");
  made.deep = hive.PositionOf("Tools\\Inner\\Deep");
  made.wiped = hive.PositionOf("Wiped");
  made.zapped = hive.PositionOf("Hashed\\Zapped");
  made.kid = hive.PositionOf("Hashed\\Zapped\\Kid");
  made.nameless = hive.PositionOf("Nameless");
  made.twisted = hive.PositionOf("Twisted");
  made.slack = hive.PositionOf("Slack");
  hive.Unlink("Tools\\Inner");
  wipe(made.wiped);
  wipe(made.zapped);
  hive.SetU16(made.nameless, field::kKeyNameLength, 0);
  hive.FlipBit(made.twisted + field::kSignature + 1, 0);
  return made;
}

TEST_F(TreeTest, EveryRepairIsSeen) {
  const RepairedHive made = MakeRepairedHive();
  OpenBytes(made.hive.bytes);
  const struct {
    const char* what;
    uint32_t position;
    int icon;
    const char* words;
    bool made = false;
  } kCases[] = {
      {"sound", made.tools, kIconFolder, ""},
      {"slack after its name", made.slack, kIconFolder, "Info: bad_len"},
      {"unlinked", made.inner, kIconIsolatedRepaired, "Status: by parent field    Info: par_field"},
      {"below an unlinked one", made.deep, kIconIsolated, ""},
      {"made from a list with hints", made.wiped, kIconMadeHint,
       "Status: hash name    Info: virtchild", true},
      {"made from a list with hashes", made.zapped, kIconMade,
       "Status: missing name    Info: virtname virtpar lf_repaired", true},
      {"below a made one", made.kid, kIconIsolatedRepaired,
       "Status: by parent field    Info: par_field"},
      {"named by a hint", made.nameless, kIconUnnamed, "Status: hash name"},
      {"bad signature", made.twisted, kIconRepaired, "Info: bad_nk"},
  };
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.what);
    const uint32_t item = ItemAt(expected.position);
    SelectItemAndWait(item);
    EXPECT_EQ(ShownIcon(item), expected.icon);
    EXPECT_EQ(StatusText(kStatusText), std::string(" ") + expected.words);
    EXPECT_EQ(TipOf(item), TipText(expected.words, expected.made, expected.position));
  }
}

TEST_F(TreeTest, CopyShowsItsKeyAndSaysThatItIsOne) {
  const RepairedHive made = MakeRepairedHive();
  OpenBytes(made.hive.bytes);
  const KeyTree& tree = *window_->shown->tree;
  const uint32_t copy = tree.items[ItemAt(made.inner)].parent;
  ASSERT_EQ(tree.items[copy].kind, ItemKind::kPathCopy);
  SelectItemAndWait(copy);
  EXPECT_EQ(ShownIcon(copy), kIconCopy);
  EXPECT_EQ(StatusText(kStatusText), " copy of a connected key");
  EXPECT_EQ(TextOf(window_->controls.path), tree.root_text + "\\Disconnected Keys\\Tools");
  ASSERT_EQ(ListView_GetItemCount(window_->values.window), 1);
  EXPECT_EQ(ValueRowTexts(0)[2], "C:\\Tools");
  const std::string detail = TextOf(window_->viewer.detail.window);
  EXPECT_EQ(detail.find("This is a copy of a connected key"), 0U);
  EXPECT_NE(detail.find("Key: " + tree.root_text + "\\Tools\r\n"), std::string::npos);
  EXPECT_EQ(TipOf(copy), TipText("copy of a connected key", false, made.tools));

  for (const uint32_t folder : {tree.disconnected_keys, tree.disconnected_values}) {
    SelectItemAndWait(folder);
    EXPECT_EQ(ShownIcon(folder),
              folder == tree.disconnected_keys ? kIconLostKeys : kIconLostValues);
    EXPECT_NE(TreeView_GetItemState(Tree(), HandleOf(folder), TVIS_BOLD) & TVIS_BOLD, 0U);
    EXPECT_EQ(StatusText(kStatusText), " ");
    EXPECT_EQ(TipOf(folder), ValueRowTexts(0)[2]);
  }
}

// More children than one slice holds.
Bytes WideHive() {
  HiveBuilder builder;
  builder.Key("Wide").ListStyle(List::kRiOfLh);
  KeyRef wide = builder.Key("Wide");
  for (int i = 10000; i < 22000; ++i) {
    KeyRef key = wide.NewKey("Key" + std::to_string(i));
    if (i == 10001 || i == 21990) key.NewKey("Sub");
  }
  builder.Key("Xenon\\Sub");
  return builder.Build().bytes;
}

TEST_F(TreeTest, WideBranchComesInSlices) {
  OpenBytes(WideHive());
  SelectPath("Wide");
  const uint32_t wide = SelectedItem(window_->shown->pane);
  TreeView_Expand(Tree(), HandleOf(wide), TVE_EXPAND);
  EXPECT_FALSE(window_->shown->pane.fills.empty());
  EXPECT_LT(ShownChildren(wide).size(), 12000U);
  // Keys whose turn has not come, each of them before or between those already there.
  for (const char* path :
       {"Wide\\Key21990\\Sub", "Wide\\Key20000", "Wide\\Key21000", "Wide\\Key20500"}) {
    const uint32_t item = FindItemByPath(ShownHive(*window_), *window_->shown->tree, path);
    ASSERT_NE(item, kNoItem);
    EXPECT_EQ(HandleOf(item), nullptr) << path;
    SelectItem(window_->shown->pane, item);
    EXPECT_EQ(SelectedItem(window_->shown->pane), item) << path;
  }
  WaitForRows();
  EXPECT_EQ(TextOf(window_->controls.path), window_->shown->tree->root_text + "\\Wide\\Key20500");
  ASSERT_TRUE(IsFilled());
  EXPECT_TRUE(ShownChildren(wide) == ChildrenOf(wide));
  // What came before the selected key has not pushed it out of sight.
  RECT area{};
  RECT client{};
  EXPECT_TRUE(TreeView_GetItemRect(Tree(), TreeView_GetSelection(Tree()), &area, TRUE));
  GetClientRect(Tree(), &client);
  EXPECT_GE(area.top, 0);
  EXPECT_LE(area.bottom, client.bottom);
}

TEST_F(TreeTest, WideBranchIsCollapsedAndExpandedOnItsWay) {
  OpenBytes(WideHive());
  SelectPath("Wide");
  const uint32_t wide = SelectedItem(window_->shown->pane);
  const uint32_t sub =
      FindItemByPath(ShownHive(*window_), *window_->shown->tree, "Wide\\Key21990\\Sub");
  // Collapsed by the command while being filled: it starts anew.
  TreeView_Expand(Tree(), HandleOf(wide), TVE_EXPAND);
  EXPECT_FALSE(window_->shown->pane.fills.empty());
  Run(kCommandCollapse);
  EXPECT_TRUE(window_->shown->pane.fills.empty());
  EXPECT_EQ(TreeView_GetChild(Tree(), HandleOf(wide)), nullptr);
  // Closed by hand while being filled: the rest comes all the same.
  TreeView_Expand(Tree(), HandleOf(wide), TVE_EXPAND);
  TreeView_Expand(Tree(), HandleOf(wide), TVE_COLLAPSE);
  EXPECT_FALSE(window_->shown->pane.fills.empty());
  // And "Expand subfolders" takes over what was begun.
  Run(kCommandExpand);
  ASSERT_TRUE(PumpUntil([&] { return window_->shown->pane.expand_end == 0; }));
  ASSERT_TRUE(IsFilled());
  EXPECT_TRUE(IsItemExpanded(HandleOf(wide)));
  ASSERT_NE(HandleOf(sub), nullptr);
  EXPECT_TRUE(IsItemExpanded(HandleOf(window_->shown->tree->items[sub].parent)));
  EXPECT_TRUE(ShownChildren(wide) == ChildrenOf(wide));
  // An expansion that another one displaced leaves no branch half filled.
  Run(kCommandCollapse);
  Run(kCommandExpand);
  SelectItem(window_->shown->pane, 0);
  Run(kCommandExpand);
  ASSERT_TRUE(PumpUntil([&] { return window_->shown->pane.expand_end == 0; }));
  ASSERT_TRUE(IsFilled());
  EXPECT_TRUE(ShownChildren(wide) == ChildrenOf(wide));
}

// "Expand subfolders" that is ended on its way leaves no branch that cannot be opened.
TEST_F(TreeTest, EndedExpansionLeavesBranchesClosed) {
  OpenBytes(WideHive());
  SelectPath("Wide");
  Run(kCommandExpand);
  EXPECT_FALSE(window_->shown->pane.fills.empty());
  // At once: a wait would let it come to its end.
  SelectItem(window_->shown->pane,
             FindItemByPath(ShownHive(*window_), *window_->shown->tree, "Xenon"));
  Run(kCommandCollapse);
  ASSERT_TRUE(IsFilled());
  for (const char* path : {"Wide\\Key10001\\Sub", "Wide\\Key21990\\Sub", "Xenon\\Sub"}) {
    SCOPED_TRACE(path);
    const uint32_t item = FindItemByPath(ShownHive(*window_), *window_->shown->tree, path);
    const uint32_t parent = window_->shown->tree->items[item].parent;
    EXPECT_FALSE(IsItemExpanded(HandleOf(parent)));
    SelectItemAndWait(item);
    EXPECT_TRUE(IsItemExpanded(HandleOf(parent)));
    EXPECT_EQ(ShownChildren(parent), ChildrenOf(parent));
  }
}

// Each slice takes so many items that the branch is not open after the first one.
TEST_F(TreeTest, ExpandingTellsHowFarItIs) {
  OpenBytes(WideHive());
  SelectPath("Wide");
  Texts said;
  surroundings_.on_status = [&said](const char* text) { said.emplace_back(text); };
  Run(kCommandExpand);
  EXPECT_TRUE(IsExpanding(*window_));
  EXPECT_EQ(window_->host.progress_steps, 12003U);
  ASSERT_TRUE(PumpUntil([&] { return !IsExpanding(*window_); }));
  surroundings_.on_status = nullptr;
  ASSERT_GE(said.size(), 3U);
  EXPECT_TRUE(said[0].starts_with("Opening branches, key ")) << said[0];
  EXPECT_TRUE(said[0].ends_with(" of 12,003 (Esc stops)")) << said[0];
  EXPECT_NE(said[1], said[0]);
  EXPECT_EQ(said.back(), "");
  EXPECT_EQ(window_->host.progress_steps, 0U);
  EXPECT_FALSE(FactsNow(*window_).expanding);
}

TEST_F(TreeTest, ExpandingIsStopped) {
  OpenBytes(WideHive());
  SelectPath("Wide");
  const uint32_t wide = SelectedItem(window_->shown->pane);
  const auto press = [&](WPARAM key) {
    MSG message{Tree(), WM_KEYDOWN, key, 0, 0, {}};
    HandleMessage(handle_, message);
  };
  const struct {
    const char* way;
    std::function<void()> stop;
  } kCases[] = {
      {"command", [&] { Run(kCommandStop); }},
      {"Esc", [&] { press(VK_ESCAPE); }},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.way);
    Run(kCommandCollapse);
    press(VK_MULTIPLY);  // as the command
    ASSERT_TRUE(IsExpanding(*window_));
    EXPECT_TRUE(IsAvailable(*FindCommand(Commands(), kCommandStop), FactsNow(*window_)));
    test.stop();
    EXPECT_FALSE(IsExpanding(*window_));
    EXPECT_EQ(window_->host.progress_steps, 0U);
    EXPECT_FALSE(IsAvailable(*FindCommand(Commands(), kCommandStop), FactsNow(*window_)));
    EXPECT_TRUE(IsItemExpanded(HandleOf(wide)));
    EXPECT_TRUE(TakeBoxes().empty());
    ASSERT_TRUE(IsFilled());  // the branch itself comes whole
    EXPECT_TRUE(ShownChildren(wide) == ChildrenOf(wide));
  }
}

// The branch is opened by hand and an item in it selected before all of them are there.
TEST_F(TreeTest, BranchIsUsedWhileItIsExpanded) {
  OpenBytes(WideHive());
  SelectPath("Wide");
  const uint32_t wide = SelectedItem(window_->shown->pane);
  Run(kCommandExpand);
  ASSERT_TRUE(IsExpanding(*window_));
  TreeView_Expand(Tree(), HandleOf(wide), TVE_EXPAND);
  const uint32_t sub =
      FindItemByPath(ShownHive(*window_), *window_->shown->tree, "Wide\\Key21990\\Sub");
  SelectItem(window_->shown->pane, sub);
  EXPECT_TRUE(IsExpanding(*window_));
  ASSERT_TRUE(PumpUntil([&] { return !IsExpanding(*window_); }));
  ASSERT_TRUE(IsFilled());
  EXPECT_EQ(SelectedItem(window_->shown->pane), sub);
  EXPECT_TRUE(IsItemExpanded(HandleOf(wide)));
  EXPECT_TRUE(ShownChildren(wide) == ChildrenOf(wide));
}

TEST_F(TreeTest, HiveThatIsExpandedIsClosed) {
  OpenBytes(WideHive());
  Run(kCommandExpand);
  ASSERT_TRUE(IsExpanding(*window_));
  Run(kCommandCloseHive);
  EXPECT_FALSE(IsExpanding(*window_));
  ASSERT_TRUE(PumpUntil([&] { return window_->host.progress_steps == 0; }));
  EXPECT_FALSE(window_->expanding_shown);
  // And the window with one.
  OpenBytes(WideHive());
  Run(kCommandExpand);
  EXPECT_TRUE(IsExpanding(*window_));
}

}  // namespace
}  // namespace hivequarry::testing
