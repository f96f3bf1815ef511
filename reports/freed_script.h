// Freed keys and values as a registry script (registry_script.h). Comments say that they were
// deleted, and where each of them is. An import passes over what it would set wrongly: keys
// whose path is not known have no root, and values whose data's cell is in use again, or whose
// names a script cannot hold, are comments.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "lists/list_writers.h"
#include "reports/freed_rows.h"
#include "reports/registry_script.h"

namespace hivequarry {

// Rows of FreedRecords, ascending.
struct FreedChoice {
  std::vector<uint32_t> keys;
  std::vector<uint32_t> values;
};

// Which freed records a choice takes along.
enum class FreedScope : uint8_t {
  kRecords,   // the records at the positions, of keys with their values
  kBranches,  // and the freed keys below them
};
// What is chosen by positions; empty when no freed record is there.
FreedChoice ChooseFreed(const FreedRecords& records, std::span<const uint32_t> positions,
                        FreedScope scope);
// The freed records below an item of the tree, of the item itself its values; all for the root.
FreedChoice ChooseFreedBelow(const KeyTree& tree, const FreedRecords& records, uint32_t item);

// `keys` and `values` count what an import would set; comments are in `doubted` and `skipped`.
struct FreedExport {
  uint32_t keys = 0;     // written
  uint32_t values = 0;   // written, those below included
  uint32_t doubted = 0;  // values as comments, since their data may be another record's
  uint32_t skipped = 0;  // values without data, and keys whose path does not fit
  bool refused = false;  // by the sink
};
// The hive must have a root for key lines (HasScriptRoot). Ends early when the user stops. What
// data that many values share may make it write is bounded by the hive's length; values beyond that
// are noted as a shortfall.
FreedExport ExportFreed(FreedSource& from, const FreedChoice& choice, const TextSink& sink,
                        ScriptForm form = ScriptForm::kFour);

}  // namespace hivequarry
