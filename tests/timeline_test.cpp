// Timelines: forms, order, states and counts; and what is known of real hives.
#include "reports/timeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <tuple>

#include "evidence/decoder_times.h"
#include "hive/keys.h"
#include "hive/shown_zone.h"
#include "hive/timestamp.h"
#include "reports/timeline_list.h"
#include "tests/support/corpus.h"
#include "tests/support/logged_hive.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr uint64_t kTime = 129779783208392499;  // 2012-04-04T01:58:40.8392499Z

std::string Written(const Timeline& timeline, TimelineForm form, TimelineCounts& counts,
                    int minutes_east = 0) {
  std::string text;
  const auto sink = [&text](std::string_view piece) { return text += piece, true; };
  EXPECT_TRUE(WriteTimeline(timeline, {form, minutes_east}, sink, counts));
  return text;
}
std::string Written(const Timeline& timeline, TimelineForm form) {
  TimelineCounts counts;
  return Written(timeline, form, counts);
}

Timeline TimelineOf(OpenedHive& opened, const TimelineOptions& options = {}) {
  Timeline timeline;
  EXPECT_TRUE(AddToTimeline(timeline, opened.hive, opened.tree, options,
                            {"cases/H", "H", "PC", "", 0, 0, 0}));
  SortTimeline(timeline);
  return timeline;
}

// In the order of the shelves. Paths live as long as the test.
std::vector<TimelineEvent> EventsOf(const Timeline& timeline) {
  static std::deque<std::string> paths;
  std::vector<TimelineEvent> events;
  for (const TimelineShelf& shelf : timeline.shelves) {
    for (const StoredEvent& event : shelf.events) {
      events.push_back(ReadEvent(event, paths.emplace_back()));
    }
  }
  return events;
}

TEST(TimelineTest, RowsOfTheListLeadToWhatHasTheTime) {
  HiveBuilder builder;
  builder.Root().Time(kTime + 20'000'000);
  Bytes time;
  for (int i = 0; i < 8; ++i) time.push_back(static_cast<uint8_t>(kTime >> 8 * i));
  builder.Key("Control\\Windows").Time(kTime + 10'000'000).Value("ShutdownTime", 3, time);
  BuiltHive built = builder.Build();
  OpenedHive opened(built);
  TimelineOptions options;
  options.values = options.base_block = true;
  const OutputListPtr list = MakeOutputList(kListTimeline);
  ListTimeline(opened.hive, opened.tree, options, *list);
  ASSERT_GE(RowCount(*list), 3u);
  const uint32_t value = built.ValuePosition("Control\\Windows", "ShutdownTime");
  uint32_t row = 0;
  while (row + 1 < RowCount(*list) && CellText(*list, row, 1) != "shut down") ++row;
  EXPECT_EQ(RowText(*list, row, 7),
            Formatted("2012/04/04, 01:58:40|shut down|ROOT\\Control\\Windows|ShutdownTime||live|"
                      "0x%08X|",
                      value));
  EXPECT_EQ(CellValue(*list, row, 0), kTime / 10'000'000);
  EXPECT_EQ(RowDatum(*list, row), value);
  EXPECT_EQ(FactsOfRow(*list, row).last_write, 0u) << "of no key";
  EXPECT_EQ(CellText(*list, row + 1, 1), "key written") << "by time";
  EXPECT_EQ(RowDatum(*list, row + 1), built.PositionOf("Control\\Windows"));
}

TEST(TimelineTest, Forms) {
  HiveBuilder builder;
  builder.Root().Time(kTime + 10'000'000);
  builder.Key("A|b\n").Time(kTime).Dword("x", 1).Dword("y", 2);
  builder.Key("Run").Time(kTime + 5).Sz("OneDrive", "o").Sz("Di,tto", "d");
  builder.Key("Zero").Time(0);
  BuiltHive built = builder.Build();
  OpenedHive opened(built);
  const Timeline timeline = TimelineOf(opened);
  TimelineCounts counts;
  const auto position = [&](const char* path) { return std::to_string(built.PositionOf(path)); };
  EXPECT_EQ(Written(timeline, TimelineForm::kBodyfile, counts),
            "0|[H] ROOT\\A%7Cb\\x0A|" + position("A|b\n") +
                "|r/rrw-rw-rw-|0|0|2|0|1333504720|0|0\n"
                "0|[H] ROOT\\Run: \"OneDrive\", \"Di,tto\"|" +
                position("Run") +
                "|r/rrw-rw-rw-|0|0|2|0|1333504720|0|0\n"
                "0|[H] ROOT|4128|r/rrw-rw-rw-|0|0|0|0|1333504721|0|0\n");
  EXPECT_EQ(counts.lines, 3u);
  EXPECT_EQ(counts.without_time, 1u);
  EXPECT_EQ(timeline.hives[0].keys, 4u);
  const std::string tln = Written(timeline, TimelineForm::kTln);
  EXPECT_TRUE(tln.starts_with("1333504720|REG|PC||[H] ROOT\\A%7Cb\\x0A\n")) << tln;
  const std::string csv = Written(timeline, TimelineForm::kCsv, counts, 120);
  EXPECT_EQ(counts.lines, 4u);
  EXPECT_TRUE(
      csv.starts_with("time,event,hive,key,value,detail,state,offset,filetime\r\n"
                      ",key written,cases/H,ROOT\\Zero,,,live,"))
      << csv;
  EXPECT_NE(csv.find("2012-04-04T03:58:40.8392504+02:00,key written,cases/H,ROOT\\Run,,\"Run: "
                     "\"\"OneDrive\"\", \"\"Di,tto\"\"\",live,"),
            std::string::npos)
      << csv;
  const std::string json = Written(timeline, TimelineForm::kJsonLines);
  EXPECT_NE(json.find("{\"datetime\":\"2012-04-04T01:58:40.8392499Z\",\"timestamp_desc\":\"key "
                      "written\",\"message\":\"key written: ROOT\\\\A|b\\\\u{A}\","),
            std::string::npos)
      << json;
  const std::string plaso = Written(timeline, TimelineForm::kPlaso);
  EXPECT_NE(plaso.find("\r\n04/04/2012,01:58:40,UTC,M...,REG,Registry key,key written,,PC,"),
            std::string::npos)
      << plaso;
}

// A text is as JSON has it wherever its backslashes are, and so is what needs more than those.
TEST(TimelineTest, JsonOfAnyKey) {
  std::vector<std::string> keys = {"a\"b\\c", "\\\u00E9\\", "\t\\x", std::string(300, '\\')};
  for (uint32_t slashes = 0; slashes < 1 << 11; ++slashes) {
    std::string& key = keys.emplace_back();
    for (uint32_t i = 0; i < 11 + slashes % 8; ++i) key += (slashes >> i & 1) != 0 ? '\\' : 'k';
  }
  Timeline timeline;
  timeline.hives.push_back({"H", "H", "", "", 0, 0, 0});
  for (const std::string& key : keys) {
    TimelineEvent event;
    event.time = kTime;
    event.event = "key written";
    event.key = key;
    AddEvent(timeline, event);
  }
  std::istringstream lines(Written(timeline, TimelineForm::kJsonLines));
  std::string line;
  for (const std::string& key : keys) {
    ASSERT_TRUE(std::getline(lines, line));
    const std::string text = JsonString(key);
    EXPECT_NE(line.find("\"message\":\"key written: " + text.substr(1) + ","), line.npos) << line;
    EXPECT_NE(line.find("\"key\":" + text + ","), line.npos) << line;
  }
}

// So many keys that they are put on several shelves, times that are equal, none and the last one
// among them, and a hive that came before.
TEST(TimelineTest, ManyKeysOfSeveralHivesAreInOneOrder) {
  constexpr uint32_t kKeys = 20'000;
  HiveBuilder builder;
  builder.Root().Time(kTime);
  for (uint32_t i = 0; i < kKeys; ++i) {
    const uint64_t spread = (i * uint64_t{2654435761} & 0xFFFFFFFF) % 5000;
    builder.Key("k" + std::to_string(i)).Time(i < 2 ? i - uint64_t{1} : kTime + spread * 1'000'003);
  }
  OpenedHive many(builder.Build());
  HiveBuilder one;
  one.Root().Time(kTime + 77);
  OpenedHive first(one.Build());
  Timeline timeline;
  ASSERT_TRUE(AddToTimeline(timeline, first.hive, first.tree, {}, {}));
  ASSERT_TRUE(AddToTimeline(timeline, many.hive, many.tree, {}, {}));
  ASSERT_TRUE(AddToTimeline(timeline, first.hive, first.tree, {}, {}));
  SortTimeline(timeline);
  EXPECT_GT(timeline.shelves.size(), 1u);
  const std::vector<TimelineEvent> events = EventsOf(timeline);
  ASSERT_EQ(events.size(), kKeys + 3);
  EXPECT_TRUE(std::ranges::is_sorted(events, {}, [](const TimelineEvent& event) {
    return std::tuple(event.time, event.hive, event.offset);
  }));
  std::set<uint32_t> items;
  for (const TimelineEvent& event : events) {
    if (event.hive != 1) continue;
    const uint32_t item = ItemOfPosition(many.tree, event.offset);
    items.insert(item);
    EXPECT_EQ(event.key, ItemPath(many.hive, many.tree, item));
    EXPECT_EQ(event.time, ReadU64(many.hive, event.offset + kKeyLastWrite));
  }
  EXPECT_EQ(items.size(), kKeys + 1);
}

TEST(TimelineTest, ValuesBoundsAndBaseBlock) {
  HiveBuilder builder;
  Bytes time(8);
  PutU64(time, 0, kTime);
  builder.Key("Control\\Windows").Time(kTime - 1).Value("ShutdownTime", 3, time);
  builder.Key("Windows NT\\CurrentVersion").Time(kTime - 1).Dword("InstallDate", 0);
  builder.Key("Control\\Other").Time(kTime + 99'000'000).Value("ShutdownTime", 3, time);
  OpenedHive opened(builder.Build());
  TimelineOptions options;
  options.values = true;
  options.base_block = true;
  options.bounded = true;
  options.from = kTime;
  options.to = kTime + 100'000'000;
  const Timeline timeline = TimelineOf(opened, options);
  const std::vector<TimelineEvent> events = EventsOf(timeline);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_STREQ(events[0].event, "shut down");
  EXPECT_EQ(events[0].value, "ShutdownTime");
  EXPECT_EQ(events[1].key, "ROOT\\Control\\Other");
  EXPECT_EQ(timeline.hives[0].keys, timeline.hives[0].keys_without + 1);
  options.bounded = false;
  options.item = FindItemByPath(opened.hive, opened.tree, "\\Windows NT");
  EXPECT_EQ(EventCount(TimelineOf(opened, options)), 2u) << "an InstallDate of 0 is no time";
  options.item = FindItemByPath(opened.hive, opened.tree, "\\Control\\Other");
  EXPECT_EQ(EventCount(TimelineOf(opened, options)), 1u);
  options.item = 0;
  const Timeline all = TimelineOf(opened, options);
  EXPECT_TRUE(std::ranges::any_of(EventsOf(all), [](const TimelineEvent& event) {
    return std::string_view(event.event) == "hive written";
  }));
}

TEST(TimelineTest, EntriesOfLogsAreNamed) {
  LoggedHive hive(MakeLogStory().files);
  Timeline timeline;
  ASSERT_TRUE(AddToTimeline(timeline, hive.hive(), hive.tree(), {}, {}));
  EXPECT_TRUE(std::ranges::any_of(EventsOf(timeline), [](const TimelineEvent& event) {
    return event.detail == "log entry 10" || event.detail == "log entry 11";
  }));
}

// Each time of a row is an event of its own, called as the list and its column are.
TEST(TimelineTest, TimesOfDecodedEvidence) {
  HiveBuilder builder;
  Bytes run(72);
  PutU64(run, 60, kTime);
  run[4] = 3;
  builder
      .Key(
          "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist\\"
          "{CEBFF5CD-ACE2-4F4F-9178-9926F41749EA}\\Count")
      .Value("P:\\n.rkr", 3, run);
  BuiltHive built = builder.Build();
  OpenedHive opened(built);
  Timeline timeline;
  ASSERT_TRUE(AddToTimeline(timeline, opened.hive, opened.tree, {}, {}));
  const size_t keys = EventCount(timeline);
  TimelineOptions options;
  options.bounded = true;
  options.from = kTime + 1;
  EvidenceSource evidence(opened.hive, opened.tree);
  AddDecoderTimes(timeline, evidence, options);
  EXPECT_EQ(EventCount(timeline), keys) << "outside the times asked for";
  AddDecoderTimes(timeline, evidence, {});
  ASSERT_EQ(EventCount(timeline), keys + 1);
  const TimelineEvent event = EventsOf(timeline).back();
  EXPECT_STREQ(event.event, "UserAssist: Last Run");
  EXPECT_EQ(event.time, kTime) << "with its fraction";
  EXPECT_TRUE(event.detail.starts_with("C:\\a.exe")) << event.detail;
  EXPECT_EQ(event.state, TimelineState::kLive);
  EXPECT_TRUE(event.key.ends_with("\\Count"));
}

// Whatever zone dates are shown in.
TEST(TimelineTest, ListHasWhatDecodersTell) {
  HiveBuilder builder;
  Bytes run(72);
  PutU64(run, 60, kTime);
  run[4] = 1;
  Bytes local(16);
  PutU16(local, 0, 2012), PutU16(local, 2, 4), PutU16(local, 6, 4), PutU16(local, 8, 1);
  builder
      .Key(
          "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist\\"
          "{CEBFF5CD-ACE2-4F4F-9178-9926F41749EA}\\Count")
      .Value("P:\\n.rkr", 3, run);
  builder.Key("Microsoft\\Windows NT\\CurrentVersion\\NetworkList\\Profiles\\{A}")
      .Sz("ProfileName", "Home")
      .Value("DateCreated", 3, local);
  BuiltHive built = builder.Build();
  OpenedHive opened(built);
  ShownZone zone;
  ASSERT_TRUE(ReadZone("+02:00", zone));
  SetShownZone(zone);
  const OutputListPtr list = MakeOutputList(kListTimeline);
  EvidenceSource evidence(opened.hive, opened.tree);
  ListTimeline(opened.hive, opened.tree, {}, *list,
               [&](Timeline& timeline) { AddDecoderTimes(timeline, evidence, {}); });
  SetShownZone({});
  const struct {
    const char* event;
    const char* date;
    const char* leaf;
  } cases[] = {{"UserAssist: Last Run", "2012/04/04, 03:58:40 +02:00", "\\Count"},
               {"Networks: Created (local)", "2012/04/04, 01:00:00", "\\{A}"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.event);
    uint32_t row = 0;
    while (row + 1 < RowCount(*list) && CellText(*list, row, 1) != c.event) ++row;
    ASSERT_EQ(CellText(*list, row, 1), c.event);
    EXPECT_EQ(CellText(*list, row, 0), c.date);
    EXPECT_TRUE(CellText(*list, row, 2).ends_with(c.leaf));
    EXPECT_TRUE(RowHasDatum(*list, row));
    EXPECT_EQ(FactsOfRow(*list, row).last_write, 0U) << "not of the key";
  }
}

// Times of an unknown zone are never told as UTC, nor moved to another zone.
TEST(TimelineTest, LocalTimesAreMarked) {
  HiveBuilder builder;
  Bytes local(16);
  PutU16(local, 0, 2020), PutU16(local, 2, 2), PutU16(local, 6, 3), PutU16(local, 8, 4);
  builder.Key("Microsoft\\Windows NT\\CurrentVersion\\NetworkList\\Profiles\\{A}")
      .Sz("ProfileName", "Home")
      .Value("DateCreated", 3, local);
  OpenedHive opened(builder.Build());
  Timeline timeline;
  timeline.hives.push_back({"cases/H", "H", "PC", "", 0, 0, 0});
  EvidenceSource evidence(opened.hive, opened.tree);
  AddDecoderTimes(timeline, evidence, {});
  ASSERT_EQ(timeline.shelves[0].events.size(), 1u);
  constexpr const char* kWords = "Networks: Created (local)";
  TimelineEvent written = EventsOf(timeline)[0];
  EXPECT_STREQ(written.event, kWords);
  written.event = "key written", written.local = false;
  AddEvent(timeline, written);
  TimelineCounts counts;
  const std::string csv = Written(timeline, TimelineForm::kCsv, counts, 60);
  EXPECT_NE(csv.find("\r\n2020-02-03T04:00:00.0000000,Networks"), csv.npos) << csv;
  EXPECT_NE(csv.find("\r\n2020-02-03T05:00:00.0000000+01:00,key"), csv.npos) << csv;
  const std::string json = Written(timeline, TimelineForm::kJsonLines);
  EXPECT_NE(json.find("\"datetime\":\"2020-02-03T04:00:00.0000000\""), json.npos) << json;
  const std::string plaso = Written(timeline, TimelineForm::kPlaso, counts, 60);
  EXPECT_NE(plaso.find("\r\n02/03/2020,04:00:00,local,"), plaso.npos) << plaso;
  EXPECT_NE(plaso.find("\r\n02/03/2020,05:00:00,UTC+01:00,"), plaso.npos) << plaso;
  EXPECT_NE(Written(timeline, TimelineForm::kTln).find(kWords), std::string::npos);
}

TEST(TimelineTest, KeysOfLogsAlone) {
  LogStory story = MakeLogStory();
  LoggedFiles files;
  files.hive = story.files.hive;
  files[".LOG1"] = NewLog(story.states[1], {EntryBetween(story.states[0], story.states[1], 10),
                                            EntryBetween(story.states[1], story.states[2], 4)});
  LoggedHive hive(files);
  Timeline timeline;
  TimelineOptions options;
  options.logged = true;
  ASSERT_TRUE(AddToTimeline(timeline, hive.hive(), hive.tree(), options, {}));
  EXPECT_GT(timeline.hives[0].logged_keys, 0U);
  const std::vector<TimelineEvent> events = EventsOf(timeline);
  const auto logged = std::ranges::find(events, TimelineState::kLogged, &TimelineEvent::state);
  ASSERT_NE(logged, events.end());
  EXPECT_TRUE(logged->detail.ends_with("entry 4")) << logged->detail;
  EXPECT_GT(logged->offset, 0x1000U);
  const OutputListPtr list = MakeOutputList(kListTimeline);
  ListTimeline(hive.hive(), hive.tree(), options, *list);
  uint32_t row = 0;
  while (row + 1 < RowCount(*list) && CellText(*list, row, 5) != "in a log") ++row;
  EXPECT_EQ(CellText(*list, row, 5), "in a log");
  EXPECT_FALSE(RowHasDatum(*list, row)) << "something else may be there now";
}

struct KnownHive {
  const char* name;
  size_t live;
  size_t recovered;
  size_t freed;
  const char* first;  // of the live ones
  const char* last;
  size_t times;  // distinct ones of these
};

TEST(TimelineCorpus, KnownHives) {
  if (!HasCorpus()) GTEST_SKIP() << "real hives are not tested: none in " << CorpusFolder();
  constexpr KnownHive kKnown[] = {
      {"SYSTEM", 30756, 0, 0, "2001-11-21T17:39:40.7896288Z", "2012-04-07T13:05:11.1834001Z", 2110},
      {"NTUSER.DAT", 1812, 103, 0, "2012-04-03T21:19:54.7332155Z", "2021-11-18T14:00:44.1804672Z",
       477},
      {"win7_ntuser.dat", 4841, 0, 0, "2013-09-17T20:05:49.6957966Z",
       "2015-02-26T20:13:19.2838379Z", 1259},
      {"UsrClass.dat", 6205, 0, 0, "2018-03-27T09:18:58.9266495Z", "2018-04-06T07:24:28.7256923Z",
       1113},
      {"BCD", 66, 0, 25, "2005-10-06T15:35:07.2139651Z", "2011-11-10T01:02:10.0371085Z", 4},
      {"DeletedTreeHive", 3, 0, 4, "2017-03-20T21:21:22.7581997Z", "2017-03-20T21:21:35.3072285Z",
       3},
      {"ManySubkeysHive", 5003, 0, 1, "2017-03-04T14:50:13.0833872Z",
       "2017-03-04T14:51:06.2399456Z", 44}};
  for (const KnownHive& known : kKnown) {
    SCOPED_TRACE(known.name);
    HostRecorder host;
    ResetHiveTable();
    TheHiveTable().logs.mode = LogMode::kNone;
    const int slot = OpenHive(CorpusFile(known.name));
    ASSERT_GT(slot, 0);
    KeyTree tree;
    BuildImageTree(HiveOfSlot(slot), BuildOptions(), tree);
    Timeline timeline;
    TimelineOptions options;
    options.freed = known.freed != 0;
    ASSERT_TRUE(AddToTimeline(timeline, HiveOfSlot(slot), tree, options, {}));
    SortTimeline(timeline);
    std::set<uint64_t> times;
    size_t states[3] = {};
    std::vector<uint64_t> live;
    for (const TimelineEvent& event : EventsOf(timeline)) {
      ++states[static_cast<size_t>(event.state)];
      if (event.state != TimelineState::kLive) continue;
      live.push_back(event.time);
      times.insert(event.time);
    }
    EXPECT_EQ(states[0], known.live);
    EXPECT_EQ(states[1], known.recovered);
    EXPECT_EQ(states[2], known.freed);
    EXPECT_EQ(FormatIso8601(live.front()), known.first);
    EXPECT_EQ(FormatIso8601(live.back()), known.last);
    EXPECT_EQ(times.size(), known.times);
    ResetHiveTable();
  }
}

}  // namespace
}  // namespace hivequarry::testing
