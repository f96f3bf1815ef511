// Devices that were attached by USB: "Enum\USBSTOR", "Enum\USB" and the portable ones below
// "SWD\WPDBUSENUM". An instance is a key; the system keeps its times below "Properties".
#include "evidence/decode.h"
#include "evidence/volumes.h"
#include "host/case.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// Numbers of the times among a device's properties, of the set
// {83da6326-97a6-4088-9453-a1923f573b29}; FILETIME, UTC. The last two are kept from Windows 8 on.
constexpr uint32_t kInstalled = 0x64;
constexpr uint32_t kFirstInstalled = 0x65;
constexpr uint32_t kArrived = 0x66;
constexpr uint32_t kRemoved = 0x67;

// The part of "Disk&Ven_HP&Prod_v100w&Rev_1024" after a word; empty for none.
std::string PartAfter(std::string_view text, std::string_view word) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('&'), text.size());
    const std::string_view part = text.substr(0, end);
    if (StartsIgnoringCase(part, word)) return std::string(part.substr(word.size()));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return {};
}

// A property is a key. Windows 7 has "00000064\00000000" with a value "Data", later systems "0064"
// with a value without name. 0 for none; the type of the value, a property type with bits above
// those of the registry, is not looked at.
uint64_t PropertyTime(EvidenceKeys& keys, EvidenceKey properties, uint32_t number) {
  EvidenceKey key = keys.ChildNamed(properties, std::string(Hex(number, 4)));
  const char* value = "";
  if (key == kNoEvidenceKey) {
    key = keys.Below(properties, std::string(Hex(number, 8)) + "\\00000000");
    value = "Data";
  }
  const EvidenceValue time = keys.ValueNamed(key, value);
  return time.data.size() == 8 ? LoadU64(time.data.data()) : 0;
}

// The key is an instance, the one above it the model. Letters and volumes are found by the
// instance, which ends in "&0" there and in "MountedDevices", else by XP's parent prefix.
void AddInstance(EvidenceRun& run, const EvidencePlace& place, const char* bus,
                 const VolumesOfDevices& volumes) {
  EvidenceKeys& keys = run.keys;
  const std::vector<EvidenceValue> values = keys.ValuesOf(place.key);
  const std::string instance = keys.NameOf(place.key);
  const std::string device = keys.NameOf(keys.ParentOf(place.key));
  EvidenceRow row;
  std::string name = TextNamed(values, "FriendlyName");
  if (name.empty()) name = TextNamed(values, "DeviceDesc");
  row.Text(bus).Text(name).Text(device);
  const bool usb = StartsIgnoringCase(device, "VID_");
  row.Text(usb ? PartAfter(device, "VID_") : PartAfter(device, "Ven_"));
  row.Text(usb ? PartAfter(device, "PID_") : PartAfter(device, "Prod_"));
  row.Text(PartAfter(device, "Rev_"));
  // A second character "&" tells of a number that the system made, since the device has none.
  const bool made = instance.size() > 1 && instance[1] == '&';
  row.Text(instance);
  if (made) row.Note("no serial of the device: made by the system");
  const EvidenceKey properties =
      keys.Below(place.key, "Properties\\{83da6326-97a6-4088-9453-a1923f573b29}");
  for (const uint32_t number : {kInstalled, kFirstInstalled, kArrived, kRemoved}) {
    row.Time(PropertyTime(keys, properties, number));
  }
  const std::string prefix = TextNamed(values, "ParentIdPrefix");
  auto volume = volumes.find(CapitalsOfText(instance));
  if (volume == volumes.end() && !prefix.empty()) volume = volumes.find(CapitalsOfText(prefix));
  row.Text(volume == volumes.end() ? std::string() : volume->second);
  row.Text(TextNamed(values, "ContainerID")).Text(prefix).Text(TextNamed(values, "Service"));
  row.Text(place.control_set);
  AddEvidence(run, std::move(row), place.key);
}

}  // namespace

void DecodeUsbDevices(EvidenceRun& run, Places places) {
  constexpr const char* kBuses[] = {"USBSTOR", "USB", "portable", "portable"};
  const VolumesOfDevices volumes = FindVolumesOfDevices(run.keys);
  for (const EvidencePlace& place : places) {
    AddInstance(run, place, kBuses[place.pattern], volumes);
  }
}

}  // namespace hivequarry
