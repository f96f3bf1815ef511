// What the logs removed, as the tree's folder "Removed by the logs" and the panes beside it show
// it. Items are those of the tree before (reports/removed_state.h); item 0 is the folder.
#pragma once

#include <cstdint>
#include <string>

#include "reports/removed_state.h"
#include "words/item_values.h"

namespace hivequarry {

inline constexpr const char* kRemovedTitle = "Removed by the logs";

// "Removed by the logs (1 key, 2 values)".
std::string RemovedFolderText(const RemovedState& removed);
// The folder's details; `removed` is null until its content was worked out.
std::u16string RemovedFolderDetail(const RemovedState* removed);
// Closed icon of an item (view/tree_icons.h).
int RemovedIcon(const RemovedState& removed, uint32_t item);
// In a few words, for the status bar and the tip.
std::u16string RemovedItemWords(const HiveLogs& logs, const RemovedState& removed, uint32_t item);
// The values that a removed key had, or those that a key which is still there has lost.
ItemValues RemovedRows(const RemovedState& removed, uint32_t item, const ValueViewOptions& options);
// Details, with the entry that removed it first.
std::u16string RemovedItemDetail(const HiveLogs& logs, const RemovedState& removed, uint32_t item);
std::u16string RemovedValueDetail(const HiveLogs& logs, const RemovedState& removed,
                                  uint32_t position);

}  // namespace hivequarry
