// Copying a branch of the live registry to another place in it.
#pragma once

#include <cstdint>
#include <string>

#include "lists/output_list.h"
#include "live/registry.h"

namespace hivequarry {

// Data of more than this would not fit into a hive with everything that goes with them.
inline constexpr uint64_t kMaxCopiedData = 0x60000000;
inline constexpr int32_t kRegistryNoResources = 1450;

// Copies the key at `path` with all below it into the empty key HKEY_USERS\`mount`, which is itself
// no part of what is copied. What can't be read or written becomes a row of `errors` (kListErrors).
// kRegistryDone also when the user stops; else nothing could be copied, or not all had room.
int32_t CopyBranch(const std::string& path, const std::u16string& mount, OutputList& errors);

}  // namespace hivequarry
