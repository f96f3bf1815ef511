#include "ui/panes/tree_pane.h"

#include <algorithm>

#include "ui/draw/dimmed_selection.h"
#include "ui/draw/tones.h"
#include "ui/draw/win.h"
#include "ui/frame/text.h"
#include "view/freed_words.h"
#include "view/item_words.h"
#include "view/removed_words.h"
#include "view/tree_icons.h"

namespace hivequarry {
namespace {

constexpr DWORD kSliceMilliseconds = 30;
constexpr uint32_t kItemsPerLook = 32;  // at the clock
constexpr uint32_t kItemsPerSlice = 4096;
constexpr size_t kLongestText = 259;  // of an item, in characters
constexpr uint32_t kWorkspaceItem = kNoItem - 1;

// State of an item that is open as soon as its parent does.
constexpr UINT kOpened = TVIS_EXPANDED | TVIS_EXPANDEDONCE;

UINT StateOf(const KeyItem& item, bool children, UINT state) {
  const bool folder =
      item.kind == ItemKind::kDisconnectedKeys || item.kind == ItemKind::kDisconnectedValues;
  return (children ? state : 0) | (folder ? TVIS_BOLD : 0);
}

// The branches of deleted keys below an item: their places among FreedTree::tops.
struct GuestRange {
  size_t first = 0;
  size_t end = 0;
};
// Empty in a pane without guests. They are inserted after the item's own children.
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

std::wstring TextOfItem(const TreePane& pane, uint32_t item) {
  return WindowText(pane.freed != nullptr ? FreedItemText(*pane.hive, *pane.freed, item)
                                          : ItemName(*pane.hive, *pane.tree, item));
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

// Always the last item of the control.
void InsertWorkspace(const TreePane& pane) {
  std::wstring text = kWorkspaceTitle;
  TVINSERTSTRUCTW insert{};
  insert.hParent = TVI_ROOT;
  insert.hInsertAfter = TVI_LAST;
  insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE;
  insert.item.pszText = text.data();
  insert.item.lParam = static_cast<LPARAM>(kWorkspaceItem);
  insert.item.iImage = insert.item.iSelectedImage = kIconWorkspace;
  TreeView_InsertItem(pane.window, &insert);
}

BranchFill* FillOf(TreePane& pane, uint32_t parent) {
  const auto at = std::find_if(pane.fills.begin(), pane.fills.end(),
                               [parent](const BranchFill& fill) { return fill.parent == parent; });
  return at == pane.fills.end() ? nullptr : &*at;
}

bool IsWhole(const BranchFill& fill) {
  return fill.next == kNoItem && fill.guest == fill.guest_end;
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

// What is missing in the branch of an item that is not being filled.
BranchFill MissingIn(const TreePane& pane, uint32_t item) {
  BranchFill fill;
  fill.parent = item;
  const uint32_t first = FirstChild(*pane.tree, item);
  if (first != kNoItem && pane.handles[first] == nullptr) fill.next = first;
  fill.last = fill.next == kNoItem ? TVI_LAST : TVI_FIRST;
  const GuestRange guests = GuestsOf(pane, item);
  if (guests.first == guests.end) return fill;
  const TreePane& owner = *pane.guests;
  if (owner.handles[owner.freed->tops[guests.first].item] != nullptr) return fill;
  fill.guest = guests.first;
  fill.guest_end = guests.end;
  return fill;
}

// Fills the branch of `item` or goes on with it, a slice that began at `start`. True when it is
// whole.
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

// Inserts a child of a branch being filled before its turn.
void InsertAhead(TreePane& pane, BranchFill& fill, uint32_t child) {
  const auto place = std::lower_bound(fill.ahead.begin(), fill.ahead.end(), child);
  const bool first = place == fill.ahead.begin() || *(place - 1) < fill.next;
  const HTREEITEM after = first ? fill.last : pane.handles[*(place - 1)];
  InsertItem(pane, child, pane.handles[fill.parent], after, fill.state);
  fill.ahead.insert(place, child);
}

void SetRedraw(const TreePane& pane, bool on) {
  SendMessageW(pane.window, WM_SETREDRAW, on ? TRUE : FALSE, 0);
}

// All of its row, in height.
bool IsInSight(const TreePane& pane, HTREEITEM handle) {
  RECT area{};
  RECT client{};
  if (handle == nullptr || TreeView_GetItemRect(pane.window, handle, &area, FALSE) == FALSE) {
    return false;
  }
  GetClientRect(pane.window, &client);
  return area.top >= 0 && area.bottom <= client.bottom;
}

// Ends "Expand subfolders" where it is. What was to be opened but is not filled yet is closed
// again: an open branch would never ask for its items.
void EndExpand(TreePane& pane) {
  for (BranchFill& fill : pane.fills) fill.state = 0;
  for (uint32_t item = pane.expand_next; item < pane.expand_end; ++item) {
    if (pane.handles[item] == nullptr || IsWhole(MissingIn(pane, item))) continue;
    TreeView_SetItemState(pane.window, pane.handles[item], 0, kOpened);
  }
  pane.expand_next = pane.expand_end = 0;
}

bool HasEditedValues(const TreePane& pane, uint32_t item) {
  if (pane.tree == nullptr || item >= pane.tree->items.size()) return false;
  return pane.hive->edits.any && EditsOfKey(*pane.hive, pane.tree->items[item].position) != 0;
}

bool Differs(const TreePane& pane, uint32_t item) {
  return item < pane.differing.size() && pane.differing[item];
}

bool IsExpanded(const TreePane& pane, HTREEITEM handle) {
  return (TreeView_GetItemState(pane.window, handle, TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
}

// The item that an lParam is of; kNoItem for one of another tree.
uint32_t ItemOfParam(const TreePane& pane, LPARAM param) {
  static_assert(sizeof(LPARAM) == 8);
  constexpr LPARAM kItem = 0xFFFFFFFF;
  return (param & ~kItem) == pane.side ? static_cast<uint32_t>(param & kItem) : kNoItem;
}

int IconOf(const TreePane& pane, uint32_t item) {
  if (pane.freed != nullptr) return item == 0 ? kIconFreedFolder : kIconFreed;
  return pane.removed != nullptr ? RemovedIcon(*pane.removed, item)
                                 : ClosedIcon(pane.tree->items[item]);
}

bool IsBetween(uint32_t item, uint32_t first, uint32_t end) { return item >= first && item < end; }

// A button is before an item with children.
void UpdateButton(const TreePane& pane, uint32_t item) {
  TVITEMW info{};
  info.mask = TVIF_CHILDREN;
  info.hItem = pane.handles[item];
  info.cChildren = HasShownChildren(pane, item) ? 1 : 0;
  TreeView_SetItem(pane.window, &info);
}

// The control no longer has the guests below the items [first, end).
void ForgetGuests(TreePane& pane, uint32_t first, uint32_t end) {
  if (pane.guests == nullptr) return;
  TreePane& guests = *pane.guests;
  const auto tops = FreedTopsWithin(*guests.freed, first, end);
  if (tops.empty()) return;
  const uint32_t from = tops.front().item;
  const uint32_t to = guests.tree->items[tops.back().item].end;
  std::fill(guests.handles.begin() + from, guests.handles.begin() + to, nullptr);
  std::erase_if(guests.fills,
                [=](const BranchFill& fill) { return IsBetween(fill.parent, from, to); });
}

// What is filled goes on without the item and what is below it.
void LeaveOut(TreePane& pane, uint32_t item) {
  const uint32_t end = pane.tree->items[item].end;
  std::erase_if(pane.fills,
                [=](const BranchFill& fill) { return IsBetween(fill.parent, item, end); });
  BranchFill* fill = FillOf(pane, pane.tree->items[item].parent);
  if (fill == nullptr) return;
  if (fill->next == item) fill->next = NextSibling(*pane.tree, item);
  std::erase(fill->ahead, item);
  if (pane.handles[item] == nullptr || fill->last != pane.handles[item]) return;
  const HTREEITEM before = TreeView_GetPrevSibling(pane.window, fill->last);
  fill->last = before == nullptr ? TVI_FIRST : before;
}

// The selection, where it goes with the item, moves to what stays.
void SelectBeside(const TreePane& pane, uint32_t item) {
  const uint32_t selected = SelectedItem(pane);
  if (selected == kNoItem || !IsBetween(selected, item, pane.tree->items[item].end)) return;
  HTREEITEM stays = TreeView_GetNextSibling(pane.window, pane.handles[item]);
  if (stays == nullptr) stays = TreeView_GetPrevSibling(pane.window, pane.handles[item]);
  if (stays == nullptr) stays = TreeView_GetParent(pane.window, pane.handles[item]);
  TreeView_SelectItem(pane.window, stays);
}

}  // namespace

HWND MakeTreePane(HWND parent, int identifier) {
  const HWND tree =
      CreateWindowExW(0, WC_TREEVIEWW, L"Keys",
                      WS_CHILD | WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT |
                          TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP | TVS_INFOTIP,
                      0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
                      nullptr, nullptr);
  if (tree == nullptr) return nullptr;
  SendMessageW(tree, TVM_SETEXTENDEDSTYLE, TVS_EX_DOUBLEBUFFER, TVS_EX_DOUBLEBUFFER);
  return tree;
}

void RenameRoot(TreePane& pane) {
  std::wstring text = WindowText(ItemName(*pane.hive, *pane.tree, 0));
  TVITEMW item{};
  item.mask = TVIF_HANDLE | TVIF_TEXT;
  item.hItem = pane.handles[0];
  item.pszText = text.data();
  TreeView_SetItem(pane.window, &item);
}

void ClearTree(TreePane& pane) {
  const HTREEITEM root = pane.handles.empty() ? nullptr : pane.handles[0];
  if (root != nullptr) {
    SetRedraw(pane, false);
    TreeView_DeleteItem(pane.window, root);
    SetRedraw(pane, true);
  }
  pane.guests = nullptr;
  pane.hive = nullptr;
  pane.tree = nullptr;
  pane.handles.clear();
  pane.fills.clear();
  pane.differing.clear();
  pane.expand_next = pane.expand_end = 0;
}

void ShowTree(TreePane& pane, const HiveImage& hive, const KeyTree& tree, HTREEITEM after) {
  ClearTree(pane);
  pane.hive = &hive;
  pane.tree = &tree;
  pane.handles.assign(tree.items.size(), nullptr);
  if (tree.items.empty()) return;
  const bool first = TreeView_GetRoot(pane.window) == nullptr;
  const HTREEITEM root = InsertItem(pane, 0, TVI_ROOT, first ? TVI_FIRST : after, 0);
  TreeView_Expand(pane.window, root, TVE_EXPAND);
  if (first) InsertWorkspace(pane);
}

void InsertFolder(TreePane& pane, HTREEITEM after, std::wstring text) {
  TVINSERTSTRUCTW insert{};
  insert.hParent = TVI_ROOT;
  insert.hInsertAfter = after;
  insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_CHILDREN | TVIF_IMAGE | TVIF_SELECTEDIMAGE;
  insert.item.pszText = text.data();
  insert.item.lParam = pane.side;
  insert.item.cChildren = 1;
  insert.item.iImage = insert.item.iSelectedImage =
      (pane.side & kFreedSide) != 0 ? kIconFreedFolder : kIconRemovedFolder;
  pane.handles.assign(1, TreeView_InsertItem(pane.window, &insert));
}

void RemoveFolder(TreePane& pane) {
  const HTREEITEM folder = pane.handles.empty() ? nullptr : pane.handles[0];
  if (folder != nullptr) TreeView_DeleteItem(pane.window, folder);
  pane = TreePane();
}

void BindFolder(TreePane& pane, const RemovedState& removed, std::wstring text) {
  pane.removed = &removed;
  pane.hive = &removed.before.image;
  pane.tree = &removed.before.tree;
  pane.handles.resize(std::max<size_t>(pane.tree->items.size(), 1), nullptr);
  TVITEMW item{};
  item.mask = TVIF_HANDLE | TVIF_TEXT | TVIF_CHILDREN;
  item.hItem = pane.handles[0];
  item.pszText = text.data();
  item.cChildren = HasChildren(*pane.tree, 0) ? 1 : 0;
  TreeView_SetItem(pane.window, &item);
}

bool IsSideSelected(const TreePane& pane) {
  TVITEMW item{};
  item.mask = TVIF_PARAM;
  item.hItem = TreeView_GetSelection(pane.window);
  return item.hItem != nullptr && TreeView_GetItem(pane.window, &item) != FALSE &&
         ItemOfParam(pane, item.lParam) != kNoItem;
}

uint32_t ItemOfHandle(const TreePane& pane, HTREEITEM handle) {
  TVITEMW item{};
  item.mask = TVIF_PARAM;
  item.hItem = handle;
  if (handle == nullptr || TreeView_GetItem(pane.window, &item) == FALSE) return kNoItem;
  const uint32_t index = ItemOfParam(pane, item.lParam);
  return index == kWorkspaceItem ? kNoItem : index;
}

uint32_t SelectedItem(const TreePane& pane) {
  return pane.tree == nullptr ? kNoItem : ItemOfHandle(pane, TreeView_GetSelection(pane.window));
}

bool IsWorkspaceSelected(const TreePane& pane) {
  const HTREEITEM selected = TreeView_GetSelection(pane.window);
  return selected != nullptr && IsWorkspaceParam(ParamOfItem(pane.window, selected));
}

bool IsWorkspaceParam(LPARAM param) { return param == static_cast<LPARAM>(kWorkspaceItem); }

LPARAM ParamOfItem(HWND control, HTREEITEM handle) {
  TVITEMW item{};
  item.mask = TVIF_PARAM;
  item.hItem = handle;
  const bool known = handle != nullptr && TreeView_GetItem(control, &item) != FALSE;
  return known ? item.lParam : static_cast<LPARAM>(kWorkspaceItem);
}

void RemoveItem(TreePane& pane, uint32_t item) {
  EndExpand(pane);
  LeaveOut(pane, item);
  const HTREEITEM handle = pane.handles[item];
  if (handle == nullptr) return;
  SelectBeside(pane, item);
  SetRedraw(pane, false);
  TreeView_DeleteItem(pane.window, handle);
  UpdateButton(pane, pane.tree->items[item].parent);
  SetRedraw(pane, true);
  const uint32_t end = pane.tree->items[item].end;
  std::fill(pane.handles.begin() + item, pane.handles.begin() + end, nullptr);
  ForgetGuests(pane, item, end);
}

namespace {

// Opens the branches that lead to an item, so that the control has it.
// A branch that is being filled gets the item of the way at once, at its place; the others come in
// their slices.
void OpenWay(TreePane& pane, uint32_t item) {
  std::vector<uint32_t> way;
  for (uint32_t up = pane.tree->items[item].parent; up != kNoItem;
       up = pane.tree->items[up].parent) {
    way.push_back(up);
  }
  std::reverse(way.begin(), way.end());
  way.push_back(item);
  for (size_t level = 0; level < way.size(); ++level) {
    if (level > 0 && pane.handles[way[level]] == nullptr) {
      const uint32_t parent = way[level - 1];
      // "Expand subfolders" opens branches before it fills them.
      if (FillOf(pane, parent) == nullptr) FillBranch(pane, parent, 0, GetTickCount());
      BranchFill* fill = FillOf(pane, parent);
      if (fill != nullptr && pane.handles[way[level]] == nullptr) {
        InsertAhead(pane, *fill, way[level]);
      }
    }
    if (way[level] != item) TreeView_Expand(pane.window, pane.handles[way[level]], TVE_EXPAND);
  }
}

uint32_t TopOf(const KeyTree& tree, uint32_t item) {
  while (tree.items[item].parent != kNoItem) item = tree.items[item].parent;
  return item;
}

}  // namespace

void SelectItem(TreePane& pane, uint32_t item) {
  if (pane.tree == nullptr || item >= pane.tree->items.size()) return;
  OpenWay(pane, item);
  TreeView_SelectItem(pane.window, pane.handles[item]);
}

// Branches that were opened before get theirs in slices (FillSlice); closed ones when they are
// opened.
void AttachGuests(TreePane& host, TreePane& guests, const HiveImage& hive, const FreedTree& freed) {
  host.guests = &guests;
  guests.freed = &freed;
  guests.hive = &hive;
  guests.tree = &freed.tree;
  guests.handles.resize(freed.tree.items.size(), nullptr);
  uint32_t done = kNoItem;
  for (const FreedTree::Top& top : freed.tops) {
    if (top.under == done) continue;
    done = top.under;
    if (host.handles[top.under] == nullptr) continue;  // it has them when it is filled
    UpdateButton(host, top.under);
    const uint32_t first = FirstChild(*host.tree, top.under);
    const GuestRange range = GuestsOf(host, top.under);
    if (BranchFill* fill = FillOf(host, top.under); fill != nullptr) {
      fill->guest = range.first;
      fill->guest_end = range.end;
    } else if (first != kNoItem && host.handles[first] != nullptr) {
      host.fills.push_back(MissingIn(host, top.under));
    }
  }
}

void DetachGuests(TreePane& host, TreePane& guests) {
  if (host.guests == nullptr) return;
  host.guests = nullptr;
  for (BranchFill& fill : host.fills) fill.guest = fill.guest_end = 0;
  std::erase_if(host.fills, IsWhole);
  SetRedraw(host, false);
  if (guests.handles[0] != nullptr) TreeView_DeleteItem(host.window, guests.handles[0]);
  for (const FreedTree::Top& top : guests.freed->tops) {
    if (guests.handles[top.item] == nullptr) continue;
    TreeView_DeleteItem(host.window, guests.handles[top.item]);
    UpdateButton(host, top.under);
  }
  SetRedraw(host, true);
  guests = TreePane();
}

void SelectGuest(TreePane& host, TreePane& guests, uint32_t item) {
  if (guests.tree == nullptr || item >= guests.tree->items.size()) return;
  const uint32_t under = HostOfFreed(*guests.freed, item);
  if (under != kNoItem) {
    if (host.tree->items[under].hidden) return;
    OpenWay(host, under);
    TreeView_Expand(host.window, host.handles[under], TVE_EXPAND);
    const uint32_t top = TopOf(*guests.tree, item);
    if (guests.handles[top] == nullptr) InsertItem(guests, top, host.handles[under], TVI_LAST, 0);
  }
  SelectItem(guests, item);
}

void OnTreeExpanding(TreePane& pane, const NMTREEVIEWW& notice) {
  if (pane.tree == nullptr || (notice.action & TVE_EXPAND) == 0) return;
  const uint32_t item = ItemOfParam(pane, notice.itemNew.lParam);
  if (item >= pane.tree->items.size() || FillOf(pane, item) != nullptr) return;
  FillBranch(pane, item, 0, GetTickCount());
}

void OnTreeDisplay(const TreePane& pane, NMTVDISPINFOW& notice) {
  TVITEMW& item = notice.item;
  const uint32_t index = ItemOfParam(pane, item.lParam);
  if (pane.tree == nullptr || index >= pane.tree->items.size()) return;
  if ((item.mask & (TVIF_IMAGE | TVIF_SELECTEDIMAGE)) != 0) {
    const bool open = HasChildren(*pane.tree, index) && IsExpanded(pane, item.hItem);
    item.iImage = item.iSelectedImage = IconOf(pane, index) + (open ? 1 : 0);
  }
}

void OnTreeTip(const TreePane& pane, const NMTVGETINFOTIPW& notice) {
  const uint32_t item = ItemOfParam(pane, notice.lParam);
  if (item == kWorkspaceItem) {
    lstrcpynW(notice.pszText, L"The hives shown in this window", notice.cchTextMax);
  }
  if (pane.tree == nullptr || item >= pane.tree->items.size()) return;
  if (pane.freed != nullptr) {
    lstrcpynW(notice.pszText, AsWide(FreedItemWords(*pane.freed, item).c_str()), notice.cchTextMax);
    return;
  }
  lstrcpynW(notice.pszText, AsWide(ItemTip(*pane.hive, *pane.tree, item).c_str()),
            notice.cchTextMax);
}

LRESULT OnTreeDraw(const TreePane& pane, NMTVCUSTOMDRAW& notice) {
  if (notice.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
  const bool selected = (notice.nmcd.uItemState & CDIS_SELECTED) != 0;
  const uint32_t item = ItemOfParam(pane, notice.nmcd.lItemlParam);
  if (!selected && Differs(pane, item)) notice.clrText = ColourOf(Tone::kWarning);
  if (!selected && HasEditedValues(pane, item)) notice.clrText = ColourOf(Tone::kEdited);
  const bool gone = pane.freed != nullptr && item != 0 && item != kNoItem;
  if (gone && !selected) notice.clrText = ColourOf(Tone::kPale);
  if (gone && pane.struck != nullptr) SelectObject(notice.nmcd.hdc, pane.struck);
  if (HasOwnSelection(notice.nmcd)) {
    SetSelectionColours(notice.nmcd, notice.clrText, notice.clrTextBk);
  }
  return gone && pane.struck != nullptr ? CDRF_NEWFONT : CDRF_DODEFAULT;
}

void MarkDifferences(TreePane& pane, const std::vector<uint32_t>& items) {
  pane.differing.clear();
  if (pane.tree != nullptr && !items.empty()) pane.differing.resize(pane.tree->items.size());
  for (uint32_t item : items) {
    for (; item != kNoItem && !pane.differing[item]; item = pane.tree->items[item].parent) {
      pane.differing[item] = true;
    }
  }
  InvalidateRect(pane.window, nullptr, FALSE);
}

// While redrawing is off, the control puts off its layout.
bool FillSlice(TreePane& pane) {
  if (pane.fills.empty()) return false;
  const DWORD start = GetTickCount();
  const HTREEITEM selected = TreeView_GetSelection(pane.window);
  const bool in_sight = IsInSight(pane, selected);
  SetRedraw(pane, false);
  FillBranch(pane, pane.fills.back().parent, 0, start);
  SetRedraw(pane, true);
  // Items may have come before a selected one.
  if (in_sight && !IsInSight(pane, selected)) TreeView_EnsureVisible(pane.window, selected);
  return !pane.fills.empty();
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
  std::erase_if(pane.fills, [item, end](const BranchFill& fill) {
    return fill.parent >= item && fill.parent < end;
  });
  SetRedraw(pane, false);
  TreeView_Expand(pane.window, pane.handles[item], TVE_COLLAPSE | TVE_COLLAPSERESET);
  std::fill(pane.handles.begin() + item + 1, pane.handles.begin() + end, nullptr);
  ForgetGuests(pane, item, end);
  UpdateButton(pane, item);  // the control takes it away with the last child
  SetRedraw(pane, true);
}

}  // namespace hivequarry
