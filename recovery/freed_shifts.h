// Free pages that hold an earlier state of the hive, from before its cells were moved: the offsets
// in them are off by one number for each run of such pages.
//
// Rules:
// 1. A freed key whose list does not lead to values is tried with other distances: whole pages
//    first, then multiples of 8. It speaks for one by which its list of two values or more leads to
//    freed values only, or its parent field to another freed key whose marks do not rule it
//    out (high_marks.h). Keys that name one parent speak for it once.
// 2. A distance holds for a run of pages when at least three speak for it there, none of them more
//    for another, and they are no small part of the run's freed keys. Offsets that lead somewhere
//    as they are end a run.
// 3. A freed key near a run joins it when its list or parent leads to freed records with the run's
//    distance.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/freed_records.h"

namespace hivequarry {

// Freed keys from `begin` to `end` have offsets of an earlier state of the hive, whose records have
// moved since.
struct ShiftRun {
  uint32_t begin = 0;  // positions
  uint32_t end = 0;
  uint32_t shift = 0;  // what offsets are more, modulo 2^32; not 0
};

// Ascending, without overlaps. `led` says of each freed key whether its offsets lead somewhere as
// they are.
std::vector<ShiftRun> FindShiftRuns(const HiveImage& hive, const FreedRecords& records,
                                    const std::vector<bool>& led);
// The shift at a position; 0 outside all runs.
uint32_t ShiftOf(const std::vector<ShiftRun>& runs, uint32_t position);

}  // namespace hivequarry
