// Hives made to cost time or memory, or to hide something, each of any size. `megabytes` is about
// the file's size, so that doubling it shows how a reader's costs grow.
#pragma once

#include <cstdint>
#include <ostream>
#include <span>

#include "tests/support/hive_builder.h"

namespace hivequarry::testing {

struct HostileHive {
  const char* name;  // as make-hive takes it, "shared-value-list"
  const char* what;
  Bytes (*make)(double megabytes);
};

inline void PrintTo(const HostileHive& hive, std::ostream* out) { *out << hive.name; }

// All of them.
std::span<const HostileHive> HostileHives();

// A key of the live tree and its value, which are in each of them: they must stay visible.
inline constexpr const char* kBystanderKey = "Bystander";
inline constexpr const char* kBystanderValue = "seen";

}  // namespace hivequarry::testing
