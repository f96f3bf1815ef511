// What a loaded hive holds, as Output Lists: its summary, its key tree, its values, its blocks, and
// the detail view and the bytes of one record.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "hive/bins.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/list_writers.h"
#include "lists/output_list.h"
#include "recovery/freed_records.h"
#include "recovery/image_tree.h"
#include "words/layer_words.h"

namespace hivequarry {

// What takes longer, only when it is asked for.
struct InfoOptions {
  bool hashes = false;     // SHA-256 of the file and of its logs
  bool structure = false;  // the verdict of a check (check_list.h)
};
// One row: what could be confirmed of the file, the counts of the build, of the freed records and
// of what the hive does to one below it.
OutputListPtr ListImageInfo(const HiveImage& hive, const ImageSummary& summary,
                            const FreedRecords& freed, const LayerCounts& layers,
                            InfoOptions options = {});

// The keys from `item` down as displayed, parents first. The virtual folders give no rows of their
// own. Ends early when the user stops.
struct KeyListOptions {
  bool details = false;    // a further column: access bits
  bool by_access = false;  // only keys with exactly these bits
  uint8_t access = 0;
  bool disconnected = false;  // only keys that no list leads to from the root
};
OutputListPtr ListKeyTree(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                          const KeyListOptions& options = {});
// The same list, of which no row is there yet, and what adds them, for who writes them as they come
// (lists/list_writers.h). Hive and tree must outlive it.
struct UnmadeList {
  OutputListPtr list;
  RowMaker make;
};
UnmadeList KeyTreeToList(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                         const KeyListOptions& options);

// What rows carry beside the cells that all of them have.
struct ValueListOptions {
  bool raw = false;     // each row carries its data, hexadecimal
  bool branch = false;  // the values of the keys below the item too
};
// The values of one key; with kNoItem those of every key, in tree order.
// A row's datum is the position of the value. Data are read within the bounds of a walk
// (hive/values.h); ends early when the user stops.
OutputListPtr ListKeyValues(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                            const ValueListOptions& options);
UnmadeList KeyValuesToList(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                           const ValueListOptions& options);
// The values that no key names. They have no key; unreadable ones show their marker.
OutputListPtr ListDisconnectedValues(const HiveImage& hive, const KeyTree& tree,
                                     const ValueListOptions& options);

// The block list of a walk (ListHiveBins). An invalid block's row carries the icon
// kInvalidBinColour.
OutputListPtr ListBlocks(std::span<const BinRow> bins);

// The detail view of the value or key at a position, a row a line: fields of a key, or the header
// and body lines of a value. Null when there is neither.
OutputListPtr ListDetail(const HiveImage& hive, const KeyTree& tree, uint32_t position);

// The bytes of the record that holds a position, a row a field (words/raw_record.h); the
// subtitle says which record it is. A row's datum is the position that its field leads to, else its
// own. Null for a position outside the hive.
// At most kMostRawRows rows of bytes or entries; the rest is one row.
OutputListPtr ListRawRecord(const HiveImage& hive, const KeyTree& tree, uint32_t position);

}  // namespace hivequarry
