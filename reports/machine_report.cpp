#include "reports/machine_report.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hive/root_evidence.h"
#include "hive/root_path.h"
#include "hive/shown_zone.h"
#include "hive/timestamp.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "records/stored_text.h"
#include "reports/control_sets.h"
#include "reports/report_run.h"
#include "words/known_guids.h"

namespace hivequarry {
namespace {

// A hive that facts are read from. All of them are at hand before the first fact, as facts of one
// field go together whatever hives they come from.
struct Teller {
  const HiveImage& hive;
  const KeyTree& tree;
  std::string file;
  HiveKind kind;
  RootEvidence evidence;
  ControlSets sets;
  std::unique_ptr<HiveKeySource> keys;
};

struct Overview {
  OutputList& list;
  std::vector<Teller> tellers;
  std::vector<std::string_view> told;  // fields with rows
};

// What a key says: its item, and of which control set it is.
struct FoundKey {
  uint32_t item = kNoItem;
  std::string note;
};

// --- keys ----------------------------------------------------------------------------------------

// The subkey of that name, a live one before a recovered one; kNoItem for none.
uint32_t Child(const Teller& teller, uint32_t parent, std::string_view name) {
  uint32_t recovered = kNoItem;
  for (uint32_t child = FirstChild(teller.tree, parent); child != kNoItem && !StopRequested();
       child = NextSibling(teller.tree, child)) {
    if (!HasKeyCell(teller.tree, child)) continue;
    if (!EqualIgnoringCase(ItemName(teller.hive, teller.tree, child), name)) continue;
    if (teller.tree.items[child].connected) return child;
    if (recovered == kNoItem) recovered = child;
  }
  return recovered;
}

// `path` without a backslash at its ends; kNoItem as soon as a key of it is missing.
uint32_t KeyBelow(const Teller& teller, uint32_t item, std::string_view path) {
  while (!path.empty() && item != kNoItem) {
    const size_t end = std::min(path.find('\\'), path.size());
    item = Child(teller, item, path.substr(0, end));
    path.remove_prefix(std::min(path.size(), end + 1));
  }
  return item;
}

std::string NoteOn(const Teller& teller, uint32_t item, std::string note) {
  if (!teller.tree.items[item].connected) note += note.empty() ? "recovered" : ", recovered";
  return note;
}

// The keys at a path below the root; one that begins with "CCS\" is sought in every control set.
std::vector<FoundKey> PlacesOf(const Teller& teller, std::string_view path) {
  constexpr std::string_view kAnySet = "CCS\\";
  std::vector<FoundKey> places;
  if (!path.starts_with(kAnySet)) {
    const uint32_t item = KeyBelow(teller, 0, path);
    if (item != kNoItem) places.push_back({item, NoteOn(teller, item, {})});
    return places;
  }
  path.remove_prefix(kAnySet.size());
  for (uint32_t set = FirstChild(teller.tree, 0); set != kNoItem && !StopRequested();
       set = NextSibling(teller.tree, set)) {
    const uint32_t number =
        HasKeyCell(teller.tree, set) ? ControlSetOf(teller.hive, teller.tree, set) : 0;
    const uint32_t item = number != 0 ? KeyBelow(teller, set, path) : kNoItem;
    if (item == kNoItem) continue;
    std::string words = ControlSetWords(teller.sets, number);
    words = Concat({"control set ", std::to_string(number), words.empty() ? "" : ": ", words});
    places.push_back({item, NoteOn(teller, item, std::move(words))});
  }
  return places;
}

// --- rows ----------------------------------------------------------------------------------------

// A row leads to its record only where one hive is told of: a list has one hive for its offsets.
void AddFact(Overview& over, Teller& teller, const char* field, const SourceKey& key,
             const SourceValue* value, const std::string& text, const std::string& note) {
  const uint32_t offset = value != nullptr ? value->position : key.position;
  const auto shown = [&teller](uint32_t position) {
    return position == kNoOffset ? std::string() : HexNumber(teller.keys->ShownPosition(position));
  };
  RowFacts facts;
  facts.about_key = value == nullptr;
  facts.last_write = key.last_write;
  facts.path = key.stored_path;
  AddListRow(over.list,
             {field,
              text,
              note,
              teller.file,
              key.path,
              value != nullptr ? NameText(*value) : std::string_view(),
              shown(offset),
              {KeyDateText(key), DateValue(key.last_write)}},
             over.tellers.size() == 1 ? offset : kNoOffset, facts);
  if (std::ranges::find(over.told, field) == over.told.end()) over.told.emplace_back(field);
}

// The key at the place; false when the user stops.
bool ReadKey(Teller& teller, uint32_t item, SourceKey& key) {
  teller.keys->BeginAt(item, 1);
  return teller.keys->NextKey(key);
}

// --- values --------------------------------------------------------------------------------------

std::string TextForm(const SourceValue& value) { return DataCell(value); }

// By the length of the data, whatever the type says; 0 for other lengths.
uint64_t NumberOf(const SourceValue& value) {
  if (value.data.size() == 4) return LoadU32(value.data.data());
  return value.data.size() == 8 ? LoadU64(value.data.data()) : 0;
}

std::string NumberForm(const SourceValue& value) {
  return value.data.size() == 4 ? std::to_string(NumberOf(value)) : value.text;
}

std::string MinutesForm(const SourceValue& value) {
  if (value.data.size() != 4) return value.text;
  return std::to_string(static_cast<int32_t>(NumberOf(value))) + " minutes";
}

std::string TimeText(uint64_t time, const SourceValue& value) {
  const std::string text = FormatTimestampChecked(time);
  if (text.empty()) return value.text;
  return ShownZoneSuffix(time).empty() ? text + " UTC" : text;
}

std::string FileTimeForm(const SourceValue& value) {
  return value.data.size() == 8 ? TimeText(NumberOf(value), value) : value.text;
}

// Seconds since 1970.
std::string SecondsForm(const SourceValue& value) {
  if (value.data.size() != 4) return value.text;
  return TimeText(FileTimeOfSeconds(NumberOf(value)), value);
}

// A row for each value of that name at the path, in a hive of that kind. The path is below the
// root; "CCS\" begins one in every control set.
struct ValueFact {
  const char* field;
  HiveKind hive;
  const char* path;
  const char* value;
  std::string (*form)(const SourceValue&) = TextForm;
};

constexpr const char* kSystem = "Microsoft\\Windows NT\\CurrentVersion";
constexpr const char* kNetwork = "CCS\\Services\\Tcpip\\Parameters";
constexpr const char* kZone = "CCS\\Control\\TimeZoneInformation";
// Rows come in this order. Several rows of one field are other names of it, of older or newer
// systems; all that are there are told.
constexpr ValueFact kFacts[] = {
    {"Computer name", HiveKind::kSystem, "CCS\\Control\\ComputerName\\ComputerName",
     "ComputerName"},
    {"Host name", HiveKind::kSystem, kNetwork, "NV Hostname"},
    {"Domain", HiveKind::kSystem, kNetwork, "NV Domain"},
    {"Product", HiveKind::kSoftware, kSystem, "ProductName"},
    {"Edition", HiveKind::kSoftware, kSystem, "EditionID"},
    {"Version", HiveKind::kSoftware, kSystem, "DisplayVersion"},
    {"Version", HiveKind::kSoftware, kSystem, "ReleaseId"},
    {"Version", HiveKind::kSoftware, kSystem, "CurrentVersion"},
    {"Service pack", HiveKind::kSoftware, kSystem, "CSDVersion"},
    {"Build", HiveKind::kSoftware, kSystem, "CurrentBuildNumber"},
    {"Update of the build", HiveKind::kSoftware, kSystem, "UBR", NumberForm},
    {"Build laboratory", HiveKind::kSoftware, kSystem, "BuildLabEx"},
    {"Product id", HiveKind::kSoftware, kSystem, "ProductId"},
    {"Owner", HiveKind::kSoftware, kSystem, "RegisteredOwner"},
    {"Organisation", HiveKind::kSoftware, kSystem, "RegisteredOrganization"},
    {"System folder", HiveKind::kSoftware, kSystem, "SystemRoot"},
    {"Installed", HiveKind::kSoftware, kSystem, "InstallTime", FileTimeForm},
    {"Installed", HiveKind::kSoftware, kSystem, "InstallDate", SecondsForm},
    {"Processor", HiveKind::kSystem, "CCS\\Control\\Session Manager\\Environment",
     "PROCESSOR_ARCHITECTURE"},
    {"Time zone", HiveKind::kSystem, kZone, "TimeZoneKeyName"},
    {"Time zone", HiveKind::kSystem, kZone, "StandardName"},
    {"Zone: UTC is local time and", HiveKind::kSystem, kZone, "Bias", MinutesForm},
    {"Zone: in force then", HiveKind::kSystem, kZone, "ActiveTimeBias", MinutesForm},
    {"Last shutdown", HiveKind::kSystem, "CCS\\Control\\Windows", "ShutdownTime", FileTimeForm},
    {"Control set in use", HiveKind::kSystem, "Select", "Current", NumberForm},
    {"Last user", HiveKind::kSoftware,
     "Microsoft\\Windows\\CurrentVersion\\Authentication\\LogonUI", "LastLoggedOnUser"},
    {"Last user", HiveKind::kSoftware, "Microsoft\\Windows NT\\CurrentVersion\\Winlogon",
     "DefaultUserName"},
    {"User", HiveKind::kUser, "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer",
     "Logon User Name"},
};

// From this build on the product calls itself 10, and is 11.
std::string BuildNote(const ValueFact& fact, const std::string& text) {
  constexpr int kFirstOfEleven = 22000;
  if (std::string_view(fact.value) != "CurrentBuildNumber" || text.size() != 5) return {};
  return std::atoi(text.c_str()) >= kFirstOfEleven ? "builds from 22000 on are Windows 11" : "";
}

// A value that is there and can't be read has a row that says so.
void AddValueFact(Overview& over, Teller& teller, const ValueFact& fact) {
  for (const FoundKey& place : PlacesOf(teller, fact.path)) {
    SourceKey key;
    SourceValue value;
    if (!ReadKey(teller, place.item, key)) continue;
    if (!teller.keys->FindValue(fact.value, value)) continue;
    const std::string text = value.read ? fact.form(value) : value.text;
    std::string note = BuildNote(fact, text);
    if (note.empty()) note = place.note;
    AddFact(over, teller, fact.field, key, &value, text, note);
  }
}

// --- lists of subkeys ---------------------------------------------------------------------------

// Gets a subkey; its item and note are the place's.
using TellOfKey = std::function<void(const SourceKey& key, const FoundKey& place)>;
// The children of all keys that the path leads to, in all control sets; made keys are passed over.
void ForEachSubkey(Teller& teller, const char* path, const TellOfKey& tell) {
  for (const FoundKey& place : PlacesOf(teller, path)) {
    for (uint32_t child = FirstChild(teller.tree, place.item); child != kNoItem && !StopRequested();
         child = NextSibling(teller.tree, child)) {
      SourceKey key;
      if (!HasKeyCell(teller.tree, child) || !ReadKey(teller, child, key)) continue;
      tell(key, {child, place.note.empty() ? NoteOn(teller, child, {}) : place.note});
    }
  }
}

// A row for each subkey that has one of the values, the first that it has and that is not empty.
struct SubkeyFact {
  const char* field;
  HiveKind hive;
  const char* path;
  const char* values[2];
  bool name_first;  // the key's name belongs to the text
};
constexpr SubkeyFact kSubkeyFacts[] = {
    {"User",
     HiveKind::kSoftware,
     "Microsoft\\Windows NT\\CurrentVersion\\ProfileList",
     {"ProfileImagePath", nullptr},
     true},
    {"Network",
     HiveKind::kSoftware,
     "Microsoft\\Windows NT\\CurrentVersion\\NetworkList\\Profiles",
     {"ProfileName", nullptr},
     false},
    {"Network address",
     HiveKind::kSystem,
     "CCS\\Services\\Tcpip\\Parameters\\Interfaces",
     {"DhcpIPAddress", "IPAddress"},
     false},
    {"Earlier system", HiveKind::kSystem, "Setup", {"ProductName", nullptr}, true},
};

// Of each subkey the first of the fact's values that has text.
void AddSubkeyFact(Overview& over, Teller& teller, const SubkeyFact& fact) {
  ForEachSubkey(teller, fact.path, [&](const SourceKey& key, const FoundKey& place) {
    for (const char* name : fact.values) {
      SourceValue value;
      if (name == nullptr || !teller.keys->FindValue(name, value)) continue;
      std::string text = DataCell(value);
      if (text.empty()) continue;
      if (fact.name_first) text = Concat({key.name, ", ", text});
      AddFact(over, teller, fact.field, key, &value, text, place.note);
      return;
    }
  });
}

// The type of the unnamed value of an account's key is its number.
void AddAccounts(Overview& over, Teller& teller) {
  ForEachSubkey(teller, "SAM\\Domains\\Account\\Users\\Names",
                [&](const SourceKey& key, const FoundKey& place) {
                  SourceValue value;
                  std::string text = key.name;
                  const bool numbered = teller.keys->FindValue("", value);
                  if (numbered) text += ", number " + std::to_string(value.type);
                  AddFact(over, teller, "User", key, numbered ? &value : nullptr, text, place.note);
                });
}

// "Disk&Ven_...&Prod_..." with an instance below, which has the name.
void AddDisksOf(Overview& over, Teller& teller, const char* path) {
  ForEachSubkey(teller, path, [&](const SourceKey& device, const FoundKey& place) {
    const bool disk = StartsIgnoringCase(device.name, "Disk");
    for (uint32_t at = FirstChild(teller.tree, place.item); disk && at != kNoItem;
         at = NextSibling(teller.tree, at)) {
      SourceKey key;
      SourceValue value;
      if (StopRequested() || !HasKeyCell(teller.tree, at) || !ReadKey(teller, at, key)) continue;
      const bool named = teller.keys->FindValue("FriendlyName", value);
      const std::string text = (named ? DataCell(value) : device.name) + ", " + key.name;
      AddFact(over, teller, "Disk", key, named ? &value : nullptr, text, place.note);
    }
  });
}

void AddDisks(Overview& over, Teller& teller) {
  for (const char* path :
       {"CCS\\Enum\\IDE", "CCS\\Enum\\SCSI", "CCS\\Enum\\NVME", "CCS\\Enum\\USBSTOR"}) {
    AddDisksOf(over, teller, path);
  }
}

// What a drive's letter leads to, by the length of the data:
//
//    12 bytes   MBR disk: signature of 32 bits, then the partition's start in bytes, 64 bits
//    24 bytes   GPT disk: "DMIO:ID:", then the partition's identifier
//    others     a device's path as UTF-16, shown as it is
std::string DeviceWords(const SourceValue& value) {
  constexpr std::string_view kPartition = "DMIO:ID:";
  const auto& data = value.data;
  if (data.size() == 12) {
    return Concat({"disk signature 0x", Hex(LoadU32(data.data()), 8), ", from byte ",
                   std::to_string(LoadU64(data.data() + 4))});
  }
  const std::string_view start(reinterpret_cast<const char*>(data.data()),
                               std::min(data.size(), kPartition.size()));
  if (data.size() == 24 && start == kPartition) {
    return "partition " + GuidText(GuidOfBytes(data.subspan<8, 16>()));
  }
  std::string text;
  AppendUnits(data, StoredUnits::kOfString, kDataCellLimit, text);
  return ShownValueName(text);
}

// Values without a letter are volumes that no letter leads to, and are left out here.
void AddDrives(Overview& over, Teller& teller) {
  constexpr std::string_view kLetter = "\\DosDevices\\";
  for (const FoundKey& place : PlacesOf(teller, "MountedDevices")) {
    SourceKey key;
    SourceValue value;
    if (!ReadKey(teller, place.item, key)) continue;
    while (teller.keys->NextValue(value)) {
      if (!value.read || !StartsIgnoringCase(value.name, kLetter)) continue;
      const std::string text = value.shown_name.substr(kLetter.size()) + " " + DeviceWords(value);
      AddFact(over, teller, "Drive", key, &value, text, place.note);
    }
  }
}

// A user's hive does not name its user; the security of its keys does.
void AddAccountOfProfile(Overview& over, Teller& teller) {
  SourceKey key;
  if (teller.evidence.sid.empty() || !ReadKey(teller, 0, key)) return;
  AddFact(over, teller, "User", key, nullptr, teller.evidence.sid,
          "alone has all access to " + teller.evidence.sid_keys);
}

// --- the whole ----------------------------------------------------------------------------------

// What an examiner asks for, and where it would be.
constexpr struct {
  const char* field;
  const char* hives;
} kAsked[] = {{"Computer name", "SYSTEM"}, {"Product", "SOFTWARE"},
              {"Build", "SOFTWARE"},       {"Owner", "SOFTWARE"},
              {"Installed", "SOFTWARE"},   {"Time zone", "SYSTEM"},
              {"Last shutdown", "SYSTEM"}, {"User", "SOFTWARE, SAM or a user's NTUSER.DAT"},
              {"Network", "SOFTWARE"},     {"Disk", "SYSTEM"},
              {"Drive", "SYSTEM"}};

// What is missing is said too: a reader must know whether a fact is not in the hives or was not
// asked for.
void AddMissing(Overview& over) {
  for (const auto& asked : kAsked) {
    if (std::ranges::find(over.told, asked.field) != over.told.end()) continue;
    // `hives` is searched for the name of a kind, so a field may name several.
    const bool there = std::ranges::any_of(over.tellers, [&](const Teller& teller) {
      const bool known = teller.kind != HiveKind::kUnknown;
      return known &&
             std::string_view(asked.hives).find(HiveKindName(teller.kind)) != std::string::npos;
    });
    const std::string note = there ? std::string("not in the hive ") + asked.hives
                                   : std::string("the hive ") + asked.hives + " would tell";
    AddListRow(over.list, {asked.field, "", note, "", "", "", "", ""}, kNoOffset);
  }
}

// What the user said of the root counts more than what the hive holds.
HiveKind KindOf(const HiveImage& hive, const RootEvidence& evidence) {
  return hive.root.source == RootSource::kUser
             ? KindOfRootPath(std::string_view(hive.root.label).substr(0, hive.root.label_length))
             : KindOfHive(evidence);
}

// The system's own account is told of as a user is. Keeps references to hive and tree.
Teller MakeTeller(const MachineHive& given) {
  RootEvidence evidence = FindRootEvidence(*given.hive);
  const HiveKind kind = KindOf(*given.hive, evidence);
  return {*given.hive,
          *given.tree,
          given.hive->file_name,
          kind == HiveKind::kDefault ? HiveKind::kUser : kind,
          std::move(evidence),
          ReadControlSets(*given.hive, *given.tree),
          KeysOfHive(*given.hive, *given.tree, 0)};
}

// Facts in the order of the tables, each by all hives in the order given.
void TellAll(Overview& over) {
  for (const ValueFact& fact : kFacts) {
    for (Teller& teller : over.tellers) {
      if (teller.kind == fact.hive && !StopRequested()) AddValueFact(over, teller, fact);
    }
  }
  for (const SubkeyFact& fact : kSubkeyFacts) {
    for (Teller& teller : over.tellers) {
      if (teller.kind == fact.hive && !StopRequested()) AddSubkeyFact(over, teller, fact);
    }
  }
  for (Teller& teller : over.tellers) {
    if (teller.kind == HiveKind::kSam) AddAccounts(over, teller);
    if (teller.kind == HiveKind::kUser) AddAccountOfProfile(over, teller);
    if (teller.kind != HiveKind::kSystem) continue;
    AddDisks(over, teller);
    AddDrives(over, teller);
  }
}

}  // namespace

OutputListPtr ListMachine(std::span<const MachineHive> hives) {
  OutputListPtr list = MakeOutputList(kListMachine);
  Overview over = {*list, {}, {}};
  for (const MachineHive& given : hives) {
    if (!given.tree->items.empty()) over.tellers.push_back(MakeTeller(given));
  }
  TellAll(over);
  if (!StopRequested()) AddMissing(over);
  return list;
}

MachineOverview BeginOverview() { return {MakeOutputList(kListMachine), {}}; }

// A field missing in several hives has one note: that of a hive which should have it counts more
// than that of one which would not.
void AddToOverview(MachineOverview& overview, const MachineHive& hive, const std::string& label) {
  constexpr int kFile = 3;
  // Made for this hive alone: what it lacks is told apart by its empty file cell.
  const OutputListPtr list = ListMachine(std::span(&hive, 1));
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    const std::string fact(CellText(*list, row, 0));
    if (CellText(*list, row, kFile).empty()) {
      std::string& note = overview.missing[fact];
      const std::string said(CellText(*list, row, 2));
      if (note.empty() || said.starts_with("not in")) note = said;
      continue;
    }
    ReplaceCell(*list, row, kFile, label);
    AddRowOf(*overview.list, *list, row);
  }
}

void EndOverview(MachineOverview& overview) {
  for (uint32_t row = 0; row < RowCount(*overview.list); ++row) {
    overview.missing.erase(std::string(CellText(*overview.list, row, 0)));
  }
  for (const auto& [fact, note] : overview.missing) {
    AddListRow(*overview.list, {fact, "", note, "", "", "", "", ""}, kNoOffset);
  }
}

}  // namespace hivequarry
