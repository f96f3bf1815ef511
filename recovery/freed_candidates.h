// The search through the free space of an image: what could be records of deleted keys and values.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/freed_records.h"

namespace hivequarry {

// A place whose bytes could be a record. Names as long as a registry takes: 510 bytes of a key,
// 32766 of a value.
struct FreedCandidate {
  uint32_t position = 0;      // of a cell's size field before the record
  bool key = false;           // else a value
  bool odd_type = false;      // a value's type that counts only where a value in use has it too
  uint16_t name_length = 0;   // bytes of its name that are its own
  uint32_t room = 0;          // for the name, in the bytes that were looked through
  uint32_t host = kNoOffset;  // the allocated cell without a signature that it lies in
  FreedPlace place = FreedPlace::kFreeCell;
};

// Every place outside the records that the scan has accepted that holds the whole fixed part of a
// key or value, checked strictly but for its name, ascending by position. Ends early when the user
// stops.
// Linear in the image, with progress. That a place is free is judged by the chain of cells alone
// here: what names it is asked afterwards (freed_uses.h).
std::vector<FreedCandidate> FindFreedCandidates(const HiveImage& hive, const KeyTree& tree);
// Of records that overlap the later one was written over the other, which keeps the part of its
// name before it or is left out. So are those whose name, or what is left of it, is none.
void SettleOverlaps(const HiveImage& hive, std::vector<FreedCandidate>& candidates);

}  // namespace hivequarry
