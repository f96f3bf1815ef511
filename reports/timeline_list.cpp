#include "reports/timeline_list.h"

#include "hive/file_place.h"
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
  const bool of_hive = event.key.empty();
  facts.about_key = facts.of_record = !of_hive && event.value.empty();
  facts.last_write = facts.about_key ? event.time : 0;
  const std::string date = FormatTimestamp(event.time, false);
  const std::string offset = PositionText(event.offset);
  AddListRow(list,
             {{date, DateValue(event.time)},
              event.event,
              event.key,
              event.value,
              event.detail,
              StateWord(event.state),
              {offset, event.offset}},
             of_hive ? kNoOffset : PositionOfPlace(hive, event.offset), facts);
}

}  // namespace

void ListTimeline(const HiveImage& hive, const KeyTree& tree, const TimelineOptions& options,
                  OutputList& list) {
  ShowStatus("Reading times ...");
  Timeline timeline;
  if (!AddToTimeline(timeline, hive, tree, options, {}) || StopRequested()) return;
  SortTimeline(timeline);
  for (const TimelineShelf& shelf : timeline.shelves) {
    for (const TimelineEvent& event : shelf.events) {
      if (StopRequested()) return;
      AddEventRow(hive, event, list);
      if (RowCount(list) % kRowsPerStatus == 0) {
        ShowStatus(Concat({"Reading times ...  ", Decimal(RowCount(list))}).c_str());
      }
    }
  }
  const TimelineHive& about = timeline.hives.back();
  std::string words =
      Concat({std::to_string(RowCount(list)), " times of ", std::to_string(about.keys), " keys"});
  if (about.freed_keys != 0) words += Concat({" and ", std::to_string(about.freed_keys), " freed"});
  if (about.keys_without != 0) {
    words += Concat({"; ", std::to_string(about.keys_without), " keys have none"});
  }
  SetListSubtitle(list, words);
  ShowStatus(words.c_str());
}

}  // namespace hivequarry
