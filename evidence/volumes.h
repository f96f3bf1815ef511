// Volumes, letters and the devices that they were on: what "MountedDevices" tells.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "evidence/evidence_run.h"

namespace hivequarry {

// What the data of a mounted device say.
struct MountedDevice {
  const char* kind = "";
  uint32_t signature = 0;  // of an MBR disk
  uint64_t start = 0;      // of its partition, bytes
  std::string partition;   // GUID of a GPT partition
  std::string device;      // text of a removable device
  std::string serial;      // the part of that which tells the device, as "Enum" names it
};
MountedDevice ReadMountedDevice(ByteView data);

// "E:" of "\DosDevices\E:"; "{GUID}" of "\??\Volume{GUID}" and "#{GUID}"; else the name itself.
std::string VolumeName(std::string_view name);

// The names of volumes by what tells the device, in capitals: a serial with its suffix, or the
// prefix that XP gives to what is below a device. Several are joined.
using VolumesOfDevices = std::unordered_map<std::string, std::string>;
VolumesOfDevices FindVolumesOfDevices(EvidenceKeys& keys);

// What devices call themselves, by their serials, in capitals.
using NamesOfDevices = std::unordered_map<std::string, std::string>;
NamesOfDevices FindNamesOfDevices(EvidenceKeys& keys);

}  // namespace hivequarry
