// What the machine is that hives come from: its name, system, owner, time zone, last shutdown,
// users, networks and disks, from whatever hives are there. Each row names the file, the key and
// the value that say so. Hives are taken for what they are by their own bytes
// (hive/root_evidence.h), or by the root path that the user has given them.
#pragma once

#include <map>
#include <span>
#include <string>

#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// Neither is null; both are the caller's.
struct MachineHive {
  const HiveImage* hive = nullptr;
  const KeyTree* tree = nullptr;
};
// All control sets are read, and a row of one says which it is. What no hive says has a row that
// names the hive that would. The datum of a row is the position of its key, in the row's own hive.
// Ends early when the user stops.
OutputListPtr ListMachine(std::span<const MachineHive> hives);

// The same of hives of which only one is open at a time: facts are added hive by hive, and what
// none of them tells is said at the end.
struct MachineOverview {
  OutputListPtr list;                          // kListMachine; its files are the labels
  std::map<std::string, std::string> missing;  // by fact: who would tell
};
// Begin, then AddToOverview for each hive in any order, then EndOverview, once. A hive may be
// closed as soon as it was added.
MachineOverview BeginOverview();
void AddToOverview(MachineOverview& overview, const MachineHive& hive, const std::string& label);
void EndOverview(MachineOverview& overview);

}  // namespace hivequarry
