#include "ui/commands/search_commands.h"

#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "app/settings.h"
#include "evidence/decoder_times.h"
#include "hive/hive_table.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "live/live_lists.h"
#include "reports/freed_find.h"
#include "reports/key_dates.h"
#include "reports/search.h"
#include "reports/timeline_list.h"
#include "ui/dialogs/dates_dialog.h"
#include "ui/dialogs/search_dialog.h"
#include "ui/dialogs/timeline_dialog.h"
#include "ui/lists/list_window.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"
#include "view/search_words.h"

namespace hivequarry {
namespace {

constexpr const char* kTooDeep = " Keys nested too deep were not searched.";

bool IsBusy(const MainWindow& window) {
  const LongOperation& operation = TheLongOperation();
  return window.work.thread.joinable() || operation.running != 0 || operation.worker_busy;
}

// What the worker said last; an empty list says why it is empty.
void ShowLastStatus(const ListPlace& place) {
  HostWindow& host = place.owner->host;
  const std::lock_guard lock(host.mutex);
  const bool nothing = host.status.empty() && RowCount(*place.model) == 0;
  const std::wstring text = nothing ? L" Nothing found." : L" " + host.status;
  SendMessageW(place.status, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

bool AskPattern(const MainWindow& window, SearchPlace place, SearchPattern& pattern) {
  return AskSearch(window.handle, place) && CompilePattern(TheLastSearch().settings, pattern);
}

// What the head of a list made of a branch says it was asked for.
void NoteAsked(ListPlace* place, uint32_t item, const std::string& words) {
  if (place == nullptr) return;
  const MainWindow& window = *place->owner;
  place->asked.push_back("Branch: " + ItemPath(ShownHive(window), *window.shown->tree, item));
  if (!words.empty()) place->asked.push_back("Asked: " + words);
}

// A hive to be searched, with its number in the main window. It stays loaded as long as the worker
// runs.
struct SearchedHive {
  const HiveImage& image;
  const KeyTree& tree;
  uint32_t number;
};

// Written by the worker, but for what it begins with.
struct HiveSearch {
  SearchPattern pattern;
  std::vector<SearchedHive> hives;
  uint32_t item = 0;  // the branch, of one hive
  ListPlace* place = nullptr;
  bool whole = true;
  std::vector<RowsOfHive> rows;
};

// On a worker. Notes from which row on each hive's hits are, before the first of them is added.
void RunSearch(HiveSearch& search, OutputList& list) {
  for (const SearchedHive& hive : search.hives) {
    if (StopRequested()) return;
    search.rows.push_back({RowCount(list), hive.number});
    search.whole =
        SearchBranch(hive.image, hive.tree, search.item, search.pattern, list) && search.whole;
    if (!search.pattern.settings.freed || StopRequested()) continue;
    FreedSource from(hive.image, hive.tree);
    SearchFreed(from, search.item, search.pattern, list);
  }
}

void EndSearch(HiveSearch& search) {
  if (search.hives.size() > 1) search.place->hives = std::move(search.rows);
  if (!search.whole) ShowPlaceStatus(*search.place, kTooDeep);
}

// The list is shown while it fills. Of several hives no single one is its own: rows lead to theirs
// by `rows`, once the search has ended.
void StartSearch(MainWindow& window, const std::shared_ptr<HiveSearch>& search) {
  OutputListPtr found = MakeSearchList(TheSettings().options.file_offsets);
  if (search->pattern.settings.freed) AddPlaceColumn(*found);
  const bool several = search->hives.size() > 1;
  if (several) GiveHeadOfAll(window, *found);
  search->place = FillListWindow(
      window, std::move(found), [search](OutputList& list) { RunSearch(*search, list); },
      [search] { EndSearch(*search); });
  if (search->place == nullptr) return;
  // Rows lead nowhere until EndSearch: the worker still adds to `rows`.
  if (several) search->place->hive = kOfNoHive;
  const std::string words = SearchWords(search->pattern.settings);
  if (!several) return NoteAsked(search->place, search->item, words);
  if (!words.empty()) search->place->asked.push_back("Asked: " + words);
}

// In the hive shown alone.
void SearchFrom(MainWindow& window, uint32_t item) {
  const auto search = std::make_shared<HiveSearch>();
  if (!AskPattern(window, SearchPlace::kHive, search->pattern)) return;
  search->item = item;
  search->hives.push_back({ShownHive(window), *window.shown->tree, window.shown->number});
  StartSearch(window, search);
}

bool Fill(ListPlace& place, std::function<void(OutputList& list)> fill,
          std::function<void()> done) {
  const auto work = [fill = std::move(fill)](OutputList& list) {
    fill(list);
    if (StopRequested()) ShowStatus("Stopped.");  // so that nobody takes the rows for all there are
  };
  return FillList(place, kOperationList, work, [&place, then = std::move(done)] {
    ShowLastStatus(place);
    if (then) then();
  });
}

}  // namespace

ListPlace* FillListWindow(MainWindow& window, OutputListPtr list,
                          std::function<void(OutputList& list)> fill, std::function<void()> done) {
  if (IsBusy(window)) return nullptr;
  ListPlace* place = OpenListWindow(window, std::move(list));
  if (place == nullptr) return nullptr;
  if (Fill(*place, std::move(fill), std::move(done))) return place;
  DestroyWindow(place->window);
  return nullptr;
}

void RefillListWindow(ListPlace& place, std::function<void(OutputList& list)> fill,
                      std::function<void()> done) {
  if (IsBusy(*place.owner)) return;
  // This forgets the rows, not what the list was asked for.
  EmptyList(place);
  GiveHead(*place.owner, *place.model);
  Fill(place, std::move(fill), std::move(done));
}

void OnSearchBranch(MainWindow& window) { SearchFrom(window, SelectedItem(window.shown->pane)); }

// All that is open.
void OnSearchWorkspace(MainWindow& window) {
  if (LoadedHives(window) < 2) return SearchFrom(window, 0);
  const auto search = std::make_shared<HiveSearch>();
  if (!AskPattern(window, SearchPlace::kHive, search->pattern)) return;
  for (const auto& hive : window.hives) {
    if (hive->slot < 0) continue;
    search->hives.push_back({HiveOfSlot(hive->slot), *hive->tree, hive->number});
  }
  StartSearch(window, search);
}

void OnSearchRegistry(MainWindow& window) {
  const auto pattern = std::make_shared<SearchPattern>();
  if (!AskPattern(window, SearchPlace::kRegistry, *pattern)) return;
  FillListWindow(window, MakeOutputList(kListLiveSearch),
                 [roots = TheLastSearch().roots, pattern](OutputList& list) {
                   SearchRegistry(roots, *pattern, list);
                 });
}

void OnKeyDates(MainWindow& window) {
  const uint32_t item = SelectedItem(window.shown->pane);
  KeyDateRange range;
  if (!AskKeyDates(window.handle, window.shown->survey.last_activity, range)) return;
  const bool freed = TheSettings().dates.freed;
  OutputListPtr dates = MakeOutputList(kListKeyDates);
  if (freed) AddPlaceColumn(*dates);
  ListPlace* const place = FillListWindow(window, std::move(dates),
                                          [&hive = ShownHive(window), &tree = *window.shown->tree,
                                           item, range, freed](OutputList& list) {
                                            ListKeyDates(hive, tree, item, range, list);
                                            if (!freed || StopRequested()) return;
                                            FreedSource from(hive, tree);
                                            ListFreedDates(from, item, range, list);
                                          });
  const DateSettings& asked = TheSettings().dates;
  NoteAsked(place, item,
            asked.limited ? "last writes from " + asked.start + " to " + asked.end : std::string());
}

void OnTimeline(MainWindow& window) {
  if (!AskTimeline(window.handle)) return;
  const TimelineSettings& chosen = TheSettings().timeline;
  TimelineOptions options;
  options.freed = chosen.freed;
  options.values = chosen.values;
  options.base_block = chosen.base_block;
  options.logged = chosen.logged;
  options.item = SelectedItem(window.shown->pane);
  const auto fill = [&hive = ShownHive(window), &tree = *window.shown->tree, options,
                     decoders = chosen.decoders](OutputList& list) {
    TimelineOptions asked = options;
    std::optional<EvidenceSource> source;
    if (decoders) asked.known_freed = &source.emplace(hive, tree).freed;
    ListTimeline(hive, tree, asked, list, [&](Timeline& timeline) {
      if (source) AddDecoderTimes(timeline, *source, asked);
    });
  };
  ListPlace* const place = FillListWindow(window, MakeOutputList(kListTimeline), fill);
  NoteAsked(place, options.item, {});
}

}  // namespace hivequarry
