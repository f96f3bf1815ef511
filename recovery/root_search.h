// Which key is the root of the window's hive, and where that hive ends.
//
// A file may hold several hives one after another, or a piece of one. An image shows the hive that
// hangs from one root; where another hive begins the image ends, and the front end is told, so that
// it can offer the rest.
//
// The window's own root is
// - with a base block, the first cell, or the key that the base block names; of the first cell
//   enough must be left to tell a root (HasRootRemains);
// - without one, the first root met, if no more is before it than a base block and a bin
//   header take: a fragment that was cut off somewhere at its front still shows its root, and a
//   window that was opened for a root keeps it and does not ask for it again;
// - where no root is left, but keys name its place as their parent, a root that is made there.
//
// Another hive begins where its base block or its first block is, with the root as first cell,
// outside the blocks of this hive and outside every cell that a live record owns: whoever may write
// a value can write a root key, and a whole hive too, into its data. Where that is so, nothing from
// there on belongs to this window, whether or not the user wants to see the rest. In a run of cells
// without any block header the root key alone is taken for the sign.
//
// Any other key with a root's flags is a key like others.
#pragma once

#include <cstdint>

#include "hive/image.h"
#include "recovery/scan.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// Where in the file a range has to start so that the root cell at file offset `root` is found
// first: with room for a base block and a bin header first, or as much of that as there is.
// Both are file offsets.
uint32_t RangeStartForRoot(uint32_t root);

// True when what is at a position has so much of a key that it can be taken for a root: of
// signature, flags, time, name, subkey list and security record at least a few that fit.
bool HasRootRemains(const HiveImage& hive, uint32_t position);
// A name for which its key's cell is made, or else one that fits and has no control characters.
bool HasPlausibleName(const HiveImage& hive, uint32_t key_position);

// What a key with a root's flags turned out to be.
enum class RootRole {
  kNone,       // a key like others
  kOwn,        // the window's root; it became the image's root position
  kOther,      // may be another hive's: FindOtherHive decides
  kEndsImage,  // another hive's, beyond doubt: the image was cut before it
};
// Decides about a key with a root's flags, or at the image's root position, that the scan met.
RootRole JudgeRoot(HiveImage& hive, const ScannedKey& key, const ScanOptions& options,
                   ScanTables& tables);

// The first root among those that may be another hive's that no live record of this one owns; 0 for
// none. For finished tables.
uint32_t FindOtherHive(const HiveImage& hive, ScanTables& tables);

// Ends the image before another hive's root (length and last_valid; the bytes after stay
// held), and calls `on_cut` unless it is null.
void CutAtRoot(HiveImage& hive, uint32_t position, OnCut on_cut);

// For finished tables without a root: makes one at the place that is a root's and that keys name as
// their parent, or takes a key that has a root's flags. False when there is neither.
bool FindLostRoot(HiveImage& hive, ScanTables& tables);

// Where and why an image was cut.
struct ImageCut {
  uint32_t at = 0;          // file offset of the other hive's root; 0 for an image that is whole
  uint32_t rest = 0;        // where in the file a range for the rest has to start
  const char* reason = "";  // "another hive begins: ..."
};
// All 0 for an image that was not cut.
ImageCut CutOf(const HiveImage& hive);

}  // namespace hivequarry
