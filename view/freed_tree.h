// Deleted keys as the tree pane shows them: below the key that they had as their parent, be it of
// the hive's tree or deleted too, or in the folder "Freed Keys" where nothing leads to one.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/freed_records.h"

namespace hivequarry {

inline constexpr const char* kFreedTitle = "Freed Keys";

struct FreedTree {
  // The top of a branch of deleted keys below a key of the hive's tree.
  struct Top {
    uint32_t under = kNoItem;  // an item of the hive's tree
    uint32_t item = kNoItem;   // of this tree
  };
  // A deleted value below its key.
  struct Owned {
    uint32_t key = kNoOffset;  // position of a deleted key or of one of the tree; kNoOffset: none
    uint32_t row = 0;          // in FreedRecords::values
  };
  FreedRecords records;
  // Item 0 is the folder, with the keys in it. Branches below keys of the hive's tree are after it,
  // and have no parent here. Siblings are in the order of their names.
  KeyTree tree;
  std::vector<uint32_t> rows;   // in FreedRecords::keys, by item; kNoItem for the folder
  std::vector<uint32_t> items;  // by row
  std::vector<Top> tops;        // ascending by both
  std::vector<Owned> owned;     // ascending by both
  uint32_t loose_keys = 0;      // directly in the folder
  uint64_t shortfalls = 0;      // what the search cut short, of a thread in the background
};

// Finds and places what was deleted. Takes as long as FindFreedRecords, and sorts the names; empty
// when the thread is to stop (host/long_operation.h).
std::shared_ptr<const FreedTree> FindFreedTree(const HiveImage& hive, const KeyTree& tree);

// The branches of deleted keys below an item of the hive's tree, and below those from `first` to
// before `end`, as an item and its subtree are. Found by halves, as values and keys are below.
std::span<const FreedTree::Top> FreedTopsUnder(const FreedTree& freed, uint32_t item);
std::span<const FreedTree::Top> FreedTopsWithin(const FreedTree& freed, uint32_t first,
                                                uint32_t end);
// The deleted values of a key; with kNoOffset those that belong to none.
std::span<const FreedTree::Owned> FreedValuesOf(const FreedTree& freed, uint32_t key_position);

// The item of the deleted key at a position; kNoItem for none.
uint32_t FreedItemAt(const FreedTree& freed, uint32_t position);
// The deleted key that an item stands for; null for the folder.
const FreedKey* FreedKeyOf(const FreedTree& freed, uint32_t item);
// The item of the hive's tree below which an item hangs; kNoItem in the folder.
uint32_t HostOfFreed(const FreedTree& freed, uint32_t item);
// True when there is anything to be shown in the folder.
bool HasFreedFolder(const FreedTree& freed);

}  // namespace hivequarry
