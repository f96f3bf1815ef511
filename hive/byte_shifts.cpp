#include "hive/byte_shifts.h"

#include <algorithm>
#include <unordered_map>

#include "hive/changed_regions.h"
#include "hive/header_pins.h"
#include "hive/shift_evidence.h"
#include "host/long_operation.h"
#include "records/base_block.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

using Bytes = std::span<const uint8_t>;

// The distances at which value lists are read: that at the start, and those of most headers.
std::vector<uint32_t> LikelyDistances(std::span<const BinHeader> headers, uint32_t first,
                                      uint32_t length) {
  // With the first one; for each of them all value lists are read.
  constexpr size_t kMost = 6;
  std::unordered_map<uint32_t, uint32_t> votes;
  for (const BinHeader& bin : headers) ++votes[bin.Distance()];
  // Where no header comes after a change the file's length may tell of it.
  ++votes[first + length % kPageSize];
  ++votes[first + length % kPageSize - kPageSize];
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
      BaseBlockSum(bytes) == block.checksum && block.length != 0 && block.length % kPageSize == 0;
  return sound ? block.length : UINT32_MAX;
}

// Pins first, by headers and records; then each region between two pins by itself. The last region
// is open, as nothing after it says at which distance it ends.
std::vector<KeptStretch> FindShifts(Bytes bytes, uint32_t first, bool anchored) {
  Shifts shifts{bytes, first, anchored, FindBinHeaders(bytes), {}, UINT32_MAX, {}};
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
