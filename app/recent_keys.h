// The keys that were looked at last, kept in the settings file.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace hivequarry {

inline constexpr size_t kRecentKeys = 20;
// Key paths (key_paths.h), newest first, at most kRecentKeys, no key twice.
using RecentKeys = std::vector<std::string>;

// Those of the running program.
RecentKeys& TheRecentKeys();

// Puts a key first; one that is there already moves there. A path that is none is left out.
// Whether a key was looked at long enough to count is the caller's to say.
void AddRecentKey(RecentKeys& keys, const std::string& path);

// Reads what the settings file (UTF-8 name) holds, section "RKS", keys "RK0" and so on. What can't
// be read there is left out.
void ReadRecentKeys(const std::string& file, RecentKeys& keys);
// Writes them there, keeping what else the file holds. What other copies of the program wrote
// meanwhile comes after, as far as there is room. False on failure, which leaves the old file
// whole.
bool WriteRecentKeys(const std::string& file, const RecentKeys& keys);

}  // namespace hivequarry
