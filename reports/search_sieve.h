// Where in an image a pattern can be at all, found in one pass over its bytes, so that a search
// need not read what can't match. A sieve only ever lets too much through: the exact test decides
// each hit.
//
// What it rests on: names and texts of a hive are made from its bytes one by one. A run of ASCII
// characters in a name or text is in the image as these bytes, in either case, each perhaps
// with a zero after it; a character that neither single-byte names nor the code page have is there
// as the two bytes of its UTF-16 unit. Where that does not hold no sieve is made (Unusable), or the
// records are let through whatever the image holds:
// - Characters that other units may turn into ('?', the blank of a multi-string) or that a code
//   page moves are left out of the run looked for; a pattern without two characters to look for
//   has no sieve.
// - Names that the tree made are not in the image (IsMadeName).
// - Data of "db" segments may match across two segments: those places are looked at one by one.
// - Values edited in memory are looked at one by one as well.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/key_tree.h"
#include "hive/values.h"
#include "reports/search.h"

namespace hivequarry {

// `stones` has a bit for each stretch of the image; a range of several stretches passes when any of
// them may match.
struct SearchSieve {
  bool usable = false;           // false: everything passes
  bool any = false;              // something in the image or among the edits may match
  std::vector<uint64_t> stones;  // bit n: a match may begin or go on in the n-th stretch
};

// Made anew for each search; reads the whole image once. Stays unusable when the user stops.
SearchSieve SieveImage(const HiveImage& hive, const SearchPattern& pattern);

// True when a match may lie in [position, position + length).
bool MayHold(const SearchSieve& sieve, uint32_t position, uint32_t length);
bool MayMatchName(const SearchSieve& sieve, const HiveImage& hive, const KeyTree& tree,
                  uint32_t item);
// For a value of which the fields were read (ValueRead::kFields).
bool MayMatchValue(const SearchSieve& sieve, const ValueKey& value);

// As SearchBranch, with or without a sieve. Not for use outside this folder but in tests.
enum class SearchWay { kBest, kPlain, kSieved };
bool SearchBranchBy(SearchWay way, const HiveImage& hive, const KeyTree& tree, uint32_t item,
                    const SearchPattern& pattern, OutputList& list);

}  // namespace hivequarry
