// The cells that records own: a key its lists and class name, a value its data, however those
// begin. Whoever may write a value chooses the bytes of its data, so what is in there is no
// record, though it looks like one.
//
// Collecting reads every value of the keys asked for. It is meant for images in which something
// is where no list leads, not for sound ones.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

// What a cell is to the one that owns it.
enum class OwnedAs : uint8_t {
  kKey,
  kSubkeyList,  // also the lists that an "ri" names
  kValueList,
  kValue,
  kData,
  kSegmentList,  // a "db" cell, or the list that it names
  kSegment,      // data of a "db" value
  kClassName,
  kSecurity,
};

struct OwnedCell {
  uint32_t position = 0;  // of the cell's size field
  // Bytes from there that the owner needs, and those of the whole cell. Where the cell's size makes
  // no sense both are what the owner needs.
  uint32_t used = 0;
  uint32_t length = 0;
  uint32_t owner = 0;  // position of the key or value that names it; of a key, its own
  OwnedAs what = OwnedAs::kKey;
};

// Ascending by position. Cells of a damaged image may overlap.
struct OwnedCells {
  std::vector<OwnedCell> cells;
  std::vector<uint32_t> farthest;  // for each cell the one, up to itself, that ends last
};

// The cells of the keys at these positions, each cell once; entries that lead to no cell own none.
// Empty for an image whose offsets lead nobody knows where. Ends early when the user stops.
// Linear in the cells but for their sorting. Keys come in the order of their right: of two that
// name one cell the first has it.
OwnedCells CollectOwnedCells(const HiveImage& hive, std::span<const uint32_t> keys);
// Those of the tree's connected keys.
OwnedCells CollectOwnedCells(const HiveImage& hive, const KeyTree& tree);
// Those of values that no key has: the values themselves and their data.
OwnedCells CollectValueCells(const HiveImage& hive, std::span<const uint32_t> values);

// A cell that has bytes in [begin, end), null for none. Of a data cell every byte counts: what
// is after the bytes in use may be what was written there before they became fewer. Of any
// other cell the bytes in use count: after them older records may be left.
// A pointer into `owned`; logarithmic.
const OwnedCell* OwnerOf(const OwnedCells& owned, uint32_t begin, uint64_t end);

// How texts name such a cell: "value data", "class name" and so on.
const char* OwnedWord(OwnedAs what);

}  // namespace hivequarry
