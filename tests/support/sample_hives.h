// Hives made by rule: the damaged sample that shows what the program is for, and hives of any size
// for benchmarks.
#pragma once

#include <cstdint>

#include "tests/support/hive_builder.h"

namespace hivequarry::testing {

// A small hive of installed programs and settings with damage of every common kind. What was done
// to it is told at its making.
Bytes DamagedSample();
// The same before the damage.
BuiltHive SoundSample();

// About 190 bytes a key with its values: nested branches, class registrations, long flat lists.
Bytes HiveOfKeys(uint32_t count);
// One key with `count` subkeys; a chain of `count` nested keys; one key with `count` values.
Bytes FlatHive(uint32_t count);
Bytes DeepHive(uint32_t count);
Bytes HiveOfValues(uint32_t count);
// `count` keys that all name one list, which lists all of them.
Bytes SharedListHive(uint32_t count);

}  // namespace hivequarry::testing
