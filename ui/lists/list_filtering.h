// Showing some rows of a list of the screen: those that hold what is typed in the filter box, and
// those of the range that is picked in the picture of activity. Both hold together.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "lists/row_filter.h"
#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;
struct OutputList;

using RowTest = std::function<bool(const OutputList& list, uint32_t row)>;

// Posted to the list's window by the thread that looks at its rows, as its last act; wParam is the
// serial of its run.
inline constexpr UINT kRowsChosen = WM_APP + 22;

// The thread reads the model and writes `passing`; all else is the interface thread's. Whoever
// takes rows from the model stops it before.
struct ListFilter {
  FilterWords words;        // that are in force; empty: none
  std::string note;         // how they were taken, where the user should know
  bool faulty = false;      // the box has other words, which mean nothing
  RowTest range;            // null: none
  std::string range_words;  // what the head says of it
  uint32_t tested = 0;      // rows of the model that the choice is known of
  std::thread thread;       // joinable from the start until its end was taken
  std::atomic<bool> stop{false};
  uint32_t serial = 0;  // of the last run
  uint32_t from = 0;    // its first row, and the one after its last
  uint32_t to = 0;
  std::vector<bool> passing;
  bool ready = false;  // `passing` waits for a worker that needs the rows as they are
};

// Takes the words of the box: a new run takes the place of one under way. Words that mean nothing
// leave what is shown, and are told beside the box.
void SetFilterWords(ListPlace& place, FilterWords words);
bool HasFilterWords(const ListPlace& place);
// The answer to kRowsChosen.
void TakeChosenRows(ListPlace& place, uint32_t serial);
// Looks at rows that were added since, and shows what waited for a worker.
void FollowFilter(ListPlace& place);
// Ends the run under way, which takes a moment; the rows are looked at anew afterwards.
void StopFilter(ListPlace& place);
// The same, and the box is empty again.
void ForgetFilter(ListPlace& place);
// What a control of the filter box reports; false for other controls.
bool OnFilterControl(ListPlace& place, int control, int code);
// Which rows are shown, for the head of what is written; none where all are.
std::vector<std::string> FilterLines(const ListPlace& place);

// Looks at all rows on a worker, and shows those of a range that hold the words in force. False
// while one is at work; then, and when the user stops it, what is shown stays so.
bool FilterList(ListPlace& place, RowTest range, std::string words = {});

// Commands of a list; called when guard and needs allow it.
//
// The focus goes to the filter box.
void OnFilterRows(ListPlace& place);
// Neither words nor range are in force any more.
void OnShowAllRows(ListPlace& place);

}  // namespace hivequarry
