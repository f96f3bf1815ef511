// "Expand subfolders", a slice at a time, so that the window goes on.
#pragma once

#include <cstdint>

#include "ui/panes/tree_pane.h"

namespace hivequarry {

// Starts to open every branch from `item` down; ExpandSlice does the next part of it and returns
// true while there is more. Collapsing ends it, and so does StopExpand, which shows what was opened
// until then.
void StartExpand(TreePane& pane, uint32_t item);
bool ExpandSlice(TreePane& pane);
inline bool IsExpanding(const TreePane& pane) { return pane.expand_end != 0; }
void StopExpand(TreePane& pane);
// Ends it where it is.
void EndExpand(TreePane& pane);
void CollapseBranch(TreePane& pane, uint32_t item);

}  // namespace hivequarry
