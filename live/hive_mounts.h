// Hive files as keys of the live registry, for a while.
#pragma once

#include <cstdint>
#include <string>

#include "lists/output_list.h"
#include "live/registry.h"

namespace hivequarry {

// Mounts a hive file (UTF-8 name) as a subkey of HKEY_USERS, and takes such a key away again; the
// system then has written what was changed in it. The registry's error code. The restore privilege
// is enabled for the time of the call alone; a process that has none gets kPrivilegeNotHeld. A file
// that is kept as evidence is not mounted (kRegistryDenied).
int32_t LoadHiveIntoRegistry(const std::u16string& name, const std::string& file);
// Refused as long as any process has a key of it open.
int32_t UnloadHiveFromRegistry(const std::u16string& name);

// The key at a registry path and the keys right below it (kListLiveSearch): what a mount holds.
void ListKeyAndSubkeys(const std::string& path, OutputList& list);

// The first of "Temp01", "Temp02" ... "Temp9999" that can't be opened under the key; empty when all
// are there.
std::u16string FindFreeTempKey(RegistryKey root);

}  // namespace hivequarry
