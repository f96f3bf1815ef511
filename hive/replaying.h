// A hive's logs applied to its image: while opening, and afterwards to any state in between. The
// file and its logs are left as they are.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hive/hive_start.h"
#include "hive/image.h"
#include "replay/hive_logs.h"

namespace hivequarry {

// The last step of opening: reads the logs, applies them where a system would, and sets the places
// (placing.h) of what comes out. `whole` is true for an image that is all of a file; other images
// are never replayed. A hive whose bytes have moved in its file stays as it is, since pages go by
// place.
void ReplayAndPlace(HiveImage& hive, const LogChoice& choice, bool whole, HiveProbe probe);
// Gives free what was kept of the logs.
// Their files may be written over from then on.
void ReleaseLogs(const HiveImage& hive);

// True when the image is not as its file has it: entries of logs were applied to it.
inline bool IsReplayed(const HiveImage& hive) {
  return hive.logs != nullptr && hive.logs->state == ReplayState::kReplayed;
}

// A replayed hive as it was after the first `steps` entries; 0: as its file has it. Not in the
// table. Empty (length 0) when there is no memory.
// Costs a copy of the image and the pages of the entries. `steps` beyond the last one give the
// image after all of them.
HiveImage ImageAfter(const HiveImage& hive, size_t steps);

// What the logs did to bytes of the image.
struct LogOrigin {
  bool found = false;
  uint32_t step = 0;          // the last one that changed any of them: a number in HiveLogs::steps
  uint32_t log_position = 0;  // of the first of these in the log file
};
// Of [position, position + size); by at most a few ranges' look-up.
// Not found in a hive that was not replayed. An entry that wrote the same bytes as were there
// changed nothing and is not named.
LogOrigin OriginOf(const HiveImage& hive, uint32_t position, uint32_t size);

}  // namespace hivequarry
