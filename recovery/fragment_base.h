// Where a fragment without any block header was in its hive.
//
// Its cells are found by the scan, but their offsets count from a data area that begins somewhere
// before the fragment. Every offset that a record holds, and every record of the kind that it
// must lead to, is a vote for one distance between offsets and positions: keys' parents lead to
// keys, their subkey lists to lists, their security fields to security records, list entries to
// keys, which must then also carry the entry's name hash or begin with its characters. An offset
// votes once for each distance, however many records hold it. The distance with the most votes is
// taken when it has at least three (a name that fits counts twice), more than any other, and of the
// offsets that it leads into the fragment at least three of four lead to what they must.
#pragma once

#include "hive/image.h"
#include "recovery/scan_tables.h"

namespace hivequarry {

// Sets the image's data_base and data_base_proven from the tables of a collecting pass. False, and
// nothing changed, when the votes prove nothing.
bool FindFragmentBase(HiveImage& hive, const ScanTables& tables);

}  // namespace hivequarry
