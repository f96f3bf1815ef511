// Where cell offsets lead in an image.
//
// Every bin header says at which offset it was. In a sound hive that is its position less 4096,
// and nothing here is needed. In a fragment the distance is another one, the same for all. Bytes
// that were lost, put in or moved are put back first (moved_bytes.h); what remains are stretches
// that are no part of the hive: bins of another one, and places whose bytes are lost.
//
// Rules:
// - A bin at the distance of the base block, or of most bins, is the hive's own.
// - Of others what is named in them decides: when the hive's own cells find there what they look
//   for, the header is wrong and nothing else. A header is one witness among many.
// - All others are foreign: their cells lead among themselves, and nothing else leads to them.
#pragma once

#include <cstdint>

#include "hive/image.h"

namespace hivequarry {

// A position that no image has: where an offset leads that leads nowhere.
inline constexpr uint32_t kNowhere = 0xFFFFFFF0;

// Sets data_base and data_base_proven of a loaded image from its bins; called while opening, when
// header_valid, data_start and the length are known. False when there are bins and none of them
// is where the base block, that the image is taken to have, would put it; and when there are no
// bins, and no root key where it would be.
// Linear in the image: looks for headers at every byte.
bool FindDataBase(HiveImage& hive);
// Sets the runs of an image whose data_base is known.
// Leaves offset_runs empty where all is in place, so that readers pay nothing for it.
void MapOffsets(HiveImage& hive);

// The offset by which the hive's own cells name a position.
inline uint32_t OffsetOfPosition(const HiveImage& hive, uint32_t position) {
  return position - hive.data_base;
}
// Adds the runs of a layer whose bytes are from `start` to `end` in an image of several: cells of
// one that is not the `top` lead among themselves.
void AddLayerRuns(const HiveImage& layer, uint32_t start, uint32_t end, bool top,
                  std::vector<OffsetRun>& runs);
// True for a position that is no part of the hive.
// Logarithmic in the runs; false where there are none.
bool IsForeign(const HiveImage& hive, uint32_t position);

}  // namespace hivequarry
