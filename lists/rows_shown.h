// Which rows of an Output List are shown, and in which order. The list itself is never changed: a
// view is numbers of its rows, put in an order, and a choice of some of them. Both hold together:
// rows that are chosen again are in the order that all rows were put in last.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace hivequarry {

// Which rows of a list are shown and in which order. Numbers are those of the model's rows.
struct RowsShown {
  std::vector<uint32_t> order;  // all rows, once `ordered`
  bool ordered = false;         // false: all rows as they were added
  std::vector<bool> chosen;     // by row, once `filtered`
  std::vector<uint32_t> shown;  // the chosen ones in their order, once `filtered`
  bool filtered = false;        // false: `chosen` and `shown` are empty
};

// `rows`: how many the list has.
inline uint32_t ShownCount(const RowsShown& view, uint32_t rows) {
  if (view.filtered) return static_cast<uint32_t>(view.shown.size());
  return view.ordered ? static_cast<uint32_t>(view.order.size()) : rows;
}
// The row at a place below the count.
inline uint32_t RowAt(const RowsShown& view, uint32_t place) {
  if (view.filtered) return view.shown[place];
  return view.ordered ? view.order[place] : place;
}
// All rows in their order, whether they are shown or not; and those that are shown.
std::vector<uint32_t> AllRows(const RowsShown& view, uint32_t rows);
std::vector<uint32_t> ShownRows(const RowsShown& view, uint32_t rows);
// True where the numbers of shown rows are not simply those of all rows.
inline bool IsChoice(const RowsShown& view) { return view.filtered || view.ordered; }

// Puts all rows in an order that has each of them once; the chosen ones stay chosen.
void PutInOrder(RowsShown& view, std::vector<uint32_t> order);
// Shows those rows alone that are chosen.
void FilterRows(RowsShown& view, std::vector<bool> chosen);
// Shows all rows again, in their order.
void UnfilterRows(RowsShown& view);
// Chooses rows that were added last, from `from` on, by the same test as those before them.
void ChooseAddedRows(RowsShown& view, uint32_t from, const std::vector<bool>& chosen);
// The list has rows it had not, which come last, or fewer than the view knows: then all that is
// known of them is forgotten. Where some rows are shown, `chosen` says whether new ones are.
void FollowRows(RowsShown& view, uint32_t rows, bool chosen = true);
// Which of so many rows pass a test; `stop` is asked again and again, and ends it: no rows then.
std::vector<bool> TestRows(uint32_t rows, const std::function<bool(uint32_t row)>& passes,
                           const std::function<bool()>& stop);
// The place of each row, kNoPlace for rows that are not shown.
inline constexpr uint32_t kNoPlace = UINT32_MAX;
// By row; linear in the rows.
std::vector<uint32_t> PlacesOfRows(const RowsShown& view, uint32_t rows);

}  // namespace hivequarry
