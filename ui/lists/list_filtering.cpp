// Words are looked for by the filter's own thread, in the rows [from, to) of the model. Its answer
// (kRowsChosen) waits while a worker needs the rows in their places. Rows that are added later are
// looked at by further runs, each from where the last one ended. A range of the picture is looked
// at by a worker (FilterList), in the rows that hold the words.
#include "ui/lists/list_filtering.h"

#include <algorithm>
#include <memory>
#include <system_error>
#include <utility>

#include "app/memory.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/lists/activity_pane.h"
#include "ui/lists/filter_box.h"
#include "ui/lists/list_work.h"

namespace hivequarry {
namespace {

// From so many rows on a run may take long enough to be told of.
constexpr uint32_t kManyRows = 500'000;

// What the thread works with; its own, but for the list.
struct FilterRun {
  const OutputList& list;
  RowFilter filter;
  RowTest range;
  uint32_t from;
  uint32_t to;
  HWND window;
  uint32_t serial;
};

// On the filter's own thread; its last act is the message. Without memory `passing` is shorter than
// the run, which counts as a run that was stopped.
void RunFilter(FilterRun& run, const std::atomic<bool>& stop, std::vector<bool>& passing) {
  // Nobody waits for it: it shows no progress, and the stop of an operation does not end it.
  const BackgroundWork work;
  WithMemory([&] {
    passing = PassingRows(run.filter, run.list, run.from, run.to, stop);
    for (uint32_t i = 0; run.range && i < passing.size() && !stop; ++i) {
      passing[i] = passing[i] && run.range(run.list, run.from + i);
    }
    return true;
  });
  PostMessageW(run.window, kRowsChosen, run.serial, 0);
}

// Words that passed once do so again.
RowFilter FilterOf(const ListPlace& place) {
  RowFilter filter;
  std::string fault;
  MakeRowFilter(*place.model, place.filter.words, filter, fault);
  return filter;
}

// Of the rows from `from` on, by the words in force.
void StartRun(ListPlace& place, uint32_t from, RowFilter words) {
  StopFilter(place);
  ListFilter& filter = place.filter;
  filter.from = from;
  filter.to = RowCount(*place.model);
  filter.tested = from;
  filter.stop = false;
  filter.passing.clear();
  const auto run =
      std::make_shared<FilterRun>(FilterRun{*place.model, std::move(words), filter.range, from,
                                            filter.to, place.window, ++filter.serial});
  try {
    filter.thread = std::thread([&filter, run] { RunFilter(*run, filter.stop, filter.passing); });
  } catch (const std::system_error&) {
    ShowFilterNote(place, "There is no thread to be had that looks at the rows.");
    return;
  }
  if (run->to - from >= kManyRows) ShowFilterNote(place, "Looking at the rows ...");
}

void EndThread(ListFilter& filter) {
  if (filter.thread.joinable()) filter.thread.join();
}

// A worker that reads places of rows needs them as they are; one that adds rows does not.
bool MayChangeRows(const ListPlace& place) { return !place.working || place.filling; }

void ShowPassing(ListPlace& place) {
  ListFilter& filter = place.filter;
  filter.ready = false;
  filter.tested = filter.to;
  if (filter.passing.size() != filter.to - filter.from) {
    return ShowFilterNote(place,
                          "There is no memory to choose rows by this: they stay as they are.");
  }
  if (filter.from == 0) {
    filter.passing.resize(RowCount(*place.model));  // rows that came since are not known yet
    ShowChosenRows(place, std::move(filter.passing));
  } else {
    ShowAddedRows(place, filter.from, filter.passing);
  }
  // Gives its memory back, which clearing would not.
  filter.passing = std::vector<bool>();
}

// What is wrong with words that were typed since stays there.
void ShowNote(const ListPlace& place) {
  if (!place.filter.faulty) ShowFilterNote(place, place.filter.note);
}

}  // namespace

bool HasFilterWords(const ListPlace& place) { return !place.filter.words.text.empty(); }

void SetFilterWords(ListPlace& place, FilterWords words) {
  RowFilter filter;
  std::string fault;
  place.filter.faulty = !MakeRowFilter(*place.model, words, filter, fault);
  if (place.filter.faulty) return ShowFilterNote(place, fault);
  // Blanks alone are no words.
  if (filter.terms.empty()) words.text.clear();
  place.filter.words = std::move(words);
  place.filter.note = filter.note;
  ShowFilterNote(place, filter.note);
  if (HasFilterWords(place) || place.filter.range) return StartRun(place, 0, std::move(filter));
  StopFilter(place);
  if (place.rows.filtered) ShowAllRows(place);
}

void TakeChosenRows(ListPlace& place, uint32_t serial) {
  ListFilter& filter = place.filter;
  if (serial != filter.serial || !filter.thread.joinable()) return;
  EndThread(filter);
  filter.ready = true;
  ShowNote(place);
  FollowFilter(place);
}

void FollowFilter(ListPlace& place) {
  ListFilter& filter = place.filter;
  if (filter.ready && MayChangeRows(place)) ShowPassing(place);
  const bool chosen = HasFilterWords(place) || filter.range;
  if (!chosen || filter.ready || filter.thread.joinable()) return;
  if (filter.tested < RowCount(*place.model)) StartRun(place, filter.tested, FilterOf(place));
}

void StopFilter(ListPlace& place) {
  ListFilter& filter = place.filter;
  filter.stop = true;
  EndThread(filter);
  filter.ready = false;
  filter.tested = 0;
}

void ForgetFilter(ListPlace& place) {
  StopFilter(place);
  place.filter.words = FilterWords();
  place.filter.note.clear();
  place.filter.range = nullptr;
  place.filter.range_words.clear();
  place.filter.faulty = false;
  SetDlgItemTextW(place.window, kListFilterId, L"");
}

bool OnFilterControl(ListPlace& place, int control, int code) {
  const bool typed = control == kListFilterId && code == EN_CHANGE;
  const bool ticked = control >= kListFilterCaseId && control <= kListFilterRegularId;
  if (!typed && !(ticked && code == BN_CLICKED)) {
    return control >= kListFilterLabelId && control <= kListFilterNoteId;
  }
  if (place.model != nullptr) SetFilterWords(place, TypedFilter(place));
  return true;
}

std::vector<std::string> FilterLines(const ListPlace& place) {
  std::vector<std::string> lines;
  if (!place.rows.filtered) return lines;
  if (HasFilterWords(place)) lines.push_back(FilterLine(place.filter.words));
  if (!place.filter.range_words.empty()) lines.push_back("Range: " + place.filter.range_words);
  lines.push_back(
      Concat({"Rows: ", Decimal(ShownRowCount(place)), " of ", Decimal(RowCount(*place.model))}));
  return lines;
}

bool FilterList(ListPlace& place, RowTest range, std::string words) {
  const auto chosen = std::make_shared<std::vector<bool>>();
  const auto filter = std::make_shared<RowFilter>(FilterOf(place));
  const OutputList& list = *place.model;
  const auto passes = [&list, filter, range](uint32_t row) {
    return range(list, row) && RowPasses(*filter, list, row);
  };
  return StartListWork(
      place, kOperationFind,
      [&list, passes, chosen] { *chosen = TestRows(RowCount(list), passes, StopRequested); },
      [&place, chosen, range, words] {
        if (chosen->size() != RowCount(*place.model)) return;
        place.filter.range = range;
        place.filter.range_words = words;
        ShowChosenRows(place, std::move(*chosen));
        if (HasFilterWords(place)) SetFilterWords(place, place.filter.words);
      });
}

void OnFilterRows(ListPlace& place) {
  const HWND box = GetDlgItem(place.window, kListFilterId);
  SetFocus(box);
  SendMessageW(box, EM_SETSEL, 0, -1);
}

void OnShowAllRows(ListPlace& place) {
  ForgetFilter(place);
  ShowAllRows(place);
  ForgetPickedRange(place);
}

}  // namespace hivequarry
