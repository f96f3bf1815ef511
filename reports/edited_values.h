// The values edited in memory, in one place.
#pragma once

#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// A row an edit, by position: what it says and what the file has instead. A row's datum is the
// value's position.
OutputListPtr ListEditedValues(const HiveImage& hive, const KeyTree& tree);

}  // namespace hivequarry
