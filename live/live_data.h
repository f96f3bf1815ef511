// Data of values of the live registry, however long.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "live/live_keys.h"
#include "live/registry.h"

namespace hivequarry {

// Calls `read(bytes, &size)`, a function of the registry with its other arguments bound, with more
// and more room until the data fit; `size` is theirs then. kRegistryMoreData for data longer than
// kMaxLiveData, or that grow faster than they are read.
template <typename Read>
int32_t ReadLiveData(std::vector<uint8_t>& room, uint32_t& size, const Read& read) {
  // Bytes; nearly all data fit in this.
  constexpr uint32_t kFirstRoom = 4096;
  uint32_t wanted = kFirstRoom;
  for (int attempt = 0; attempt < 4 && wanted <= kMaxLiveData; ++attempt) {
    if (room.size() < wanted) room.resize(wanted);
    size = static_cast<uint32_t>(room.size());
    const int32_t error = read(room.data(), &size);
    if (error != kRegistryMoreData) return error;
    // Data may have grown meanwhile; where the call tells of no larger size there is more room all
    // the same.
    wanted = std::max(size, static_cast<uint32_t>(room.size()) + 1);
  }
  return kRegistryMoreData;
}

}  // namespace hivequarry
