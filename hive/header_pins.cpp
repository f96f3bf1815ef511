#include "hive/header_pins.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "hive/byte_shifts.h"
#include "hive/image.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

constexpr int kHeaderFit = 4;      // what a header's own offset counts
constexpr int kOddHeaderFit = 10;  // one that is off the pages: no header by chance
constexpr int kChange = 8;         // what a change of distance costs
constexpr size_t kStates = 6;      // distances followed at a time

// One of the distances that a header may be at, and the best way of headers that ends there.
struct State {
  uint32_t distance = 0;
  int score = INT32_MIN;  // of the best way up to here
  uint32_t end = 0;       // offset up to which headers were met
  uint32_t back = 0;      // state of the stretch before
};
using StateRow = std::array<State, kStates>;

uint32_t StretchEnd(const Shifts& shifts, size_t header) {
  return header + 1 < shifts.headers.size() ? shifts.headers[header + 1].position
                                            : static_cast<uint32_t>(shifts.bytes.size());
}

// How many bytes from the header of that number on are its block's beyond doubt: all of a block
// whose cells follow each other to its end, of another the header.
uint32_t TakenBy(const Shifts& shifts, size_t header) {
  const BinHeader& bin = shifts.headers[header];
  const uint32_t room = StretchEnd(shifts, header) - bin.position;
  return IsWholeBlock(shifts.bytes, bin, room) ? bin.size : kBinHeaderSize;
}

// How well the stretch that a header begins fits at a distance.
// Linear in the records of the stretch.
int FitOfStretch(const Shifts& shifts, size_t header, uint32_t distance) {
  const BinHeader& bin = shifts.headers[header];
  int fit = 0;
  if (bin.Distance() == distance) {
    fit = (distance - shifts.first) % kPageSize == 0 ? kHeaderFit : kOddHeaderFit;
  }
  for (const Witness& record : shifts.RecordsIn(bin.position, StretchEnd(shifts, header))) {
    if (shifts.FitsAt(record, distance)) fit += kFit;
  }
  return fit;
}

// What a change somewhere in the stretch before a header explains better than one at the header.
int GainInStretch(const Shifts& shifts, size_t header, uint32_t before, uint32_t after) {
  const uint32_t begin = header == 0 ? 0 : shifts.headers[header - 1].position;
  const std::span<const Witness> records = shifts.RecordsIn(begin, shifts.headers[header].position);
  int gain = 0;
  int best = 0;
  for (size_t i = records.size(); i-- > 0;) {
    gain += shifts.FitsAt(records[i], after) ? kFit : 0;
    gain -= shifts.FitsAt(records[i], before) ? kFit : 0;
    best = std::max(best, gain);
  }
  return best;
}

// Offsets only ever go up from header to header, and one change of distance is no larger than
// kLargestShift.
bool MayFollow(const Shifts& shifts, const State& before, const BinHeader& bin) {
  return before.score != INT32_MIN && before.distance != bin.Distance() &&
         std::abs(SignedDistance(bin.Distance() - before.distance)) < int64_t{kLargestShift} &&
         bin.own_offset >= before.end && bin.own_offset < shifts.own_end &&
         !shifts.banned.contains(bin.Distance());
}

// The states after a stretch: each distance goes on, and that of its header may begin.
// `taken_here`: of that header (TakenBy).
StateRow NextStates(const Shifts& shifts, uint32_t taken_here, const StateRow& before,
                    size_t header) {
  const BinHeader& bin = shifts.headers[header];
  StateRow after{};
  size_t count = 0;
  const int own_fit = FitOfStretch(shifts, header, bin.Distance());
  for (uint32_t i = 0; i < kStates && before[i].score != INT32_MIN; ++i) {
    State state = before[i];
    const bool same = state.distance == bin.Distance();
    const int fit = same ? own_fit : FitOfStretch(shifts, header, state.distance);
    // A few records fit anywhere by chance.
    const uint32_t taken = same ? taken_here : kBinHeaderSize;
    if (same || fit > own_fit) {
      state.end = std::max(state.end, bin.position - state.distance + taken);
    }
    state.score += fit;
    state.back = i;
    after[count++] = state;
  }
  const int cost = header == 0 && !shifts.anchored ? 0 : kChange;
  State begun{bin.Distance(), INT32_MIN, bin.own_offset + taken_here, 0};
  for (uint32_t i = 0; i < kStates; ++i) {
    if (!MayFollow(shifts, before[i], bin)) continue;
    const int gain = GainInStretch(shifts, header, before[i].distance, bin.Distance());
    const int score = before[i].score + gain - cost + own_fit;
    if (score <= begun.score) continue;
    begun.score = score;
    begun.back = i;
  }
  if (begun.score == INT32_MIN) return after;
  // In the place of the same distance, of the worst one, or of none.
  const auto same = std::find_if(after.begin(), after.begin() + static_cast<ptrdiff_t>(count),
                                 [&](const State& s) { return s.distance == begun.distance; });
  if (same != after.begin() + static_cast<ptrdiff_t>(count)) {
    if (begun.score > same->score) *same = begun;
  } else if (count < kStates) {
    after[count] = begun;
  } else {
    const auto worst = std::ranges::min_element(after, {}, &State::score);
    if (worst->score < begun.score) *worst = begun;
  }
  return after;
}

// Dynamic programming over the headers: a row of states for each, each state knowing the one before
// it; then back from the best state of the last row. A stop gives no pins, so nothing is moved.
std::vector<Pin> FindPins(const Shifts& shifts, std::span<const uint32_t> taken) {
  std::vector<StateRow> rows;
  rows.reserve(shifts.headers.size() + 1);
  StateRow start{};
  start[0] = {shifts.first, 0, 0, 0};
  rows.push_back(start);
  for (size_t header = 0; header < shifts.headers.size(); ++header) {
    if (header % 1024 == 0 && StopRequested()) return {};
    rows.push_back(NextStates(shifts, taken[header], rows.back(), header));
  }
  const auto best = std::ranges::max_element(rows.back(), {}, &State::score);
  auto number = static_cast<uint32_t>(best - rows.back().begin());
  std::vector<Pin> pins;
  for (size_t row = rows.size() - 1; row > 0; --row) {
    const State& state = rows[row][number];
    const bool pinned = FitOfStretch(shifts, row - 1, state.distance) != 0;
    if (pinned) pins.push_back({shifts.headers[row - 1].position, state.distance});
    number = state.back;
  }
  std::ranges::reverse(pins);
  return pins;
}

// Pages that were moved look like pages put in and lost again: where a distance comes back, and all
// in between differ from it by whole pages, nothing was put in or lost (moved_pages.h).
void DropReturns(std::vector<Pin>& pins) {
  std::vector<bool> dropped(pins.size());
  for (size_t i = 0; i < pins.size();) {
    size_t back = i;  // the last pin at the same distance
    for (size_t j = i + 1; j < pins.size(); ++j) {
      if ((pins[j].distance - pins[i].distance) % kPageSize != 0) break;
      if (pins[j].distance == pins[i].distance) back = j;
    }
    for (size_t j = i + 1; j < back; ++j) dropped[j] = pins[j].distance != pins[i].distance;
    i = back + 1;
  }
  size_t kept = 0;
  for (size_t i = 0; i < pins.size(); ++i) {
    if (!dropped[i]) pins[kept++] = pins[i];
  }
  pins.resize(kept);
}

// --- blocks of another hive

// Where an offset is, by the pins before one; kNoOffset for one that comes after them.
uint32_t PositionByPins(std::span<const Pin> pins, uint32_t offset) {
  const auto after = std::upper_bound(
      pins.begin(), pins.end(), offset,
      [](uint32_t wanted, const Pin& pin) { return wanted < pin.position - pin.distance; });
  return after == pins.begin() ? kNoOffset : offset + std::prev(after)->distance;
}

struct Tally {
  uint32_t asked = 0;  // references across a change
  uint32_t held = 0;   // of these, those that meet what they name
};

bool Holds(const Shifts& shifts, const Reference& reference, uint32_t position) {
  return position < shifts.bytes.size() &&
         Agreement(shifts.bytes.subspan(position), reference) != 0;
}

// True when what the records after a change say of what is before it holds: blocks of another hive
// name offsets of their own.
bool BelongTogether(const Shifts& shifts, std::span<const Pin> pins, size_t change) {
  // A sample, spread evenly, tells of a stretch of any length; with fewer answers than kEnough only
  // a stretch without a single miss is believed.
  constexpr size_t kMostRecords = 512;
  constexpr uint32_t kEnough = 3;
  const uint32_t begin = pins[change].position;
  const uint32_t distance = pins[change].distance;
  const std::span<const Pin> before = pins.first(change);
  size_t last = change;
  while (last + 1 < pins.size() && pins[last + 1].distance == distance) ++last;
  const uint32_t end =
      last + 1 < pins.size() ? pins[last + 1].position : static_cast<uint32_t>(shifts.bytes.size());
  const uint32_t first_offset = begin - distance;
  const uint32_t end_offset = end - distance;
  Tally tally;
  std::vector<Reference> references;
  const auto look = [&](std::span<const Witness> records, bool back) {
    const size_t step = records.size() / kMostRecords + 1;
    for (size_t i = 0; i < records.size(); i += step) {
      references.clear();
      AddReferences(shifts.bytes, records[i], references);
      references.resize(std::min<size_t>(references.size(), 64));
      for (const Reference& reference : references) {
        const bool earlier = reference.offset < first_offset;
        if (back != earlier || reference.offset >= end_offset) continue;
        // In most hives the first security record is at the same offset.
        if (reference.kind == CellKind::kSecurity) continue;
        // Of what is before, the last may be at the distance after already.
        const uint32_t position = back ? PositionByPins(before, reference.offset) : kNoOffset;
        ++tally.asked;
        tally.held += Holds(shifts, reference, position) ||
                      Holds(shifts, reference, reference.offset + distance);
      }
    }
  };
  look(shifts.RecordsIn(begin, end), true);
  if (tally.asked < kEnough && change != 0) look(shifts.RecordsIn(0, begin), false);
  if (tally.asked < kEnough) {
    const uint32_t from = change == 0 ? shifts.first : pins[change - 1].distance;
    const bool near = std::abs(SignedDistance(distance - from)) < kPageSize;
    // The hive then ends where its base block says.
    const bool ends = end == shifts.bytes.size() && end - distance == shifts.own_end;
    return tally.held == tally.asked && (near || ends);
  }
  return tally.held * 2 >= tally.asked;
}

}  // namespace

std::vector<Pin> FindOwnPins(Shifts& shifts) {
  // Each round bans one more distance; a file in which so many are other hives' is taken as it is
  // then.
  constexpr int kMostRounds = 8;
  std::vector<uint32_t> taken;  // the same in all rounds
  taken.reserve(shifts.headers.size());
  for (size_t header = 0; header < shifts.headers.size(); ++header) {
    taken.push_back(TakenBy(shifts, header));
  }
  bool begun = false;
  for (const BinHeader& bin : shifts.headers) {
    if (bin.own_offset != 0) continue;
    if (begun && bin.Distance() != shifts.first) shifts.banned.insert(bin.Distance());
    begun = true;
  }
  std::vector<Pin> pins;
  for (int round = 0; round < kMostRounds; ++round) {
    pins = FindPins(shifts, taken);
    DropReturns(pins);
    bool sound = true;
    for (size_t i = 0; i < pins.size() && sound; ++i) {
      const uint32_t before = i == 0 ? shifts.first : pins[i - 1].distance;
      if (pins[i].distance == before || i == 0 || BelongTogether(shifts, pins, i)) continue;
      shifts.banned.insert(pins[i].distance);
      sound = false;
    }
    if (sound) return pins;
  }
  // Nothing but contradictions: all of it counts as being in place.
  std::erase_if(pins, [&](const Pin& pin) { return pin.distance != shifts.first; });
  return pins;
}

}  // namespace hivequarry
