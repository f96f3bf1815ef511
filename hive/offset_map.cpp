#include "hive/offset_map.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>

#include "hive/cells.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

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

// Where the cells begin that stand at the distance of what comes at `end`, in the bin at `bin`,
// when `moved` bytes were put in (or, negative, lost) somewhere between.
//
// The chain of cells breaks behind the cell in which that happened: it is longer or shorter than
// its size says by just as much, and from there the chain reaches `end`. Where the cell's own size
// is lost it is the next place from which the chain reaches.
uint32_t FindBreak(const HiveImage& hive, uint32_t bin, uint32_t end, int64_t moved) {
  constexpr size_t kLastCells = 4;  // the chain may have gone on a little through what was moved
  std::array<uint32_t, kLastCells> last{};
  last.fill(bin + kBinHeaderSize);
  for (uint32_t at = bin + kBinHeaderSize; at < end;) {
    const uint32_t length = CellLength(ReadU32(hive, at));
    if (length == 0 || length % 8 != 0 || length > end - at) break;
    std::rotate(last.begin(), last.end() - 1, last.end());
    last[0] = at;
    at += length;
  }
  for (const uint32_t cell : last) {
    const int64_t next = int64_t{cell} + CellLength(ReadU32(hive, cell)) + moved;
    if (next <= cell || next % 4 != 0 || next > end) continue;
    if (ChainReaches(hive, static_cast<uint32_t>(next), end)) return static_cast<uint32_t>(next);
  }
  return FirstThatReaches(hive, last[0] + 8, end);
}

class RunBuilder {
 public:
  RunBuilder(HiveImage& hive, uint32_t nominal) : hive_(hive), delta_(nominal) {
    hive_.offset_runs.push_back({0, hive.length, nominal, false});
  }

  void Add(const Bin& bin) {
    OffsetRun& open = hive_.offset_runs.back();
    const bool foreign = !IsOwn(bin);
    const int64_t moved = Change(bin);
    if (!foreign) {
      delta_ = bin.Delta();
      own_end_ = bin.own_offset + bin.size;
    }
    if (open.delta != bin.Delta() || open.foreign != foreign) {
      const bool shift = !foreign && !open.foreign && any_;
      const uint32_t start =
          shift ? FindBreak(hive_, last_bin_, bin.position, moved) : bin.position;
      open.end = start;
      hive_.offset_runs.push_back({start, hive_.length, bin.Delta(), foreign});
    }
    any_ = true;
    last_bin_ = bin.position;
  }

 private:
  bool IsOwn(const Bin& bin) const {
    if (any_ && bin.own_offset < own_end_) return false;
    return std::abs(Change(bin)) < int64_t{kLargestShift};
  }
  // How far a bin stands from where the own bins before it put it.
  int64_t Change(const Bin& bin) const { return static_cast<int32_t>(bin.Delta() - delta_); }

  HiveImage& hive_;
  uint32_t delta_;         // of the own bins before
  uint32_t own_end_ = 0;   // offset behind them
  uint32_t last_bin_ = 0;  // position
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
  const uint32_t start = FindBreak(hive, last.position, hive.length, change);
  if (start >= hive.length) return;
  open.end = start;
  const uint32_t delta = open.delta + static_cast<uint32_t>(change);
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
  if (!hive.loaded) return true;
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

bool IsForeign(const HiveImage& hive, uint32_t position) {
  return !hive.offset_runs.empty() && RunAt(hive, position).foreign;
}

}  // namespace hivequarry
