// A branch gets its own children and then its guests, each inserted after the one before it. A
// slice ends by time or count, and the next one goes on where it ended (BranchFill). What is needed
// before its turn is inserted ahead, at its place; when its turn comes it is there already.
#include "ui/panes/tree_fill.h"

#include <algorithm>
#include <string>
#include <utility>

#include "ui/frame/text.h"
#include "view/freed_words.h"
#include "view/item_words.h"

namespace hivequarry {
namespace {

constexpr size_t kLongestText = 259;  // of an item, in characters

UINT StateOf(const KeyItem& item, bool children, UINT state) {
  const bool folder =
      item.kind == ItemKind::kDisconnectedKeys || item.kind == ItemKind::kDisconnectedValues;
  return (children ? state : 0) | (folder ? TVIS_BOLD : 0);
}

std::wstring TextOfItem(const TreePane& pane, uint32_t item) {
  return WindowText(pane.freed != nullptr ? FreedItemText(*pane.hive, *pane.freed, item)
                                          : ItemName(*pane.hive, *pane.tree, item));
}

// Each child goes after the one before it: the control would look for the last child itself, from
// the first one on. False when the slice is full and the branch not yet whole.
bool Fill(TreePane& pane, BranchFill& fill, DWORD start) {
  for (uint32_t count = 1; !IsWhole(fill); ++count) {
    const HTREEITEM parent = pane.handles[fill.parent];
    const bool child = fill.next != kNoItem;
    TreePane& owner = child ? pane : *pane.guests;
    const uint32_t item = child ? fill.next : owner.freed->tops[fill.guest].item;
    if (child) {
      fill.next = NextSibling(*pane.tree, item);
    } else {
      ++fill.guest;
    }
    // Not null for one that was inserted ahead.
    HTREEITEM handle = owner.handles[item];
    if (handle == nullptr) {
      handle = InsertItem(owner, item, parent, fill.last, child ? fill.state : 0);
    }
    if (handle == nullptr) return true;  // no memory: the branch stays as it is
    fill.last = handle;
    const bool late = count % kItemsPerLook == 0 && GetTickCount() - start >= kSliceMilliseconds;
    if (late || count == kItemsPerSlice) return IsWhole(fill);
  }
  return true;
}

}  // namespace

GuestRange GuestsOf(const TreePane& pane, uint32_t item) {
  if (pane.guests == nullptr) return {};
  const FreedTree& freed = *pane.guests->freed;
  const std::span<const FreedTree::Top> tops = FreedTopsUnder(freed, item);
  const auto first = static_cast<size_t>(tops.data() - freed.tops.data());
  return {first, first + tops.size()};
}

bool HasShownChildren(const TreePane& pane, uint32_t item) {
  const GuestRange guests = GuestsOf(pane, item);
  return HasChildren(*pane.tree, item) || guests.first < guests.end;
}

// Every layout of the control asks for the texts of all open items that it was not given, so it is
// given them; pictures are asked for only when they are drawn.
HTREEITEM InsertItem(TreePane& pane, uint32_t item, HTREEITEM parent, HTREEITEM after, UINT state) {
  std::wstring text = TextOfItem(pane, item);
  if (text.size() > kLongestText) text.resize(kLongestText);
  const bool children = HasShownChildren(pane, item);
  TVINSERTSTRUCTW insert{};
  insert.hParent = parent;
  insert.hInsertAfter = after;
  insert.item.mask =
      TVIF_TEXT | TVIF_PARAM | TVIF_CHILDREN | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE;
  insert.item.pszText = text.data();
  insert.item.lParam = static_cast<LPARAM>(item) | pane.side;
  insert.item.cChildren = children ? 1 : 0;
  insert.item.iImage = I_IMAGECALLBACK;
  insert.item.iSelectedImage = I_IMAGECALLBACK;
  insert.item.stateMask = kOpened | TVIS_BOLD;
  insert.item.state = StateOf(pane.tree->items[item], children, state);
  const HTREEITEM handle = TreeView_InsertItem(pane.window, &insert);
  pane.handles[item] = handle;
  if (item >= pane.expand_top && item < pane.expand_end) ++pane.expand_inserted;
  return handle;
}

BranchFill* FillOf(TreePane& pane, uint32_t parent) {
  const auto at = std::find_if(pane.fills.begin(), pane.fills.end(),
                               [parent](const BranchFill& fill) { return fill.parent == parent; });
  return at == pane.fills.end() ? nullptr : &*at;
}

bool IsWhole(const BranchFill& fill) {
  return fill.next == kNoItem && fill.guest == fill.guest_end;
}

BranchFill MissingIn(const TreePane& pane, uint32_t item) {
  BranchFill fill;
  fill.parent = item;
  const uint32_t first = FirstChild(*pane.tree, item);
  if (first != kNoItem && pane.handles[first] == nullptr) fill.next = first;
  // Guests come after the children, whichever of both are missing.
  fill.last = fill.next == kNoItem ? TVI_LAST : TVI_FIRST;
  const GuestRange guests = GuestsOf(pane, item);
  if (guests.first == guests.end) return fill;
  const TreePane& owner = *pane.guests;
  if (owner.handles[owner.freed->tops[guests.first].item] != nullptr) return fill;
  fill.guest = guests.first;
  fill.guest_end = guests.end;
  return fill;
}

bool FillBranch(TreePane& pane, uint32_t item, UINT state, DWORD start) {
  BranchFill* fill = FillOf(pane, item);
  if (fill == nullptr) {
    BranchFill missing = MissingIn(pane, item);
    if (IsWhole(missing)) return true;
    pane.fills.push_back(std::move(missing));
    fill = &pane.fills.back();
  }
  fill->state |= state;
  if (!Fill(pane, *fill, start)) return false;
  pane.fills.erase(pane.fills.begin() + (fill - pane.fills.data()));
  return true;
}

void InsertAhead(TreePane& pane, BranchFill& fill, uint32_t child) {
  const auto place = std::lower_bound(fill.ahead.begin(), fill.ahead.end(), child);
  // An earlier one that was inserted ahead and whose turn has come is `last`, or before it.
  const bool first = place == fill.ahead.begin() || *(place - 1) < fill.next;
  const HTREEITEM after = first ? fill.last : pane.handles[*(place - 1)];
  InsertItem(pane, child, pane.handles[fill.parent], after, fill.state);
  fill.ahead.insert(place, child);
}

bool IsExpanded(const TreePane& pane, HTREEITEM handle) {
  return (TreeView_GetItemState(pane.window, handle, TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
}

void SetRedraw(const TreePane& pane, bool on) {
  SendMessageW(pane.window, WM_SETREDRAW, on ? TRUE : FALSE, 0);
}

void UpdateButton(const TreePane& pane, uint32_t item) {
  TVITEMW info{};
  info.mask = TVIF_CHILDREN;
  info.hItem = pane.handles[item];
  info.cChildren = HasShownChildren(pane, item) ? 1 : 0;
  TreeView_SetItem(pane.window, &info);
}

void ForgetGuests(TreePane& pane, uint32_t first, uint32_t end) {
  if (pane.guests == nullptr) return;
  TreePane& guests = *pane.guests;
  const auto tops = FreedTopsWithin(*guests.freed, first, end);
  if (tops.empty()) return;
  const uint32_t from = tops.front().item;
  const uint32_t to = guests.tree->items[tops.back().item].end;
  std::fill(guests.handles.begin() + from, guests.handles.begin() + to, nullptr);
  // What was to be opened there is not in the control any more.
  const bool expanding = guests.expand_end != 0 && IsBetween(guests.expand_top, from, to);
  if (expanding) guests.expand_next = guests.expand_end = 0;
  std::erase_if(guests.fills,
                [=](const BranchFill& fill) { return IsBetween(fill.parent, from, to); });
}

}  // namespace hivequarry
