// What the search for bytes put in or lost works on (byte_shifts.h), shared by its two halves.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <unordered_set>
#include <vector>

#include "hive/witnesses.h"
#include "records/bin_header.h"

namespace hivequarry {

// Weights of the search. Evidence adds up along a path of distances from header to header, and from
// record to record between them. Each change of distance costs (each half has its own costs), so
// that one odd header among many changes nothing, while records that fit a new distance outweigh
// one.
inline constexpr int kFit = 2;  // what a record that fits counts

// Distances count modulo 2^32: the difference of two near ones is small or, as a signed number,
// negative.
inline int64_t SignedDistance(uint32_t difference) { return static_cast<int32_t>(difference); }

// The bytes under analysis, and what speaks for one distance or another.
struct Shifts {
  std::span<const uint8_t> bytes;
  uint32_t first;  // distance at the start
  bool anchored;   // that is known: there is a base block
  std::vector<BinHeader> headers;
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

// A header whose stretch fits at the distance that was found for it.
struct Pin {
  uint32_t position = 0;
  uint32_t distance = 0;
};

}  // namespace hivequarry
