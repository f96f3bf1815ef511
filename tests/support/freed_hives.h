// Hives of which something was deleted.
#pragma once

#include "tests/support/hive_builder.h"

namespace hivequarry::testing {

// Below A are Quick and, deleted, C with a value and its subkey D; below B was Quack, whose parent
// field leads to no key now.
BuiltHive HiveWithDeletedKeys();

}  // namespace hivequarry::testing
