// What the lists of security records share. Not for use outside this folder.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "hive/image.h"
#include "hive/position_index.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"
#include "security/descriptor.h"

namespace hivequarry {

// What one walk over many records has read. Sound entries take 16 bytes and more each and belong to
// one record alone: reading a list is free where no other has been read. Damaged records that lie
// over one another, or all name one list, would make a walk as long as the square of the image:
// their entries cost of what all share.
struct AceReads {
  std::vector<uint64_t> once;  // bytes of the image (ClaimRange)
  uint32_t left = 0;           // entries
};
// For one walk over records, on one thread. An entry for each 8 bytes of the image may be read once
// more.
inline AceReads MakeAceReads(const HiveImage& hive) {
  return {std::vector<uint64_t>(hive.length / 512 + 1), hive.length / 8};
}
// A mask with its generic rights as what they stand for on a registry key.
uint32_t MapGenericRights(uint32_t mask);

// How many of a list's entries are read; a shortfall is noted when that is not all.
inline uint32_t AcesToRead(const AclPlace& acl, AceReads& reads) {
  constexpr uint32_t kLeastAce = 8;
  const uint32_t count = std::min(acl.count, acl.size / kLeastAce);
  if (ClaimRange(reads.once, acl.position, acl.size)) return count;
  const uint32_t read = std::min(count, reads.left);
  reads.left -= read;
  if (read < count) NoteShortfall(Shortfall::kRows, count - read);
  return read;
}

}  // namespace hivequarry
