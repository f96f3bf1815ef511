// The decoders of evidence, a row each: what the console, the menus and the lists know of them. A
// new decoder is a row here, its places and function in decoders.cpp, and its kind of list.
#pragma once

#include <cstdint>

#include "lists/evidence_kinds.h"

namespace hivequarry {

// The submenus, in their order.
enum class DecoderGroup : uint8_t {
  kPrograms,
  kFolders,
  kDevices,
  kAutostart,
  kNetworks,
  kAccounts,
  kMachine,
  kCount
};

struct DecoderInfo {
  const char* name;  // on the console
  const char* help;  // there, a line
  const char* menu;  // item text with its mnemonic
  DecoderGroup group;
  int kind;  // of its list
};

// Those of a group follow one another.
// Commands of the window are numbered by a decoder's place here, so a new one goes to the end of
// its group and shifts those after it; the console's names stay.
inline constexpr DecoderInfo kDecoders[] = {
    {"user-assist", "Programs started by the shell, with runs, focus and times", "&UserAssist",
     DecoderGroup::kPrograms, kListUserAssist},
    {"shim-cache", "Program files that the system's compatibility cache has seen", "Shim&Cache",
     DecoderGroup::kPrograms, kListShimCache},
    {"activity", "Last runs of programs by user, as the activity moderators keep them",
     "&Activity moderators", DecoderGroup::kPrograms, kListActivity},
    {"am-cache", "The inventory of programs, files and drivers with their hashes", "A&mCache",
     DecoderGroup::kPrograms, kListAmCache},
    {"mui-cache", "Names that programs were shown by", "MUICac&he", DecoderGroup::kPrograms,
     kListMuiCache},
    {"app-settings", "Settings of app packages, each with the time of its last change",
     "A&pp settings", DecoderGroup::kPrograms, kListAppSettings},
    {"shell-bags", "Folders that the shell has shown, with whole paths", "&Shell bags",
     DecoderGroup::kFolders, kListShellBags},
    {"dialog-files", "Files and folders of open and save dialogs, with the programs", "&Dialogs",
     DecoderGroup::kFolders, kListDialogFiles},
    {"recent-docs", "Documents opened last", "&Recent documents", DecoderGroup::kFolders,
     kListRecentDocs},
    {"typed-texts", "Commands, paths, words and addresses that were typed", "&Typed texts",
     DecoderGroup::kFolders, kListTypedTexts},
    {"usb-devices", "Devices that were attached by USB, with their times and volumes",
     "&USB devices", DecoderGroup::kDevices, kListUsbDevices},
    {"volumes", "Letters and volumes, with the disks and devices they were on", "&Volumes",
     DecoderGroup::kDevices, kListVolumes},
    {"autostart", "What the system starts by itself, approved or not", "&Places",
     DecoderGroup::kAutostart, kListAutostart},
    {"service-files", "Services and drivers with the files that they really run", "&Services",
     DecoderGroup::kAutostart, kListServiceFiles},
    {"tasks", "Scheduled tasks with their runs", "&Tasks", DecoderGroup::kAutostart, kListTasks},
    {"networks", "Networks that the system was in", "&Networks", DecoderGroup::kNetworks,
     kListNetworks},
    {"interfaces", "Network interfaces with their addresses and leases", "&Interfaces",
     DecoderGroup::kNetworks, kListInterfaces},
    {"accounts", "User accounts, with what contradicts itself", "&Users", DecoderGroup::kAccounts,
     kListAccounts},
    {"groups", "Groups of accounts with their members", "&Groups", DecoderGroup::kAccounts,
     kListGroups},
    {"profiles", "Profiles of users with the times they were loaded", "&Profiles",
     DecoderGroup::kAccounts, kListProfiles},
    {"system-facts", "Names, version, zone, installation and last shutdown of the system",
     "&System", DecoderGroup::kMachine, kListSystemFacts},
    {"policies", "Settings of the local security authority, and what is audited", "&Policies",
     DecoderGroup::kMachine, kListPolicies},
};

}  // namespace hivequarry
