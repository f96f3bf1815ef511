// A file may hold several hives one after another, or a piece of one. An image shows the hive that
// hangs from one root; when the scan meets the root of another, the image ends there and the rest
// is offered in a new window.
//
// Which root is the window's own:
// - A root is an accepted key with a root's flags, the first cell of an image with a base block
//   whatever is left of it, or the key that the base block names.
// - With a base block, the first root met.
// - Without one, the first root met, if no more stands in front of it than a base block and a bin
//   header take: a fragment that was cut off somewhere at its front still shows its root, and a
//   window that was opened for a root keeps it and does not ask for it again.
// - Every other root is another hive's, and from it on nothing belongs to this window, whether or
//   not the user wants to see the rest.
#pragma once

#include <cstdint>

#include "hive/image.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// Where in the file a range has to start so that the root cell at file offset `root` is found
// first: with room for a base block and a bin header in front, or as much of that as there is.
uint32_t RangeStartForRoot(uint32_t root);

// Opens the hive of the root cell at an image position in a new copy of the program: the range that
// RangeStartForRoot gives, up to the end of the file.
void OpenRootInCopy(const HiveImage& hive, uint32_t root_position);

// Decides about a root that the scan met at an image position. The window's own becomes the image's
// root position; false for another hive's: then the image was cut in front of it (length and
// last_valid; the bytes behind stay held), and the user was asked whether to open it in a new copy.
// Without `ask` no root is another hive's: further ones are noted, nothing is cut.
bool AdmitRoot(HiveImage& hive, uint32_t position, bool ask, ScanTables& tables);

}  // namespace hivequarry
