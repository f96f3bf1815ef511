#include "ui/lists/list_finding.h"

#include <memory>
#include <utility>

#include "app/settings.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_order.h"
#include "ui/dialogs/find_dialog.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_work.h"

namespace hivequarry {
namespace {

constexpr size_t kQuickRows = 1024;  // up to which there is no progress to show

// `rows` are those shown, in their order, as they were when the search began; `found` is the
// worker's.
struct FindJob {
  std::vector<uint32_t> rows;
  FindRequest request;
  FoundRow found;
};

void RunFind(const OutputList& list, FindJob& job) {
  const Host& host = CurrentHost();
  const bool shown = job.rows.size() > kQuickRows;
  if (shown) host.progress_range(host.context, static_cast<uint32_t>(job.rows.size()));
  // On the worker.
  FindEvents events;
  events.passed = [](const char*) {};  // said with the result, which comes in a moment
  events.visited = [&host](uint32_t visited) {
    host.progress_position(host.context, visited);
    return !StopRequested();
  };
  job.found = FindRow(list, job.rows, job.request, events);
  if (shown) host.progress_range(host.context, 0);
}

void ReportNothing() { ShowMessage("No items found !", kProgramName, Icon::kInformation); }

// Where going round was not asked for, the end of the list says enough by itself.
void ShowFound(ListPlace& place, const FindJob& job) {
  const FoundRow& found = job.found;
  if (found.wrapped) {
    ShowPassingStatus(place, job.request.down ? kPassedEnd : kPassedBeginning);
  }
  if (found.place >= 0) {
    FocusRow(place, static_cast<uint32_t>(found.place), place.find_adds);
  } else if (!found.stopped && job.request.wrap) {
    ReportNothing();
  }
}

// Likewise; `found` are places in `rows`.
struct SelectJob {
  std::vector<uint32_t> rows;
  SelectChoice choice;
  std::vector<uint32_t> found;
};

// The first of them comes into view.
void SelectFound(ListPlace& place, SelectJob& job) {
  if (job.found.empty()) return ReportNothing();
  const auto first = static_cast<int>(job.found.front());
  SelectShown(place, std::move(job.found), job.choice.add);
  ListView_EnsureVisible(place.list, first, FALSE);
}

}  // namespace

void FindInRows(ListPlace& place, bool down) {
  const auto job = std::make_shared<FindJob>();
  job->rows = ShownRows(place);
  job->request = {place.last_find, FocusedRow(place), down, TheSettings().options.wrap_find};
  const OutputList& list = *place.model;
  StartListWork(
      place, kOperationFind, [&list, job] { RunFind(list, *job); },
      [&place, job] { ShowFound(place, *job); });
}

void SelectRowsWith(ListPlace& place, const SelectChoice& choice) {
  const auto job = std::make_shared<SelectJob>(SelectJob{ShownRows(place), choice, {}});
  const OutputList& list = *place.model;
  StartListWork(
      place, kOperationFind,
      [&list, job] {
        job->found = FindAllRows(list, job->rows, job->choice.text, job->choice.column);
      },
      [&place, job] { SelectFound(place, *job); });
}

void OnFindInList(ListPlace& place) {
  bool& wrap = TheSettings().options.wrap_find;
  FindChoice choice;
  choice.text = place.last_find;
  choice.wrap = wrap;
  choice.add_to_selection = place.find_adds;
  if (!AskFind(place.window, choice)) return;
  wrap = choice.wrap;
  place.last_find = choice.text;
  place.find_adds = choice.add_to_selection;
  FindInRows(place, choice.down);
}

void OnFindNext(ListPlace& place) {
  place.last_find.empty() ? OnFindInList(place) : FindInRows(place, true);
}

void OnFindPrevious(ListPlace& place) {
  place.last_find.empty() ? OnFindInList(place) : FindInRows(place, false);
}

void OnSelectWith(ListPlace& place) {
  SelectChoice choice;
  choice.text = place.last_find;
  if (AskSelect(place.window, *place.model, choice)) SelectRowsWith(place, choice);
}

}  // namespace hivequarry
