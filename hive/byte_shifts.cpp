#include "hive/byte_shifts.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "hive/image.h"
#include "hive/witnesses.h"
#include "host/long_operation.h"
#include "records/bin_header.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

using Bytes = std::span<const uint8_t>;

// Weights of the search below. Evidence adds up along a path of distances from header to header,
// and each change of distance costs, so that one odd header among many changes nothing, while two
// records that fit a new distance outweigh a change that only cells propose.
constexpr int kFit = 2;                 // what a record that fits counts
constexpr int kHeaderFit = 4;           // what a header's own offset counts
constexpr int kOddHeaderFit = 10;       // one that is off the pages: no header by chance
constexpr int kChange = 8;              // what a change of distance costs
constexpr int kLocalChange = 5;         // one inside a block that only cells propose
constexpr int kKnownChange = 1;         // one that headers, or the file's length, speak for
constexpr size_t kStates = 6;           // distances followed at a time
constexpr uint32_t kWindow = 4096 - 8;  // how far cells look for where they are named
constexpr size_t kMostAsked = 16;       // cells of a stretch that look
// Records that agree by chance are met one or two at a time: fewer than these propose no distance.
constexpr uint32_t kFewMisfits = 3;

// Distances count modulo 2^32: the difference of two near ones is small or, as a signed number,
// negative.
int64_t Signed(uint32_t difference) { return static_cast<int32_t>(difference); }

// --- which distance from header to header

// One of the distances that a header may be at, and the best way of headers that ends there.
struct State {
  uint32_t distance = 0;
  int score = INT32_MIN;  // of the best way up to here
  uint32_t end = 0;       // offset up to which headers were met
  uint32_t back = 0;      // state of the stretch before
};
using StateRow = std::array<State, kStates>;

// The bytes under analysis.
struct Shifts {
  Bytes bytes;
  uint32_t first;  // distance at the start
  bool anchored;   // that is known: there is a base block
  std::vector<BinHeader> headers;
  std::vector<uint32_t> taken;  // bytes from each header on that are its block's beyond doubt
  Witnesses witnesses;
  uint32_t own_end = UINT32_MAX;        // offset after the hive, where a sound base block says it
  std::unordered_set<uint32_t> banned;  // distances of other hives

  // Those that begin in [begin, end), ascending.
  std::span<const Witness> RecordsIn(uint32_t begin, uint32_t end) const {
    const std::vector<Witness>& all = witnesses.records;
    const auto from = std::ranges::lower_bound(all, begin, {}, &Witness::position);
    const auto to = std::ranges::lower_bound(all, end, {}, &Witness::position);
    return {from, to};
  }
  bool FitsAt(const Witness& record, uint32_t distance) const {
    return Fits(witnesses, record, distance);
  }
};

uint32_t StretchEnd(const Shifts& shifts, size_t header) {
  return header + 1 < shifts.headers.size() ? shifts.headers[header + 1].position
                                            : static_cast<uint32_t>(shifts.bytes.size());
}

// All of a block whose cells follow each other to its end; of another the header.
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
    fit = (distance - shifts.first) % 4096 == 0 ? kHeaderFit : kOddHeaderFit;
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
         std::abs(Signed(bin.Distance() - before.distance)) < int64_t{kLargestShift} &&
         bin.own_offset >= before.end && bin.own_offset < shifts.own_end &&
         !shifts.banned.contains(bin.Distance());
}

// The states after a stretch: each distance goes on, and that of its header may begin.
StateRow NextStates(const Shifts& shifts, const StateRow& before, size_t header) {
  const BinHeader& bin = shifts.headers[header];
  StateRow after{};
  size_t count = 0;
  const int own_fit = FitOfStretch(shifts, header, bin.Distance());
  for (uint32_t i = 0; i < kStates && before[i].score != INT32_MIN; ++i) {
    State state = before[i];
    const bool same = state.distance == bin.Distance();
    const int fit = same ? own_fit : FitOfStretch(shifts, header, state.distance);
    // A few records fit anywhere by chance.
    const uint32_t taken = same ? shifts.taken[header] : kBinHeaderSize;
    if (same || fit > own_fit) {
      state.end = std::max(state.end, bin.position - state.distance + taken);
    }
    state.score += fit;
    state.back = i;
    after[count++] = state;
  }
  const int cost = header == 0 && !shifts.anchored ? 0 : kChange;
  State begun{bin.Distance(), INT32_MIN, bin.own_offset + shifts.taken[header], 0};
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

// A header whose stretch fits at the distance that was found for it.
struct Pin {
  uint32_t position = 0;
  uint32_t distance = 0;
};

// Dynamic programming over the headers: a row of states for each, each state knowing the one before
// it; then back from the best state of the last row. A stop gives no pins, so nothing is moved.
std::vector<Pin> FindPins(const Shifts& shifts) {
  std::vector<StateRow> rows;
  rows.reserve(shifts.headers.size() + 1);
  StateRow start{};
  start[0] = {shifts.first, 0, 0, 0};
  rows.push_back(start);
  for (size_t header = 0; header < shifts.headers.size(); ++header) {
    if (header % 1024 == 0 && StopRequested()) return {};
    rows.push_back(NextStates(shifts, rows.back(), header));
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
      if ((pins[j].distance - pins[i].distance) % 4096 != 0) break;
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
    const bool near = std::abs(Signed(distance - from)) < 4096;
    // The hive then ends where its base block says.
    const bool ends = end == shifts.bytes.size() && end - distance == shifts.own_end;
    return tally.held == tally.asked && (near || ends);
  }
  return tally.held * 2 >= tally.asked;
}

// The pins; distances at which other hives' blocks are found out to be are banned, and the
// search begun again.
std::vector<Pin> FindOwnPins(Shifts& shifts) {
  // Each round bans one more distance; a file in which so many are other hives' is taken as it is
  // then.
  constexpr int kMostRounds = 8;
  bool begun = false;
  for (const BinHeader& bin : shifts.headers) {
    if (bin.own_offset != 0) continue;
    if (begun && bin.Distance() != shifts.first) shifts.banned.insert(bin.Distance());
    begun = true;
  }
  std::vector<Pin> pins;
  for (int round = 0; round < kMostRounds; ++round) {
    pins = FindPins(shifts);
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

// --- where between two headers

// The part of the image between two pins.
struct Region {
  uint32_t begin = 0;
  uint32_t end = 0;
  uint32_t distance_before = 0;
  uint32_t distance_after = 0;
  bool open = false;  // nothing says how the end is
};

// A change of distance between the record at `low` and what is at `high`.
struct Change {
  uint32_t low = 0;
  uint32_t high = 0;
  uint32_t distance_before = 0;
  uint32_t distance_after = 0;

  // Bytes put in, or, negative, lost.
  int64_t Moved() const { return Signed(distance_after - distance_before); }
};

// Where the bytes at the distance before end, and those at the one after begin.
struct Break {
  uint32_t end = 0;
  uint32_t begin = 0;
};

// A cell, or a block's header, at a position: its length; 0 for neither.
uint32_t StepAt(Bytes bytes, uint32_t position) {
  const uint32_t size = LoadU32(&bytes[position]);
  if (size == kBinSignature) return kBinHeaderSize;
  const uint32_t length = CellLength(size);
  return length % 8 == 0 ? length : 0;
}

// From which places, in steps of 8 back from `end`, cells follow each other to it.
// A bit for each 8 bytes, found in one pass back from the end: a place reaches it when the place
// that its cell leads to does.
class Reach {
 public:
  // From the end backwards, a bit for each 8 bytes: a place reaches the end if the cell there leads
  // to one that does.
  Reach(Bytes bytes, uint32_t begin, uint32_t end) : end_(end), reaches_((end - begin) / 8 + 1) {
    reaches_[0] = true;
    for (uint32_t step = 1; step < reaches_.size(); ++step) {
      const uint32_t length = StepAt(bytes, end - 8 * step);
      if (length != 0 && length / 8 <= step) reaches_[step] = reaches_[step - length / 8];
    }
  }
  bool From(int64_t position) const {
    if (position > end_ || (end_ - position) % 8 != 0) return false;
    const auto step = static_cast<uint64_t>(end_ - position) / 8;
    return step < reaches_.size() && reaches_[step];
  }
  // The first such place that is not before `position`.
  uint32_t FirstFrom(uint32_t position) const {
    if (position >= end_) return end_;
    for (uint32_t step = (end_ - position) / 8; step > 0; --step) {
      if (step < reaches_.size() && reaches_[step]) return end_ - 8 * step;
    }
    return end_;
  }

 private:
  uint32_t end_;
  std::vector<bool> reaches_;
};

// Cells that follow each other from the change's low end, as far as they do; `at` is where that
// ends.
std::vector<uint32_t> ChainFrom(const Shifts& shifts, const Change& change, uint32_t& at) {
  std::vector<uint32_t> cells;
  for (at = change.low; at < change.high;) {
    if (LoadU32(&shifts.bytes[at]) == kBinSignature) {
      // A header that belongs elsewhere was put in.
      if (LoadU32(&shifts.bytes[at + 4]) != at - change.distance_before && at != change.low) break;
      at += kBinHeaderSize;
      continue;
    }
    const uint32_t length = StepAt(shifts.bytes, at);
    if (length == 0 || length >= 0x1000000) break;
    cells.push_back(at);
    if (length > change.high - at) break;
    at += length;
  }
  return cells;
}

// By any record, as whatever it is named.
bool IsNamed(const Shifts& shifts, uint32_t offset) {
  for (const CellKind kind : {CellKind::kKey, CellKind::kList, CellKind::kValue,
                              CellKind::kSecurity, CellKind::kValueList, CellKind::kData}) {
    if (shifts.witnesses.named.Has(kind, offset)) return true;
  }
  return false;
}

// Just as many bytes are gone, or came, as cells had: the chain goes on as if nothing had happened.
// Then the offsets that lead to the cells tell how far they are.
uint32_t BreakByNames(const Shifts& shifts, const Change& change,
                      const std::vector<uint32_t>& cells) {
  int gain = 0;
  int best_gain = 0;
  uint32_t best = change.high;
  for (auto cell = cells.rbegin(); cell != cells.rend(); ++cell) {
    gain += IsNamed(shifts, *cell - change.distance_after);
    gain -= IsNamed(shifts, *cell - change.distance_before);
    if (gain <= best_gain) continue;
    best_gain = gain;
    best = *cell;
  }
  return best;
}

// The place from which the cells are at the distance after the change, and in `hit` the cell in
// which it happened, if that is known.
//
// The chain of cells breaks after the cell in which the change happened: it is longer or shorter
// than its size says by just as much, and from there the chain reaches the end. Where the cell's
// own size is lost it is the next place from which the chain reaches.
uint32_t FindBreak(const Shifts& shifts, const Change& change, uint32_t& hit) {
  constexpr size_t kLastCells = 8;  // the chain may have gone on a little through what was moved
  uint32_t broken = 0;
  const std::vector<uint32_t> cells = ChainFrom(shifts, change, broken);
  hit = kNoOffset;
  if (broken == change.high) return BreakByNames(shifts, change, cells);
  const Reach reach(shifts.bytes, change.low, change.high);
  const int64_t put_in = change.Moved();
  if (put_in > 0 && reach.From(broken + put_in)) {
    return broken + static_cast<uint32_t>(put_in);
  }
  const size_t tried = std::min(cells.size(), kLastCells);
  for (auto cell = cells.rbegin(); cell != cells.rbegin() + static_cast<ptrdiff_t>(tried); ++cell) {
    const int64_t next = int64_t{*cell} + StepAt(shifts.bytes, *cell) + put_in;
    if (next <= *cell || !reach.From(next)) continue;
    hit = *cell;
    return static_cast<uint32_t>(next);
  }
  const uint32_t last = cells.empty() ? change.low : cells.back();
  return reach.FirstFrom(last + 8);
}

// Where bytes were put in they are between the two ends; where some are lost both ends are one
// place.
Break LocateChange(const Shifts& shifts, const Change& change) {
  const int64_t moved = change.Moved();
  const auto size = static_cast<int64_t>(shifts.bytes.size());
  uint32_t hit = 0;
  const uint32_t begin = FindBreak(shifts, change, hit);
  const int64_t end = std::max<int64_t>(int64_t{begin} - std::max<int64_t>(moved, 0), change.low);
  Break found{static_cast<uint32_t>(end), 0};
  if (hit != kNoOffset && moved % 4096 == 0) {
    // Whole pages come and go at the start of one.
    const uint32_t page = hit + 4096 - (hit - change.distance_before) % 4096;
    if (page <= end) found.end = page;
  }
  const int64_t goes_on = found.end + std::max<int64_t>(moved, 0);
  const bool snapped = found.end != end;
  found.begin =
      static_cast<uint32_t>(std::min(snapped ? goes_on : std::max<int64_t>(begin, goes_on), size));
  return found;
}

// Asked of every record of a region: what was worked out so far is thrown away after a stop.
bool IsStopped(size_t record) {
  constexpr size_t kPollEach = 8192;
  return record % kPollEach == 0 && StopRequested();
}

// True when an offset's own record is where it should at the region's distance.
bool IsThere(const Shifts& shifts, CellKind kind, uint32_t position) {
  return position < shifts.bytes.size() && RecordAt(shifts.bytes, position) == kind;
}

// Distances at which records that don't fit at the region's would: those that several agree on.
std::vector<uint32_t> VoteDistances(const Shifts& shifts, const Region& region,
                                    std::span<const Witness> records) {
  // Best first: each one more costs a look at all records of the region.
  constexpr size_t kMostDistances = 4;
  std::vector<Witness> misfits;
  for (const Witness& record : records) {
    if (IsStopped(static_cast<size_t>(&record - records.data()))) return {};
    const bool fits = shifts.FitsAt(record, region.distance_before) ||
                      shifts.FitsAt(record, region.distance_after);
    if (!fits) misfits.push_back(record);
  }
  if (misfits.size() < kFewMisfits) return {};
  std::unordered_map<uint32_t, uint32_t> votes;
  const size_t step = (misfits.size() + kMostAsked - 1) / kMostAsked;
  for (size_t i = 0; i < misfits.size(); i += step) {
    const Witness& record = misfits[i];
    const uint32_t around = (record.position - region.distance_before) & ~7U;
    for (uint32_t offset = around - kWindow; offset != around + kWindow; offset += 8) {
      if (!shifts.witnesses.named.Has(record.kind, offset)) continue;
      // What is named there may be there.
      if (IsThere(shifts, record.kind, offset + region.distance_before)) continue;
      if (IsThere(shifts, record.kind, offset + region.distance_after)) continue;
      ++votes[record.position - offset];
    }
  }
  std::vector<std::pair<uint32_t, uint32_t>> ranked;
  // As many bytes put in as lost, whole cells of them: that is another page rather.
  const bool returns = !region.open && region.distance_before == region.distance_after;
  for (const auto& [distance, count] : votes) {
    const bool cells = (distance - region.distance_before) % 8 == 0;
    if (count >= kFewMisfits && !(returns && cells)) ranked.emplace_back(count, distance);
  }
  std::ranges::sort(ranked, std::greater());
  std::vector<uint32_t> distances;
  for (const auto& [count, distance] : ranked) {
    if (distances.size() < kMostDistances) distances.push_back(distance);
  }
  return distances;
}

// A distance at which records of a region may be.
struct Candidate {
  uint32_t distance = 0;
  bool local = false;  // no header says so: what it explains must not be explained by another
};

// For each record of the region the candidate at whose distance it is: the fewest changes that
// explain most.
std::vector<uint8_t> Assign(const Shifts& shifts, const Region& region,
                            std::span<const Witness> records,
                            const std::vector<Candidate>& candidates) {
  const size_t count = candidates.size();
  std::vector<int> score(count, -1000000);
  std::vector<uint8_t> back(records.size() * count);
  score[0] = 0;
  for (size_t i = 0; i < records.size() && !IsStopped(i); ++i) {
    const auto best = static_cast<size_t>(std::ranges::max_element(score) - score.begin());
    const int before = score[best];
    for (size_t c = 0; c < count; ++c) {
      const int begun = before - (candidates[c].local ? kLocalChange : kKnownChange);
      const bool goes_on = score[c] >= begun;
      back[i * count + c] = static_cast<uint8_t>(goes_on ? c : best);
      if (!goes_on) score[c] = begun;
    }
    for (size_t c = 0; c < count; ++c) {
      const uint32_t distance = candidates[c].distance;
      const uint32_t usual = records[i].position - distance + region.distance_before;
      const bool explained = candidates[c].local && usual != records[i].position &&
                             IsThere(shifts, records[i].kind, usual);
      if (!explained && shifts.FitsAt(records[i], distance)) score[c] += kFit;
    }
  }
  if (!region.open) {
    // The end is known; reaching it from another distance is one more change.
    for (size_t c = 0; c < count; ++c) {
      if (candidates[c].distance != region.distance_after) score[c] -= kLocalChange;
    }
  }
  auto at = static_cast<size_t>(std::ranges::max_element(score) - score.begin());
  std::vector<uint8_t> chosen(records.size());
  for (size_t i = records.size(); i-- > 0;) {
    chosen[i] = static_cast<uint8_t>(at);
    at = back[i * count + at];
  }
  return chosen;
}

// Whole pages come and go at the start of one: the break where most records then are where others
// name them. False when a break elsewhere explains more.
bool BreakAtPage(const Shifts& shifts, const Region& region, std::span<const Witness> records,
                 Break& found) {
  const int64_t moved = Signed(region.distance_after - region.distance_before);
  if (region.open || moved == 0 || moved % 4096 != 0) return false;
  const auto put_in = static_cast<uint32_t>(std::max<int64_t>(moved, 0));
  if (region.end - region.begin < put_in) return false;
  const size_t count = records.size();
  std::vector<uint32_t> before(count + 1);  // records up to here that fit at the distance before
  std::vector<uint32_t> after(count + 1);   // from here on, at the one after
  std::vector<uint32_t> either(count + 1);  // up to here, at one of them
  for (size_t i = 0; i < count; ++i) {
    if (IsStopped(i)) return false;
    const bool fits = shifts.FitsAt(records[i], region.distance_before);
    before[i + 1] = before[i] + fits;
    either[i + 1] = either[i] + (fits || shifts.FitsAt(records[i], region.distance_after));
  }
  for (size_t i = count; i-- > 0;) {
    if (IsStopped(i)) return false;
    after[i] = after[i + 1] + shifts.FitsAt(records[i], region.distance_after);
  }
  const auto index = [&](uint32_t position) {
    return static_cast<size_t>(std::ranges::lower_bound(records, position, {}, &Witness::position) -
                               records.begin());
  };
  // Of records in what was put in, those that no other record stands for.
  const auto lost_between = [&](size_t low, size_t high) {
    int64_t lost = 0;
    for (size_t i = low; i < high && !IsStopped(i); ++i) {
      const Witness& record = records[i];
      if (shifts.FitsAt(record, region.distance_before)) {
        lost += !IsThere(shifts, record.kind, record.position + put_in);
      } else if (shifts.FitsAt(record, region.distance_after)) {
        lost += !IsThere(shifts, record.kind, record.position - put_in);
      }
    }
    return lost;
  };
  int64_t least_missed = INT64_MAX;
  uint32_t page = region.begin + 4096 - (region.begin - region.distance_before) % 4096;
  for (; page <= region.end - put_in; page += 4096) {
    const size_t low = index(page);
    const size_t high = index(page + put_in);
    const int64_t missed = int64_t{either[low]} - before[low] +
                           (int64_t{either[count]} - either[high]) - after[high] +
                           lost_between(low, high);
    if (missed > least_missed) continue;
    least_missed = missed;
    found = {page, page + put_in};
  }
  return least_missed <= static_cast<int64_t>(count / 32);
}

// True when the file's length tells of the region's end: not where blocks of another hive come
// after its own. Those are on the pages as they always were, so nothing changed before them, and
// where their last one was cut off is no matter of this hive.
bool IsLengthTelling(const Shifts& shifts, const Region& region) {
  return std::ranges::none_of(shifts.headers, [&](const BinHeader& bin) {
    return bin.position > region.begin && bin.Distance() != region.distance_before &&
           (bin.position - region.distance_before) % 4096 == 0;
  });
}

// How many bytes a file of whole pages has too much, and too few, less the changes known so far.
std::array<uint32_t, 2> TailDistances(const Shifts& shifts, const Region& region) {
  const auto size = static_cast<uint32_t>(shifts.bytes.size());
  const uint32_t more = (size - region.distance_before) % 4096;
  return {region.distance_before + more, region.distance_before + more - 4096};
}

// Stretches are added in ascending order; one that goes on at the same distance becomes part of the
// last.
void AddKept(std::vector<KeptStretch>& kept, uint32_t begin, uint32_t end, uint32_t distance) {
  if (begin >= end) return;
  if (!kept.empty() && kept.back().end == begin && kept.back().distance == distance) {
    kept.back().end = end;
  } else {
    kept.push_back({begin, end, distance});
  }
}

// A distance that only cells propose is believed for a stretch in which nearly all of them are at
// it, and before which the chain of cells breaks: what was deleted often lies as if it had
// been moved.
void DropDoubtful(const Shifts& shifts, const Region& region, std::span<const Witness> records,
                  const std::vector<Candidate>& candidates, std::vector<uint8_t>& chosen) {
  // Records that must be at a distance that only cells propose.
  constexpr uint32_t kFewest = 3;
  uint32_t low = region.begin;
  for (size_t i = 0; i < chosen.size();) {
    const size_t begin = i;
    const uint8_t number = chosen[i];
    const uint8_t before = begin == 0 ? uint8_t{0} : chosen[begin - 1];
    const Candidate& candidate = candidates[number];
    uint32_t fit = 0;
    uint32_t last = low;
    for (; i < chosen.size() && chosen[i] == number; ++i) {
      if (!shifts.FitsAt(records[i], candidate.distance)) continue;
      const uint32_t usual = records[i].position - candidate.distance + region.distance_before;
      fit += usual == records[i].position || !IsThere(shifts, records[i].kind, usual);
      last = records[i].position;
    }
    if (candidate.local) {
      uint32_t broken = 0;
      const Change change{low, records[begin].position, candidates[before].distance,
                          candidate.distance};
      ChainFrom(shifts, change, broken);
      // Before a page's first cell it breaks where another page belongs there.
      const bool page = (broken - candidates[before].distance) / 4096 !=
                        (change.high - candidates[before].distance) / 4096;
      const bool odd = change.Moved() % 8 != 0;
      const bool believed =
          broken != change.high && (odd || !page) && fit >= kFewest && fit * 4 >= (i - begin) * 3;
      if (!believed) {
        std::fill(chosen.begin() + static_cast<ptrdiff_t>(begin),
                  chosen.begin() + static_cast<ptrdiff_t>(i), before);
        continue;
      }
    }
    low = last;
  }
}

// A change by whole pages is at a page's start, if that explains nearly all records. Else each
// record is given a distance, among those of the two pins and those that records vote for, and
// where two that follow each other differ the cells tell the place of the change.
void KeepRegion(const Shifts& shifts, const Region& region, std::vector<KeptStretch>& kept) {
  const std::span<const Witness> records = shifts.RecordsIn(region.begin, region.end);
  Break whole;
  if (BreakAtPage(shifts, region, records, whole)) {
    AddKept(kept, region.begin, whole.end, region.distance_before);
    AddKept(kept, whole.begin, region.end, region.distance_after);
    return;
  }
  std::vector<Candidate> candidates = {{region.distance_before, false}};
  const auto propose = [&](uint32_t distance, bool local) {
    const bool known =
        std::ranges::any_of(candidates, [&](const Candidate& c) { return c.distance == distance; });
    if (!known) candidates.push_back({distance, local});
  };
  propose(region.distance_after, false);
  if (region.open && IsLengthTelling(shifts, region)) {
    for (const uint32_t distance : TailDistances(shifts, region)) propose(distance, false);
  }
  for (const uint32_t distance : VoteDistances(shifts, region, records)) propose(distance, true);
  std::vector<uint8_t> chosen;
  if (candidates.size() > 1) {
    chosen = Assign(shifts, region, records, candidates);
    DropDoubtful(shifts, region, records, candidates, chosen);
  }
  uint32_t begin = region.begin;
  uint32_t low = region.begin;
  uint32_t distance = region.distance_before;
  const auto change_to = [&](uint32_t high, uint32_t after) {
    const Break found = LocateChange(shifts, {low, high, distance, after});
    AddKept(kept, begin, found.end, distance);
    begin = std::max(found.begin, begin);
    distance = after;
  };
  for (size_t i = 0; i < chosen.size(); ++i) {
    const uint32_t here = candidates[chosen[i]].distance;
    if (!shifts.FitsAt(records[i], here)) continue;
    if (here != distance) change_to(records[i].position, here);
    low = records[i].position;
  }
  if (!region.open && distance != region.distance_after) {
    change_to(region.end, region.distance_after);
  }
  AddKept(kept, begin, region.end, distance);
}

// The distances at which value lists are read: that at the start, and those of most headers.
std::vector<uint32_t> LikelyDistances(std::span<const BinHeader> headers, uint32_t first,
                                      uint32_t length) {
  // With the first one; for each of them all value lists are read.
  constexpr size_t kMost = 6;
  std::unordered_map<uint32_t, uint32_t> votes;
  for (const BinHeader& bin : headers) ++votes[bin.Distance()];
  // Where no header comes after a change the file's length may tell of it.
  ++votes[first + length % 4096];
  ++votes[first + length % 4096 - 4096];
  votes.erase(first);
  std::vector<std::pair<uint32_t, uint32_t>> ranked;
  ranked.reserve(votes.size());
  for (const auto& [distance, count] : votes) ranked.emplace_back(count, distance);
  std::ranges::sort(ranked, std::greater());
  std::vector<uint32_t> distances = {first};
  for (size_t i = 0; i < std::min(ranked.size(), kMost); ++i) {
    distances.push_back(ranked[i].second);
  }
  return distances;
}

}  // namespace

uint32_t EndByBaseBlock(Bytes bytes) {
  if (bytes.size() < kBaseChecksum + 4) return UINT32_MAX;
  const BaseBlock block = ReadBaseBlock(bytes);
  const bool sound =
      BaseBlockSum(bytes) == block.checksum && block.length != 0 && block.length % 4096 == 0;
  return sound ? block.length : UINT32_MAX;
}

// Pins first, by headers and records; then each region between two pins by itself. The last region
// is open, as nothing after it says at which distance it ends.
std::vector<KeptStretch> FindShifts(Bytes bytes, uint32_t first, bool anchored) {
  Shifts shifts{bytes, first, anchored, FindBinHeaders(bytes), {}, {}, UINT32_MAX, {}};
  for (size_t header = 0; header < shifts.headers.size(); ++header) {
    shifts.taken.push_back(TakenBy(shifts, header));
  }
  if (StopRequested()) return {};
  if (anchored) shifts.own_end = EndByBaseBlock(bytes);
  const auto length = static_cast<uint32_t>(bytes.size());
  shifts.witnesses = FindWitnesses(bytes, LikelyDistances(shifts.headers, first, length));
  const std::vector<Pin> pins = FindOwnPins(shifts);
  std::vector<KeptStretch> kept;
  if (!anchored && !pins.empty()) first = pins.front().distance;
  Region region{0, 0, first, first, false};
  for (const Pin& pin : pins) {
    if (StopRequested()) return {};
    region.end = pin.position;
    region.distance_after = pin.distance;
    if (region.begin < region.end) KeepRegion(shifts, region, kept);
    region.begin = pin.position;
    region.distance_before = pin.distance;
  }
  region.end = static_cast<uint32_t>(bytes.size());
  region.distance_after = region.distance_before;
  region.open = true;
  if (region.begin < region.end) KeepRegion(shifts, region, kept);
  return kept;
}

}  // namespace hivequarry
