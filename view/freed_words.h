// Deleted keys and values as the tree pane and the panes beside it show them (view/freed_tree.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "view/freed_tree.h"
#include "words/item_values.h"

namespace hivequarry {

// "Freed Keys (3 keys, 1 value)": those without a place.
std::string FreedFolderText(const FreedTree& freed);
// An item's name in the tree; of one whose place is not confirmed that is said.
std::string FreedItemText(const HiveImage& hive, const FreedTree& freed, uint32_t item);
// In a few words, for the status bar and the tip; empty for the folder.
std::u16string FreedItemWords(const FreedTree& freed, uint32_t item);
// What the path line shows.
std::string FreedItemPath(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                          uint32_t item);
// Details: why the record is shown where it is, then its fields.
std::u16string FreedItemDetail(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                               uint32_t item);
// The same with all data of the deleted value at a position.
std::u16string FreedValueDetail(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                                uint32_t position);

// The rows of an item: values in use that its list names and no key has, then deleted ones.
ItemValues FreedItemRows(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                         uint32_t item);
// Adds the deleted values of a key, or with kNoOffset those of none, to its rows.
void AddFreedRows(const FreedTree& freed, uint32_t key_position, ItemValues& values);
// The row of the deleted value at a position.
ValueRow FreedRowAt(const HiveImage& hive, const FreedTree& freed, uint32_t position);

}  // namespace hivequarry
