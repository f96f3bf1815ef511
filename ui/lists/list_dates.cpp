#include "ui/lists/list_dates.h"

#include <memory>
#include <utility>

#include "host/long_operation.h"
#include "lists/list_zone.h"
#include "ui/lists/list_window.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// Up to so many rows the copy is made at once, without a worker.
constexpr uint32_t kRowsAtOnce = 5000;

// Rows keep their numbers, so order, selection and what they lead to stay. Words of the filter are
// looked for in the new texts.
void TakeCopy(ListPlace& place, OutputListPtr copy, const ShownZone& zone) {
  // The filter's thread reads the model that goes.
  StopFilter(place);
  place.model = std::move(copy);
  place.dates_in = zone;
  if (place.rows.filtered || HasFilterWords(place)) SetFilterWords(place, place.filter.words);
  FitListColumns(place);
  ListChanged(place);
  InvalidateRect(place.list, nullptr, FALSE);
}

// True when a worker makes the copy. One that is stopped leaves this list and those that wait as
// they are.
bool StartCopy(ListPlace& place, const ShownZone& zone) {
  const auto copy = std::make_shared<OutputListPtr>();
  const OutputList& list = *place.model;
  const bool started = StartListWork(
      place, kOperationList,
      [&list, from = place.dates_in, zone, copy] {
        *copy = CopyInZone(list, from, zone, StopRequested);
      },
      [&place, zone, copy] {
        ShowPlaceStatus(place, "");
        if (*copy != nullptr) return TakeCopy(place, std::move(*copy), zone);
        // No copy: the user has stopped it, and means all of them.
        for (ListPlace* left : ListPlaces(*place.owner)) left->zone_due = false;
      });
  if (started) ShowPlaceStatus(place, " Dates in the other zone ...");
  return started;
}

// False while it waits for a worker.
bool ShowInZone(ListPlace& place, const ShownZone& zone) {
  if (place.working) return false;
  if (!HasDates(*place.model)) {
    place.dates_in = zone;
  } else if (RowCount(*place.model) > kRowsAtOnce) {
    return StartCopy(place, zone);
  } else {
    OutputListPtr copy = CopyInZone(*place.model, place.dates_in, zone, [] { return false; });
    if (copy != nullptr) TakeCopy(place, std::move(copy), zone);
  }
  return true;
}

}  // namespace

void ShowListsInZone(MainWindow& window) {
  for (ListPlace* place : ListPlaces(window)) place->zone_due = place->dates_in != ShownZoneNow();
  FollowZone(window);
}

void FollowZone(MainWindow& window) {
  for (ListPlace* place : ListPlaces(window)) {
    if (place->zone_due && ShowInZone(*place, ShownZoneNow())) place->zone_due = false;
  }
}

}  // namespace hivequarry
