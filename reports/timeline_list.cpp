#include "reports/timeline_list.h"

#include <string_view>

#include "hive/file_place.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "reports/key_dates.h"

namespace hivequarry {
namespace {

constexpr uint32_t kRowsPerStatus = 1 << 16;

void AddEventRow(const HiveImage& hive, const TimelineEvent& event, OutputList& list) {
  RowFacts facts;
  // Times of the base block have no key; an offset of 0 is no key's or value's.
  const bool leads =
      !event.key.empty() && event.offset != 0 && event.state != TimelineState::kLogged;
  facts.about_key = !event.key.empty() && event.value.empty();
  facts.of_record = facts.about_key && leads;
  const bool written = facts.about_key && std::string_view(event.event) == kKeyWritten;
  facts.last_write = written ? event.time : 0;
  // A time of which nobody knows the zone is shown as it is.
  const std::string date = event.local ? FormatCalendar(CalendarOfFileTime(event.time))
                                       : FormatTimestamp(event.time, false);
  const std::string offset = PositionText(event.offset);
  AddListRow(list,
             {{date, DateValue(event.time)},
              event.event,
              event.key,
              event.value,
              event.detail,
              StateWord(event.state),
              {offset, event.offset}},
             leads ? PositionOfPlace(hive, event.offset) : kNoOffset, facts);
}

}  // namespace

void ListTimeline(const HiveImage& hive, const KeyTree& tree, const TimelineOptions& options,
                  OutputList& list, const std::function<void(Timeline& timeline)>& more) {
  ShowStatus("Reading times ...");
  Timeline timeline;
  if (!AddToTimeline(timeline, hive, tree, options, {}) || StopRequested()) return;
  if (more) more(timeline);
  SortTimeline(timeline);
  std::string path;
  for (const TimelineShelf& shelf : timeline.shelves) {
    for (const StoredEvent& event : shelf.events) {
      if (StopRequested()) return;
      AddEventRow(hive, ReadEvent(event, path), list);
      if (RowCount(list) % kRowsPerStatus == 0) {
        ShowStatus(Concat({"Reading times ...  ", Decimal(RowCount(list))}).c_str());
      }
    }
  }
  const TimelineHive& about = timeline.hives.back();
  std::string words =
      Concat({std::to_string(RowCount(list)), " times of ", std::to_string(about.keys), " keys"});
  if (about.freed_keys != 0) words += Concat({" and ", std::to_string(about.freed_keys), " freed"});
  if (about.logged_keys != 0) {
    words += Concat({" and ", std::to_string(about.logged_keys), " in logs"});
  }
  if (about.keys_without != 0) {
    words += Concat({"; ", std::to_string(about.keys_without), " keys have none"});
  }
  SetListSubtitle(list, words);
  ShowStatus(words.c_str());
}

}  // namespace hivequarry
