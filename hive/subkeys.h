// A key's subkeys: its list read and diagnosed, offsets led to positions.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/image.h"
#include "records/subkey_list.h"

namespace hivequarry {

struct KeyNode;

inline constexpr uint8_t kListFaultSignature = 2;  // no list signature
inline constexpr uint8_t kListFaultRiChild = 4;    // an "ri" child that is neither "li" nor "lh"
inline constexpr uint8_t kListFaultRiBounds = 8;   // the first "ri" child lies out of bounds
inline constexpr uint8_t kListFaultCount = 128;    // the list's count is not the key's

// Repair codes, the first fault met (0 when sound).
// Numbers are shown to the user as they are and so never change.
inline constexpr uint16_t kRepairNoListSignature = 2;
inline constexpr uint16_t kRepairRiChildSignature = 3;
inline constexpr uint16_t kRepairCountDiffers = 512;
inline constexpr uint16_t kRepairRiSumDiffers = 768;
inline constexpr uint16_t kRepairRiChildBounds = 770;
inline constexpr uint16_t kRepairRiLaterChildBounds = 771;
inline constexpr uint16_t kRepairFirstEntryBounds = 786;
inline constexpr uint16_t kRepairListNamesOwnKey = 788;

// The diagnosis of a key's subkey list.
struct SubkeyListCheck {
  ListKind kind = ListKind::kNone;
  uint32_t count = 0;              // entries that may be read
  uint32_t first_entry = 0;        // position of the first subkey, 0 when unknown
  uint8_t hint[4] = {0, 0, 0, 0};  // the first entry's hint or hash bytes
  uint32_t ri_count = 0;           // child lists of an "ri"
  uint32_t ri_first_child = 0;     // position of the first child list
  uint8_t faults = 0;              // kListFault bits
  uint16_t repair_code = 0;        // the first that was met, 0 for none
};

// Reads the list header and first entry of `key` (its subkey_list and subkey_count fields). With
// `diagnose` (recovery mode) the repair codes are set and an "ri" list's children are all visited.
// A key without a list, or whose list is out of bounds, gives an empty check without faults.
// `count` is what the list says, not held against the cell's room.
SubkeyListCheck CheckSubkeyList(const HiveImage& hive, const KeyNode& key, bool diagnose);

// One entry of a subkey list.
struct SubkeyEntry {
  uint32_t key = 0;       // position of the key that the entry names; may lie anywhere
  uint32_t position = 0;  // of the entry itself
  uint32_t list = 0;      // position of the list cell that holds it ("lf", "lh" or "li")
  ListKind kind = ListKind::kNone;
};

// What a walk over many lists has read. In a sound hive no list is another's, so that reading one
// whose cell holds together is free the first time, and its entries cost of what all share from
// then on.
struct SubkeyListReads {
  std::vector<uint64_t> once;  // bytes of the image (ClaimRange); empty: nothing is free
  uint32_t left = 0;           // entries
  uint32_t cut = 0;            // lists that were not read to their ends for want of these
};
// Of a walk; a bit for each 8 bytes of the image.
SubkeyListReads MakeSubkeyListReads(const HiveImage& hive);

// Appends the entries of the list cell at `list`, "ri" lists resolved one level down, in list
// order. A damaged list is read as far as its own count and the end of the image allow, and as
// `reads` does. False when something was broken: no list there, an "ri" child that is no list, a
// list cut short.
bool ReadSubkeyList(const HiveImage& hive, uint32_t list, SubkeyListReads& reads,
                    std::vector<SubkeyEntry>& entries);
// The same; at most `budget` entries are read, and `budget` is lowered by what was read.
// For one key, where nothing is free.
bool ReadSubkeyList(const HiveImage& hive, uint32_t list, uint32_t& budget,
                    std::vector<SubkeyEntry>& entries);

}  // namespace hivequarry
