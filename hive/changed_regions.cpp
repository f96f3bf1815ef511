#include "hive/changed_regions.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "hive/image.h"
#include "host/long_operation.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint32_t kWindow = kPageSize - 8;  // how far cells look for where they are named
constexpr size_t kMostAsked = 16;            // cells of a stretch that look
constexpr int kLocalChange = 5;  // cost of a change inside a block, which only cells propose
constexpr int kKnownChange = 1;  // of one that headers, or the file's length, speak for
// Records that agree by chance are met one or two at a time: fewer than these propose no distance.
constexpr uint32_t kFewMisfits = 3;

// A change of distance between the record at `low` and what is at `high`.
struct Change {
  uint32_t low = 0;
  uint32_t high = 0;
  uint32_t distance_before = 0;
  uint32_t distance_after = 0;

  // Bytes put in, or, negative, lost.
  int64_t Moved() const { return SignedDistance(distance_after - distance_before); }
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
  if (hit != kNoOffset && moved % kPageSize == 0) {
    // Whole pages come and go at the start of one.
    const uint32_t page = hit + kPageSize - (hit - change.distance_before) % kPageSize;
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
  const int64_t moved = SignedDistance(region.distance_after - region.distance_before);
  if (region.open || moved == 0 || moved % kPageSize != 0) return false;
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
  uint32_t page = region.begin + kPageSize - (region.begin - region.distance_before) % kPageSize;
  for (; page <= region.end - put_in; page += kPageSize) {
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
           (bin.position - region.distance_before) % kPageSize == 0;
  });
}

// How many bytes a file of whole pages has too much, and too few, less the changes known so far.
std::array<uint32_t, 2> TailDistances(const Shifts& shifts, const Region& region) {
  const auto size = static_cast<uint32_t>(shifts.bytes.size());
  const uint32_t more = (size - region.distance_before) % kPageSize;
  return {region.distance_before + more, region.distance_before + more - kPageSize};
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
      const bool page = (broken - candidates[before].distance) / kPageSize !=
                        (change.high - candidates[before].distance) / kPageSize;
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

}  // namespace

void KeepRegion(const Shifts& shifts, const Region& region, std::vector<KeptStretch>& kept) {
  const std::span<const Witness> records = shifts.RecordsIn(region.begin, region.end);
  // Nothing is weighed where a break at the start of a page explains most.
  Break whole;
  if (BreakAtPage(shifts, region, records, whole)) {
    AddKept(kept, region.begin, whole.end, region.distance_before);
    AddKept(kept, whole.begin, region.end, region.distance_after);
    return;
  }
  // Else each record gets one of few distances: those of both sides, of a region at the end those
  // that the length of the hive tells, and those that many of the records vote for.
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
  // Where the distance of two neighbours differs, the change is somewhere between them; a record
  // that does not fit at the distance it was given says nothing about where.
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
  // What comes after a closed region has a proven distance, which has to begin at its end at
  // latest.
  if (!region.open && distance != region.distance_after) {
    change_to(region.end, region.distance_after);
  }
  AddKept(kept, begin, region.end, distance);
}

}  // namespace hivequarry
