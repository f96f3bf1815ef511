// The model of the picture of activity: bars by the calendar, zoom, what is under the mouse, and
// the files that pictures are saved as.
#include "view/activity.h"

#include <gtest/gtest.h>

#include <numeric>

#include "reports/key_dates.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr PictureLook kLook = {.width = 800, .height = 200};

uint64_t At(int year, int month, int day, int hour = 0, int minute = 0) {
  return FileTimeOf({year, month, day, hour, minute, 0}) / 10'000'000;
}

struct Event {
  uint64_t time;
  const char* event;
  const char* state = "live";
};

OutputListPtr ListOf(std::initializer_list<Event> events) {
  OutputListPtr list = MakeOutputList(kListTimeline);
  for (const Event& event : events) {
    const Cell cells[] = {{"date", event.time}, event.event, "", "", "", event.state, ""};
    NewRow row;
    row.cells = cells;
    row.has_datum = false;
    AddRow(*list, row);
  }
  return list;
}

Activity ActivityOf(std::initializer_list<Event> events) {
  return ReadActivity(*ListOf(events), [] { return false; });
}

uint64_t Sum(const ActivityBins& bins) {
  return std::accumulate(bins.totals.begin(), bins.totals.end(), uint64_t{0});
}

TEST(ActivityTest, KindsByEventAndStateAndRowsWithoutATime) {
  const Activity activity = ActivityOf({{At(2012, 3, 1), "run"},
                                        {At(2012, 2, 1), "key written"},
                                        {At(2012, 1, 1), "key written"},
                                        {At(2012, 1, 2), "key written", "freed"},
                                        {At(1969, 12, 31), "key written"},
                                        {At(2100, 1, 1), "key written"},
                                        {kNoValue, "key written"}});
  ASSERT_EQ(activity.series.size(), 3u);
  EXPECT_EQ(activity.series[0].name, "key written");
  EXPECT_EQ(activity.series[0].times, (std::vector<uint64_t>{At(2012, 1, 1), At(2012, 2, 1)}));
  EXPECT_EQ(activity.events, 4u);
  EXPECT_EQ(activity.without, 3u);
  EXPECT_EQ(activity.first, At(2012, 1, 1));
  EXPECT_EQ(activity.last, At(2012, 3, 1));
  EXPECT_EQ(ReadActivity(*ListOf({{At(2012, 3, 1), "run"}}), [] { return true; }).events, 0u);
}

TEST(ActivityTest, MoreKindsThanColoursBecomeOthers) {
  const OutputListPtr list = MakeOutputList(kListTimeline);
  for (int kind = 0; kind < 12; ++kind) {
    const std::string name = "kind " + std::to_string(kind);
    const Cell cells[] = {{"date", At(2012, 1, 1 + kind)}, name};
    NewRow row;
    row.cells = cells;
    AddRow(*list, row);
  }
  const Activity activity = ReadActivity(*list, [] { return false; });
  ASSERT_EQ(activity.series.size(), kMostSeries);
  EXPECT_EQ(activity.series.back().name, "other");
  EXPECT_EQ(activity.series.back().times.size(), 12 - kMostSeries + 1);
  EXPECT_EQ(activity.events, 12u);
}

TEST(ActivityTest, BarsFollowTheCalendar) {
  const struct {
    TimeRange range;
    size_t most;
    ActivityUnit unit;
    TimeRange shown;
    size_t bars;
  } cases[] = {{{At(2011, 12, 31), At(2012, 3, 2)},
                10,
                ActivityUnit::kMonth,
                {At(2011, 12, 1), At(2012, 4, 1)},
                4},
               {{At(2012, 2, 28, 5), At(2012, 3, 1, 1)},
                10,
                ActivityUnit::kDay,
                {At(2012, 2, 28), At(2012, 3, 2)},
                3},  // of a leap year
               {{At(2001, 6, 1), At(2012, 6, 1)},
                20,
                ActivityUnit::kYear,
                {At(2001, 1, 1), At(2013, 1, 1)},
                12},
               {{At(2012, 2, 28, 5, 30), At(2012, 2, 28, 7)},
                10,
                ActivityUnit::kHour,
                {At(2012, 2, 28, 5), At(2012, 2, 28, 7)},
                2},
               {{At(2012, 2, 28, 5, 30), At(2012, 2, 28, 5, 30) + 1},
                10,
                ActivityUnit::kMinute,
                {At(2012, 2, 28, 5, 30), At(2012, 2, 28, 5, 31)},
                1}};
  for (const auto& c : cases) {
    const ActivityView view = ViewOfRange(c.range, c.most);
    EXPECT_EQ(view.unit, c.unit);
    EXPECT_EQ(view.shown, c.shown) << RangeWords(view.shown);
    EXPECT_EQ(CountBins(Activity(), view).totals.size(), c.bars);
  }
}

TEST(ActivityTest, EveryEventIsInOneBarOfEveryZoom) {
  const OutputListPtr list = MakeOutputList(kListTimeline);
  for (uint64_t i = 0; i < 5000; ++i) {
    const Cell cells[] = {{"date", At(2001, 1, 1) + i * i * 14},
                          i % 3 == 0 ? "run" : "key written"};
    NewRow row;
    row.cells = cells;
    AddRow(*list, row);
  }
  const Activity activity = ReadActivity(*list, [] { return false; });
  const size_t most = MostBars(kLook);
  ActivityView view = WholeView(activity, most);
  EXPECT_EQ(Sum(CountBins(activity, view)), 5000u);
  const TimeRange whole = view.shown;
  for (int step = 0; step < 40; ++step) {
    const ActivityBins bins = CountBins(activity, view);
    ASSERT_FALSE(bins.totals.empty());
    EXPECT_LE(bins.totals.size(), most);
    uint64_t inside = 0;
    for (const ActivitySeries& series : activity.series) {
      for (const uint64_t time : series.times) inside += IsIn(view.shown, time);
    }
    EXPECT_EQ(Sum(bins), inside);
    if (step % 3 == 2) {
      MoveView(activity, view, step % 2 == 0 ? 3 : -3);
    } else {
      ZoomView(activity, view, true, view.shown.to, most);
    }
  }
  EXPECT_EQ(view.unit, ActivityUnit::kMinute);
  for (int step = 0; step < 60; ++step) ZoomView(activity, view, false, view.shown.from, most);
  EXPECT_EQ(view.shown, whole) << RangeWords(view.shown);
  MoveView(activity, view, 1);
  EXPECT_EQ(view.shown, whole) << "there is nothing beyond";
}

TEST(ActivityTest, AUnitThatDoesNotFitShowsWhereMostHappened) {
  Activity activity = ActivityOf({{At(2001, 1, 1), "run"},
                                  {At(2009, 5, 5, 12), "run"},
                                  {At(2009, 5, 5, 13), "run"},
                                  {At(2020, 1, 1), "run"}});
  ActivityView view = WholeView(activity, 50);
  EXPECT_EQ(view.unit, ActivityUnit::kYear);
  ShowByUnit(activity, view, ActivityUnit::kDay, 50);
  EXPECT_EQ(view.unit, ActivityUnit::kDay);
  EXPECT_TRUE(IsIn(view.shown, At(2009, 5, 5))) << RangeWords(view.shown);
  EXPECT_LE(CountBins(activity, view).totals.size(), 50u);
  view = WholeView(activity, 50);
  view.picked = {At(2019, 12, 1), At(2020, 2, 1)};
  ShowByUnit(activity, view, ActivityUnit::kHour, 50);
  EXPECT_TRUE(IsIn(view.shown, At(2020, 1, 1, 0))) << RangeWords(view.shown);
}

TEST(ActivityTest, PictureHasItsBarsWhereTheMouseFindsThem) {
  const Activity activity = ActivityOf({{At(2001, 1, 1), "run"},
                                        {At(2003, 1, 1), "key written"},
                                        {At(2003, 6, 1), "key written"},
                                        {At(2003, 6, 1), "run"}});
  ActivityView view = WholeView(activity, 10);
  const ActivityBins bins = CountBins(activity, view);
  const ActivityPicture picture = DrawActivity(activity, view, bins, kLook);
  EXPECT_EQ(BarAt(picture, bins, 0), 0u);
  EXPECT_EQ(BarAt(picture, bins, (picture.left + picture.right) / 2), 1u);
  EXPECT_EQ(BarAt(picture, bins, 5000), 2u);
  EXPECT_EQ(RangeOfBars(bins, 2, 1), (TimeRange{At(2002, 1, 1), At(2004, 1, 1)}));
  EXPECT_EQ(BarWords(activity, view, bins, 2), "2003: 3 (run 1, key written 2)");
  Texts texts;
  for (const PictureText& text : picture.picture.texts) texts.push_back(text.text);
  for (const char* text : {"run 2", "key written 2", "2001", "2002", "2003", "0", "5"}) {
    EXPECT_EQ(std::ranges::count(texts, text), 1) << text;
  }
  for (const PictureBox& box : picture.picture.boxes) {
    EXPECT_TRUE(box.left >= 0 && box.left < box.right && box.right <= kLook.width);
    EXPECT_TRUE(box.top >= 0 && box.top <= box.bottom && box.bottom <= kLook.height);
  }
  for (const bool logarithmic : {false, true}) {
    view.logarithmic = logarithmic;
    for (const int width : {1, 20, 4000}) {
      DrawActivity(activity, view, bins, {.width = width, .height = width});
    }
  }
  DrawActivity(Activity(), ActivityView(), ActivityBins(), kLook);
}

TEST(ActivityTest, SavedPictures) {
  Picture picture;
  picture.width = 2;
  picture.height = 1;
  picture.line_height = 16;
  picture.boxes.push_back({0, 0, 1, 1, 0x0072B2});
  picture.texts.push_back({1, 2, TextAlign::kRight, 0, "a<b>&\"\x01"});
  const std::string svg = SvgOf(picture);
  EXPECT_NE(svg.find("<rect x=\"0\" y=\"0\" width=\"1\" height=\"1\" fill=\"#0072B2\"/>"),
            svg.npos);
  EXPECT_NE(svg.find("text-anchor=\"end\" fill=\"#000000\">a&lt;b&gt;&amp;&quot;</text>"), svg.npos)
      << svg;
  const uint32_t pixels[] = {0xFF0000, 0x00FF00};
  // What an independent program writes of these pixels without compression.
  std::string digits;
  for (const char c : PngOf(2, 1, pixels)) {
    digits += Formatted("%02X", static_cast<unsigned>(static_cast<uint8_t>(c)));
  }
  EXPECT_EQ(digits,
            "89504E470D0A1A0A"
            "0000000D49484452000000020000000108020000007B40E8DD"
            "00000012494441547801010700F8FF00FF000000FF0007FF01FFC50EE26A"
            "0000000049454E44AE426082");
  EXPECT_EQ(PngOf(2, 2, pixels), "");
}

}  // namespace
}  // namespace hivequarry::testing
