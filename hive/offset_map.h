// Where cell offsets lead in an image whose bins are not all in their places.
//
// Every bin header says at which offset it stood. In a sound hive that is its position less 4096,
// and nothing here is needed. Where bytes were lost or put in, the bins behind stand off by as
// much; in a fragment all of them do; and behind or between the hive's own bins there may be bins
// of another hive. This room reads the headers and makes one run per stretch with one distance.
//
// Rules:
// - Bins at the nominal distance are the hive's own.
// - Other bins are its own when their offsets go on behind the own bins before them and the
//   distance has changed by less than kLargestShift: then bytes were lost or put in.
// - All others are foreign: their cells lead among themselves, and nothing else leads to them.
// - A change of distance falls inside the last bin before it. The exact place is where the chain of
//   its cells breaks; the cells from the first one whose chain reaches the next bin stand at the
//   new distance.
#pragma once

#include <cstdint>

#include "hive/image.h"

namespace hivequarry {

inline constexpr uint32_t kLargestShift = 1024 * 1024;
// A position that no image has: where an offset leads that leads nowhere.
inline constexpr uint32_t kNowhere = 0xFFFFFFF0;

// Sets data_base, data_base_proven and the runs of a loaded image from its bins; called once while
// opening, when header_valid and the length are known. False when there are bins and none of them
// stands where the base block, that the image is taken to have, would put it; and when there are no
// bins, and no root key where it would stand.
bool MapOffsets(HiveImage& hive);

// What moves the cells behind `position`: the distance there less the nominal one. 0 for none.
int32_t ShiftAt(const HiveImage& hive, uint32_t position);
// The offset by which the hive's own cells name a position.
uint32_t OffsetOfPosition(const HiveImage& hive, uint32_t position);
// True for a position in bins of another hive.
bool IsForeign(const HiveImage& hive, uint32_t position);

}  // namespace hivequarry
