// The table of open hives, and what the next opening is asked for.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "hive/image.h"
#include "replay/replay_plan.h"

namespace hivequarry {

inline constexpr int kSlotCount = 48;  // slot 0 is never handed out

// The process-wide state of this room. Slots are handed out and freed by one thread at a time; a
// loaded hive may be read by any.
struct HiveTable {
  std::array<HiveImage, kSlotCount> slots;
  // Partial range of the file for the next OpenHive; whole file when end <= start.
  uint32_t start_offset = 0;
  uint32_t end_offset = 0;
  LogChoice logs;              // of the next OpenHive: what is done about the logs of the hive
  int current = 0;             // the slot being worked on
  std::string current_folder;  // of the file opened last, without a backslash at its end
  std::string current_file;    // its name with the folder, UTF-8
  // Default root for paths of the current hive, before its own root path is known.
  std::string default_long_root = "HKEY_USERS";
  std::string default_short_root = "HKU";
  uint32_t default_root_handle = 0x80000003;  // HKEY_USERS
};
// One for the process, made when first asked for. A reference to a slot stays valid as long as the
// process runs; what is in the slot only until it is freed.
HiveTable& TheHiveTable();
// Frees every slot with its buffer, and forgets the partial range.
// For tests, and for a program that begins anew. Nobody may read a hive meanwhile.
void ResetHiveTable();

// First free slot, cleared and taken; -1 when there is none.
int AllocateHiveSlot();
// Releases the image's memory, and the file's name as a place that nothing may be written to.
// Whatever points into the image (trees, values' views, edits) is of no use after that: callers end
// their workers first.
void FreeHiveSlot(int slot);
// The hive of a slot that was handed out.
inline HiveImage& HiveOfSlot(int slot) { return TheHiveTable().slots[static_cast<size_t>(slot)]; }

}  // namespace hivequarry
