// Hives made to hurt the reports on well-known structures, each of about so many megabytes.
#pragma once

#include "tests/support/cell_writer.h"

namespace hivequarry::testing {

// Extensions that each name a type below a key of its own: "k17\t".
Bytes TypesApart(double megabytes);
// Keys of one name, "StreamMRU", under one parent, each with a folder.
Bytes StreamsApart(double megabytes);
// Remembered folders, each inside the one before.
Bytes NestedFolders(double megabytes);
// Values with texts in which a path may end at every blank.
Bytes TextsOfBlanks(double megabytes);
// Values with texts of as many short paths as there is room for.
Bytes TextsOfPaths(double megabytes);

}  // namespace hivequarry::testing
