// Branches of a registry kept in memory as hive files in the binary format, both ways.
#pragma once

#include <cstdint>
#include <string_view>

#include "tests/support/cell_writer.h"
#include "tests/support/memory_registry.h"

namespace hivequarry::testing {

// A sound hive with the key as its root. The root is a key of `root_name`, whatever the branch is
// called where it hangs.
Bytes HiveOfBranch(const MemoryKey& branch, std::u16string_view root_name);

// What a system's loader asks of a file: kRegistryDone, or the error that it refuses it with.
int32_t CheckLoadable(const Bytes& hive);
// Puts the hive's keys and values under `branch`, which keeps its own name. The root key's name.
std::u16string BranchFromHive(const Bytes& hive, MemoryKey& branch);

}  // namespace hivequarry::testing
