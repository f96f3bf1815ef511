#include "ui/live/compare_commands.h"

#include <memory>
#include <utility>
#include <vector>

#include "app/settings.h"
#include "hive/hive_table.h"
#include "host/long_operation.h"
#include "live/compare.h"
#include "ui/commands/search_commands.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"
#include "view/live_words.h"

namespace hivequarry {
namespace {

CompareRows& RowsWanted() {
  static CompareRows rows = CompareRows::kAll;
  return rows;
}

CompareOptions OptionsNow() {
  const Options& options = TheSettings().options;
  return {RowsWanted(), options.no_access_keys, options.recovered_keys};
}

// `differing` is the worker's until it has ended; the rest does not change.
struct CompareJob {
  MainWindow* window = nullptr;
  WindowHive* hive = nullptr;
  uint32_t item = kNoItem;
  bool displayed = false;  // it is the mode's
  std::vector<uint32_t> differing;
};

// For the worker. A stop switches the mode "Displayed Sub Keys" off.
std::function<void(OutputList&)> WorkOf(const std::shared_ptr<CompareJob>& job) {
  return [job, options = OptionsNow(), &hive = HiveOfSlot(job->hive->slot),
          &tree = *job->hive->tree](OutputList& list) {
    job->differing = CompareBranch(hive, tree, job->item, options, list);
    if (job->displayed && StopRequested()) job->window->comparing = false;
  };
}

void UnmarkAll(MainWindow& window) {
  for (const auto& hive : window.hives) MarkDifferences(hive->pane, {});
}

// For the interface thread: what differs is marked in the tree, or nothing is any more.
std::function<void()> EndOf(const std::shared_ptr<CompareJob>& job) {
  return [job] {
    if (!job->displayed) return;
    if (!job->window->comparing) return UnmarkAll(*job->window);
    MarkDifferences(job->hive->pane, job->differing);
  };
}

// False when it could not begin. The list keeps what it was made by, so that it can be made anew.
bool Compare(MainWindow& window, uint32_t item, bool displayed) {
  if (!MayCompare(ShownHive(window), *window.shown->tree, item)) return false;
  const auto job =
      std::make_shared<CompareJob>(CompareJob{&window, window.shown, item, displayed, {}});
  ListPlace* const place =
      FillListWindow(window, MakeOutputList(kListCompare), WorkOf(job), EndOf(job));
  if (place == nullptr) return false;
  // Goes with the place, so it may refer to it.
  place->again = [place, job] { RefillListWindow(*place, WorkOf(job), EndOf(job)); };
  return true;
}

void ListOnly(ListPlace& place, CompareRows rows) {
  RowsWanted() = RowsWanted() == rows ? CompareRows::kAll : rows;
  place.again();
}

}  // namespace

void OnCompareFolder(MainWindow& window) {
  Compare(window, SelectedItem(window.shown->pane), false);
}
void OnCompareWorkspace(MainWindow& window) { Compare(window, 0, false); }

void OnCompareDisplayed(MainWindow& window) {
  window.comparing = !window.comparing;
  UnmarkAll(window);
  CompareLoadedHive(window);
}

void CompareLoadedHive(MainWindow& window) {
  constexpr size_t kLeastItems = 2;
  if (!window.comparing || window.shown->slot < 0 || window.shown->tree->items.size() < kLeastItems)
    return;
  if (Compare(window, 0, true)) return;
  window.comparing = false;
  UnmarkAll(window);
}

void OnOnlyMissing(ListPlace& place) { ListOnly(place, CompareRows::kMissing); }
void OnOnlyDifferent(ListPlace& place) { ListOnly(place, CompareRows::kDifferent); }
bool ListsOnlyMissing() { return RowsWanted() == CompareRows::kMissing; }
bool ListsOnlyDifferent() { return RowsWanted() == CompareRows::kDifferent; }

}  // namespace hivequarry
