// The tree pane: a tree control over a KeyTree. Branches are filled when they are first opened, in
// slices, so that one with very many keys does not stop the window. An item's lParam is its index
// in the tree, its icon is asked for when it is drawn.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/key_tree.h"
#include "reports/removed_state.h"
#include "ui/draw/win.h"
#include "view/freed_tree.h"

namespace hivequarry {

// A branch that is being filled, a slice at a time. Its items are in the control in the order of
// the tree also while some of them are missing.
struct BranchFill {
  uint32_t parent = kNoItem;
  uint32_t next = kNoItem;      // the next child to be inserted, kNoItem when all are there
  HTREEITEM last = nullptr;     // the child before it
  std::vector<uint32_t> ahead;  // children inserted before their turn, ascending
  UINT state = 0;               // of the items inserted
  // Guests that are inserted after the children: places among FreedTree::tops.
  size_t guest = 0;
  size_t guest_end = 0;
};

// After the roots of all hives is the folder "Workspace", which is no item of a key tree.
inline constexpr const wchar_t* kWorkspaceTitle = L"Workspace";

// In the lParam of items below the folder "Removed by the logs", which are those of another tree.
inline constexpr LPARAM kRemovedSide = LPARAM{1} << 32;
// Of those that were deleted.
inline constexpr LPARAM kFreedSide = LPARAM{1} << 33;
// And which of the hives in the control it is.
inline constexpr int kHiveShift = 40;
inline constexpr LPARAM SideOfHive(uint32_t number) {
  return static_cast<LPARAM>(number) << kHiveShift;
}
inline constexpr uint32_t HiveOfSide(LPARAM param) {
  return static_cast<uint32_t>(param >> kHiveShift);
}

// The items of one tree in a control, which may have those of several.
struct TreePane {
  HWND window = nullptr;
  LPARAM side = 0;  // in the lParam of its items: several trees may be in one control
  const RemovedState* removed = nullptr;  // of the tree of what logs removed
  const FreedTree* freed = nullptr;       // of the tree of what was deleted
  TreePane* guests = nullptr;  // the pane of such a tree, whose branches are among this one's items
  HFONT struck = nullptr;      // of deleted keys
  const HiveImage* hive = nullptr;
  const KeyTree* tree = nullptr;
  std::vector<HTREEITEM> handles;  // by item; null while it is not in the control
  std::vector<BranchFill> fills;   // under way
  std::vector<bool> differing;     // items marked as different; empty for none
  // "Expand subfolders" under way, a slice at a time: the branch, the next item in it and the one
  // to end before.
  uint32_t expand_top = 0;
  uint32_t expand_next = 0;
  uint32_t expand_end = 0;
  uint32_t expand_guest = 0;     // of the deleted keys below expand_next the next one
  uint32_t expand_inserted = 0;  // how many of these are in the control
};

// The parent places it; null when it can't be had.
HWND MakeTreePane(HWND parent, int identifier);
// Takes out what the pane has in the control, then shows `tree` with its root, expanded, after the
// item `after` (or TVI_FIRST). The folder "Workspace" comes with the first one. The pane keeps both
// references.
void ShowTree(TreePane& pane, const HiveImage& hive, const KeyTree& tree, HTREEITEM after);
// Takes it out again, and what was hung among its items. Guests still have their handles then:
// RemoveFolder follows for their pane.
void ClearTree(TreePane& pane);
// A tree of its own in a control that another one fills: its folder, after an item, stands for the
// root; what is in it is known later. The pane keeps the reference.
void InsertFolder(TreePane& pane, HTREEITEM after, std::wstring text);
// Takes the folder out, with what is in it; the pane is as one that was never used.
void RemoveFolder(TreePane& pane);
void BindFolder(TreePane& pane, const RemovedState& removed, std::wstring text);
// Binds `guests` to what was deleted, and hangs its branches among the items of `host`, in the same
// control: in slices where a branch is open. A folder that was inserted before is item 0. The panes
// keep the references.
void AttachGuests(TreePane& host, TreePane& guests, const HiveImage& hive, const FreedTree& freed);
// Takes all of it out of the control.
void DetachGuests(TreePane& host, TreePane& guests);
// As SelectItem, of an item of the guests.
void SelectGuest(TreePane& host, TreePane& guests, uint32_t item);
// True when the folder, or an item of the tree, is selected.
bool IsSideSelected(const TreePane& pane);
// Shows the root's text again, which has changed.
void RenameRoot(TreePane& pane);

// The selected item of the key tree, kNoItem for none and for the Workspace.
uint32_t SelectedItem(const TreePane& pane);
bool IsWorkspaceSelected(const TreePane& pane);
bool IsWorkspaceParam(LPARAM param);
// The lParam of an item of the control; that of the Workspace for none.
LPARAM ParamOfItem(HWND control, HTREEITEM item);
// Opens the branches that lead to `item` and selects it, be they filled so far or not.
void SelectItem(TreePane& pane, uint32_t item);
// kNoItem for the Workspace, for items of other trees and for null.
uint32_t ItemOfHandle(const TreePane& pane, HTREEITEM handle);
// Takes an item, which was hidden with all below it, out of the pane. Where it or an item below was
// selected, its successor, predecessor or parent is.
void RemoveItem(TreePane& pane, uint32_t item);

// Marks these items, and those on the way to them, as different from what they are compared with;
// none any more when there are none.
void MarkDifferences(TreePane& pane, const std::vector<uint32_t>& items);

// TVN_ITEMEXPANDING, TVN_GETDISPINFO, TVN_GETINFOTIP and NM_CUSTOMDRAW.
void OnTreeExpanding(TreePane& pane, const NMTREEVIEWW& notice);
void OnTreeDisplay(const TreePane& pane, NMTVDISPINFOW& notice);
void OnTreeTip(const TreePane& pane, const NMTVGETINFOTIPW& notice);
LRESULT OnTreeDraw(const TreePane& pane, NMTVCUSTOMDRAW& notice);

// Inserts a slice of what is missing in the branches being filled; true while there is more.
bool FillSlice(TreePane& pane);

}  // namespace hivequarry
