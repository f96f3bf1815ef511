// Puts moved bytes of a loaded image back: bytes put in are taken out, for lost ones there are
// zeros, pages go where they belong. The file is left as it is; hive.places says where each byte of
// the image is there (file_place.h), and what was undone.
#pragma once

#include "hive/image.h"

namespace hivequarry {

// True when the blocks are one after another, each where its own offset says, and the cells of
// the larger ones and of the last one follow each other.
// The test that spares a sound hive the search: linear in the blocks, and in the cells of those
// that are looked at.
bool IsInOrder(const HiveImage& hive);

// Looks at all of a loaded image whose data_base is known, and puts back what is proven to have
// moved. True when anything was; the image has other bytes and another length then.
//
// The hive's own bytes come first. After them is what is no part of it: as far as `length`
// what may hold another hive's records, and as far as `held` copies of pages that are in place.
// While opening only, before anybody else reads the image: its buffer is replaced. What is proven
// is what byte_shifts.h and moved_pages.h say; nothing is moved by a header alone.
bool UndoMoves(HiveImage& hive);

}  // namespace hivequarry
