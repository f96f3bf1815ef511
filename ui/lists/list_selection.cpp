// A change of the selection is worked out first: which rows lose it and which gain it, from what is
// selected now or, where those are fewer, from none or all. The control is told of them one by one,
// in parts of some milliseconds, which a timer goes on with.
#include "ui/lists/list_selection.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "ui/frame/list_view.h"
#include "ui/lists/list_work.h"

namespace hivequarry {
namespace {

constexpr uint64_t kPartTime = 30;  // milliseconds
constexpr UINT kPartPause = 10;
// Rows between two looks at the clock.
constexpr size_t kPartPoll = 16;

uint32_t SelectedCount(const ListPlace& place) { return ListView_GetSelectedCount(place.list); }

void SetSelected(const ListPlace& place, int shown, bool on) {
  ListView_SetItemState(place.list, shown, on ? LVIS_SELECTED : 0U, LVIS_SELECTED);
}

// Places in the order shown, ascending. The count ends the loop: asking for one more after the last
// would look at all rows that are left.
std::vector<uint32_t> SelectedPlaces(const ListPlace& place) {
  std::vector<uint32_t> shown;
  const size_t count = SelectedCount(place);
  shown.reserve(count);
  int at = -1;
  while (shown.size() < count && (at = ListView_GetNextItem(place.list, at, LVNI_SELECTED)) >= 0) {
    shown.push_back(static_cast<uint32_t>(at));
  }
  return shown;
}

void AppendMissing(const std::vector<uint32_t>& rows, const std::vector<uint32_t>& among,
                   std::vector<uint32_t>& missing) {
  std::set_difference(rows.begin(), rows.end(), among.begin(), among.end(),
                      std::back_inserter(missing));
}

std::vector<uint32_t> AllPlaces(const ListPlace& place) {
  std::vector<uint32_t> all(ShownRowCount(place));
  std::iota(all.begin(), all.end(), 0U);
  return all;
}

// Leaves no row selected. Taking all rows away does that at once, while the control leaves
// scattered ones slowly.
void ClearSelection(const ListPlace& place) {
  const int top = ListView_GetTopIndex(place.list);
  const int focused = ListView_GetNextItem(place.list, -1, LVNI_FOCUSED);
  RECT row{};
  ListView_GetItemRect(place.list, top, &row, LVIR_BOUNDS);
  ListView_DeleteAllItems(place.list);
  ListView_SetItemCountEx(place.list, static_cast<int>(ShownRowCount(place)), LVSICF_NOSCROLL);
  ListView_Scroll(place.list, 0, top * (row.bottom - row.top));
  if (focused >= 0) ListView_SetItemState(place.list, focused, LVIS_FOCUSED, LVIS_FOCUSED);
}

// Both ascending. What is to be taken away comes first.
PendingSelection ChangesTo(const std::vector<uint32_t>& wanted,
                           const std::vector<uint32_t>& selected) {
  PendingSelection changes;
  AppendMissing(selected, wanted, changes.shown);
  changes.first_on = changes.shown.size();
  AppendMissing(wanted, selected, changes.shown);
  return changes;
}

// What is left to be done after a new start from none or all rows, which the control knows at once.
PendingSelection StartAnew(const ListPlace& place, const std::vector<uint32_t>& wanted) {
  ClearSelection(place);
  if (wanted.size() <= ShownRowCount(place) / 2) return ChangesTo(wanted, {});
  SetSelected(place, -1, true);
  return ChangesTo(wanted, AllPlaces(place));
}

std::vector<uint32_t> Merged(const std::vector<uint32_t>& first,
                             const std::vector<uint32_t>& second) {
  std::vector<uint32_t> merged;
  merged.reserve(first.size() + second.size());
  std::set_union(first.begin(), first.end(), second.begin(), second.end(),
                 std::back_inserter(merged));
  return merged;
}

// True while rows are left.
bool SelectPart(ListPlace& place) {
  PendingSelection& pending = place.selecting;
  const uint64_t end = GetTickCount64() + kPartTime;
  SendMessageW(place.list, WM_SETREDRAW, FALSE, 0);
  while (pending.done < pending.shown.size() &&
         (pending.done % kPartPoll != 0 || GetTickCount64() < end)) {
    const bool on = pending.done >= pending.first_on;
    SetSelected(place, static_cast<int>(pending.shown[pending.done++]), on);
  }
  SendMessageW(place.list, WM_SETREDRAW, TRUE, 0);
  InvalidateRect(place.list, nullptr, FALSE);
  return pending.done < pending.shown.size();
}

void CALLBACK SelectNextPart(HWND list, UINT, UINT_PTR, DWORD) {
  ListPlace& place = PlaceOfControl(list);
  if (!SelectPart(place)) EndSelecting(place);
}

}  // namespace

std::vector<uint32_t> SelectedRows(const ListPlace& place) {
  // Without asking the control for each.
  if (SelectedCount(place) == ShownRowCount(place)) return ShownRows(place);
  std::vector<uint32_t> rows = SelectedPlaces(place);
  for (uint32_t& row : rows) row = ModelRow(place, row);
  return rows;
}

bool HasSelection(const ListPlace& place) { return SelectedCount(place) != 0; }

void SelectShown(ListPlace& place, std::vector<uint32_t> shown, bool add) {
  EndSelecting(place);
  SendMessageW(place.list, WM_SETREDRAW, FALSE, 0);
  const std::vector<uint32_t> selected = SelectedPlaces(place);
  if (add) shown = Merged(selected, shown);
  place.selecting = ChangesTo(shown, selected);
  // To start from none or from all takes so many changes.
  const size_t anew = std::min(shown.size(), ShownRowCount(place) - shown.size());
  if (anew < place.selecting.shown.size()) place.selecting = StartAnew(place, shown);
  if (!SelectPart(place)) return EndSelecting(place);
  SetTimer(place.list, kSelectTimer, kPartPause, SelectNextPart);
  ShowPlaceStatus(place, "Selecting items ...");
  PlaceChanged(place);
}

bool IsSelecting(const ListPlace& place) { return !place.selecting.shown.empty(); }

void EndSelecting(ListPlace& place) {
  place.selecting = PendingSelection();
  // No timer: what was selected took no more than one part, and nothing was said of it.
  if (KillTimer(place.list, kSelectTimer) == FALSE) return;
  ShowPlaceStatus(place, "");
  PlaceChanged(place);
}

void SelectAllRows(ListPlace& place) { SelectShown(place, AllPlaces(place), false); }

void InvertSelection(ListPlace& place) {
  std::vector<uint32_t> others;
  AppendMissing(AllPlaces(place), SelectedPlaces(place), others);
  SelectShown(place, std::move(others), false);
}

RowChoice ChooseRows(const ListPlace& place, bool selection) {
  std::vector<std::string> lines = FilterLines(place);
  if (ListHeadOf(*place.model) != nullptr) {
    lines.insert(lines.begin(), place.asked.begin(), place.asked.end());
  }
  if (selection) return {SelectedRows(place), true, true, lines};
  if (!IsChoice(place.rows)) return {{}, false, false, lines};
  return {ShownRows(place), true, false, lines};
}

void FocusRow(ListPlace& place, uint32_t shown, bool add) {
  const int row = static_cast<int>(shown);
  SelectShown(place, {shown}, add);
  ListView_SetItemState(place.list, row, LVIS_FOCUSED, LVIS_FOCUSED);
  ListView_SetSelectionMark(place.list, row);
  ListView_EnsureVisible(place.list, row, FALSE);
}

int FocusedRow(const ListPlace& place) {
  const int focused = ListView_GetNextItem(place.list, -1, LVNI_FOCUSED);
  return focused >= 0 ? focused : ListView_GetNextItem(place.list, -1, LVNI_SELECTED);
}

void EnterRows(ListPlace& place) {
  SetFocus(place.list);
  if (FocusedRow(place) < 0 && ShownRowCount(place) != 0) FocusRow(place, 0, false);
}

}  // namespace hivequarry
