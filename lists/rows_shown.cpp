#include "lists/rows_shown.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace hivequarry {
namespace {

// Rows that the view has not heard of count as chosen, until FollowRows says otherwise.
bool IsChosen(const RowsShown& view, uint32_t row) {
  return row >= view.chosen.size() || view.chosen[row];
}

// Linear in the rows; in the order of the view, which is that of the list where none was chosen.
void ShowChosen(RowsShown& view) {
  view.shown.clear();
  const auto rows = static_cast<uint32_t>(view.ordered ? view.order.size() : view.chosen.size());
  for (uint32_t at = 0; at < rows; ++at) {
    const uint32_t row = view.ordered ? view.order[at] : at;
    if (IsChosen(view, row)) view.shown.push_back(row);
  }
}

}  // namespace

std::vector<uint32_t> AllRows(const RowsShown& view, uint32_t rows) {
  if (view.ordered) return view.order;
  std::vector<uint32_t> all(rows);
  std::iota(all.begin(), all.end(), 0U);
  return all;
}

std::vector<uint32_t> ShownRows(const RowsShown& view, uint32_t rows) {
  return view.filtered ? view.shown : AllRows(view, rows);
}

void PutInOrder(RowsShown& view, std::vector<uint32_t> order) {
  view.order = std::move(order);
  view.ordered = true;
  if (view.filtered) ShowChosen(view);
}

void FilterRows(RowsShown& view, std::vector<bool> chosen) {
  view.chosen = std::move(chosen);
  view.filtered = true;
  ShowChosen(view);
}

void UnfilterRows(RowsShown& view) {
  // Gives the memory back, which clearing would not.
  view.chosen = std::vector<bool>();
  view.shown = std::vector<uint32_t>();
  view.filtered = false;
}

void ChooseAddedRows(RowsShown& view, uint32_t from, const std::vector<bool>& chosen) {
  for (size_t i = 0; i < chosen.size() && from + i < view.chosen.size(); ++i) {
    view.chosen[from + i] = chosen[i];
  }
  ShowChosen(view);
}

void FollowRows(RowsShown& view, uint32_t rows, bool chosen) {
  // Fewer rows: the list was cleared, and its numbers mean other rows now.
  if (view.ordered && view.order.size() > rows) view = RowsShown();
  if (view.filtered && view.chosen.size() > rows) UnfilterRows(view);
  // New rows come after those that were put in order, as they were added.
  while (view.ordered && view.order.size() < rows) {
    view.order.push_back(static_cast<uint32_t>(view.order.size()));
  }
  while (view.filtered && view.chosen.size() < rows) {
    if (chosen) view.shown.push_back(static_cast<uint32_t>(view.chosen.size()));
    view.chosen.push_back(chosen);
  }
}

std::vector<bool> TestRows(uint32_t rows, const std::function<bool(uint32_t row)>& passes,
                           const std::function<bool()>& stop) {
  constexpr uint32_t kStopInterval = 4096;
  std::vector<bool> chosen(rows);
  for (uint32_t row = 0; row < rows; ++row) {
    if (row % kStopInterval == 0 && stop()) return {};
    chosen[row] = passes(row);
  }
  return chosen;
}

std::vector<uint32_t> PlacesOfRows(const RowsShown& view, uint32_t rows) {
  std::vector<uint32_t> places(rows, kNoPlace);
  for (uint32_t place = 0; place < ShownCount(view, rows); ++place) {
    places[RowAt(view, place)] = place;
  }
  return places;
}

}  // namespace hivequarry
