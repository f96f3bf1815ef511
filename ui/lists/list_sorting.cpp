#include "ui/lists/list_sorting.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "app/settings.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "ui/lists/list_work.h"

namespace hivequarry {
namespace {

constexpr uint32_t kQuickSort = 300;    // rows up to which nothing is said of it
constexpr uint64_t kPollInterval = 20;  // milliseconds; asking for the key takes a system call

// A key pressed in another program is not meant for this one.
bool IsEscapeDown() {
  DWORD process = 0;
  GetWindowThreadProcessId(GetForegroundWindow(), &process);
  return process == GetCurrentProcessId() && GetAsyncKeyState(VK_ESCAPE) < 0;
}

// Asked by the worker between comparisons.
struct StopQuestion {
  uint64_t polled = 0;

  bool operator()() {
    if (StopRequested()) return true;
    const uint64_t now = GetTickCount64();
    if (now - polled < kPollInterval) return false;
    polled = now;
    if (!TheEscapeKey().is_down()) return false;
    if (ShowMessage("Stop current Process ?", kProgramName, Icon::kQuestion, Buttons::kYesNo) !=
        Answer::kYes) {
      return false;
    }
    RequestStop();
    return true;
  }
};

// The worker's own copy of the order, sorted in place of the one that is shown meanwhile.
struct SortJob {
  std::vector<uint32_t> rows;
  std::vector<SortRequest> keys;  // the first one foremost; not empty
};

void RunSort(const OutputList& list, SortJob& job) {
  StopQuestion question;
  // Rows that a column does not tell apart keep the order of the columns after it.
  // From the last column to the first: each sort keeps the order of what it finds equal.
  for (size_t key = job.keys.size(); key-- > 0;) {
    job.rows = SortRows(list, job.rows, job.keys[key], [&question] { return question(); });
  }
}

// An order by icons has no column, and so no arrow.
void ShowSorted(ListPlace& place, SortJob& job) {
  ShowPlaceStatus(place, "");
  ShowInOrder(place, std::move(job.rows));
  const SortRequest& foremost = job.keys.front();
  place.sorted_column = foremost.mode != SortMode::kIcon ? foremost.column : -1;
  place.sort_keys = std::move(job.keys);
  ShowSortArrows(place);
}

// The column of key paths.
int KeyColumn(const OutputList& list) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) == "Key") return column;
  }
  return 0;
}

void SortBy(ListPlace& place, int column, SortMode mode) {
  bool& descending = place.descending[static_cast<size_t>(column)];
  // A column keeps the direction that it had last, and turns it when it is clicked once more.
  const bool turned = descending != (place.sorted_column == column);
  if (SortList(place, {{column, mode, turned}})) descending = turned;
}

// One more column of the order, the last; one that is there already is turned.
void SortAlsoBy(ListPlace& place, int column) {
  std::vector<SortRequest> keys = place.sort_keys;
  std::erase_if(keys, [](const SortRequest& key) { return key.mode == SortMode::kIcon; });
  if (keys.empty()) return SortBy(place, column, SortModeOfColumn(*place.model, column));
  bool& descending = place.descending[static_cast<size_t>(column)];
  const auto there = std::ranges::find(keys, column, &SortRequest::column);
  bool turned = descending;
  if (there != keys.end()) {
    turned = there->descending = !there->descending;
  } else {
    keys.push_back({column, SortModeOfColumn(*place.model, column), descending});
  }
  if (SortList(place, std::move(keys))) descending = turned;
}

}  // namespace

EscapeKey& TheEscapeKey() {
  static EscapeKey key{IsEscapeDown};
  return key;
}

bool SortList(ListPlace& place, std::vector<SortRequest> keys) {
  const auto job = std::make_shared<SortJob>(SortJob{AllRows(place), std::move(keys)});
  const OutputList& list = *place.model;
  if (!StartListWork(
          place, kOperationSort, [&list, job] { RunSort(list, *job); },
          [&place, job] { ShowSorted(place, *job); })) {
    return false;
  }
  if (ShownRowCount(place) > kQuickSort) {
    ShowPlaceStatus(place, " Sorting items (press Esc to stop) ...");
  }
  return true;
}

void OnHeaderClick(ListPlace& place, int column, bool add) {
  if (column < 0 || column >= ColumnCount(*place.model) || ShownRowCount(place) == 0) return;
  if (add) return SortAlsoBy(place, column);
  SortBy(place, column, SortModeOfColumn(*place.model, column));
}

SortRequest FirstColumnRequest(const OutputList& list) {
  return {0, SortModeOfColumn(list, 0), false};
}

void SortNewList(ListPlace& place) {
  const uint32_t count = ShownRowCount(place);
  if (!TheSettings().options.sort_new_lists || count < 2) return;
  const SortRequest request = FirstColumnRequest(*place.model);
  if (count > kQuickSort) {
    SortList(place, {request});
    return;
  }
  // Few rows are sorted at once, without a worker and what goes with it.
  SortJob job{AllRows(place), {request}};
  job.rows = SortRows(*place.model, job.rows, request, [] { return false; });
  ShowSorted(place, job);
}

void OnSortByType(ListPlace& place) { SortList(place, {{0, SortMode::kIcon, false}}); }

void OnSortByLength(ListPlace& place) {
  SortBy(place, std::max(place.sorted_column, 0), SortMode::kLength);
}

void OnSortByLevel(ListPlace& place) { SortBy(place, KeyColumn(*place.model), SortMode::kLevel); }

}  // namespace hivequarry
