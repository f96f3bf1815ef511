// What there is to say of a tree item beside its name: in the status bar, its tooltip and the
// detail pane.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

// The status words and the info words of an item on one line; empty when it has none.
std::u16string ItemWords(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// The same and where its key is, a line each.
std::u16string ItemTip(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// The text of the detail pane: that of the key; before it, what a path copy is.
std::u16string ItemDetail(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// The same of a value, by its position; before it, why it is shown, unless its key simply has it.
std::u16string ValueDetailOf(const HiveImage& hive, const KeyTree& tree, uint32_t position);

}  // namespace hivequarry
