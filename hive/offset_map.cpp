#include "hive/offset_map.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "hive/cells.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

constexpr uint32_t kMostSearches = 8;  // for references all over the image

struct Bin {
  uint32_t position = 0;
  uint32_t own_offset = 0;
  uint32_t size = 0;

  uint32_t Delta() const { return position - own_offset; }
};

bool ReadBin(const HiveImage& hive, uint32_t position, Bin& bin) {
  if (!InsideHive(hive, position, kBinHeaderSize)) return false;
  if (ReadU32(hive, position) != kBinSignature) return false;
  bin.position = position;
  bin.own_offset = ReadU32(hive, position + 4);
  bin.size = ReadU32(hive, position + 8);
  return bin.own_offset % 4096 == 0 && bin.size % 4096 == 0 && bin.size != 0 &&
         bin.size < 0x80000000;
}

// From bin to bin; where the next one is not where it should be, the image is searched for it.
std::vector<Bin> WalkBins(const HiveImage& hive) {
  std::vector<Bin> bins;
  uint64_t p = hive.data_start;
  for (uint32_t steps = 0; p + kBinHeaderSize <= hive.length; ++steps) {
    if (steps % 4096 == 0 && StopRequested()) break;
    Bin bin;
    if (!ReadBin(hive, static_cast<uint32_t>(p), bin)) {
      p += 8;
      continue;
    }
    bins.push_back(bin);
    const uint64_t next = p + bin.size;
    Bin follower;
    const bool hop = next >= hive.length || ReadBin(hive, static_cast<uint32_t>(next), follower);
    p = hop ? next : p + kBinHeaderSize;
  }
  return bins;
}

// The distance at which most bins stand; that of a base block where one was recognised and any bin
// agrees.
uint32_t NominalDelta(const HiveImage& hive, const std::vector<Bin>& bins) {
  std::map<uint32_t, uint32_t> votes;
  for (const Bin& bin : bins) ++votes[bin.Delta()];
  if (hive.header_valid && votes.contains(hive.data_start)) return hive.data_start;
  uint32_t best = bins.front().Delta();
  for (const auto& [delta, count] : votes) {
    if (count > votes[best]) best = delta;
  }
  return best;
}

// True when cells follow each other from `position` exactly to `end`.
bool ChainReaches(const HiveImage& hive, uint32_t position, uint32_t end) {
  while (position < end) {
    const uint32_t size = ReadU32(hive, position);
    const uint32_t length = CellLength(size);
    if (length == 0 || length % 8 != 0 || length > end - position) return false;
    position += length;
  }
  return position == end;
}

// The first place from `begin`, in steps of 8, from which cells follow each other to `end`; `end`
// if there is none. From the back, each place looked at once.
uint32_t FirstThatReaches(const HiveImage& hive, uint32_t begin, uint32_t end) {
  if (begin >= end || (end - begin) % 8 != 0) return end;
  const uint32_t steps = (end - begin) / 8;
  std::vector<bool> reaches(steps + 1);  // by distance from the end, in steps
  reaches[0] = true;
  uint32_t first = end;
  for (uint32_t step = 1; step <= steps; ++step) {
    const uint32_t at = end - 8 * step;
    const uint32_t length = CellLength(ReadU32(hive, at));
    if (length == 0 || length % 8 != 0 || length / 8 > step) continue;
    reaches[step] = reaches[step - length / 8];
    if (reaches[step]) first = at;
  }
  return first;
}

// A change of distance to be placed: between `begin`, a bin's first cell, and `end`, where the next
// bin or the end of the image stands.
struct Change {
  uint32_t begin = 0;
  uint32_t end = 0;
  uint32_t delta_before = 0;
  uint32_t delta_after = 0;

  // Bytes put in, or, negative, lost.
  int64_t Moved() const { return static_cast<int32_t>(delta_after - delta_before); }
};

// Cells that follow each other from the change's begin, as far as they do; `at` is where that ends.
std::vector<uint32_t> CellsOf(const HiveImage& hive, const Change& change, uint32_t& at) {
  std::vector<uint32_t> cells;
  for (at = change.begin; at < change.end;) {
    const uint32_t length = CellLength(ReadU32(hive, at));
    if (length == 0 || length % 8 != 0 || length > change.end - at) break;
    cells.push_back(at);
    at += length;
  }
  return cells;
}

// How often each offset in [first, last) is written anywhere in the image, by 8-byte steps. Nearly
// all words in so narrow a range are references.
std::vector<uint32_t> CountReferences(const HiveImage& hive, uint32_t first, uint32_t last) {
  std::vector<uint32_t> counts((last - first) / 8 + 1);
  for (uint32_t p = 0; InsideHive(hive, p, 4); p += 4) {
    const uint32_t word = ReadU32(hive, p);
    if (word >= first && word < last && word % 8 == 0) ++counts[(word - first) / 8];
  }
  return counts;
}

// When just as many bytes are lost as a cell had, the chain goes on as if nothing had happened.
// Then the offsets that lead to the cells tell how far they stand: the change lies where most of
// them fit, those in front at the distance before and those behind at the distance after.
uint32_t BreakByReferences(const HiveImage& hive, const Change& change,
                           const std::vector<uint32_t>& cells) {
  const uint32_t slack = static_cast<uint32_t>(std::abs(change.Moved())) + 8;
  const uint32_t first = (change.begin - change.delta_before - slack) / 8 * 8;
  const std::vector<uint32_t> counts =
      CountReferences(hive, first, change.end - change.delta_before + slack);
  const auto count_of = [&](uint32_t offset) -> int64_t {
    const uint32_t step = (offset - first) / 8;
    return offset % 8 == 0 && step < counts.size() ? counts[step] : 0;
  };
  // What a change in front of a cell has over one behind it, summed up from the last cell on.
  int64_t gain = 0;
  int64_t best_gain = 0;
  uint32_t best = change.end;
  for (auto cell = cells.rbegin(); cell != cells.rend(); ++cell) {
    gain += count_of(*cell - change.delta_after) - count_of(*cell - change.delta_before);
    if (gain <= best_gain) continue;
    best_gain = gain;
    best = *cell;
  }
  return best;
}

// Where the cells begin that stand at the distance after the change.
//
// The chain of cells breaks behind the cell in which the change happened: it is longer or shorter
// than its size says by just as much, and from there the chain reaches the end. Where the cell's
// own size is lost it is the next place from which the chain reaches. Where the chain does not
// break at all references decide; each such search reads the image, so `searches` bounds them.
uint32_t FindBreak(const HiveImage& hive, const Change& change, uint32_t& searches) {
  constexpr size_t kLastCells = 4;  // the chain may have gone on a little through what was moved
  uint32_t broken = 0;
  const std::vector<uint32_t> cells = CellsOf(hive, change, broken);
  if (broken == change.end && searches > 0) {
    --searches;
    return BreakByReferences(hive, change, cells);
  }
  const size_t tried = std::min(cells.size(), kLastCells);
  for (auto cell = cells.rbegin(); cell != cells.rbegin() + static_cast<ptrdiff_t>(tried); ++cell) {
    const int64_t next = int64_t{*cell} + CellLength(ReadU32(hive, *cell)) + change.Moved();
    if (next <= *cell || next % 4 != 0 || next > change.end) continue;
    const auto place = static_cast<uint32_t>(next);
    if (ChainReaches(hive, place, change.end)) return place;
  }
  const uint32_t last = cells.empty() ? change.begin : cells.back();
  return FirstThatReaches(hive, last + 8, change.end);
}

class RunBuilder {
 public:
  RunBuilder(HiveImage& hive, uint32_t nominal) : hive_(hive), delta_(nominal) {
    hive_.offset_runs.push_back({0, hive.length, nominal, false});
  }

  void Add(const Bin& bin) {
    OffsetRun& open = hive_.offset_runs.back();
    const bool foreign = !IsOwn(bin);
    if (!foreign) {
      delta_ = bin.Delta();
      own_end_ = bin.own_offset + bin.size;
    }
    if (open.delta != bin.Delta() || open.foreign != foreign) {
      const bool shift = !foreign && !open.foreign && any_;
      const Change change{last_bin_ + kBinHeaderSize, bin.position, open.delta, bin.Delta()};
      const uint32_t start = shift ? FindBreak(hive_, change, searches_) : bin.position;
      open.end = start;
      hive_.offset_runs.push_back({start, hive_.length, bin.Delta(), foreign});
    }
    any_ = true;
    last_bin_ = bin.position;
  }

 private:
  bool IsOwn(const Bin& bin) const {
    if (any_ && bin.own_offset < own_end_) return false;
    // How far the bin stands from where the own bins before it put it.
    const int64_t moved = static_cast<int32_t>(bin.Delta() - delta_);
    return std::abs(moved) < int64_t{kLargestShift};
  }

  HiveImage& hive_;
  uint32_t delta_;         // of the own bins before
  uint32_t own_end_ = 0;   // offset behind them
  uint32_t last_bin_ = 0;  // position
  uint32_t searches_ = kMostSearches;
  bool any_ = false;
};

// The last bin has no follower, but the end of the image tells whether it was moved.
void AddTail(HiveImage& hive, const Bin& last) {
  OffsetRun& open = hive.offset_runs.back();
  const uint64_t end = uint64_t{last.position} + last.size;
  const auto change = static_cast<int64_t>(hive.length) - static_cast<int64_t>(end);
  const bool small = change != 0 && change % 8 == 0 && std::abs(change) < 4096;
  if (!small || open.foreign) return;
  if (ChainReaches(hive, last.position + kBinHeaderSize, static_cast<uint32_t>(end))) return;
  const uint32_t delta = open.delta + static_cast<uint32_t>(change);
  uint32_t searches = 0;
  const uint32_t start =
      FindBreak(hive, {last.position + kBinHeaderSize, hive.length, open.delta, delta}, searches);
  if (start >= hive.length) return;
  open.end = start;
  hive.offset_runs.push_back({start, hive.length, delta, false});
}

const OffsetRun& RunAt(const HiveImage& hive, uint32_t position) {
  const auto behind =
      std::upper_bound(hive.offset_runs.begin(), hive.offset_runs.end(), position,
                       [](uint32_t wanted, const OffsetRun& run) { return wanted < run.position; });
  return behind == hive.offset_runs.begin() ? *behind : *std::prev(behind);
}

// What is left of a root key: its flags and some of its signature, or the start of a name that the
// system gives to roots. The size alone is that of many cells.
bool HasRootRemains(const HiveImage& hive, uint32_t position) {
  const bool n = ReadU8(hive, position + 4) == 'n';
  const bool k = ReadU8(hive, position + 5) == 'k';
  const uint8_t flags = ReadU8(hive, position + 6);
  if (flags == 0x2C ? n || k : n && k && flags != 0x20 && flags != 0) return true;
  const uint32_t name = ReadU32(hive, position + 80);
  return name == 0x50242424 || name == 0x2D494D43;  // "$$$P", "CMI-"
}

bool Holds(const OffsetRun& run, uint32_t position) {
  return position >= run.position && position < run.end;
}

}  // namespace

bool MapOffsets(HiveImage& hive) {
  hive.offset_runs.clear();
  hive.own_runs.clear();
  const std::vector<Bin> bins = WalkBins(hive);
  if (bins.empty()) return HasRootRemains(hive, kFirstCellPosition);
  const uint32_t nominal = NominalDelta(hive, bins);
  const bool agrees = !hive.header_valid || nominal == hive.data_start;
  hive.data_base = nominal;
  hive.data_base_proven = true;
  RunBuilder runs(hive, nominal);
  for (const Bin& bin : bins) runs.Add(bin);
  AddTail(hive, bins.back());
  if (hive.offset_runs.size() == 1) {
    hive.offset_runs.clear();
    return agrees;
  }
  for (const OffsetRun& run : hive.offset_runs) {
    if (!run.foreign) hive.own_runs.push_back(run);
  }
  return agrees;
}

uint32_t ResolveOffset(const HiveImage& hive, uint32_t offset, uint32_t field) {
  const OffsetRun& from = RunAt(hive, field);
  if (from.foreign) {
    const uint32_t position = offset + from.delta;
    const OffsetRun& to = RunAt(hive, position);
    return to.foreign && to.delta == from.delta && position < hive.length ? position : kNowhere;
  }
  // Own runs ascend in offset as they do in position.
  const auto behind = std::upper_bound(
      hive.own_runs.begin(), hive.own_runs.end(), offset,
      [](uint32_t wanted, const OffsetRun& run) { return wanted < run.position - run.delta; });
  if (behind != hive.own_runs.begin()) {
    const OffsetRun& run = *std::prev(behind);
    if (Holds(run, offset + run.delta)) return offset + run.delta;
  }
  // In no bin that is left: where it would stand, unless something else stands there.
  const uint32_t nominal = offset + hive.data_base;
  const OffsetRun& there = RunAt(hive, nominal);
  return there.foreign || there.delta != hive.data_base ? kNowhere : nominal;
}

int32_t ShiftAt(const HiveImage& hive, uint32_t position) {
  if (hive.offset_runs.empty()) return 0;
  const OffsetRun& run = RunAt(hive, position);
  return run.foreign ? 0 : static_cast<int32_t>(run.delta - hive.data_base);
}

uint32_t OffsetOfPosition(const HiveImage& hive, uint32_t position) {
  return position - hive.data_base - static_cast<uint32_t>(ShiftAt(hive, position));
}

bool IsForeign(const HiveImage& hive, uint32_t position) {
  return !hive.offset_runs.empty() && RunAt(hive, position).foreign;
}

}  // namespace hivequarry
