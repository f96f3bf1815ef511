#include "ui/compare/compare_view.h"

#include <algorithm>
#include <string>

#include "ui/draw/tones.h"
#include "ui/frame/text.h"
#include "view/tree_icons.h"

namespace hivequarry {
namespace {

constexpr int kDeepestIndent = 48;  // levels; keys further down are below each other

// Columns: name with the mark of a branch, what differs, time in A, time in B.
std::string KeyCellText(const CompareWindow& window, uint32_t key, int column) {
  const ComparedHives& hives = *window.hives;
  switch (column) {
    case 0: {
      const char* mark = hives.tree.open[key] ? "[-] " : "[+] ";
      if (!CanOpen(hives.tree, key)) mark = "";
      return mark + ComparedKeyName(hives, key);
    }
    case 1:
      return DifferenceText(hives.tree, key);
    default:
      return ComparedKeyTime(hives, key, column == 3);
  }
}

// The open picture of a key follows its closed one in the list of pictures.
int IconOfKey(const CompareWindow& window, uint32_t key) {
  const ComparedHives& hives = *window.hives;
  const ComparedKey& it = hives.tree.keys[key];
  const KeyItem& item = it.a != kNoItem ? hives.tree_a.items[it.a] : hives.tree_b.items[it.b];
  const bool open = hives.tree.open[key] && CanOpen(hives.tree, key);
  return ClosedIcon(item) + (open ? 1 : 0);
}

// kGroupSame for a row without a colour of its own.
uint8_t GroupOfRow(const CompareWindow& window, const NMLVCUSTOMDRAW& notice) {
  const size_t row = notice.nmcd.dwItemSpec;
  if (notice.nmcd.hdr.hwndFrom == window.keys) {
    const uint32_t key = KeyOfRow(window, static_cast<int>(row));
    return key == kNoItem ? uint8_t{kGroupSame} : window.hives->tree.groups[key];
  }
  if (row >= window.rows.size() || window.rows[row].what.empty()) return kGroupSame;
  if (window.rows[row].what.starts_with("only in A")) return kGroupOnlyA;
  return window.rows[row].what.starts_with("only in B") ? kGroupOnlyB : kGroupDifferent;
}

// In the status bar: the path in A, or in B where A lacks the key.
void ShowKeyPath(const CompareWindow& window) {
  const ComparedHives& hives = *window.hives;
  std::string path;
  if (window.selected != kNoItem) {
    const ComparedKey& key = hives.tree.keys[window.selected];
    path = key.a != kNoItem ? LongItemPath(hives.a, hives.tree_a, key.a)
                            : LongItemPath(hives.b(), hives.tree_b, key.b);
  }
  SendMessageW(window.status, SB_SETTEXTW, 1, reinterpret_cast<LPARAM>(WindowText(path).c_str()));
}

}  // namespace

uint32_t KeyOfRow(const CompareWindow& window, int row) {
  const std::vector<uint32_t>& rows = window.hives->tree.rows;
  return row >= 0 && static_cast<size_t>(row) < rows.size() ? rows[static_cast<size_t>(row)]
                                                            : kNoItem;
}

int FocusedKeyRow(const CompareWindow& window) {
  return ListView_GetNextItem(window.keys, -1, LVNI_FOCUSED);
}

void OnKeyDisplay(const CompareWindow& window, LVITEMW& item) {
  const uint32_t key = KeyOfRow(window, item.iItem);
  if (key == kNoItem) return;
  if ((item.mask & LVIF_TEXT) != 0) {
    GiveText(item, WindowText(KeyCellText(window, key, item.iSubItem)).c_str());
  }
  if ((item.mask & LVIF_IMAGE) != 0) item.iImage = IconOfKey(window, key);
  if ((item.mask & LVIF_INDENT) != 0) {
    const uint32_t depth = window.hives->tree.depths[key];
    item.iIndent = static_cast<int>(std::min<uint32_t>(depth, kDeepestIndent));
  }
}

void OnValueDisplay(const CompareWindow& window, LVITEMW& item) {
  const auto row = static_cast<size_t>(item.iItem);
  if (row >= window.rows.size() || (item.mask & LVIF_TEXT) == 0) return;
  const ComparedValueRow& shown = window.rows[row];
  const std::string* const cells[] = {&shown.what,   &shown.name,   &shown.type_a,
                                      &shown.data_a, &shown.type_b, &shown.data_b};
  GiveText(item, WindowText(*cells[item.iSubItem]).c_str());
}

LRESULT DrawComparedRow(const CompareWindow& window, NMLVCUSTOMDRAW& notice) {
  const LRESULT answer = DrawListRow(notice);
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return answer;
  const auto row = static_cast<int>(notice.nmcd.dwItemSpec);
  if (ListView_GetItemState(notice.nmcd.hdr.hwndFrom, row, LVIS_SELECTED) != 0) return answer;
  const uint8_t group = GroupOfRow(window, notice);
  if (group == kGroupOnlyA) notice.clrText = ColourOf(Tone::kOnlyA);
  if (group == kGroupOnlyB) notice.clrText = ColourOf(Tone::kOnlyB);
  if (group == kGroupDifferent) notice.clrText = ColourOf(Tone::kDifferent);
  return answer;
}

void FillValues(CompareWindow& window) {
  window.rows = ComparedValueRows(*window.hives, window.selected);
  ListView_SetItemCountEx(window.values, static_cast<int>(window.rows.size()), 0);
  InvalidateRect(window.values, nullptr, FALSE);
}

void ShowValues(CompareWindow& window) {
  const uint32_t key = KeyOfRow(window, FocusedKeyRow(window));
  if (key == window.selected || key == kNoItem) return;
  window.selected = key;
  FillValues(window);
  ShowKeyPath(window);
}

void FocusKeyRow(CompareWindow& window, size_t row) {
  const auto at = static_cast<int>(row);
  ListView_SetItemState(window.keys, -1, 0, LVIS_SELECTED);
  ListView_SetItemState(window.keys, at, LVIS_SELECTED | LVIS_FOCUSED,
                        LVIS_SELECTED | LVIS_FOCUSED);
  // From where Shift selects.
  ListView_SetSelectionMark(window.keys, at);
  ListView_EnsureVisible(window.keys, at, FALSE);
}

void ShowRows(CompareWindow& window, uint32_t key) {
  const CompareTree& tree = TreeOf(window);
  window.filling = true;
  ListView_SetItemCountEx(window.keys, static_cast<int>(tree.rows.size()), LVSICF_NOSCROLL);
  FocusKeyRow(window, RowOfKey(tree, key == kNoItem ? 0 : key));
  InvalidateRect(window.keys, nullptr, FALSE);
  window.filling = false;
  ShowValues(window);
}

}  // namespace hivequarry
