#include "ui/panes/tree_pane.h"

#include <algorithm>

#include "ui/draw/dimmed_selection.h"
#include "ui/draw/tones.h"
#include "ui/draw/win.h"
#include "ui/frame/text.h"
#include "ui/panes/tree_expand.h"
#include "ui/panes/tree_fill.h"
#include "view/freed_words.h"
#include "view/item_words.h"
#include "view/removed_words.h"
#include "view/tree_icons.h"

namespace hivequarry {
namespace {

constexpr uint32_t kWorkspaceItem = kNoItem - 1;

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

bool HasEditedValues(const TreePane& pane, uint32_t item) {
  if (pane.tree == nullptr || item >= pane.tree->items.size()) return false;
  return pane.hive->edits.any && EditsOfKey(*pane.hive, pane.tree->items[item].position) != 0;
}

bool Differs(const TreePane& pane, uint32_t item) {
  return item < pane.differing.size() && pane.differing[item];
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

// What is filled goes on without the item and what is below it.
void LeaveOut(TreePane& pane, uint32_t item) {
  const uint32_t end = pane.tree->items[item].end;
  std::erase_if(pane.fills,
                [=](const BranchFill& fill) { return IsBetween(fill.parent, item, end); });
  BranchFill* fill = FillOf(pane, pane.tree->items[item].parent);
  if (fill == nullptr) return;
  if (fill->next == item) fill->next = NextSibling(*pane.tree, item);
  std::erase(fill->ahead, item);
  // The next child would go after an item that is there no more.
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
  // What is below it is worked out when it is opened; till then this number alone gives it a
  // button.
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
  // The folder, which is in the control already, is item 0 of the tree.
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
    // A key that was taken out of the tree has no place for what was below it.
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
    // The way up too, so that a closed branch shows that there is something in it; from the first
    // marked item on the way is marked.
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
  // The branch that was opened last comes first: the user looks at that one.
  FillBranch(pane, pane.fills.back().parent, 0, start);
  SetRedraw(pane, true);
  // Items may have come before a selected one.
  if (in_sight && !IsInSight(pane, selected)) TreeView_EnsureVisible(pane.window, selected);
  return !pane.fills.empty();
}

}  // namespace hivequarry
