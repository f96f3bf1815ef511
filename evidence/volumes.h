// Volumes, letters and the devices that they were on: what "MountedDevices" tells.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "evidence/evidence_run.h"

namespace hivequarry {

// What the data of a mounted device say, by their length:
//
//    12 bytes: 0 4 signature of an MBR disk, 4 8 first byte of the partition on it
//    24 bytes: "DMIO:ID:", then the GUID of a GPT partition
//    others:   UTF-16, "_??_USBSTOR#Disk&Ven_...#SERIAL&0#{...}"
//
// `kind` is a word for lists, "" for no data at all; what the form lacks is empty or 0.
struct MountedDevice {
  const char* kind = "";
  uint32_t signature = 0;  // of an MBR disk
  uint64_t start = 0;      // of its partition, bytes
  std::string partition;   // GUID of a GPT partition
  std::string device;      // text of a removable device
  std::string serial;      // the part of that which tells the device, as "Enum" names it
};
// Any bytes may be given: what has the length of no partition is taken for a device's text. The
// result owns its texts.
MountedDevice ReadMountedDevice(ByteView data);

// "E:" of "\DosDevices\E:"; "{GUID}" of "\??\Volume{GUID}" and "#{GUID}"; else the name itself.
std::string VolumeName(std::string_view name);

// The names of volumes by what tells the device, in capitals: a serial with its suffix, or the
// prefix that XP gives to what is below a device. Several are joined.
using VolumesOfDevices = std::unordered_map<std::string, std::string>;
// Looks through "MountedDevices" of the hive each time it is called.
VolumesOfDevices FindVolumesOfDevices(EvidenceKeys& keys);

// What devices call themselves, by their serials and by the prefixes that XP gives, in capitals.
using NamesOfDevices = std::unordered_map<std::string, std::string>;
// Looks through "USBSTOR" of all control sets each time it is called: "FriendlyName", else
// "DeviceDesc". The first name of a serial stays.
NamesOfDevices FindNamesOfDevices(EvidenceKeys& keys);

}  // namespace hivequarry
