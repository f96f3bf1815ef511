#include "ui/tree_pane.h"

#include <algorithm>

#include "ui/text.h"
#include "ui/tree_icons.h"
#include "ui/win.h"

namespace hivequarry {
namespace {

constexpr DWORD kSliceMilliseconds = 30;

// `state`: 0, or that of an item that stands open as soon as its parent does.
constexpr UINT kOpened = TVIS_EXPANDED | TVIS_EXPANDEDONCE;

HTREEITEM InsertItem(TreePane& pane, uint32_t item, HTREEITEM parent, HTREEITEM after, UINT state) {
  TVINSERTSTRUCTW insert{};
  insert.hParent = parent;
  insert.hInsertAfter = after;
  insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_CHILDREN | TVIF_IMAGE | TVIF_SELECTEDIMAGE;
  insert.item.pszText = LPSTR_TEXTCALLBACKW;
  insert.item.lParam = static_cast<LPARAM>(item);
  insert.item.cChildren = HasChildren(*pane.tree, item) ? 1 : 0;
  insert.item.iImage = I_IMAGECALLBACK;
  insert.item.iSelectedImage = I_IMAGECALLBACK;
  if (state != 0 && insert.item.cChildren != 0) {
    insert.item.mask |= TVIF_STATE;
    insert.item.state = insert.item.stateMask = state;
  }
  const HTREEITEM handle = TreeView_InsertItem(pane.window, &insert);
  pane.handles[item] = handle;
  return handle;
}

// Inserts the children of `item` once. Each goes behind the one before it: the control would look
// for the last child itself, from the first one on.
void FillBranch(TreePane& pane, uint32_t item, UINT state) {
  const uint32_t first = FirstChild(*pane.tree, item);
  if (first == kNoItem || pane.handles[first] != nullptr) return;
  HTREEITEM after = TVI_FIRST;
  for (uint32_t child = first; child != kNoItem; child = NextSibling(*pane.tree, child)) {
    after = InsertItem(pane, child, pane.handles[item], after, state);
    if (after == nullptr) return;
  }
}

void SetRedraw(const TreePane& pane, bool on) {
  SendMessageW(pane.window, WM_SETREDRAW, on ? TRUE : FALSE, 0);
}

bool IsHighContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof contrast;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) != FALSE &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

// A quarter of `strong` in `weak`.
COLORREF Mixed(COLORREF strong, COLORREF weak) {
  const auto mix = [](int a, int b) { return (a + 3 * b) / 4; };
  return RGB(mix(GetRValue(strong), GetRValue(weak)), mix(GetGValue(strong), GetGValue(weak)),
             mix(GetBValue(strong), GetBValue(weak)));
}

bool IsExpanded(const TreePane& pane, HTREEITEM handle) {
  return (TreeView_GetItemState(pane.window, handle, TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
}

}  // namespace

HWND MakeTreePane(HWND parent, int identifier) {
  const HWND tree =
      CreateWindowExW(0, WC_TREEVIEWW, L"Keys",
                      WS_CHILD | WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT |
                          TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP,
                      0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
                      nullptr, nullptr);
  if (tree == nullptr) return nullptr;
  SendMessageW(tree, TVM_SETEXTENDEDSTYLE, TVS_EX_DOUBLEBUFFER, TVS_EX_DOUBLEBUFFER);
  return tree;
}

void ClearTree(TreePane& pane) {
  SetRedraw(pane, false);
  TreeView_DeleteAllItems(pane.window);
  SetRedraw(pane, true);
  pane.hive = nullptr;
  pane.tree = nullptr;
  pane.handles.clear();
  pane.expand_next = pane.expand_end = 0;
}

void ShowTree(TreePane& pane, const HiveImage& hive, const KeyTree& tree) {
  ClearTree(pane);
  pane.hive = &hive;
  pane.tree = &tree;
  pane.handles.assign(tree.items.size(), nullptr);
  if (tree.items.empty()) return;
  const HTREEITEM root = InsertItem(pane, 0, TVI_ROOT, TVI_FIRST, 0);
  TreeView_Expand(pane.window, root, TVE_EXPAND);
}

uint32_t ItemOfHandle(const TreePane& pane, HTREEITEM handle) {
  TVITEMW item{};
  item.mask = TVIF_PARAM;
  item.hItem = handle;
  if (handle == nullptr || TreeView_GetItem(pane.window, &item) == FALSE) return kNoItem;
  return static_cast<uint32_t>(item.lParam);
}

uint32_t SelectedItem(const TreePane& pane) {
  return pane.tree == nullptr ? kNoItem : ItemOfHandle(pane, TreeView_GetSelection(pane.window));
}

void SelectItem(TreePane& pane, uint32_t item) {
  if (pane.tree == nullptr || item >= pane.tree->items.size()) return;
  std::vector<uint32_t> way;
  for (uint32_t up = pane.tree->items[item].parent; up != kNoItem;
       up = pane.tree->items[up].parent) {
    way.push_back(up);
  }
  for (auto up = way.rbegin(); up != way.rend(); ++up) {
    TreeView_Expand(pane.window, pane.handles[*up], TVE_EXPAND);
  }
  TreeView_SelectItem(pane.window, pane.handles[item]);
}

void OnTreeExpanding(TreePane& pane, const NMTREEVIEWW& notice) {
  if (pane.tree == nullptr || (notice.action & TVE_EXPAND) == 0) return;
  const auto item = static_cast<uint32_t>(notice.itemNew.lParam);
  if (item >= pane.tree->items.size()) return;
  SetRedraw(pane, false);
  FillBranch(pane, item, 0);
  SetRedraw(pane, true);
}

void OnTreeDisplay(TreePane& pane, NMTVDISPINFOW& notice) {
  TVITEMW& item = notice.item;
  const auto index = static_cast<uint32_t>(item.lParam);
  if (pane.tree == nullptr || index >= pane.tree->items.size()) return;
  if ((item.mask & (TVIF_IMAGE | TVIF_SELECTEDIMAGE)) != 0) {
    const bool open = HasChildren(*pane.tree, index) && IsExpanded(pane, item.hItem);
    item.iImage = item.iSelectedImage = ClosedIcon(pane.tree->items[index]) + (open ? 1 : 0);
  }
  if ((item.mask & TVIF_TEXT) != 0 && item.cchTextMax > 0) {
    pane.text = WindowText(ItemName(*pane.hive, *pane.tree, index));
    lstrcpynW(item.pszText, pane.text.c_str(), item.cchTextMax);
  }
}

LRESULT OnTreeDraw(NMTVCUSTOMDRAW& notice) {
  if (notice.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
  // The key whose values are shown must be seen also while another pane has the focus; the system's
  // own shade for that can hardly be told from white.
  const bool selected = (notice.nmcd.uItemState & CDIS_SELECTED) != 0;
  if (selected && GetFocus() != notice.nmcd.hdr.hwndFrom && !IsHighContrast()) {
    notice.clrText = GetSysColor(COLOR_WINDOWTEXT);
    notice.clrTextBk = Mixed(GetSysColor(COLOR_HIGHLIGHT), GetSysColor(COLOR_WINDOW));
  }
  return CDRF_DODEFAULT;
}

// While the branch itself is closed, what happens inside costs no layout.
void StartExpand(TreePane& pane, uint32_t item) {
  TreeView_Expand(pane.window, pane.handles[item], TVE_COLLAPSE);
  pane.expand_top = pane.expand_next = item;
  pane.expand_end = pane.tree->items[item].end;
}

bool ExpandSlice(TreePane& pane) {
  const DWORD start = GetTickCount();
  // A branch stands in front of what is in it, so its handle is there when its turn comes.
  while (pane.expand_next < pane.expand_end && GetTickCount() - start < kSliceMilliseconds) {
    const uint32_t item = pane.expand_next++;
    if (!HasChildren(*pane.tree, item) || pane.handles[item] == nullptr) continue;
    FillBranch(pane, item, kOpened);
    if (item != pane.expand_top && !IsExpanded(pane, pane.handles[item])) {
      TreeView_Expand(pane.window, pane.handles[item], TVE_EXPAND);
    }
  }
  if (pane.expand_next < pane.expand_end) return true;
  if (pane.expand_end != 0) TreeView_Expand(pane.window, pane.handles[pane.expand_top], TVE_EXPAND);
  pane.expand_next = pane.expand_end = 0;
  return false;
}

void CollapseBranch(TreePane& pane, uint32_t item) {
  pane.expand_next = pane.expand_end = 0;
  SetRedraw(pane, false);
  // From the top down: what is out of sight already closes without a layout.
  for (uint32_t below = item; below < pane.tree->items[item].end; ++below) {
    const HTREEITEM handle = pane.handles[below];
    if (handle != nullptr && HasChildren(*pane.tree, below) && IsExpanded(pane, handle)) {
      TreeView_Expand(pane.window, handle, TVE_COLLAPSE);
    }
  }
  SetRedraw(pane, true);
}

}  // namespace hivequarry
