// Which keys of the running system's registry are roots of hives, by the system's own list. It has
// them under the kernel's names, of which each key has one, whatever roots and links lead to it.
#pragma once

#include <string>
#include <vector>

#include "live/registry.h"

namespace hivequarry {

// The hives that the system has mounted, as the key "hivelist" of its own configuration names them:
// a value for each, named by the path of the hive's root in the kernel.
struct MountedHives {
  bool listed = false;                // the list could be read
  std::vector<std::u16string> names;  // in capitals
};
// As they are now: a hive may be mounted or go at any time.
MountedHives ReadMountedHives();
// True when a hive is mounted there. The name is as KernelNameOf gives it; an empty one is none's.
bool IsHiveRoot(const MountedHives& hives, const std::u16string& kernel_name);

// "\REGISTRY\MACHINE\SOFTWARE", in capitals, links followed; empty when it can't be told.
std::u16string KernelNameOf(RegistryKey root, const char16_t* sub_key);

}  // namespace hivequarry
