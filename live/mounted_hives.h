// Which keys of the running system's registry are roots of hives, by the system's own list. It has
// them under the kernel's names, of which each key has one, whatever roots and links lead to it.
#pragma once

#include <string>
#include <vector>

#include "live/registry.h"

namespace hivequarry {

struct MountedHives {
  bool listed = false;  // the list could be read
  std::vector<std::u16string> names;
};
MountedHives ReadMountedHives();
bool IsHiveRoot(const MountedHives& hives, const std::u16string& kernel_name);

// "\REGISTRY\MACHINE\SOFTWARE", in capitals, links followed; empty when it can't be told.
std::u16string KernelNameOf(RegistryKey root, const char16_t* sub_key);

}  // namespace hivequarry
