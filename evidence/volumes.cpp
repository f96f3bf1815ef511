#include "evidence/volumes.h"

#include "evidence/decode.h"
#include "host/case.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

constexpr PlacePattern kMounted[] = {"!MountedDevices"};
// Lengths of the forms; kGptMark is what data of the second begin with.
constexpr size_t kMbr = 12;
constexpr size_t kGpt = 24;
constexpr std::string_view kGptMark = "DMIO:ID:";

// The third part between "#" of "_??_USBSTOR#Disk&...#SERIAL&0#{...}"; that of XP's removable media
// ends in "&RM".
std::string SerialOf(std::string_view device) {
  size_t at = 0;
  for (int part = 0; part < 2; ++part) {
    at = device.find('#', at);
    if (at == std::string_view::npos) return {};
    ++at;
  }
  std::string_view serial = device.substr(at, device.find('#', at) - at);
  constexpr std::string_view kMedium = "&RM";
  if (serial.ends_with(kMedium)) serial.remove_suffix(kMedium.size());
  return std::string(serial);
}

}  // namespace

MountedDevice ReadMountedDevice(ByteView data) {
  MountedDevice device;
  if (data.size() == kMbr) {
    device.kind = "MBR partition";
    device.signature = ReadU32(data, 0);
    device.start = ReadU64(data, 4);
  } else if (data.size() == kGpt && std::equal(kGptMark.begin(), kGptMark.end(), data.begin())) {
    device.kind = "GPT partition";
    device.partition = GuidAt(data, kGptMark.size());
  } else if (!data.empty()) {
    device.kind = "device";
    device.device = WideText(data);
    device.serial = SerialOf(device.device);
  }
  return device;
}

std::string VolumeName(std::string_view name) {
  for (const std::string_view start : {"\\DosDevices\\", "\\??\\Volume", "#"}) {
    if (StartsIgnoringCase(name, start)) return std::string(name.substr(start.size()));
  }
  return std::string(name);
}

// A device may be named by several values: their names are joined.
VolumesOfDevices FindVolumesOfDevices(EvidenceKeys& keys) {
  VolumesOfDevices volumes;
  for (const EvidencePlace& place : FindPlaces(keys, kMounted)) {
    for (const EvidenceValue& value : keys.ValuesOf(place.key)) {
      const std::string serial = ReadMountedDevice(value.data).serial;
      if (!serial.empty()) JoinText(volumes[CapitalsOfText(serial)], VolumeName(value.name));
    }
  }
  return volumes;
}

// The first name of a serial stays: live keys come before freed ones.
NamesOfDevices FindNamesOfDevices(EvidenceKeys& keys) {
  constexpr PlacePattern kStores[] = {"<set>\\Enum\\!USBSTOR\\*\\*"};
  NamesOfDevices names;
  for (const EvidencePlace& place : FindPlaces(keys, kStores)) {
    const std::vector<EvidenceValue> values = keys.ValuesOf(place.key);
    std::string name = TextNamed(values, "FriendlyName");
    if (name.empty()) name = TextNamed(values, "DeviceDesc");
    if (name.empty()) continue;
    names.emplace(CapitalsOfText(keys.NameOf(place.key)), name);
    const std::string prefix = TextNamed(values, "ParentIdPrefix");
    if (!prefix.empty()) names.emplace(CapitalsOfText(prefix), name);
  }
  return names;
}

namespace {

// Names whose data are one another's, by these.
std::unordered_map<std::string, std::string> NamesByData(const std::vector<EvidenceValue>& values) {
  std::unordered_map<std::string, std::string> names;
  for (const EvidenceValue& value : values) {
    if (!value.read || value.freed || value.data.empty()) continue;
    JoinText(names[std::string(value.data.begin(), value.data.end())], VolumeName(value.name));
  }
  return names;
}

// Values with the same data are names of one volume, as a letter and its "\??\Volume{GUID}": each
// row says the others.
void AddMounted(EvidenceRun& run, EvidenceKey key, const NamesOfDevices& devices) {
  const std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const auto names = NamesByData(values);
  for (const EvidenceValue& value : values) {
    if (value.name.empty()) continue;
    EvidenceRow row;
    HasData(value, 1, row);
    const MountedDevice device = ReadMountedDevice(value.data);
    const std::string name = VolumeName(value.name);
    row.Text("mounted").Text(name).Text(device.kind);
    if (device.signature != 0 || device.start != 0) {
      row.Text(HexText(device.signature)).Number(device.start);
    } else {
      row.Empty(2);
    }
    row.Text(device.partition).Text(device.device).Text(device.serial);
    const auto known = devices.find(CapitalsOfText(device.serial));
    row.Text(device.serial.empty() || known == devices.end() ? std::string() : known->second);
    const auto same = names.find(std::string(value.data.begin(), value.data.end()));
    row.Text(same == names.end() || same->second == name ? std::string() : same->second);
    AddEvidence(run, std::move(row), key, &value);
  }
}

// A key of a user for each volume, letter or share that the shell has seen.
// A network share is named by its path with "#" for each "\".
void AddMountPoint(EvidenceRun& run, EvidenceKey key) {
  const std::string name = run.keys.NameOf(key);
  EvidenceRow row;
  const bool share = name.starts_with("##");
  std::string shown = name;
  for (char& c : shown) {
    if (share && c == '#') c = '\\';
  }
  row.Text("mount point").Text(shown);
  row.Text(share ? "network share" : IsGuid(name) ? "volume" : name.size() == 1 ? "letter" : "");
  row.Empty(5);
  row.Text(TextNamed(run.keys.ValuesOf(key), "_LabelFromReg"));
  AddEvidence(run, std::move(row), key);
}

}  // namespace

void DecodeVolumes(EvidenceRun& run, Places places) {
  const NamesOfDevices devices = FindNamesOfDevices(run.keys);
  for (const EvidencePlace& place : places) {
    if (place.pattern != 0) {
      if (!EqualIgnoringCase(run.keys.NameOf(place.key), "CPC")) AddMountPoint(run, place.key);
      continue;
    }
    AddMounted(run, place.key, devices);
  }
}

}  // namespace hivequarry
