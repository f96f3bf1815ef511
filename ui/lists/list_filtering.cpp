#include "ui/lists/list_filtering.h"

#include <memory>
#include <utility>
#include <vector>

#include "host/long_operation.h"
#include "ui/lists/activity_pane.h"
#include "ui/lists/list_work.h"

namespace hivequarry {

bool FilterList(ListPlace& place, RowTest passes) {
  const auto chosen = std::make_shared<std::vector<bool>>();
  const OutputList& list = *place.model;
  return StartListWork(
      place, kOperationFind,
      [&list, test = std::move(passes), chosen] {
        *chosen = TestRows(
            RowCount(list), [&](uint32_t row) { return test(list, row); }, StopRequested);
      },
      [&place, chosen] { ShowChosenRows(place, std::move(*chosen)); });
}

void OnShowAllRows(ListPlace& place) {
  ShowAllRows(place);
  ForgetPickedRange(place);
}

}  // namespace hivequarry
