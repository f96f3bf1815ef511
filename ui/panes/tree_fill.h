// How items of a tree come into the control: one at a time, or a branch in slices. What is
// beside the tree pane asks for HasShownChildren alone.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ui/panes/tree_pane.h"

namespace hivequarry {

// A slice ends with the first of these bounds; the clock is looked at after so many items.
inline constexpr DWORD kSliceMilliseconds = 30;
inline constexpr uint32_t kItemsPerSlice = 4096;
inline constexpr uint32_t kItemsPerLook = 32;

// State of an item that is open as soon as its parent is.
inline constexpr UINT kOpened = TVIS_EXPANDED | TVIS_EXPANDEDONCE;

// The branches of deleted keys below an item: their places among FreedTree::tops.
struct GuestRange {
  size_t first = 0;
  size_t end = 0;
};
// Empty in a pane without guests. They are inserted after the item's own children.
GuestRange GuestsOf(const TreePane& pane, uint32_t item);
// With those of its guests.
bool HasShownChildren(const TreePane& pane, uint32_t item);

// Null when the control has no memory for it. `state`: of an item with children, 0 or kOpened.
HTREEITEM InsertItem(TreePane& pane, uint32_t item, HTREEITEM parent, HTREEITEM after, UINT state);

// The branch of an item that is being filled; null for one that is not. Valid until another begins
// or ends.
BranchFill* FillOf(TreePane& pane, uint32_t parent);
bool IsWhole(const BranchFill& fill);
// What is missing in the branch of an item that is not being filled.
BranchFill MissingIn(const TreePane& pane, uint32_t item);
// Fills the branch of `item` or goes on with it, a slice that began at `start`. True when it is
// whole.
bool FillBranch(TreePane& pane, uint32_t item, UINT state, DWORD start);
// Inserts a child of a branch being filled before its turn.
void InsertAhead(TreePane& pane, BranchFill& fill, uint32_t child);

inline bool IsBetween(uint32_t item, uint32_t first, uint32_t end) {
  return item >= first && item < end;
}

bool IsExpanded(const TreePane& pane, HTREEITEM handle);
// While it is off the control puts off its layout.
void SetRedraw(const TreePane& pane, bool on);
// A button is before an item with children.
void UpdateButton(const TreePane& pane, uint32_t item);
// The control no longer has the guests below the items [first, end).
void ForgetGuests(TreePane& pane, uint32_t first, uint32_t end);

}  // namespace hivequarry
