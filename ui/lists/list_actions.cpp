#include "ui/lists/list_actions.h"

#include <algorithm>
#include <filesystem>
#include <memory>

#include "app/list_words.h"
#include "app/opening_words.h"
#include "app/settings.h"
#include "app/stop_command.h"
#include "hive/file_place.h"
#include "hive/hive_table.h"
#include "host/files.h"
#include "host/host.h"
#include "host/launch.h"
#include "host/long_operation.h"
#include "recovery/root_search.h"
#include "reports/freed_find.h"
#include "ui/lists/list_work.h"
#include "ui/lists/raw_view.h"
#include "ui/main/loading.h"
#include "ui/main/main_window.h"
#include "view/list_commands.h"
#include "view/listed_hives.h"
#include "view/tree_find.h"

namespace hivequarry {
namespace {

uint32_t FocusedPosition(const ListPlace& place) {
  return RowDatum(*place.model, ModelRow(place, static_cast<uint32_t>(FocusedRow(place))));
}

// A list with the same rows, in the order shown, for a worker to fill in while the list itself is
// drawn.
OutputListPtr CopyAsShown(const ListPlace& place) {
  const OutputList& list = *place.model;
  OutputListPtr copy = MakeOutputList(ListKindOf(list));
  SetListTitle(*copy, ListTitle(list));
  SetListSource(*copy, ListSource(list));
  for (const uint32_t row : AllRows(place)) AddRowOf(*copy, list, row);
  return copy;
}

// Filled by the worker; the interface thread reads it when that has ended.
struct SplitJob {
  OutputListPtr list;
  bool done = false;
};

// The worker's copy has the rows in the order that was shown, so the order is forgotten with the
// old model.
void ShowPieces(ListPlace& place, SplitJob& job) {
  StopFilter(place);
  place.model = std::move(job.list);
  place.rows = RowsShown();
  InvalidateRect(place.list, nullptr, FALSE);
  ShowPlaceStatus(place, job.done ? "Done." : "");
}

// A row of what an entry did speaks of a state that may be past: another key may have its position
// now.
bool IsStillThere(const ListPlace& place, uint32_t row, uint32_t position) {
  // Of lists of what log entries did.
  constexpr int kKeyColumn = 3;
  const MainWindow& window = *place.owner;
  const uint32_t item = ItemShowing(ShownHive(window), *window.shown->tree, position);
  return item != kNoItem && ItemPath(ShownHive(window), *window.shown->tree, item) ==
                                CellText(*place.model, row, kKeyColumn);
}

// Of what a hive can be; 0 for what can't be looked at.
uint32_t LengthOfFile(const std::string& name) {
  std::error_code error;
  const auto size = std::filesystem::file_size(FilePath(name), error);
  return error ? 0 : static_cast<uint32_t>(std::min<uintmax_t>(size, UINT32_MAX));
}

bool OpenFileOfRow(const ListPlace& place, const NamedFile& file) {
  if (file.name.empty()) {
    if (ListKindOf(*place.model) == kListCarved) {
      ShowPassingStatus(place, "Not one stretch below 4 GiB: carve it as a file first.");
    }
    return false;
  }
  MainWindow& window = *place.owner;
  const bool whole = file.end == 0;
  const bool here = LoadedHives(window) == 0 || !TheSettings().options.window_for_each;
  if (here || (whole && file.key == kNoOffset)) {
    OpenNamedFile(window, file);
    return true;
  }
  // The hives shown stay; a copy of the program is told the range.
  const uint32_t end = whole ? LengthOfFile(file.name) : file.end;
  LaunchSelf(file.key == kNoOffset ? RangeArguments(FullName(file.name), file.start, end)
                                   : KeyArguments(FullName(file.name), file.start, end, file.key),
             kLaunchPlain);
  return true;
}

// Where the tree has no item for a freed record its bytes are shown instead.
bool GoToRow(const ListPlace& place, uint32_t row, uint32_t position) {
  if (row < place.files.size()) return OpenFileOfRow(place, place.files[row]);
  if (ListKindOf(*place.model) == kListLogChanges && !IsStillThere(place, row, position)) {
    return false;
  }
  if (GoToPosition(*place.owner, position)) {
    SetForegroundWindow(place.owner->handle);
    return true;
  }
  if (row < place.keys.size() && place.keys[row] != kNoOffset &&
      GoToPosition(*place.owner, place.keys[row])) {
    SetForegroundWindow(place.owner->handle);
    return true;
  }
  const int kind = ListKindOf(*place.model);
  // Rows of these lists may be about records that no item of the tree shows.
  const bool bytes = IsFreedRow(*place.model, row) || kind == kListTimeline || kind == kListRepair;
  return bytes && OpenRawView(*place.owner, position) != nullptr;
}

// The hives that are open, and which of them is viewed.
std::vector<HiveToSearch> HivesToSearch(const MainWindow& window, std::vector<uint32_t>& numbers,
                                        size_t& viewed) {
  std::vector<HiveToSearch> hives;
  for (const auto& hive : window.hives) {
    if (hive->slot < 0) continue;
    if (hive.get() == window.shown) viewed = hives.size();
    hives.push_back({&HiveOfSlot(hive->slot), hive->tree.get(), hive->hashing.hashes.hive});
    numbers.push_back(hive->number);
  }
  return hives;
}

// By the path that the row has, as a file keeps no positions.
void GoToPathOfRow(const ListPlace& place, uint32_t row) {
  MainWindow& window = *place.owner;
  const std::string path(KeyPathOfRow(*place.model, row));
  std::vector<uint32_t> numbers;
  size_t viewed = 0;
  const std::vector<HiveToSearch> hives = HivesToSearch(window, numbers, viewed);
  const KeyOfRow key = FindKeyOfRow(path, ListedHives(HeadLinesOf(*place.model)), hives, viewed);
  if (key.item == kNoItem) {
    const std::string text = "The hive has no key " + path + " !";
    ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
    return;
  }
  const HiveTurn turn(window, numbers[key.hive]);
  if (window.layout.arrangement == kOutputArrangement) ShowArrangement(window, kKeysArrangement);
  SelectItem(window.shown->pane, key.item);
  SetFocus(window.controls.tree);
  SetForegroundWindow(window.handle);
  if (key.other_file) ShowPassingStatus(place, " The list was made of another file.");
}

}  // namespace

void OnClearList(ListPlace& place) { EmptyList(place); }
void OnSelectAllRows(ListPlace& place) { SelectAllRows(place); }
void OnInvertRows(ListPlace& place) { InvertSelection(place); }
void OnResizeListColumns(ListPlace& place) { ResizeListColumns(place); }

void OnStopListWork(ListPlace& place) {
  // Selecting bit by bit is no operation of the program: StopCommand knows nothing of it.
  EndSelecting(place);
  StopCommand();
  PlaceChanged(place);
}

// Posted, as the place goes with its window.
void OnCloseList(ListPlace& place) {
  if (!place.pane) PostMessageW(place.window, WM_CLOSE, 0, 0);
}

void OnGoToTree(ListPlace& place) {
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(FocusedRow(place)));
  const bool of_file = row < place.files.size();
  if (!of_file && !RowHasDatum(*place.model, row)) return GoToPathOfRow(place, row);
  if (GoToRow(place, row, FocusedPosition(place))) return;
  BeepAtUser();
}

void OnSplitFile(ListPlace& place) {
  const auto job = std::make_shared<SplitJob>();
  job->list = CopyAsShown(place);
  StartListWork(
      place, kOperationSplit, [job] { job->done = SplitFileAndTell(*job->list); },
      [&place, job] { ShowPieces(place, *job); });
}

void OnOpenValidRoot(ListPlace& place) {
  OpenRootInCopy(ShownHive(*place.owner), FocusedPosition(place));
}

// The copy counts positions from the start of its range.
void OnOpenKey(ListPlace& place) {
  const HiveImage& hive = ShownHive(*place.owner);
  const uint32_t root = FilePositionOf(hive, FocusedPosition(place));
  const uint32_t start = RangeStartForRoot(root);
  LaunchSelf(KeyArguments(FullName(hive.file_name), start, FileEndOf(hive), root - start),
             kLaunchPlain);
}

}  // namespace hivequarry
