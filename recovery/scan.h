// The linear scan: every plausible key, value, security and list cell of an image, whether or not
// anything points at it.
#pragma once

#include <cstdint>

#include "hive/image.h"
#include "recovery/scan_options.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

enum class ScanPass { kCollect = 0, kEvaluate = 1 };

// Empties the tables and makes them ready for the collecting pass.
void ResetTables(const HiveImage& hive, ScanTables& tables);

// One pass over the image, from memory or from the stream as the image is held. The collecting pass
// fills the tables, moves the image's root position to its root key and ends where the root of
// another hive cuts the image; the evaluating pass adds the list cells. Ends early when the user
// stops.
void ScanImage(HiveImage& hive, ScanPass pass, const ScanOptions& options, ScanTables& tables);

// Seals the index and resolves the child entries to key rows. Call after the last pass.
// Linear in the entries. Rows are in the order of their positions then, so that a rank is a row.
void FinishScan(ScanTables& tables);
// Sorts the rows of finished tables by position and makes the index anew, after rows came or went.
void IndexKeys(const HiveImage& hive, ScanTables& tables);

// How a cell is classified as a key: as ClassifyKey does, but a cell that only a tolerant rule
// accepts must also have the body of a key (a name that fits, offsets that could be offsets).
// Fields are handed in since the scan has read them already.
int ClassifyKeyCell(const HiveImage& hive, uint16_t signature, uint16_t flags, uint32_t size,
                    uint32_t position);

// A name that fits a cell of this size field, and of the four offsets at least three that could be
// offsets: the body of a key, whatever its signature.
bool HasKeyBody(const HiveImage& hive, uint32_t position, uint32_t size);

// How AddScannedKey was led to a cell.
struct ScannedKey {
  uint32_t position = 0;
  uint16_t flags = 0;      // as stored
  bool has_slack = false;  // bytes after the name
  bool damaged = false;    // accepted by a tolerant rule
  // Where the block ends, if that is known, that began last before it, but for a block of
  // which it is the first cell. 0 for none.
  uint32_t block_end = 0;
};
// Adds the rows of one accepted key; none for a root before which the image was cut. Keys come
// in the order of their positions.
void AddScannedKey(HiveImage& hive, const ScannedKey& key, const ScanOptions& options,
                   ScanTables& tables);

}  // namespace hivequarry
