// What the panes show of a hive.
#include <cstring>

#include "app/settings.h"
#include "tests/window/window_fixture.h"
#include "ui/frame/splitter.h"
#include "ui/frame/text.h"
#include "view/item_words.h"
#include "view/tree_icons.h"
#include "words/value_text.h"

namespace hivequarry::testing {
namespace {

std::string Hex(uint32_t number) { return Formatted("0x%08X", number); }

BuiltHive PanesHive() {
  HiveBuilder hive;
  hive.Key("Tools")
      .Sz("Path", "C:\\Tools")
      .Dword("Count", 0x2A)
      .Binary("Blob", 20)
      .Sz("", "by default");
  hive.Key("Tools\\Inner\\Deep");
  hive.Key("Empty");
  hive.Key("Lost\\Child").Sz("Kept", "yes");
  return hive.Build();
}

TEST_F(WindowTest, ValuesOfTheSelectedKey) {
  const BuiltHive hive = PanesHive();
  OpenBytes(hive.bytes);
  SelectPath("Tools");
  EXPECT_EQ(TextOf(window_->controls.path), window_->shown->tree->root_text + "\\Tools");
  ASSERT_EQ(ListView_GetItemCount(window_->values.window), 4);
  EXPECT_EQ(ValueRowTexts(0),
            (Texts{"Path", "REG_SZ", "C:\\Tools", Hex(hive.ValuePosition("Tools", "Path"))}));
  EXPECT_EQ(ValueRowTexts(1), (Texts{"Count", "REG_DWORD", "0x0000002A (42)",
                                     Hex(hive.ValuePosition("Tools", "Count"))}));
  EXPECT_EQ(ValueRowTexts(3)[0], "(Default value)");
  EXPECT_NE(TextOf(window_->viewer.detail.window).find("Tools"),
            std::string::npos);  // the key's own detail

  SelectRow(1);
  EXPECT_TRUE(
      TextOf(window_->viewer.detail.window)
          .starts_with(Formatted("Type 4, Value 0x%X", hive.ValuePosition("Tools", "Count"))));
  EXPECT_NE(TextOf(window_->viewer.detail.window).find("0x0000002A (42)"), std::string::npos);

  SelectPath("Empty");
  EXPECT_EQ(ListView_GetItemCount(window_->values.window), 1);
  EXPECT_EQ(ValueRowTexts(0)[0], "(No values set)");
}

// The control gets a long text in parts; a newer one ends that.
TEST_F(WindowTest, LongDetailComesWhole) {
  HiveBuilder builder;
  builder.Key("Tools").Binary("Blob", 60000).Sz("Path", "C:\\Tools");
  const BuiltHive hive = builder.Build();
  OpenBytes(hive.bytes);
  SelectPath("Tools");
  SelectRow(0);
  const std::string text = TextOfWide(ValueDetailOf(ShownHive(*window_), *window_->shown->tree,
                                                    hive.ValuePosition("Tools", "Blob")));
  ASSERT_GT(text.size(), 200000U);
  EXPECT_TRUE(PumpUntil([&] { return window_->viewer.detail.text.empty(); }));
  EXPECT_TRUE(TextOf(window_->viewer.detail.window) == text);
  SelectRow(1);
  SelectRow(0);
  SelectRow(1);
  EXPECT_TRUE(PumpUntil([&] { return window_->viewer.detail.text.empty(); }));
  EXPECT_LT(TextOf(window_->viewer.detail.window).size(), 200U);
}

TEST_F(WindowTest, OnlyTheNewestSelectionIsShown) {
  OpenBytes(PanesHive().bytes);
  const HiveImage& hive = ShownHive(*window_);
  const uint32_t tools = FindItemByPath(hive, *window_->shown->tree, "Tools");
  const uint32_t empty = FindItemByPath(hive, *window_->shown->tree, "Empty");
  for (int i = 0; i < 100; ++i) {
    OnItemSelected(*window_, tools);
    OnItemSelected(*window_, empty);
  }
  WaitForRows();
  EXPECT_EQ(window_->selection.item, empty);
  EXPECT_TRUE(PumpUntil([&] { return !ValueThreadsRun(window_->selection.threads); }));
  EXPECT_EQ(window_->selection.item, empty);
  EXPECT_TRUE(surroundings_.boxes.empty());
}

TEST_F(WindowTest, FoldersOfWhatIsDisconnected) {
  BuiltHive hive = PanesHive();
  hive.Unlink("Lost");
  // A list that is gone leaves its value without a key.
  hive.SetU32(hive.PositionOf("Lost\\Child"), field::kKeyValues, 0)
      .SetU32(hive.PositionOf("Lost\\Child"), field::kKeyValueList, kNone);
  OpenBytes(hive.bytes);
  SelectItemAndWait(window_->shown->tree->disconnected_keys);
  ASSERT_EQ(ListView_GetItemCount(window_->values.window), 1);
  EXPECT_EQ(ValueRowTexts(0), (Texts{"Info", "", "Keys not connected to the Root cell", ""}));

  SelectItemAndWait(window_->shown->tree->disconnected_values);
  ASSERT_EQ(ListView_GetItemCount(window_->values.window), 2);
  EXPECT_EQ(ValueRowTexts(0), (Texts{"Info", "", "Values not connected to any key", ""}));
  EXPECT_EQ(ValueRowTexts(1)[0], "Kept");
  EXPECT_EQ(ValueRowTexts(1)[2], "yes");

  const uint32_t lost = ItemOfPosition(*window_->shown->tree, hive.PositionOf("Lost"));
  SelectItemAndWait(lost);
  EXPECT_EQ(ItemText(window_->shown->pane.handles[lost]), "Lost");
  EXPECT_EQ(window_->shown->tree->items[lost].parent, window_->shown->tree->disconnected_keys);
  EXPECT_EQ(ClosedIcon(window_->shown->tree->items[lost]), kIconIsolatedRepaired);
}

TEST_F(WindowTest, TechnicalViewAndCellDetails) {
  const BuiltHive hive = PanesHive();
  OpenBytes(hive.bytes);
  SelectPath("Tools");
  Run(kCommandTechnicalView);
  WaitForRows();
  const std::string name = Formatted("%Xovk, 4ln, 18ld, Path", hive.ValuePosition("Tools", "Path"));
  EXPECT_EQ(ValueRowTexts(0)[0], name);
  Run(kCommandCellDetails);
  WaitForRows();
  ASSERT_EQ(ListView_GetItemCount(window_->values.window), 5);
  EXPECT_EQ(ValueRowTexts(0)[0].substr(0, 1), "_");
  EXPECT_EQ(ValueRowTexts(1)[0], name);
  Run(kCommandTechnicalView);
  Run(kCommandCellDetails);
  WaitForRows();
  EXPECT_EQ(ValueRowTexts(0)[0], "Path");
}

TEST_F(WindowTest, BlockListHasARowForEachBlock) {
  HiveBuilder builder;
  for (int i = 0; i < 200; ++i) builder.Key("Key" + std::to_string(i));
  BuiltHive hive = builder.Build();
  ASSERT_GE(hive.BinCount(), 2U);
  const uint32_t last = hive.BinPosition(hive.BinCount() - 1);
  hive.SetU32(last, 0, 0);  // no "hbin" there any more
  OpenBytes(hive.bytes);
  Run(kCommandBlockList);
  ASSERT_NE(window_->blocks, nullptr);
  const HWND list = FindWindowExW(window_->blocks, nullptr, WC_LISTVIEWW, nullptr);
  ASSERT_EQ(ListView_GetItemCount(list), static_cast<int>(hive.BinCount()));
  EXPECT_EQ(RowTexts(list, 0)[1], "00001000");
  EXPECT_EQ(RowTexts(list, static_cast<int>(hive.BinCount()) - 1)[2], "invalid");
  const HWND first = window_->blocks;
  Run(kCommandBlockList);
  EXPECT_EQ(window_->blocks, first);
  SendMessageW(first, WM_CLOSE, 0, 0);
  EXPECT_EQ(window_->blocks, nullptr);
}

TEST_F(WindowTest, BlockListBeginsBesideWhatIsThere) {
  OpenBytes(HiveBuilder().Build().bytes);
  RECT main;
  GetWindowRect(handle_, &main);
  WindowPlace& kept = TheSettings().places[kPlaceBlocks];
  kept = {main.left, main.top, main.left + 400, main.top + 300, false, {}};
  const WindowPlace before = kept;
  Run(kCommandBlockList);
  ASSERT_NE(window_->blocks, nullptr);
  RECT blocks;
  GetWindowRect(window_->blocks, &blocks);
  EXPECT_GT(blocks.left, main.left);
  EXPECT_GT(blocks.top, main.top);
  SendMessageW(window_->blocks, WM_CLOSE, 0, 0);
  EXPECT_EQ(kept.left, before.left) << "it would begin further to the right each time";
  EXPECT_EQ(kept.bottom, before.bottom);
}

TEST_F(WindowTest, ExpandsAndCollapsesSubfolders) {
  HiveBuilder builder;
  for (int i = 0; i < 300; ++i) builder.Key("Top\\Key" + std::to_string(i) + "\\Sub\\Leaf");
  OpenBytes(builder.Build().bytes);
  SelectPath("Top");
  Run(kCommandExpand);
  const uint32_t leaf =
      FindItemByPath(ShownHive(*window_), *window_->shown->tree, "Top\\Key299\\Sub\\Leaf");
  EXPECT_TRUE(PumpUntil([&] { return window_->shown->pane.expand_end == 0; }));
  ASSERT_NE(window_->shown->pane.handles[leaf], nullptr);
  EXPECT_EQ(ItemText(window_->shown->pane.handles[leaf]), "Leaf");
  const uint32_t sub = window_->shown->tree->items[leaf].parent;
  EXPECT_TRUE(IsItemExpanded(window_->shown->pane.handles[sub]));
  Run(kCommandCollapse);
  EXPECT_FALSE(IsItemExpanded(window_->shown->pane.handles[sub]));
  EXPECT_FALSE(IsItemExpanded(TreeView_GetSelection(window_->controls.tree)));
}

// Names that a control could choke on: a zero inside, longer than an item text, other scripts.
TEST_F(WindowTest, UnusualNames) {
  HiveBuilder builder;
  const std::string zero("a\0b", 3);
  const std::string length(255, 'w');
  const std::string greek = "\xCE\xA9mega";
  builder.Root().NewKey(zero);
  builder.Root().NewKey(length);
  builder.Root().NewKey(greek);
  OpenBytes(builder.Build().bytes);
  const Texts texts = ChildTexts(RootHandle());
  ASSERT_EQ(texts.size(), 5U);
  EXPECT_NE(std::find(texts.begin(), texts.end(), "a\\u{0}b"), texts.end());
  EXPECT_NE(std::find(texts.begin(), texts.end(), length), texts.end());
  // The path line and the clipboard lose nothing.
  for (uint32_t item = 1; item < 4; ++item) {
    if (ItemName(ShownHive(*window_), *window_->shown->tree, item) != greek) continue;
    SelectItemAndWait(item);
    const std::string path = window_->shown->tree->root_text + "\\" + greek;
    EXPECT_EQ(TextOf(window_->controls.path), path);
    Run(kCommandCopyKeyName);
    EXPECT_EQ(ClipboardText(), path);
  }
}

TEST_F(WindowTest, SplittersMoveByMouseAndKeys) {
  OpenBytes(PanesHive().bytes);
  const auto width = [&] {
    RECT area;
    GetWindowRect(window_->controls.tree, &area);
    return static_cast<int>(area.right - area.left);
  };
  const int before = width();
  SendMessageW(window_->controls.tree_splitter, WM_KEYDOWN, VK_RIGHT, 0);
  EXPECT_GT(width(), before);
  SendMessageW(window_->controls.tree_splitter, WM_KEYDOWN, VK_LEFT, 0);
  EXPECT_EQ(width(), before);
  SendMessageW(window_->controls.tree_splitter, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(2, 50));
  SendMessageW(window_->controls.tree_splitter, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(42, 50));
  SendMessageW(window_->controls.tree_splitter, WM_LBUTTONUP, 0, MAKELPARAM(2, 50));
  EXPECT_NEAR(width(), before + 40, 1);
  // Neither side can be moved out of the window.
  SendMessageW(handle_, kSplitterMoved, kTreeSplitterId, 100000);
  RECT client;
  GetClientRect(handle_, &client);
  EXPECT_LT(width(), client.right);
  Run(kCommandDetailPane);
  EXPECT_FALSE(IsWindowVisible(window_->viewer.detail.window));
  SelectPath("Tools");
  SelectRow(0);
  Run(kCommandValueDetails);
  EXPECT_TRUE(IsWindowVisible(window_->viewer.detail.window));
}

TEST_F(WindowTest, GoesOverToAnotherResolution) {
  OpenBytes(PanesHive().bytes);
  Run(kCommandResizeColumns);
  const uint32_t old_dpi = window_->dpi;
  const uint32_t dpi = old_dpi * 2;
  const int column = ListView_GetColumnWidth(window_->values.window, 0);
  const int row = TreeView_GetItemHeight(window_->controls.tree);
  RECT place;
  GetWindowRect(handle_, &place);
  SendMessageW(handle_, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&place));
  EXPECT_EQ(window_->dpi, dpi);
  EXPECT_EQ(ListView_GetColumnWidth(window_->values.window, 0), column * 2);
  EXPECT_GT(TreeView_GetItemHeight(window_->controls.tree), row * 3 / 2);
  int width = 0;
  int height = 0;
  ImageList_GetIconSize(TreeView_GetImageList(window_->controls.tree, TVSIL_NORMAL), &width,
                        &height);
  EXPECT_EQ(height, Scale(16, dpi));
  RECT tree;
  GetClientRect(window_->controls.tree, &tree);
  EXPECT_NEAR(tree.right, Scale(window_->layout.tree_width, dpi), 24);
}

}  // namespace
}  // namespace hivequarry::testing
