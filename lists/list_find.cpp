#include <algorithm>
#include <array>

#include "host/case.h"
#include "lists/list_order.h"

namespace hivequarry {
namespace {

constexpr uint32_t kShownProgress = 1024;  // rows from which on progress is worth showing
constexpr uint32_t kProgressInterval = 128;

// A text to look for, in capitals. Texts are compared from its end; by the byte under the end,
// `skip` says how far the text may move on.
struct Pattern {
  std::string text;
  bool plain = false;  // ASCII: no letter beyond it has a capital in it
  std::array<size_t, 256> skip{};
};

// A table of skips by the last byte looked at: how far the pattern may be moved on at once. Small
// letters skip as their capitals do.
Pattern MakePattern(std::string_view text) {
  Pattern pattern{CapitalsOfText(text), IsAscii(text), {}};
  const size_t length = pattern.text.size();
  pattern.skip.fill(length);
  for (size_t i = 0; i + 1 < length; ++i) {
    const char capital = pattern.text[i];
    pattern.skip[static_cast<uint8_t>(capital)] = length - 1 - i;
    pattern.skip[static_cast<uint8_t>(SmallLetter(capital))] = length - 1 - i;
  }
  return pattern;
}

// From the end backwards, as the skips are made for that. Only ASCII letters differ in case here.
bool Matches(const Pattern& pattern, const char* at) {
  for (size_t i = pattern.text.size(); i-- > 0;) {
    if (PlainCapital(at[i]) != pattern.text[i]) return false;
  }
  return true;
}

// A pattern of ASCII is looked for in the text as it is; any other in the text's capitals, since a
// letter and its capital may differ in length there. Not for an empty pattern.
bool Holds(const Pattern& pattern, std::string_view text) {
  std::string capitals;
  if (!pattern.plain) {
    if (IsAscii(text)) return false;
    capitals = CapitalsOfText(text);
    text = capitals;
  }
  const size_t length = pattern.text.size();
  for (size_t at = 0; at + length <= text.size();) {
    if (Matches(pattern, text.data() + at)) return true;
    at += pattern.skip[static_cast<uint8_t>(text[at + length - 1])];
  }
  return false;
}

bool RowHolds(const OutputList& list, uint32_t row, const Pattern& pattern, int column) {
  if (column >= 0) return Holds(pattern, CellText(list, row, column));
  for (int i = 0; i < ColumnCount(list); ++i) {
    if (Holds(pattern, CellText(list, row, i))) return true;
  }
  return false;
}

// Where a search begins; beyond an end of the list when the row in focus is the last on its way.
int64_t FirstPlace(const FindRequest& request, int64_t count) {
  if (request.focused < 0 || request.focused >= count) return 0;
  return request.focused + (request.down ? 1 : -1);
}

}  // namespace

FoundRow FindRow(const OutputList& list, std::span<const uint32_t> rows, const FindRequest& request,
                 const FindEvents& events) {
  FoundRow found;
  const std::int64_t count = std::ssize(rows);
  if (count == 0 || request.text.empty()) return found;
  const Pattern pattern = MakePattern(request.text);
  int64_t place = FirstPlace(request, count);
  for (int64_t visited = 0; visited <= count; ++visited) {
    if (place < 0 || place >= count) {
      if (!request.wrap) return found;
      found.wrapped = true;
      if (events.passed) events.passed(request.down ? kPassedEnd : kPassedBeginning);
      place = request.down ? 0 : count - 1;
    }
    if (count > kShownProgress && visited % kProgressInterval == 0 && events.visited) {
      found.stopped = !events.visited(static_cast<uint32_t>(visited));
      if (found.stopped) return found;
    }
    if (RowHolds(list, rows[static_cast<size_t>(place)], pattern, -1)) {
      found.place = place;
      return found;
    }
    place += request.down ? 1 : -1;
  }
  return found;
}

std::vector<uint32_t> FindAllRows(const OutputList& list, std::span<const uint32_t> rows,
                                  std::string_view text, int column) {
  std::vector<uint32_t> places;
  if (text.empty()) return places;
  const Pattern pattern = MakePattern(text);
  for (size_t place = 0; place < rows.size(); ++place) {
    if (RowHolds(list, rows[place], pattern, column))
      places.push_back(static_cast<uint32_t>(place));
  }
  return places;
}

}  // namespace hivequarry
