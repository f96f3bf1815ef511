// Where the rows of a loaded Report List lead: a file of a list keeps paths, and of the hives that
// it was made of what its head says of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

// A hive that a list was made of; empty texts where the head does not say them.
struct ListedHive {
  std::string root;
  std::string hash;  // SHA-256
};
std::vector<ListedHive> ListedHives(std::span<const std::string> head);

// An open hive, looked at.
struct HiveToSearch {
  const HiveImage* hive = nullptr;
  const KeyTree* tree = nullptr;
  std::string hash;  // empty: not known
};
struct KeyOfRow {
  size_t hive = 0;          // of those to be searched
  uint32_t item = kNoItem;  // kNoItem: it has no such key that is shown
  bool other_file = false;  // by the hashes, the list was made of another file
};
// The key that a path of the list names: in the hive that the list was made of where that is open,
// whatever its root is called now; else in the first one that has it, `preferred` before all
// others. There is at least one hive, and `preferred` is the number of one.
KeyOfRow FindKeyOfRow(std::string_view path, std::span<const ListedHive> listed,
                      std::span<const HiveToSearch> hives, size_t preferred);

}  // namespace hivequarry
