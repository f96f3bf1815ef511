// A hive that mounts again: what a damaged or dirty hive holds, as a new file that systems load.
//
// Replayed: the file as its logs make it, byte for byte. Rebuilt: a new, compact hive of the keys
// and values of a tree. Values whose data can't be read are left out, never written empty. The
// source is not touched; what was left out, renamed or replaced is a row of a list.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// kRebuilt: written anew from what the tree shows. kReplayed: the image as the logs leave it.
enum class RepairKind : uint8_t { kRebuilt, kReplayed };

// With kReplayed the others are not looked at.
struct RepairOptions {
  RepairKind kind = RepairKind::kRebuilt;
  // Rebuilt: keys that no list names in their branches too, and those without a place below the key
  // kRecoveredBranch of the root.
  bool recovered = false;
  // Rebuilt: deleted keys and values from free space too, below kRecoveredBranch and the names of
  // the keys they belonged to, never among what is there.
  bool freed = false;
};
inline constexpr const char16_t* kRecoveredBranch = u"Recovered";

// Why there is no file.
enum class RepairFault : uint8_t {
  kNone,
  kExists,     // there is a file of that name
  kProtected,  // it is evidence, a log of a hive
  kUnread,     // replayed: parts of the source could not be read
  kNoHive,     // replayed: the image is no whole hive
  kTooLarge,   // no system's offsets reach so far
  kWrite,      // `error` says why
  kVerify,     // the file, read back, is not what was written: it is gone again
  kStopped,
};
// What came of it. Without a fault the file is there under its name.
struct Repaired {
  RepairFault fault = RepairFault::kNone;
  int error = 0;                    // errno value
  uint64_t bytes = 0;               // of the file
  uint32_t keys = 0;                // written
  uint32_t values = 0;              // written
  uint32_t made = 0;                // of the keys: that only lead to recovered and freed ones
  uint32_t freed_keys = 0;          // of the keys
  uint32_t freed_values = 0;        // of the values
  uint32_t recovered_left_out = 0;  // keys
  OutputListPtr rows;               // of kind kListRepair
};

// Writes the file `name` (UTF-8), which must not exist. It is read back by the reader that every
// hive is read by before it gets its name: the same bytes, and of a rebuilt one the same keys,
// values, data, classes, times and descriptors, of a sound structure. No other hive may be opened
// meanwhile.
Repaired RepairHive(const HiveImage& hive, const KeyTree& tree, const RepairOptions& options,
                    const std::string& name);
// "7 keys (4 deleted), 3 keys made to lead to them, 12 values" of a rebuilt one, for the user.
std::string RepairCountsWords(const Repaired& repaired);
// What its rows say, "Left out or changed: 3; deleted and written: 5"; empty without rows.
std::string RepairRowsWords(const Repaired& repaired);
// Why not, for the user.
std::string RepairFaultWords(const Repaired& repaired, const std::string& name);

}  // namespace hivequarry
