// A second, plain reading of a hive, to hold the product's against: straight from the bytes,
// sharing nothing with it, and only what a sound or simply broken hive needs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/cell_writer.h"

namespace hivequarry::testing {

struct PlainValue {
  uint32_t position = 0;  // of the cell, from the start of the hive
  std::u16string name;    // single-byte names widened as they are
  uint32_t type = 0;
  bool readable = false;
  Bytes data;
};

struct PlainKey {
  uint32_t position = 0;
  // Index of a key whose list names it: the one that its parent field names as well, else the
  // first.
  uint32_t parent = kNone;
  std::u16string name;
  uint64_t time = 0;
  uint32_t security = kNone;  // cell offset
  std::vector<PlainValue> values;
};

// What hangs from the root cell by the subkey lists, each key once, parents before children. `hive`
// begins with a base block.
std::vector<PlainKey> ReadPlainTree(const Bytes& hive);

// The key at a position, with its values.
PlainKey ReadPlainKey(const Bytes& hive, uint32_t position);

// Positions of the allocated records met by stepping from cell to cell, block after block.
struct PlainWalk {
  std::vector<uint32_t> keys;
  std::vector<uint32_t> values;
  std::vector<uint32_t> security_records;
  uint32_t blocks = 0;
};
// The blocks from `start` on; what is no block is passed over in steps of 4096 bytes, and what
// is after a broken cell of a block is not seen.
PlainWalk WalkPlainCells(const Bytes& hive, uint32_t start);

}  // namespace hivequarry::testing
