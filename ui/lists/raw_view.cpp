#include "ui/lists/raw_view.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "hive/file_place.h"
#include "host/host.h"
#include "host/number_text.h"
#include "reports/hive_lists.h"
#include "ui/dialogs/position_dialog.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_window.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

constexpr int kLeadsTo = 5;  // the column
// Steps back; the oldest are forgotten.
constexpr size_t kLongestTrail = 100;

// A field that was followed: its row, and the position that showed its record.
struct Step {
  uint32_t position;
  uint32_t row;
};
// The way that a window has come, for going back.
struct Trail {
  uint32_t position = 0;  // that showed what is shown
  std::vector<Step> steps;
};
// By list window. Windows that are gone leave theirs until the next one opens; a window begins with
// none, whatever had its handle before.
std::map<HWND, Trail>& TheTrails() {
  static std::map<HWND, Trail> trails;
  return trails;
}

Trail& StartTrail(HWND window) {
  std::erase_if(TheTrails(), [](const auto& entry) { return IsWindow(entry.first) == FALSE; });
  return TheTrails()[window] = Trail();
}

// Null where no hive is shown, or none of its records holds the position.
OutputListPtr ReadRecord(const MainWindow& window, uint32_t position) {
  if (window.shown->slot < 0) return nullptr;
  OutputListPtr list = ListRawRecord(ShownHive(window), *window.shown->tree, position);
  if (list == nullptr) return list;
  GiveHead(window, *list);
  SetListTitle(*list, ListTitle(*list) + ": " + ListSubtitle(*list));
  return list;
}

// Widths that the user chose stay; else the columns suit each record.
std::vector<int> WidthsNow(const ListPlace& place) {
  return place.columns_touched ? WidthsOfColumns(place) : std::vector<int>();
}

void ShowRecord(ListPlace& place, OutputListPtr list, uint32_t row) {
  ShowList(place, std::move(list), WidthsNow(place));
  if (row < ShownRowCount(place)) FocusRow(place, row, false);
}

}  // namespace

ListPlace* OpenRawView(MainWindow& window, uint32_t position) {
  OutputListPtr list = ReadRecord(window, position);
  if (list == nullptr) {
    const std::string text =
        Concat({"The hive has no bytes at 0x", Hex(PlaceOf(ShownHive(window), position), 8), " !"});
    ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
    return nullptr;
  }
  // Fields are neither numbered nor put in another order, so the window is opened without them.
  ListPlace* place = OpenListWindow(window, MakeOutputList(kListRawRecord));
  if (place == nullptr) return nullptr;
  StartTrail(place->window).position = position;
  ShowRecord(*place, std::move(list), 0);
  return place;
}

void OnRawKey(MainWindow& window) { OpenRawView(window, SelectedKeyPosition(window)); }

void OnRawValue(MainWindow& window) { OpenRawView(window, window.selection.value); }

void OnRawPosition(MainWindow& window) {
  const HiveImage& hive = ShownHive(window);
  const uint32_t item = SelectedItem(window.shown->pane);
  uint32_t position = window.selection.value;
  if (position == kNoOffset && item != kNoItem) position = window.shown->tree->items[item].position;
  if (position >= hive.length) position = 0;  // a folder has none
  uint32_t place = PlaceOf(hive, position);
  if (!AskPosition(window.handle, LengthInFile(hive), place)) return;
  OpenRawView(window, PositionOfPlace(hive, place));
}

void OnFollowRecord(ListPlace& place) {
  const int focused = FocusedRow(place);
  if (focused < 0) return BeepAtUser();
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(focused));
  if (CellText(*place.model, row, kLeadsTo).empty()) return BeepAtUser();
  const uint32_t target = RowDatum(*place.model, row);
  OutputListPtr list = ReadRecord(*place.owner, target);
  if (list == nullptr) return BeepAtUser();
  Trail& trail = TheTrails()[place.window];
  if (trail.steps.size() == kLongestTrail) trail.steps.erase(trail.steps.begin());
  trail.steps.push_back({trail.position, row});
  trail.position = target;
  ShowRecord(place, std::move(list), 0);
}

void OnPreviousRecord(ListPlace& place) {
  Trail& trail = TheTrails()[place.window];
  if (trail.steps.empty()) return BeepAtUser();
  const Step step = trail.steps.back();
  OutputListPtr list = ReadRecord(*place.owner, step.position);
  if (list == nullptr) return BeepAtUser();
  trail.steps.pop_back();
  trail.position = step.position;
  ShowRecord(place, std::move(list), step.row);
}

void OnListRawRecord(ListPlace& place) {
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(FocusedRow(place)));
  OpenRawView(*place.owner, RowDatum(*place.model, row));
}

}  // namespace hivequarry
