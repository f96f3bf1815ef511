// Networks that a system was in, and its interfaces.
#include <unordered_map>

#include "evidence/decode.h"
#include "hive/timestamp.h"
#include "host/case.h"
#include "host/number_text.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

// --- profiles -----------------------------------------------------------------------------------

// SYSTEMTIME, eight numbers of 16 bits: year, month, day of the week, day, hour, minute, second,
// millisecond. Those of a network are in local time, and which zone that was nothing here says;
// they are shown as they are.
constexpr size_t kSystemTime = 16;

// One cell; empty for no such value, and with a note for one that no calendar has. The day of the
// week is not looked at: it follows from the date.
void AddLocalTime(const std::vector<EvidenceValue>& values, const char* name, EvidenceRow& row) {
  const EvidenceValue* value = FindValue(values, name);
  if (value == nullptr) {
    row.Empty();
    return;
  }
  CalendarTime time;
  if (value->data.size() == kSystemTime) {
    const ByteView data = value->data;
    time.year = ReadU16(data, 0);
    time.month = ReadU16(data, 2);
    time.day = ReadU16(data, 6);
    time.hour = ReadU16(data, 8);
    time.minute = ReadU16(data, 10);
    time.second = ReadU16(data, 12);
    time.fraction = uint32_t{ReadU16(data, 14)} * 10'000;
  }
  if (const std::optional<uint64_t> file_time = FileTimeOfFields(time)) {
    row.LocalTime(*file_time);
  } else {
    row.Empty().Note(Concat({name, " is no time"}));
  }
}

// "Category" of a profile; an unknown number is shown as it is.
std::string CategoryText(uint64_t category) {
  constexpr const char* kWords[] = {"public", "private", "domain"};
  return category < std::size(kWords) ? kWords[category] : std::to_string(category);
}

// Numbers of interface types as network management assigns them.
std::string KindText(uint64_t kind) {
  switch (kind) {
    case 6:
      return "wired";
    case 23:
      return "VPN";
    case 71:
      return "wireless";
    default:
      return std::to_string(kind);
  }
}

// "00-11-22-AA-BB-CC"; empty for data of another length than the six bytes of a hardware address.
std::string AddressText(const std::vector<EvidenceValue>& values, const char* name) {
  constexpr size_t kLength = 6;
  const EvidenceValue* value = FindValue(values, name);
  if (value == nullptr || value->data.size() != kLength) return {};
  std::string text;
  for (const uint8_t byte : value->data) {
    if (!text.empty()) text += '-';
    text += std::string(Hex(byte, 2));
  }
  return text;
}

// What a key below "Signatures" says of the network, for the profile that its "ProfileGuid" names.
struct Signature {
  std::string gateway;  // hardware address
  std::string suffix;   // of DNS
  std::string first_network;
};

// A profile's row, with what its signature says of the network: found by the GUID that both name.
void AddProfile(EvidenceRun& run, EvidenceKey key,
                const std::unordered_map<std::string, Signature>& signatures) {
  const std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const std::string guid = run.keys.NameOf(key);
  EvidenceRow row;
  row.Text("profile").Text(TextNamed(values, "ProfileName")).Text(TextNamed(values, "Description"));
  const std::optional<uint64_t> category = NumberNamed(values, "Category");
  row.Text(category ? CategoryText(*category) : std::string());
  const std::optional<uint64_t> kind = NumberNamed(values, "NameType");
  row.Text(kind ? KindText(*kind) : std::string());
  AddLocalTime(values, "DateCreated", row);
  AddLocalTime(values, "DateLastConnected", row);
  const auto signature = signatures.find(CapitalsOfText(guid));
  const Signature own = signature == signatures.end() ? Signature() : signature->second;
  row.Text(own.gateway).Text(own.suffix).Text(own.first_network).Text(guid);
  AddEvidence(run, std::move(row), key);
}

// A row of its own besides what the profile's row says of it: its profile may be gone.
void AddSignature(EvidenceRun& run, EvidenceKey key, bool managed) {
  const std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  EvidenceRow row;
  row.Text(managed ? "managed" : "unmanaged").Empty().Text(TextNamed(values, "Description"));
  row.Empty(4);
  row.Text(AddressText(values, "DefaultGatewayMac")).Text(TextNamed(values, "DnsSuffix"));
  row.Text(TextNamed(values, "FirstNetwork")).Text(TextNamed(values, "ProfileGuid"));
  AddEvidence(run, std::move(row), key);
}

// --- interfaces ---------------------------------------------------------------------------------

// The first text of the values that is neither empty nor "0.0.0.0", which stands for no address.
// Callers name what came by DHCP before what was typed.
std::string FirstOf(const std::vector<EvidenceValue>& values,
                    std::initializer_list<const char*> names) {
  for (const char* name : names) {
    std::string text = TextNamed(values, name);
    if (!text.empty() && text != "0.0.0.0") return text;
  }
  return {};
}

// Name of the wireless network that an interface's key is about: "DhcpNetworkHint", bytes as text
// with the lower half of each first ("8416D6" is "Ham"). What is no such text is shown as it is.
std::string HintText(const std::vector<EvidenceValue>& values) {
  const std::string hint = TextNamed(values, "DhcpNetworkHint");
  std::vector<uint8_t> bytes;
  for (size_t at = 0; at + 1 < hint.size(); at += 2) {
    const uint32_t low = DigitOf(static_cast<unsigned char>(hint[at]));
    const uint32_t high = DigitOf(static_cast<unsigned char>(hint[at + 1]));
    if (low > 15 || high > 15) return hint;
    bytes.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  return NarrowText(bytes);
}

// What the user calls the connections, by the interfaces' GUIDs in capitals.
std::unordered_map<std::string, std::string> FindConnections(EvidenceKeys& keys) {
  constexpr PlacePattern kConnections[] = {
      "<set>\\Control\\Network\\{4D36E972-E325-11CE-BFC1-08002BE10318}\\*\\Connection"};
  std::unordered_map<std::string, std::string> names;
  for (const EvidencePlace& place : FindPlaces(keys, kConnections)) {
    const EvidenceKey above = keys.ParentOf(place.key);
    if (above == kNoEvidenceKey) continue;
    const EvidenceValue name = keys.ValueNamed(place.key, "Name");
    if (name.read) names.emplace(CapitalsOfText(keys.NameOf(above)), ValueText(name));
  }
  return names;
}

// Times of leases are seconds since 1970, UTC, in 32 bits; none fits in more.
void AddInterface(EvidenceRun& run, const EvidencePlace& place,
                  const std::unordered_map<std::string, std::string>& connections) {
  const std::vector<EvidenceValue> values = run.keys.ValuesOf(place.key);
  // What is below an interface is about one of its wireless networks.
  // The second pattern of the decoder leads to those.
  const bool below = place.pattern != 0;
  const std::string guid = run.keys.NameOf(below ? run.keys.ParentOf(place.key) : place.key);
  EvidenceRow row;
  const auto connection = connections.find(CapitalsOfText(guid));
  row.Text(connection == connections.end() ? std::string() : connection->second);
  row.Text(FirstOf(values, {"DhcpIPAddress", "IPAddress"}));
  row.Text(FirstOf(values, {"DhcpSubnetMask", "SubnetMask"}));
  row.Text(FirstOf(values, {"DhcpDefaultGateway", "DefaultGateway"}));
  row.Text(FirstOf(values, {"DhcpNameServer", "NameServer"}));
  row.Text(FirstOf(values, {"DhcpServer"})).Text(FirstOf(values, {"DhcpDomain", "Domain"}));
  const std::optional<uint64_t> dhcp = NumberNamed(values, "EnableDHCP");
  row.Text(!dhcp ? "" : *dhcp == 0 ? "no" : "yes");
  for (const char* time : {"LeaseObtainedTime", "LeaseTerminatesTime"}) {
    const uint64_t seconds = NumberNamed(values, time).value_or(0);
    row.Time(seconds == 0 || seconds > UINT32_MAX ? 0 : FileTimeOfSeconds(seconds));
  }
  row.Text(HintText(values)).Text(guid).Text(place.control_set);
  AddEvidence(run, std::move(row), place.key);
}

}  // namespace

void DecodeNetworks(EvidenceRun& run, Places places) {
  constexpr size_t kProfiles = 0;  // patterns
  constexpr size_t kManaged = 1;
  std::unordered_map<std::string, Signature> signatures;
  for (const EvidencePlace& place : places) {
    if (place.pattern == kProfiles) continue;
    const std::vector<EvidenceValue> values = run.keys.ValuesOf(place.key);
    signatures.emplace(
        CapitalsOfText(TextNamed(values, "ProfileGuid")),
        Signature{AddressText(values, "DefaultGatewayMac"), TextNamed(values, "DnsSuffix"),
                  TextNamed(values, "FirstNetwork")});
  }
  for (const EvidencePlace& place : places) {
    if (place.pattern == kProfiles) {
      AddProfile(run, place.key, signatures);
    } else {
      AddSignature(run, place.key, place.pattern == kManaged);
    }
  }
}

void DecodeInterfaces(EvidenceRun& run, Places places) {
  const auto connections = FindConnections(run.keys);
  for (const EvidencePlace& place : places) AddInterface(run, place, connections);
}

}  // namespace hivequarry
