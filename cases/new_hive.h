// A hive to be written from nothing: its keys and values as they are to be, and the bytes of a file
// that a system mounts. Whatever they come from is read before; nothing here knows another hive.
//
// Where a field of a record is not given here the writer makes it: counts, lists, hashes, the
// lengths of the longest names and data, the ring of security records.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace hivequarry {

// Data of more than 16344 bytes are written as segments.
struct NewValue {
  std::u16string name;  // at most kLongestNewValueName units; empty: the default value
  uint32_t type = 0;
  bool tombstone = false;  // of a layered hive
  std::vector<uint8_t> data;
  bool operator==(const NewValue&) const = default;
};

inline constexpr uint32_t kNoNewKey = 0xFFFFFFFF;
inline constexpr uint16_t kNewKeyHandle = 0x40;    // flag: it stands for a handle of the system
inline constexpr size_t kLongestNewKeyName = 255;  // UTF-16 units, as for values
inline constexpr size_t kLongestNewValueName = 16383;
inline constexpr size_t kDeepestNewKey = 512;  // levels below the root; systems go no deeper

// A key as it is to be. What the writer makes of itself (counts, offsets, marks) is not here.
struct NewKey {
  std::u16string name;          // 1 to kLongestNewKeyName units
  uint32_t parent = kNoNewKey;  // number of a key before this one; none for the root
  uint16_t flags = 0;           // without those that say how the name is stored and what a root is
  uint64_t last_write = 0;      // FILETIME, UTC
  uint8_t access_bits = 0;      // as the byte at kKeyAccessBits
  uint8_t layer_bits = 0;       // as that at kKeyLayerBits; of a layered hive alone
  uint8_t user_flags = 0;       // as that at kKeyUserFlags
  // Instead of a number of values, with the flag kNewKeyHandle.
  uint32_t handle = 0;
  uint32_t descriptor = 0;          // number of its security descriptor
  std::vector<uint8_t> class_name;  // at most 65,535 bytes
  std::vector<NewValue> values;     // in this order
  bool operator==(const NewKey&) const = default;
};

// Memory goes with all keys and their data.
struct NewHive {
  // The root first, then in the order of a walk that passes subkeys in the order of their names
  // (SortNewHive).
  std::vector<NewKey> keys;
  std::vector<std::vector<uint8_t>> descriptors;  // self-relative; in the order of their first use
  uint32_t minor = 5;                             // of the version 1.minor, 3 to 6
  std::array<uint8_t, 64> file_name = {};         // as base blocks have it
  bool layered = false;                           // may have layer bits and tombstones
  bool operator==(const NewHive&) const = default;
};

// Names as the system orders subkeys: by their capitals, unit by unit. Below 0, 0 or above.
int CompareKeyNames(const std::u16string& a, const std::u16string& b);

// Brings keys into the order above, which depends on names and not on where they were, and the
// descriptors into that of their first use; descriptors that no key uses go. Parents must be before
// their children.
void SortNewHive(NewHive& hive);

// The whole file, for a sorted hive; empty when it would be longer than a system's offsets reach.
// With a base block whose checksum is right and whose two sequence numbers are the same. The same
// hive gives the same bytes.
std::vector<uint8_t> BytesOfNewHive(const NewHive& hive);

}  // namespace hivequarry
