#include "hive/hive_table.h"

#include "hive/replaying.h"
#include "host/evidence.h"

namespace hivequarry {

HiveTable& TheHiveTable() {
  static HiveTable table;
  return table;
}

void ResetHiveTable() {
  HiveTable& table = TheHiveTable();
  for (int slot = 0; slot < kSlotCount; ++slot) FreeHiveSlot(slot);
  table.start_offset = table.end_offset = 0;
  table.current = 0;
}

int AllocateHiveSlot() {
  for (int slot = 1; slot < kSlotCount; ++slot) {
    HiveImage& hive = HiveOfSlot(slot);
    if (hive.state != SlotState::kFree) continue;
    hive = HiveImage();
    hive.state = SlotState::kTaken;
    hive.slot = slot;
    return slot;
  }
  return -1;
}

void FreeHiveSlot(int slot) {
  HiveImage& hive = HiveOfSlot(slot);
  ReleaseEvidence(hive.file_name);
  ReleaseLogs(hive);
  hive = HiveImage();
}

}  // namespace hivequarry
