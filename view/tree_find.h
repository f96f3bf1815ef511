// Finding items of the key tree: by their displayed names, and by what a position belongs to.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "hive/key_tree.h"
#include "view/freed_tree.h"

namespace hivequarry {

// `text` is compared by the system's capitals, with names as they are displayed.
struct TreeFindRequest {
  std::string text;         // not empty
  uint32_t from = kNoItem;  // the item to search from; kNoItem: none
  bool down = true;
  bool wrap = true;  // go on at the other end
};
struct FoundItem {
  uint32_t item = kNoItem;  // kNoItem: nothing found
  bool stopped = false;     // by the user
  size_t tree = 0;          // of those searched
};
// A tree that is searched, and how its items are displayed.
struct SearchedTree {
  const KeyTree* tree = nullptr;
  std::function<std::string(uint32_t item)> name;  // empty: not shown
};
// The next item, filled in the pane or not, whose displayed name holds the text, capital and small
// letters alike, in one tree after the other; the item to search from, of the tree of that number,
// comes last. Hidden ones are passed over. `passed` is called when the search passes an end of all.
FoundItem FindItemByName(std::span<const SearchedTree> trees, size_t from_tree,
                         const TreeFindRequest& request, const std::function<void()>& passed);

// An item of the hive's tree, or of that of its deleted keys.
struct TreePlace {
  uint32_t item = kNoItem;  // kNoItem: none
  bool freed = false;
};
struct FoundRecovered {
  TreePlace place;      // of no item: there is none
  bool passed = false;  // an end of the trees
};
// The next item, filled in the pane or not, that shows what is not simply there: a key that no list
// leads to or that was made, one of which something was repaired or that has deleted values, the
// folder of values that no key names, when it has any; then the deleted keys, those that have no
// place in the tree last (`freed`: null where they are not shown). It goes on at the other end; the
// item to search from comes last. Hidden ones are passed over.
FoundRecovered FindRecovered(const KeyTree& tree, const FreedTree* freed, TreePlace from,
                             bool down);

// The item that shows the key or value at a position: the key, the key that lists the value, or the
// folder of the values that no key names. kNoItem when there is none, or it is hidden. For a value
// linear in the keys and their lists.
uint32_t ItemShowing(const HiveImage& hive, const KeyTree& tree, uint32_t position);

// The item in a tree built anew that stands for the one selected before: with the same path at the
// same position, else with the same path, else with as much of it as there is; the root at worst.
uint32_t ItemAgain(const HiveImage& hive, const KeyTree& tree, std::string_view path,
                   uint32_t position);

}  // namespace hivequarry
