// The keys and values of a tree as a hive to be written (new_hive.h), and what of them can't be.
#pragma once

#include <cstdint>

#include "cases/new_hive.h"
#include "cases/repair.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// What is written beside the keys that the root leads to.
struct ContentOptions {
  bool recovered = false;  // as RepairOptions has them
  bool freed = false;
};
// For the user's summary; each thing that was left out is a row as well.
struct ContentCounts {
  uint32_t recovered_left_out = 0;  // recovered keys that were not asked for
  uint32_t made = 0;                // keys that only lead to recovered and freed ones
  uint32_t freed_keys = 0;          // written
  uint32_t freed_values = 0;        // written
};

// Sorted. What is left out, renamed or replaced, and what was deleted and is written, becomes rows
// of `rows` (kListRepair). Empty when the user stopped.
NewHive ContentOfTree(const HiveImage& hive, const KeyTree& tree, const ContentOptions& options,
                      OutputList& rows, ContentCounts& counts);

}  // namespace hivequarry
