// Why a key or a value is shown where it is, in plain sentences: what names it, what does not, and
// what had to be set right. For what is simply there, nothing is said.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

// "No list names this key. Its parent field at 0x000012B4 (4788) names ...\Mail, whose list of
// subkeys is lost or incomplete." Empty for a key that lists lead to from the root and of which
// nothing was repaired, for a path copy, and for a folder.
std::string WhyKeyIsHere(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// Likewise of the value record at a position that a key of the tree lists, or that is in the folder
// of disconnected values.
std::string WhyValueIsHere(const KeyTree& tree, uint32_t position);

}  // namespace hivequarry
