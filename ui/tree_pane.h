// The tree pane: a tree control over a KeyTree. Branches are filled when they are first opened; an
// item's lParam is its index in the tree, texts are asked for when they are drawn.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/key_tree.h"
#include "ui/win.h"

namespace hivequarry {

struct TreePane {
  HWND window = nullptr;
  const HiveImage* hive = nullptr;
  const KeyTree* tree = nullptr;
  std::vector<HTREEITEM> handles;  // by item; null while its branch was never opened
  // "Expand subfolders" under way, a slice at a time: the branch, the next item in it and the one
  // to end before.
  uint32_t expand_top = 0;
  uint32_t expand_next = 0;
  uint32_t expand_end = 0;
  std::wstring text;  // of the item being drawn
};

HWND MakeTreePane(HWND parent, int identifier);
// Empties the pane, then shows `tree` with its root expanded. The pane keeps both references.
void ShowTree(TreePane& pane, const HiveImage& hive, const KeyTree& tree);
void ClearTree(TreePane& pane);

// The selected item, kNoItem for none.
uint32_t SelectedItem(const TreePane& pane);
// Opens the branches that lead to `item` and selects it.
void SelectItem(TreePane& pane, uint32_t item);
uint32_t ItemOfHandle(const TreePane& pane, HTREEITEM handle);

// TVN_ITEMEXPANDING, TVN_GETDISPINFO and NM_CUSTOMDRAW.
void OnTreeExpanding(TreePane& pane, const NMTREEVIEWW& notice);
void OnTreeDisplay(TreePane& pane, NMTVDISPINFOW& notice);
LRESULT OnTreeDraw(NMTVCUSTOMDRAW& notice);

// Starts to open every branch from `item` down; ExpandSlice does the next part of it and returns
// true while there is more. Collapsing ends it.
void StartExpand(TreePane& pane, uint32_t item);
bool ExpandSlice(TreePane& pane);
void CollapseBranch(TreePane& pane, uint32_t item);

}  // namespace hivequarry
