// What the record of a row's key or value says beyond the row's columns, as members of its JSON
// object. Not for use outside this folder.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"

namespace hivequarry {

// Appends a key's access bits as the member "Access".
void AppendAccess(const HiveImage& hive, uint32_t position, std::string& out);
// Appends ",name:value" for each. Of a symbolic link "LinkTarget". Of a key of a hive with layers
// "Layer" (KeyLayer), "InheritClass" and "Tombstone", of its values "Tombstone". In a stack of
// hives "FromLayer", "FromFile", "Layers" (of a key all that it is one with) and "Hidden" (why it
// is not there for the whole).
void AppendRecordMembers(const HiveImage& hive, uint32_t position, bool key, std::string& out);

}  // namespace hivequarry
