// Where in a hive a kind of evidence is: paths below the root, component by component.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "evidence/evidence_keys.h"

namespace hivequarry {

// Names joined by "\", compared by the system's capitals. A name may be
// - "*": any key;
// - "<set>": "ControlSet" with three digits, or "CurrentControlSet";
// - marked with a "!" before it: the last name that is told by itself. A key of which nothing tells
//   what lies above it, or the root of a hive that was made of a branch, begins the path at a name
//   up to that one; a path without a mark is begun at the root alone.
using PlacePattern = const char*;

// A key that a pattern leads to. With a hive that has several control sets there is one for each.
struct EvidencePlace {
  EvidenceKey key = kNoEvidenceKey;
  std::string control_set;  // that the path leads through: "ControlSet001 (current)"; "" for none
  size_t pattern = 0;       // which of the patterns leads there
};
// The keys at the patterns' paths, each once, in the order of the patterns. A hive that was made of
// a whole root of the registry has its paths below the names of hives or users.
// Of live, recovered and freed keys alike. The order is that of the tree for each pattern; a key
// that two patterns lead to counts for the first. Costs of a "*" the children of the keys before
// it.
std::vector<EvidencePlace> FindPlaces(EvidenceKeys& keys, std::span<const PlacePattern> patterns);

}  // namespace hivequarry
