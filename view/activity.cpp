#include "view/activity.h"

#include <algorithm>
#include <map>
#include <utility>

#include "hive/timestamp.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr uint64_t kDay = 86'400;
// Seconds since 1601.
constexpr uint64_t kEarliest = kFileTime1970 / kFileTimeSecond;
constexpr uint64_t kLatest = 15'746'918'400;  // 2100-01-01
// Seconds: four bars of a minute each.
constexpr uint64_t kLeastRange = 240;
constexpr uint32_t kStopInterval = 4096;  // rows
constexpr ActivityUnit kUnits[] = {ActivityUnit::kMinute, ActivityUnit::kHour, ActivityUnit::kDay,
                                   ActivityUnit::kMonth, ActivityUnit::kYear};

// --- units of the calendar -----------------------------------------------------------------------

// In seconds; months and years at a length that is about theirs, for estimates alone.
uint64_t LengthOf(ActivityUnit unit) {
  constexpr uint64_t kLengths[] = {60, 3600, kDay, 30 * kDay, 365 * kDay};
  return kLengths[static_cast<size_t>(unit)];
}

CalendarTime CalendarOf(uint64_t time) { return CalendarOfFileTime(time * kFileTimeSecond); }

// Seconds since 1601; `month` counts from 1.
uint64_t MonthStart(int year, int month) {
  CalendarTime start{};
  start.year = year;
  start.month = month;
  start.day = 1;
  return FileTimeOfCalendar(start) / kFileTimeSecond;
}

uint64_t StartOf(uint64_t time, ActivityUnit unit) {
  if (unit <= ActivityUnit::kDay) return time - time % LengthOf(unit);
  const CalendarTime at = CalendarOf(time);
  return MonthStart(at.year, unit == ActivityUnit::kMonth ? at.month : 1);
}

// Of the unit after the one that begins there.
uint64_t NextStart(uint64_t start, ActivityUnit unit) {
  if (unit <= ActivityUnit::kDay) return start + LengthOf(unit);
  const CalendarTime at = CalendarOf(start);
  if (unit == ActivityUnit::kYear || at.month == 12) return MonthStart(at.year + 1, 1);
  return MonthStart(at.year, at.month + 1);
}

// Outwards, to whole units; an empty range becomes the unit that it is in.
TimeRange Rounded(const TimeRange& range, ActivityUnit unit) {
  const uint64_t from = StartOf(range.from, unit);
  const uint64_t last = std::max(range.to, range.from + 1) - 1;
  return {from, NextStart(StartOf(last, unit), unit)};
}

// Two more than the whole ones: the range may begin and end within a unit.
uint64_t BarsIn(const TimeRange& range, ActivityUnit unit) {
  return (range.to - range.from) / LengthOf(unit) + 2;
}

TimeRange AllOf(const Activity& activity) { return {activity.first, activity.last + 1}; }

// As much of a date as tells the unit apart: "2012", "2012-04", "2012-04-04 13:00".
std::string TimeText(uint64_t time, ActivityUnit unit) {
  const CalendarTime at = CalendarOf(time);
  std::string text = Decimal(at.year, 4);
  if (unit <= ActivityUnit::kMonth) text += Concat({"-", Decimal(at.month, 2)});
  if (unit <= ActivityUnit::kDay) text += Concat({"-", Decimal(at.day, 2)});
  if (unit <= ActivityUnit::kHour) {
    text += Concat({" ", Decimal(at.hour, 2), ":", Decimal(at.minute, 2)});
  }
  return text;
}

// --- reading -------------------------------------------------------------------------------------

int ColumnNamed(const OutputList& list, std::string_view title) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) == title) return column;
  }
  return -1;
}

// What tells kinds of rows apart: of a timeline event and state, else whether the record is freed.
struct KindColumns {
  int event = -1;
  int state = -1;
  int place = -1;
};

// A list without a column of events has two kinds, by whether a row says its place in free space.
std::string KindOfRow(const OutputList& list, uint32_t row, const KindColumns& columns) {
  if (columns.event < 0) {
    const bool freed = columns.place >= 0 && !CellText(list, row, columns.place).empty();
    return freed ? "freed" : "in the hive";
  }
  std::string kind(CellText(list, row, columns.event));
  const std::string_view state = columns.state < 0 ? "" : CellText(list, row, columns.state);
  if (state != "live" && !state.empty()) kind += Concat({", ", state});
  return kind;
}

// The kinds beyond the most frequent ones become one.
// Also sorts the times and finds the first and the last of all.
void SettleSeries(std::vector<ActivitySeries> kinds, Activity& activity) {
  std::ranges::stable_sort(
      kinds, [](const auto& a, const auto& b) { return a.times.size() > b.times.size(); });
  if (kinds.size() > kMostSeries) {
    ActivitySeries& others = kinds[kMostSeries - 1];
    others.name = "other";
    for (size_t i = kMostSeries; i < kinds.size(); ++i) {
      others.times.insert(others.times.end(), kinds[i].times.begin(), kinds[i].times.end());
    }
    kinds.resize(kMostSeries);
  }
  for (ActivitySeries& series : kinds) {
    if (!std::ranges::is_sorted(series.times)) std::ranges::sort(series.times);
    activity.events += series.times.size();
    const uint64_t first = series.times.front();
    // No time that is read is 0 (kEarliest), so a 0 says that there was none yet.
    activity.first = activity.last == 0 ? first : std::min(activity.first, first);
    activity.last = std::max(activity.last, series.times.back());
  }
  activity.series = std::move(kinds);
}

// --- scales --------------------------------------------------------------------------------------

// 1, 2 or 5 and zeros, not below the number.
uint64_t RoundAbove(uint64_t number) {
  for (uint64_t step = 1;; step *= 10) {
    for (const uint64_t factor : {uint64_t{1}, uint64_t{2}, uint64_t{5}}) {
      if (step * factor >= number) return step * factor;
    }
  }
}

// Binary logarithm in 1/256; of one more than the number, so that none is 0.
// Without floating point, so that the picture is the same everywhere.
uint64_t LogOf(uint64_t number) {
  uint64_t whole = 0;
  uint64_t rest = (number + 1) << 16;
  while (rest >= uint64_t{2} << 16) rest >>= 1, ++whole;
  uint64_t part = 0;
  for (int bit = 0; bit < 8; ++bit) {
    rest = rest * rest >> 16;
    part <<= 1;
    if (rest >= uint64_t{2} << 16) rest >>= 1, ++part;
  }
  return whole << 8 | part;
}

// Bars share the width without gaps between rounding: a bar's right edge is the next one's left.
// The frame in `out` is set before anything is drawn: all places are worked out from it.
struct Drawing {
  const Activity& activity;
  const ActivityView& view;
  const ActivityBins& bins;
  const PictureLook& look;
  ActivityPicture out = {};
  uint64_t scale = 1;  // the number at the top

  size_t bars() const { return bins.totals.size(); }
  int X(size_t bar) const {
    return out.left + static_cast<int>(static_cast<int64_t>(out.right - out.left) *
                                       static_cast<int64_t>(bar) / static_cast<int64_t>(bars()));
  }
  // Pixels above the bottom.
  int HeightOf(uint64_t number) const {
    const auto room = static_cast<uint64_t>(out.bottom - out.top);
    if (view.logarithmic) return static_cast<int>(room * LogOf(number) / LogOf(scale));
    return static_cast<int>(room * number / scale);
  }
};

void AddText(Drawing& drawing, int x, int y, TextAlign align, std::string text) {
  drawing.out.picture.texts.push_back({x, y, align, drawing.look.ink, std::move(text)});
}

// Of the series in their order: colours that are apart also for who does not tell red from green.
// The last, grey, is that of "other" where there are more kinds.
constexpr uint32_t kColours[kMostSeries] = {0x0072B2, 0xE69F00, 0x009E73, 0xCC79A7,
                                            0xD55E00, 0x56B4E9, 0xB8A800, 0x808080};

// By its characters, each as wide as a digit: with a font's own widths the picture would depend on
// the machine.
int WidthOf(const Drawing& drawing, std::string_view text) {
  const auto count = std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
  return static_cast<int>(count) * drawing.look.char_width;
}

// Squares and names in the first line, as far as there is room; "..." for what has none.
void DrawLegend(Drawing& drawing) {
  const PictureLook& look = drawing.look;
  const int side = look.line_height * 5 / 8;
  const int above = look.char_width / 2 + (look.line_height - side) / 2;
  int x = look.char_width;
  const int end = look.width - look.right_free - look.char_width;
  for (size_t i = 0; i < drawing.activity.series.size(); ++i) {
    const ActivitySeries& series = drawing.activity.series[i];
    std::string text = Concat({series.name, " ", std::to_string(series.times.size())});
    const int width = WidthOf(drawing, text);
    if (x + side + look.char_width + width > end) {
      AddText(drawing, x, look.char_width / 2, TextAlign::kLeft, "...");
      return;
    }
    drawing.out.picture.boxes.push_back({x, above, x + side, above + side, kColours[i]});
    x += side + look.char_width;
    AddText(drawing, x, look.char_width / 2, TextAlign::kLeft, std::move(text));
    x += width + 2 * look.char_width;
  }
  if (drawing.activity.without == 0) return;
  std::string text = Concat({"without a time ", std::to_string(drawing.activity.without)});
  if (x + WidthOf(drawing, text) > end) return;
  AddText(drawing, x, look.char_width / 2, TextAlign::kLeft, std::move(text));
}

// A line of the grid, with its number to the left of it.
void DrawLine(Drawing& drawing, uint64_t number) {
  ActivityPicture& out = drawing.out;
  const int y = out.bottom - drawing.HeightOf(number);
  out.picture.boxes.push_back({out.left, y, out.right, y + 1, drawing.look.grid});
  AddText(drawing, out.left - drawing.look.char_width / 2, y - drawing.look.line_height / 2,
          TextAlign::kRight, std::to_string(number));
}

// Lines at whole numbers alone: where a fifth of the scale is none, that line is left out; by
// powers of ten where the scale is logarithmic, as far apart as their labels need.
void DrawScale(Drawing& drawing) {
  const int room = drawing.out.bottom - drawing.out.top;
  const auto lines = static_cast<uint64_t>(std::max(room / (2 * drawing.look.line_height), 1));
  if (!drawing.view.logarithmic) {
    const uint64_t parts = lines >= 5 ? 5 : lines >= 2 ? 2 : 1;
    for (uint64_t i = 0; i <= parts; ++i) {
      if (drawing.scale * i % parts == 0) DrawLine(drawing, drawing.scale * i / parts);
    }
    return;
  }
  DrawLine(drawing, 0);
  int last = drawing.out.bottom;
  for (uint64_t number = 1; number <= drawing.scale; number *= 10) {
    const int y = drawing.out.bottom - drawing.HeightOf(number);
    if (last - y < drawing.look.line_height) continue;
    DrawLine(drawing, number);
    last = y;
  }
}

// The bars whose start gets a label: those where a larger unit begins, if that leaves room for the
// labels; else each so many.
std::vector<size_t> LabelledBars(const Drawing& drawing, ActivityUnit& label) {
  const int gap = 2 * drawing.look.char_width;
  for (const ActivityUnit unit : kUnits) {
    if (unit < drawing.view.unit) continue;
    std::vector<size_t> at;
    for (size_t bar = 0; bar < drawing.bars(); ++bar) {
      const uint64_t start = drawing.bins.edges[bar];
      if (StartOf(start, unit) == start) at.push_back(bar);
    }
    const int width = WidthOf(drawing, TimeText(drawing.view.shown.from, unit)) + gap;
    bool room = at.size() >= 2;
    for (size_t i = 1; i < at.size(); ++i) {
      room &= drawing.X(at[i]) - drawing.X(at[i - 1]) >= width;
    }
    if (!room) continue;
    label = unit;
    return at;
  }
  label = drawing.view.unit;
  const int width = WidthOf(drawing, TimeText(drawing.view.shown.from, label)) + gap;
  std::vector<size_t> at;
  for (size_t bar = 0; bar < drawing.bars(); ++bar) {
    if (at.empty() || drawing.X(bar) - drawing.X(at.back()) >= width) at.push_back(bar);
  }
  return at;
}

// A tick for each labelled bar; a label that would leave the picture is not drawn.
void DrawDates(Drawing& drawing) {
  ActivityUnit label = drawing.view.unit;
  ActivityPicture& out = drawing.out;
  for (const size_t bar : LabelledBars(drawing, label)) {
    const int x = drawing.X(bar);
    std::string text = TimeText(drawing.bins.edges[bar], label);
    out.picture.boxes.push_back(
        {x, out.bottom, x + 1, out.bottom + drawing.look.line_height / 4, drawing.look.ink});
    if (x + WidthOf(drawing, text) > drawing.look.width) continue;
    AddText(drawing, x, out.bottom + drawing.look.line_height / 4, TextAlign::kLeft,
            std::move(text));
  }
}

// A bar is never so small that it is not seen.
void DrawBar(Drawing& drawing, size_t bar) {
  constexpr int kLeastHeight = 2;
  const uint32_t total = drawing.bins.totals[bar];
  if (total == 0) return;
  const int left = drawing.X(bar);
  const int right =
      std::max(drawing.X(bar + 1) - (drawing.X(bar + 1) - left > 3 ? 1 : 0), left + 1);
  const int height = std::max(drawing.HeightOf(total), kLeastHeight);
  const size_t series = drawing.activity.series.size();
  uint64_t below = 0;
  int bottom = drawing.out.bottom;
  for (size_t i = 0; i < series; ++i) {
    const uint32_t count = drawing.bins.counts[bar * series + i];
    if (count == 0) continue;
    below += count;
    const int top =
        drawing.out.bottom - static_cast<int>(static_cast<uint64_t>(height) * below / total);
    drawing.out.picture.boxes.push_back({left, top, right, bottom, kColours[i]});
    bottom = top;
  }
}

// Whole bars, also those that the picked range covers in part; nothing where it is out of view.
void DrawPicked(Drawing& drawing) {
  const TimeRange& picked = drawing.view.picked;
  const std::vector<uint64_t>& edges = drawing.bins.edges;
  if (picked.from >= picked.to || picked.to <= edges.front() || picked.from >= edges.back()) return;
  const auto first = std::ranges::upper_bound(edges, picked.from) - edges.begin();
  const auto last = std::ranges::lower_bound(edges, picked.to) - edges.begin();
  const int left = drawing.X(first == 0 ? 0 : static_cast<size_t>(first) - 1);
  const int right = drawing.X(std::min(static_cast<size_t>(last), drawing.bars()));
  drawing.out.picture.boxes.push_back(
      {left, drawing.out.top, right, drawing.out.bottom, drawing.look.mark});
}

// A time of the bar with the most events: that of an event in it rather than the bar's beginning,
// so that a view by a smaller unit about it shows something. The view has bars.
uint64_t BusiestTime(const Activity& activity, const ActivityView& view) {
  const ActivityBins bins = CountBins(activity, view);
  const auto most = std::ranges::max_element(bins.totals) - bins.totals.begin();
  const auto bar = static_cast<size_t>(most);
  for (const ActivitySeries& series : activity.series) {
    const auto at = std::ranges::lower_bound(series.times, bins.edges[bar]);
    if (at != series.times.end() && *at < bins.edges[bar + 1]) return *at;
  }
  return bins.edges[bar];
}

}  // namespace

int TimeColumnOf(const OutputList& list) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    const KindColumn* record = ColumnRecord(list, column);
    if (record != nullptr && record->holds == CellHolds::kDate) return column;
  }
  return -1;
}

uint64_t TimeOfRow(const OutputList& list, uint32_t row, int column) {
  const uint64_t time = CellValue(list, row, column);
  return time >= kEarliest && time < kLatest ? time : kNoValue;
}

Activity ReadActivity(const OutputList& list, const std::function<bool()>& stop) {
  Activity activity;
  const int column = TimeColumnOf(list);
  if (column < 0) return activity;
  const KindColumns columns = {ColumnNamed(list, "Event"), ColumnNamed(list, kStateTitle),
                               ColumnNamed(list, kPlaceTitle)};
  std::map<std::string, size_t> numbers;
  std::vector<ActivitySeries> kinds;
  std::string latest;
  size_t number = 0;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    if (row % kStopInterval == 0 && stop()) return {};
    const uint64_t time = TimeOfRow(list, row, column);
    if (time == kNoValue) {
      ++activity.without;
      continue;
    }
    std::string kind = KindOfRow(list, row, columns);
    // Rows of one kind mostly follow each other, so the kinds are rarely looked through.
    if (kinds.empty() || kind != latest) {
      number = numbers.try_emplace(kind, kinds.size()).first->second;
      if (number == kinds.size()) kinds.push_back({kind, {}});
      latest = std::move(kind);
    }
    kinds[number].times.push_back(time);
  }
  SettleSeries(std::move(kinds), activity);
  return activity;
}

ActivityView ViewOfRange(const TimeRange& range, size_t most) {
  ActivityView view;
  for (const ActivityUnit unit : kUnits) {
    view.unit = unit;
    if (BarsIn(range, unit) <= most) break;
  }
  view.shown = Rounded(range, view.unit);
  return view;
}

ActivityView WholeView(const Activity& activity, size_t most) {
  return ViewOfRange(AllOf(activity), most);
}

void ShowByUnit(const Activity& activity, ActivityView& view, ActivityUnit unit, size_t most) {
  if (activity.events == 0) return;
  TimeRange range = view.shown;
  // Two bars are kept for the units that the range begins and ends in (BarsIn).
  const uint64_t room = LengthOf(unit) * (std::max<size_t>(most, 3) - 2);
  if (range.to - range.from > room) {
    const TimeRange& picked = view.picked;
    const uint64_t middle = picked.from < picked.to ? picked.from + (picked.to - picked.from) / 2
                                                    : BusiestTime(activity, view);
    range.from = std::clamp(middle - room / 2, range.from, range.to - room);
    range.to = range.from + room;
  }
  view.unit = unit;
  view.shown = Rounded(range, unit);
}

void ZoomView(const Activity& activity, ActivityView& view, bool closer, uint64_t around,
              size_t most) {
  if (activity.events == 0) return;
  const TimeRange all = AllOf(activity);
  const uint64_t span = view.shown.to - view.shown.from;
  const uint64_t wanted = closer ? std::max(span / 2, kLeastRange) : span * 2;
  if (closer && wanted >= span) return;
  ActivityView next;
  if (wanted >= all.to - all.from) {
    next = WholeView(activity, most);
  } else {
    around = std::clamp(around, view.shown.from, view.shown.to);
    // What is left of `around` grows or shrinks as the whole does: so its place in the view stays.
    const uint64_t before =
        closer ? (around - view.shown.from) / 2 : (around - view.shown.from) * 2;
    const uint64_t from = std::max(around - std::min(before, around), all.from);
    next = ViewOfRange({from, from + wanted}, most);
  }
  view.shown = next.shown;
  view.unit = next.unit;
}

void MoveView(const Activity& activity, ActivityView& view, int eighths) {
  if (activity.events == 0) return;
  const TimeRange all = Rounded(AllOf(activity), view.unit);
  const auto span = static_cast<int64_t>(view.shown.to - view.shown.from);
  int64_t distance = span / 8 * eighths;
  distance = std::min(distance, static_cast<int64_t>(all.to) - static_cast<int64_t>(view.shown.to));
  distance =
      std::max(distance, static_cast<int64_t>(all.from) - static_cast<int64_t>(view.shown.from));
  // A view that shows more than all there is stays.
  if ((eighths > 0) != (distance > 0)) return;
  const auto from = static_cast<uint64_t>(static_cast<int64_t>(view.shown.from) + distance);
  view.shown = Rounded({from, from + static_cast<uint64_t>(span)}, view.unit);
}

ActivityBins CountBins(const Activity& activity, const ActivityView& view) {
  constexpr size_t kMostBins = 1 << 14;  // four times what MostBars gives
  ActivityBins bins;
  for (uint64_t edge = view.shown.from; edge < view.shown.to && bins.edges.size() < kMostBins;
       edge = NextStart(edge, view.unit)) {
    bins.edges.push_back(edge);
  }
  if (bins.edges.empty()) return bins;
  bins.edges.push_back(NextStart(bins.edges.back(), view.unit));
  const size_t bars = bins.edges.size() - 1;
  const size_t series = activity.series.size();
  bins.totals.resize(bars);
  bins.counts.resize(bars * series);
  for (size_t i = 0; i < series; ++i) {
    const std::vector<uint64_t>& times = activity.series[i].times;
    auto at = std::ranges::lower_bound(times, bins.edges.front());
    for (size_t bar = 0; bar < bars; ++bar) {
      const auto end = std::lower_bound(at, times.end(), bins.edges[bar + 1]);
      const auto count = static_cast<uint32_t>(end - at);
      bins.counts[bar * series + i] = count;
      bins.totals[bar] += count;
      at = end;
    }
  }
  bins.largest = *std::ranges::max_element(bins.totals);
  return bins;
}

ActivityPicture DrawActivity(const Activity& activity, const ActivityView& view,
                             const ActivityBins& bins, const PictureLook& look) {
  Drawing drawing{activity, view, bins, look};
  ActivityPicture& out = drawing.out;
  out.picture.width = look.width;
  out.picture.height = look.height;
  out.picture.line_height = look.line_height;
  out.picture.paper = look.paper;
  drawing.scale = RoundAbove(std::max<uint64_t>(bins.largest, 1));
  const std::string widest = std::to_string(drawing.scale);
  out.left = WidthOf(drawing, widest) + 2 * look.char_width;
  out.right = std::max(look.width - look.char_width, out.left + 1);
  out.top = look.line_height * 2;
  out.bottom = std::max(look.height - look.line_height * 3 / 2, out.top + 1);
  if (bins.totals.empty()) {
    AddText(drawing, look.width / 2, look.height / 2 - look.line_height / 2, TextAlign::kCentre,
            "No times were read.");
    return out;
  }
  // Later boxes cover earlier ones: the mark is below the grid, the bars are above both.
  DrawLegend(drawing);
  DrawPicked(drawing);
  DrawScale(drawing);
  for (size_t bar = 0; bar < bins.totals.size(); ++bar) DrawBar(drawing, bar);
  DrawDates(drawing);
  return out;
}

size_t MostBars(const PictureLook& look) {
  constexpr int kLeastBar = 4;
  // What the numbers at the left take at most, or so.
  const int room = look.width - 10 * look.char_width;
  return static_cast<size_t>(std::clamp(room / kLeastBar, 4, 4096));
}

size_t BarAt(const ActivityPicture& picture, const ActivityBins& bins, int x) {
  if (bins.totals.empty()) return 0;
  const int inside = std::clamp(x, picture.left, picture.right - 1) - picture.left;
  return static_cast<size_t>(static_cast<int64_t>(inside) *
                             static_cast<int64_t>(bins.totals.size()) /
                             (picture.right - picture.left));
}

TimeRange RangeOfBars(const ActivityBins& bins, size_t first, size_t second) {
  if (bins.totals.empty()) return {};
  const auto [least, most] = std::minmax(first, second);
  const size_t last = std::min(most, bins.totals.size() - 1);
  return {bins.edges[std::min(least, last)], bins.edges[last + 1]};
}

std::string BarWords(const Activity& activity, const ActivityView& view, const ActivityBins& bins,
                     size_t bar) {
  if (bar >= bins.totals.size()) return {};
  std::string words =
      Concat({TimeText(bins.edges[bar], view.unit), ": ", std::to_string(bins.totals[bar])});
  const size_t series = activity.series.size();
  std::string parts;
  for (size_t i = 0; i < series; ++i) {
    const uint32_t count = bins.counts[bar * series + i];
    if (count == 0) continue;
    parts +=
        Concat({parts.empty() ? "" : ", ", activity.series[i].name, " ", std::to_string(count)});
  }
  return parts.empty() ? words : Concat({words, " (", parts, ")"});
}

std::string RangeWords(const TimeRange& range) {
  return Concat({TimeText(range.from, ActivityUnit::kMinute), " to ",
                 TimeText(range.to, ActivityUnit::kMinute)});
}

}  // namespace hivequarry
