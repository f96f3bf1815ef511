// Activity over time: how many rows of a list fall into each year, month, day, hour or minute, and
// the picture of it. Times are seconds since 1601-01-01 UTC, as dates in cells are.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "lists/output_list.h"
#include "view/picture.h"

namespace hivequarry {

// The column that rows have their time in, the first one of dates; -1 for a list without any.
int TimeColumnOf(const OutputList& list);
// Seconds since 1601-01-01 UTC, as in all of this header. kNoValue for none, and for what no clock
// of a registry has shown: before 1970, or from 2100 on.
uint64_t TimeOfRow(const OutputList& list, uint32_t row, int column);

// Events of one kind.
struct ActivitySeries {
  std::string name;
  std::vector<uint64_t> times;  // ascending
};
inline constexpr size_t kMostSeries = 8;  // the last of more than these is all other ones
// The times of a list's rows, taken once: the list may go away.
struct Activity {
  std::vector<ActivitySeries> series;  // those with the most events first
  uint64_t events = 0;                 // in all series
  uint64_t without = 0;                // rows without such a time
  uint64_t first = 0;                  // 0, as the last one, where there are no events
  uint64_t last = 0;
};
// Reads all rows that the list has by now, on any thread. Empty when `stop` says so, which is asked
// on the way.
Activity ReadActivity(const OutputList& list, const std::function<bool()>& stop);

enum class ActivityUnit : uint8_t { kMinute, kHour, kDay, kMonth, kYear };

// [from, to).
struct TimeRange {
  uint64_t from = 0;
  uint64_t to = 0;  // excluded; an empty range is none
  bool operator==(const TimeRange&) const = default;
};
// The end is not in it.
inline bool IsIn(const TimeRange& range, uint64_t time) {
  return time >= range.from && time < range.to;
}

// What of an Activity is drawn, and how.
struct ActivityView {
  TimeRange shown;  // begins and ends with a unit
  ActivityUnit unit = ActivityUnit::kYear;
  bool logarithmic = false;  // heights by the logarithm of the number
  TimeRange picked;          // drawn as a mark; empty for none
};
// The view of a range, or of all times, by the finest unit that gives no more than `most` bars; by
// years where no unit does. The activity has events.
ActivityView ViewOfRange(const TimeRange& range, size_t most);
ActivityView WholeView(const Activity& activity, size_t most);
// By another unit; where the range has too many of these, a part of it: the middle of what is
// picked, else where most happened.
void ShowByUnit(const Activity& activity, ActivityView& view, ActivityUnit unit, size_t most);
// Half or twice the range about a time, which keeps its place; all there is at most.
void ZoomView(const Activity& activity, ActivityView& view, bool closer, uint64_t around,
              size_t most);
// So many eighths of the range to the right, negative to the left; not beyond all there is.
void MoveView(const Activity& activity, ActivityView& view, int eighths);

// Counts of a view, made once for it. Bars may differ in length: months and years do.
struct ActivityBins {
  std::vector<uint64_t> edges;   // where the bars begin, and the last one's end: one more than bars
  std::vector<uint32_t> counts;  // of a bar and a series: counts[bar * series + i]
  std::vector<uint32_t> totals;  // by bar
  uint32_t largest = 0;          // of the totals
};
// For a view of that activity; no more than 16,384 bars, from the view's start on. A search by
// halves for each bar and series, so many events cost little; empty for an empty view.
ActivityBins CountBins(const Activity& activity, const ActivityView& view);

// What a picture is drawn with: pixels, and colours 0xRRGGBB.
struct PictureLook {
  int width = 0;
  int height = 0;
  int line_height = 16;
  int char_width = 7;  // of a digit
  int right_free = 0;  // of the first line, for what else is there
  uint32_t paper = 0xFFFFFF;
  uint32_t ink = 0x202020;
  uint32_t grid = 0xDDDDDD;
  uint32_t mark = 0xCCE4FF;  // behind what is picked
};
struct ActivityPicture {
  Picture picture;
  // Where the bars are.
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};
// `bins` are those of the view. The same input gives the same picture: nothing of the screen is
// asked.
ActivityPicture DrawActivity(const Activity& activity, const ActivityView& view,
                             const ActivityBins& bins, const PictureLook& look);
// How many bars of a readable width a picture has room for.
size_t MostBars(const PictureLook& look);
// The bar at a place, pixels from the picture's left; the nearest for one beside them all, 0 where
// there are no bars.
size_t BarAt(const ActivityPicture& picture, const ActivityBins& bins, int x);
// All from one bar to another, whichever is first; a number beyond the last bar is the last one's.
// Empty where there are no bars.
TimeRange RangeOfBars(const ActivityBins& bins, size_t first, size_t second);
// "2012-04: 312 (key written 300, run 12)"; empty for a number that is no bar's.
std::string BarWords(const Activity& activity, const ActivityView& view, const ActivityBins& bins,
                     size_t bar);
// "2012-04-04 13:00 to 2012-04-04 14:00".
std::string RangeWords(const TimeRange& range);

}  // namespace hivequarry
