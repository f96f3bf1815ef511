// Putting the rows of an Output List in order, and finding text in them. The list itself is never
// changed: what is shown is an order of row numbers.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lists/output_list.h"

namespace hivequarry {

// What a click on a column's header sorts by: the column's record says it, else its title.
SortMode SortModeOfColumn(const OutputList& list, int column);

struct SortRequest {
  int column = 0;
  SortMode mode = SortMode::kText;
  bool descending = false;
};
// The rows named in `rows` in their new order; rows that compare equal keep theirs. `stop` is asked
// again and again while rows are compared; once it is true every comparison says "equal", which
// ends the sort quickly with all rows still there.
std::vector<uint32_t> SortRows(const OutputList& list, std::span<const uint32_t> rows,
                               const SortRequest& request, const std::function<bool()>& stop);

// Finding: a row is found when any of its columns holds the text, capital and small letters alike.
struct FindRequest {
  std::string text;
  int64_t focused = -1;  // the place in `rows` to search from; -1, or beyond the end: none
  bool down = true;
  bool wrap = true;  // go on at the other end
};
// `stopped` when visited said so; then no place was found.
struct FoundRow {
  int64_t place = -1;    // in `rows`; -1: nothing found
  bool wrapped = false;  // found after going on at the other end
  bool stopped = false;
};
// What the user is told when a search goes on at the other end.
inline constexpr const char* kPassedEnd = "Search passed end of list.";
inline constexpr const char* kPassedBeginning = "Search passed beginning of list.";

// `passed` is called with one of the texts above, `visited` for lists of more than 1024 rows every
// 128 rows with the number visited; false from it stops the search. Either may be empty.
struct FindEvents {
  std::function<void(const char* text)> passed;
  std::function<bool(uint32_t visited)> visited;
};
// Visits at most one row more than there are. An empty text is never found.
FoundRow FindRow(const OutputList& list, std::span<const uint32_t> rows, const FindRequest& request,
                 const FindEvents& events);
// Every place in `rows` whose text in `column` (-1: any column) holds the text, ascending; for
// "Select all with...".
std::vector<uint32_t> FindAllRows(const OutputList& list, std::span<const uint32_t> rows,
                                  std::string_view text, int column);

}  // namespace hivequarry
