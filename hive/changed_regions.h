// The second half of the search for bytes put in or lost: where between two headers they were.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/byte_shifts.h"
#include "hive/shift_evidence.h"

namespace hivequarry {

// The part of the image between two pins.
struct Region {
  uint32_t begin = 0;
  uint32_t end = 0;
  uint32_t distance_before = 0;
  uint32_t distance_after = 0;
  bool open = false;  // nothing says how the end is
};

// A change by whole pages is at a page's start, if that explains nearly all records. Else each
// record is given a distance, among those of the two pins and those that records vote for, and
// where two that follow each other differ the cells tell the place of the change.
// What is kept of the region is added at the end of `kept`. n log n in the region's records.
void KeepRegion(const Shifts& shifts, const Region& region, std::vector<KeptStretch>& kept);

}  // namespace hivequarry
