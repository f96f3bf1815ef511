// The items of a branch have ascending numbers, each after its parent. One walk over these numbers
// opens all of the branch: without recursion, and a slice can end anywhere.
#include "ui/panes/tree_expand.h"

#include <algorithm>

#include "ui/panes/tree_fill.h"

namespace hivequarry {
namespace {

// The branches of the deleted keys below an item, which has them already. False at the end of the
// slice, with where to go on in `expand_guest`.
bool OpenGuests(TreePane& pane, uint32_t item, DWORD start) {
  const GuestRange range = GuestsOf(pane, item);
  uint32_t count = 0;
  for (size_t at = range.first; at < range.end; ++at) {
    TreePane& guests = *pane.guests;
    const uint32_t top = guests.freed->tops[at].item;
    const uint32_t end = guests.tree->items[top].end;
    for (uint32_t below = std::max(top, pane.expand_guest); below < end; ++below) {
      pane.expand_guest = below;
      if (count++ % kItemsPerLook == kItemsPerLook - 1 &&
          GetTickCount() - start >= kSliceMilliseconds) {
        return false;
      }
      if (guests.handles[below] == nullptr || !HasShownChildren(guests, below)) continue;
      if (!FillBranch(guests, below, kOpened, start)) return false;
      if (!IsExpanded(guests, guests.handles[below])) {
        TreeView_Expand(guests.window, guests.handles[below], TVE_EXPAND);
      }
    }
  }
  return true;
}

// Up to the end of the slice. A branch is made whole before its turn ends, so what is in it has its
// handle.
void OpenBranches(TreePane& pane) {
  const DWORD start = GetTickCount();
  for (uint32_t count = 0; count < kItemsPerSlice && pane.expand_next < pane.expand_end; ++count) {
    const uint32_t item = pane.expand_next;
    if (count % kItemsPerLook == 0 && GetTickCount() - start >= kSliceMilliseconds) return;
    if (HasShownChildren(pane, item) && pane.handles[item] != nullptr) {
      if (!FillBranch(pane, item, kOpened, start)) return;
      if (item != pane.expand_top && !IsExpanded(pane, pane.handles[item])) {
        TreeView_Expand(pane.window, pane.handles[item], TVE_EXPAND);
      }
      if (!OpenGuests(pane, item, start)) return;
    }
    pane.expand_guest = 0;
    ++pane.expand_next;
  }
}

}  // namespace

// What was to be opened but is not filled yet is closed again: an open branch would never ask for
// its items.
void EndExpand(TreePane& pane) {
  for (BranchFill& fill : pane.fills) fill.state = 0;
  for (uint32_t item = pane.expand_next; item < pane.expand_end; ++item) {
    if (pane.handles[item] == nullptr || IsWhole(MissingIn(pane, item))) continue;
    TreeView_SetItemState(pane.window, pane.handles[item], 0, kOpened);
  }
  pane.expand_next = pane.expand_end = 0;
}

// While the branch itself is closed, what happens inside costs no layout.
void StartExpand(TreePane& pane, uint32_t item) {
  EndExpand(pane);
  TreeView_Expand(pane.window, pane.handles[item], TVE_COLLAPSE);
  pane.expand_top = pane.expand_next = item;
  pane.expand_guest = 0;
  pane.expand_end = pane.tree->items[item].end;
  pane.expand_inserted = static_cast<uint32_t>(
      std::count_if(pane.handles.begin() + item, pane.handles.begin() + pane.expand_end,
                    [](HTREEITEM handle) { return handle != nullptr; }));
}

void StopExpand(TreePane& pane) {
  if (!IsExpanding(pane)) return;
  EndExpand(pane);
  TreeView_Expand(pane.window, pane.handles[pane.expand_top], TVE_EXPAND);
}

bool ExpandSlice(TreePane& pane) {
  if (!IsExpanding(pane)) return false;
  const bool ready = pane.expand_next == pane.expand_end;
  // The user may have opened the branch meanwhile: then each item would cost a layout.
  const bool open = !ready && IsExpanded(pane, pane.handles[pane.expand_top]);
  if (open) SetRedraw(pane, false);
  OpenBranches(pane);
  if (open) SetRedraw(pane, true);
  if (pane.expand_next < pane.expand_end) return true;
  // The layout of very many items takes a while: what is said of the progress is seen before.
  if (!ready && pane.expand_end - pane.expand_top > kItemsPerSlice) return true;
  TreeView_Expand(pane.window, pane.handles[pane.expand_top], TVE_EXPAND);
  pane.expand_next = pane.expand_end = 0;
  return false;
}

// The items below go: to close them one by one costs a layout for each.
void CollapseBranch(TreePane& pane, uint32_t item) {
  EndExpand(pane);
  const uint32_t end = pane.tree->items[item].end;
  std::erase_if(pane.fills,
                [=](const BranchFill& fill) { return IsBetween(fill.parent, item, end); });
  SetRedraw(pane, false);
  TreeView_Expand(pane.window, pane.handles[item], TVE_COLLAPSE | TVE_COLLAPSERESET);
  std::fill(pane.handles.begin() + item + 1, pane.handles.begin() + end, nullptr);
  ForgetGuests(pane, item, end);
  UpdateButton(pane, item);  // the control takes it away with the last child
  SetRedraw(pane, true);
}

}  // namespace hivequarry
