// What the decoders of one hive look at beside its tree, found once for all of them: its deleted
// records and, of a replayed hive, what of its state before the logs is there no longer.
#pragma once

#include <memory>

#include "evidence/evidence_run.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/freed_records.h"
#include "reports/before_state.h"

namespace hivequarry {

// The state before the logs, and of which of its records evidence is told.
struct LostState {
  StateBefore before;
  LostRecords lost;
};

// Searches the free space when it is made, with progress. Keeps references: the hive and the tree
// must outlive it. One thread.
struct EvidenceSource {
  EvidenceSource(const HiveImage& of, const KeyTree& with);
  EvidenceSource(const EvidenceSource&) = delete;
  EvidenceSource& operator=(const EvidenceSource&) = delete;
  const HiveImage& hive;
  const KeyTree& tree;
  const FreedRecords freed;
  bool lost_known = false;          // LostStateOf has looked
  std::unique_ptr<LostState> lost;  // null where nothing was lost
};
// Null for a hive that is not replayed, where its logs took nothing away, without memory, and after
// a stop. The first call costs a copy of the image, a scan and a comparison.
const LostState* LostStateOf(EvidenceSource& source);

}  // namespace hivequarry
