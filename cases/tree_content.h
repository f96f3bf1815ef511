// The keys and values of a tree as a hive to be written (new_hive.h), and what of them can't be.
#pragma once

#include <cstdint>

#include "cases/new_hive.h"
#include "cases/repair.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// Sorted. What is left out, renamed or replaced becomes rows of `rows` (kListRepair), the number of
// recovered keys that were not asked for goes to `left_out`. Empty when the user stopped.
NewHive ContentOfTree(const HiveImage& hive, const KeyTree& tree, bool recovered, OutputList& rows,
                      uint32_t& left_out);

}  // namespace hivequarry
