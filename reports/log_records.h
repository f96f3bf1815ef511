// Keys and values in pages of logs that are in no state of the hive any more: those of entries that
// later ones wrote over, and those that earlier runs left.
#pragma once

#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// A row a record that neither the hive nor its file has in its place, each once, with the first
// entry that has it. A key hangs where its parent field leads in the tree as it is now, else its
// path begins with "?"; of a value nothing tells the key. Data are shown that are in the same page.
// Ends early when the user stops.
OutputListPtr ListLogRecords(const HiveImage& hive, const KeyTree& tree);

}  // namespace hivequarry
