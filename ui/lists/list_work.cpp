#include "ui/lists/list_work.h"

#include <memory>
#include <mutex>
#include <utility>

#include "app/settings.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_order.h"
#include "ui/frame/text.h"
#include "ui/lists/list_sorting.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"

namespace hivequarry {
namespace {

constexpr UINT kWatchPause = 100;  // milliseconds
constexpr UINT kStatusTime = 2000;

// A timer of the interface thread: rows that a worker has added meanwhile come into view.
void CALLBACK WatchWork(HWND list, UINT, UINT_PTR, DWORD) {
  ListPlace& place = PlaceOfControl(list);
  // Rows that are added are shown by the way; other work changes counts and progress alone.
  if (place.filling) {
    ListChanged(place);
  } else {
    PlaceChanged(place);
  }
}

void CALLBACK RemoveStatus(HWND list, UINT, UINT_PTR timer, DWORD) {
  KillTimer(list, timer);
  ShowPlaceStatus(PlaceOfControl(list), "");
}

// On the interface thread, after the worker's end. A window that was closed meanwhile goes now, and
// `done` is not called.
void EndListWork(ListPlace& place, const std::function<void()>& done) {
  KillTimer(place.list, kWatchTimer);
  place.working = false;
  place.filling = false;
  if (place.closing) {
    DestroyWindow(place.window);
    return;
  }
  done();
  ListChanged(place);
}

RowNumbers NumbersFor(const ListPlace& place) {
  if (!TheSettings().options.number_rows) return RowNumbers::kNone;
  return place.pane ? RowNumbers::kSix : RowNumbers::kFive;
}

// What the worker that fills a list leaves for the interface thread.
struct FillResult {
  SortRequest request;
  std::vector<uint32_t> order;
};

void SortFilled(const OutputList& list, FillResult& result) {
  result.order.resize(RowCount(list));
  for (uint32_t row = 0; row < result.order.size(); ++row) result.order[row] = row;
  result.order = SortRows(list, result.order, result.request, StopRequested);
}

// Rows keep the order in which they came where none was asked for.
void ShowFilled(ListPlace& place, FillResult& result) {
  if (result.order.empty()) return;
  ListChanged(place);
  ShowInOrder(place, std::move(result.order));
  place.sorted_column = result.request.column;
  place.sort_keys = {result.request};
  ShowSortArrows(place);
}

}  // namespace

ListPlace& PlaceOfControl(HWND list) {
  return *reinterpret_cast<ListPlace*>(GetWindowLongPtrW(list, GWLP_USERDATA));
}

bool StartListWork(ListPlace& place, int code, std::function<void()> work,
                   std::function<void()> done) {
  if (!StartWork(*place.owner, code, std::move(work),
                 [&place, finish = std::move(done)] { EndListWork(place, finish); })) {
    return false;
  }
  place.working = true;
  SetTimer(place.list, kWatchTimer, kWatchPause, WatchWork);
  PlaceChanged(place);
  return true;
}

bool FillList(ListPlace& place, int code, std::function<void(OutputList& list)> fill,
              std::function<void()> done) {
  OutputList& list = *place.model;
  // Before the worker begins: rows are numbered as they are added.
  SetRowNumbers(list, NumbersFor(place));
  const auto result = std::make_shared<FillResult>();
  const bool sorted = TheSettings().options.sort_new_lists;
  result->request = FirstColumnRequest(list);
  if (!StartListWork(
          place, code,
          [&list, sorted, result, work = std::move(fill)] {
            work(list);
            if (sorted && !StopRequested()) SortFilled(list, *result);
          },
          [&place, result, finish = std::move(done)] {
            ShowFilled(place, *result);
            if (finish) finish();
          })) {
    return false;
  }
  place.filling = true;
  return true;
}

void ShowPlaceStatus(const ListPlace& place, const char* text) {
  // Of a passing text before it, which would take this one away.
  KillTimer(place.list, kStatusTimer);
  if (place.pane) return ShowStatus(text);
  SendMessageW(place.status, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(WindowText(text).c_str()));
}

void ShowPassingStatus(const ListPlace& place, const char* text) {
  ShowPlaceStatus(place, text);
  SetTimer(place.list, kStatusTimer, kStatusTime, RemoveStatus);
}

void PlaceChanged(ListPlace& place) {
  if (!place.pane) return RefreshListWindow(place);
  UpdateToolbar(*place.owner);
  ShowCounts(*place.owner);
}

}  // namespace hivequarry
