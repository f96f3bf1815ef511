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
  SortRequest request;
};

void RunSort(const OutputList& list, SortJob& job) {
  StopQuestion question;
  job.rows = SortRows(list, job.rows, job.request, [&question] { return question(); });
}

void ShowSorted(ListPlace& place, SortJob& job) {
  ShowPlaceStatus(place, "");
  ShowInOrder(place, std::move(job.rows));
  const bool by_column = job.request.mode != SortMode::kIcon;
  place.sorted_column = by_column ? job.request.column : -1;
  ShowSortArrow(place, place.sorted_column, job.request.descending);
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
  const bool turned = descending != (place.sorted_column == column);
  if (SortList(place, {column, mode, turned})) descending = turned;
}

}  // namespace

EscapeKey& TheEscapeKey() {
  static EscapeKey key{IsEscapeDown};
  return key;
}

bool SortList(ListPlace& place, const SortRequest& request) {
  const auto job = std::make_shared<SortJob>(SortJob{AllRows(place), request});
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

void OnHeaderClick(ListPlace& place, int column, bool by_length) {
  if (column < 0 || column >= ColumnCount(*place.model) || ShownRowCount(place) == 0) return;
  SortBy(place, column, by_length ? SortMode::kLength : SortModeOfColumn(*place.model, column));
}

SortRequest FirstColumnRequest(const OutputList& list) {
  return {0, SortModeOfColumn(list, 0), false};
}

void SortNewList(ListPlace& place) {
  const uint32_t count = ShownRowCount(place);
  if (!TheSettings().options.sort_new_lists || count < 2) return;
  const SortRequest request = FirstColumnRequest(*place.model);
  if (count > kQuickSort) {
    SortList(place, request);
    return;
  }
  SortJob job{AllRows(place), request};
  job.rows = SortRows(*place.model, job.rows, request, [] { return false; });
  ShowSorted(place, job);
}

void OnSortByType(ListPlace& place) { SortList(place, {0, SortMode::kIcon, false}); }

void OnSortByLength(ListPlace& place) {
  SortBy(place, std::max(place.sorted_column, 0), SortMode::kLength);
}

void OnSortByLevel(ListPlace& place) { SortBy(place, KeyColumn(*place.model), SortMode::kLevel); }

}  // namespace hivequarry
