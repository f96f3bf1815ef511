// The logs of a hive as Output Lists: their entries, and what each of these changed.
#pragma once

#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"
#include "replay/hive_log.h"
#include "reports/hive_lists.h"

namespace hivequarry {

// A row an entry, those of earlier runs after the others; of a log without entries a row that says
// why. Rows speak of no position in the image.
// Empty for a hive whose logs were not looked for.
OutputListPtr ListLogs(const HiveImage& hive);
// The same of a log that was opened by itself.
OutputListPtr ListLogEntries(const HiveLog& log);

// The keys and values that each applied entry added, removed or changed, entry by entry. States in
// between may be inconsistent: what their trees connect is compared. Costs a load an entry; when
// that is more than a bound, the last entries are taken together, and a shortfall is noted.
OutputListPtr ListLogChanges(const HiveImage& hive);

// The keys, or values, that the file's own tree connects and that the logs removed, each with the
// entry that did (removed_state.h). Positions are those in the file.
OutputListPtr ListRemovedKeys(const HiveImage& hive, const KeyTree& tree);
OutputListPtr ListRemovedValues(const HiveImage& hive, const KeyTree& tree,
                                const ValueListOptions& options);

}  // namespace hivequarry
