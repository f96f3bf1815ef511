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

// The detail view of the freed record at a position, a row a line, with its path, its place and, of
// a value, all of its data. Null when no freed record is there.
OutputListPtr ListFreedDetail(const HiveImage& hive, const KeyTree& tree, uint32_t position);

}  // namespace hivequarry
