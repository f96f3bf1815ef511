// The keys and values that were deleted and that free space still holds (recovery/freed_records.h),
// as Output Lists.
#pragma once

#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"
#include "reports/hive_lists.h"

namespace hivequarry {

// A row's datum is the record's position. Values whose data can't be read show their marker. Both
// end early when the user stops.
OutputListPtr ListFreedKeys(const HiveImage& hive, const KeyTree& tree);
OutputListPtr ListFreedValues(const HiveImage& hive, const KeyTree& tree,
                              const ValueListOptions& options);

}  // namespace hivequarry
