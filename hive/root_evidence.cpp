#include "hive/root_evidence.h"

#include <algorithm>
#include <span>
#include <unordered_map>

#include "hive/keys.h"
#include "hive/profile_owner.h"
#include "hive/root_path.h"
#include "hive/subkeys.h"
#include "host/case.h"
#include "host/visible_text.h"
#include "records/base_block.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

constexpr std::string_view kClassesEnd = "\\SOFTWARE\\Classes";

// In the order of the kinds. Of a user's hive the root is that of whoever runs the program, unless
// the hive says whose it is. A hive of which no registry has a root is shown as what it is.
constexpr struct {
  HiveKind kind;
  const char* name;
  const char* root;
} kKinds[] = {{HiveKind::kUnknown, "", ""},
              {HiveKind::kUser, "NTUSER", "HKCU"},
              {HiveKind::kClasses, "USRCLASS", "HKCU\\SOFTWARE\\Classes"},
              {HiveKind::kDefault, "DEFAULT", "HKU\\.DEFAULT"},
              {HiveKind::kSettings, "settings", "settings"},
              {HiveKind::kPackageUser, "User.dat", "HKCU"},
              {HiveKind::kPackageClasses, "UserClasses.dat", "HKCU\\SOFTWARE\\Classes"},
              {HiveKind::kPackageRegistry, "Registry.dat", "Registry.dat"},
              {HiveKind::kSystem, "SYSTEM", "HKLM\\SYSTEM"},
              {HiveKind::kSoftware, "SOFTWARE", "HKLM\\SOFTWARE"},
              {HiveKind::kSam, "SAM", "HKLM\\SAM"},
              {HiveKind::kSecurity, "SECURITY", "HKLM\\SECURITY"},
              {HiveKind::kComponents, "COMPONENTS", "HKLM\\Components"},
              {HiveKind::kDrivers, "DRIVERS", "HKLM\\DRIVERS"},
              {HiveKind::kElam, "ELAM", "HKLM\\ELAM"},
              {HiveKind::kSchema, "schema", "HKLM\\Schema"},
              {HiveKind::kBcd, "BCD", "HKLM\\BCD00000000"},
              {HiveKind::kAmCache, "AmCache", "AmCache"},
              {HiveKind::kSyscache, "Syscache", "Syscache"},
              {HiveKind::kBbi, "BBI", "BBI"}};

constexpr bool KindsAreWhole() {
  for (size_t i = 0; i < std::size(kKinds); ++i) {
    if (kKinds[i].kind != static_cast<HiveKind>(i)) return false;
  }
  return std::size(kKinds) == static_cast<size_t>(HiveKind::kCount);
}
static_assert(KindsAreWhole());

const char* RootOfKind(HiveKind kind) { return kKinds[static_cast<size_t>(kind)].root; }

// Names that the system gives to hive files. Without an ending: whatever is after a dot.
struct FileOfKind {
  std::string_view name;
  HiveKind kind;
};
constexpr FileOfKind kFiles[] = {{"SYSTEM", HiveKind::kSystem},
                                 {"SOFTWARE", HiveKind::kSoftware},
                                 {"SAM", HiveKind::kSam},
                                 {"SECURITY", HiveKind::kSecurity},
                                 {"COMPONENTS", HiveKind::kComponents},
                                 {"BCD", HiveKind::kBcd},
                                 {"BCD-Template", HiveKind::kBcd},
                                 {"NTUSER", HiveKind::kUser},
                                 {"DEFAULT", HiveKind::kDefault},
                                 {"USRCLASS", HiveKind::kClasses},
                                 {"AMCACHE", HiveKind::kAmCache},
                                 {"SYSCACHE", HiveKind::kSyscache}};
// Words that files of other kinds are called by too: the whole name alone.
constexpr FileOfKind kWholeFiles[] = {{"settings.dat", HiveKind::kSettings},
                                      {"User.dat", HiveKind::kPackageUser},
                                      {"UserClasses.dat", HiveKind::kPackageClasses},
                                      {"Registry.dat", HiveKind::kPackageRegistry},
                                      {"DRIVERS", HiveKind::kDrivers},
                                      {"ELAM", HiveKind::kElam},
                                      {"BBI", HiveKind::kBbi},
                                      {"schema.dat", HiveKind::kSchema}};

// By the name up to its first dot ("SOFTWARE.bak" is one), then by the whole name.
HiveKind KindOfFileName(std::string_view path) {
  const std::string_view name = path.substr(path.find_last_of("\\/") + 1);
  const std::string_view stem = name.substr(0, name.find('.'));
  for (const auto& file : kFiles) {
    if (EqualIgnoringCase(stem, file.name)) return file.kind;
  }
  for (const auto& file : kWholeFiles) {
    if (EqualIgnoringCase(name, file.name)) return file.kind;
  }
  return HiveKind::kUnknown;
}

// --- the keys ------------------------------------------------------------------------------------

// Keys that hang from the root by live lists, each naming the key above it as its parent.
class LiveKeys {
 public:
  explicit LiveKeys(const HiveImage& hive) : hive_(hive), budget_(hive.length / 16 + 65536) {}

  // The key at a path below the root, in whose names '#' is any digit; kNoOffset for none.
  uint32_t Find(std::string_view path) {
    uint32_t key = hive_.root_position;
    while (!path.empty() && key != kNoOffset) {
      const size_t end = std::min(path.find('\\'), path.size());
      key = Child(key, path.substr(0, end));
      path.remove_prefix(std::min(path.size(), end + 1));
    }
    return key;
  }

  // True when the root has subkeys, each with one of these names.
  bool RootHasOnly(std::span<const std::string_view> names) {
    const std::vector<Named>& keys = ChildrenOf(hive_.root_position);
    return !keys.empty() && std::ranges::all_of(keys, [names](const Named& key) {
      return std::ranges::any_of(names, [&key](auto name) { return Fits(key.name, name); });
    });
  }

  std::string NameOf(uint32_t key) const { return ShownKeyName(ReadKeyName(hive_, key)); }

 private:
  // A child's cell, by its name as it is displayed.
  struct Named {
    std::string name;
    uint32_t position;
  };

  static bool Fits(std::string_view name, std::string_view wanted) {
    const size_t digits = wanted.find('#');
    if (digits == std::string_view::npos) return EqualIgnoringCase(name, wanted);
    return name.size() == wanted.size() && StartsIgnoringCase(name, wanted.substr(0, digits)) &&
           name.find_first_not_of("0123456789", digits) == std::string_view::npos;
  }

  uint32_t Child(uint32_t parent, std::string_view name) {
    for (const Named& child : ChildrenOf(parent)) {
      if (Fits(child.name, name)) return child.position;
    }
    return kNoOffset;
  }

  bool IsLiveKey(uint32_t key, uint32_t parent) const {
    return InsideHive(hive_, key, kKeyName) && IsAllocated(ReadU32(hive_, key)) &&
           ReadU16(hive_, key + 4) == kSignatureNk && ReadOffset(hive_, key + kKeyParent) == parent;
  }

  const std::vector<Named>& ChildrenOf(uint32_t parent) {
    const auto [place, fresh] = children_.try_emplace(parent);
    if (!fresh) return place->second;
    std::vector<SubkeyEntry> entries;
    ReadSubkeyList(hive_, ReadOffset(hive_, parent + kKeySubkeyList), budget_, entries);
    for (const SubkeyEntry& entry : entries) {
      if (!IsLiveKey(entry.key, parent)) continue;
      place->second.push_back({ReadKeyName(hive_, entry.key), entry.key});
    }
    return place->second;
  }

  const HiveImage& hive_;
  uint32_t budget_;  // list entries that are read in all
  std::unordered_map<uint32_t, std::vector<Named>> children_;
};

// What only hives of a kind have: all of the first keys, and any of the others where there are
// some.
struct KeysOfKind {
  HiveKind kind;
  std::string_view all[2];
  std::string_view any[5] = {};
};
// By who may write to the root, the most first.
constexpr KeysOfKind kKeysOfKinds[] = {
    {HiveKind::kUser, {"Software", ""}, {"Control Panel", "Environment"}},
    {HiveKind::kClasses,
     {"Local Settings", ""},
     {"CLSID", "Local Settings\\Software\\Microsoft\\Windows\\Shell", "Local Settings\\MuiCache"}},
    {HiveKind::kPackageRegistry, {"REGISTRY", ""}, {"REGISTRY\\MACHINE", "REGISTRY\\USER"}},
    {HiveKind::kSystem, {"Select", "ControlSet###"}},
    {HiveKind::kSoftware, {"Microsoft\\Windows NT\\CurrentVersion", ""}},
    {HiveKind::kSam, {"SAM\\Domains", ""}},
    {HiveKind::kSecurity, {"Policy", ""}, {"Policy\\Secrets", "Policy\\PolAcDmS"}},
    {HiveKind::kComponents, {"CanonicalData", "DerivedData"}},
    {HiveKind::kDrivers, {"DriverDatabase\\DeviceIds", "DriverDatabase\\DriverPackages"}},
    {HiveKind::kBcd, {"Objects", "Description"}},
    {HiveKind::kAmCache,
     {"Root", ""},
     {"Root\\File", "Root\\Programs", "Root\\InventoryApplicationFile",
      "Root\\InventoryApplication", "Root\\InventoryDriverBinary"}},
    {HiveKind::kSyscache, {"DefaultObjectStore\\ObjectTable", ""}}};

// The settings of a packaged app hold nothing else at their top.
constexpr std::string_view kSettingsKeys[] = {"LocalState", "RoamingState", "TemporaryState"};

// The keys that make the hive one of this kind, joined by ", "; empty when it is none.
std::string KeysThatFit(LiveKeys& keys, const KeysOfKind& kind) {
  std::string found;
  const auto has = [&](std::string_view path) {
    const uint32_t key = keys.Find(path);
    if (key == kNoOffset) return false;
    const bool last_has_digits = path.find('#') != std::string_view::npos;
    found += (found.empty() ? "" : ", ") + (last_has_digits ? keys.NameOf(key) : std::string(path));
    return true;
  };
  for (const std::string_view path : kind.all) {
    if (!path.empty() && !has(path)) return {};
  }
  bool any = kind.any[0].empty();
  for (const std::string_view path : kind.any) any = any || (!path.empty() && has(path));
  return any ? found : std::string();
}

// The first kind that the keys speak for counts; others contradict it and are kept as such.
void NoteKind(RootEvidence& evidence, HiveKind kind, std::string keys) {
  if (evidence.by_keys != HiveKind::kUnknown) {
    evidence.also.push_back(kind);
    return;
  }
  evidence.by_keys = kind;
  evidence.keys = std::move(keys);
}

void LookAtKeys(LiveKeys& keys, RootEvidence& evidence) {
  if (keys.RootHasOnly(kSettingsKeys) && keys.Find("LocalState") != kNoOffset) {
    NoteKind(evidence, HiveKind::kSettings, "LocalState");
  }
  for (const KeysOfKind& kind : kKeysOfKinds) {
    // Systems from Windows 8 on keep their drivers in either of two hives.
    const bool drivers = kind.kind == HiveKind::kDrivers;
    if (drivers && evidence.by_keys == HiveKind::kSystem) continue;
    std::string found = KeysThatFit(keys, kind);
    if (!found.empty()) NoteKind(evidence, kind.kind, std::move(found));
  }
}

// Whose profile it is: the one account that has all access to the root and to a key that every
// profile has; nothing where the two differ.
void LookAtAccount(const HiveImage& hive, LiveKeys& keys, RootEvidence& evidence) {
  const bool user = evidence.by_keys == HiveKind::kUser;
  if (!user && evidence.by_keys != HiveKind::kClasses) return;
  const std::string_view name = user ? "Software" : "Local Settings";
  const uint32_t below = keys.Find(name);
  const std::string account = AccountWithAllAccess(hive, hive.root_position);
  if (account.empty() || AccountWithAllAccess(hive, below) != account) return;
  evidence.sid = account;
  evidence.sid_keys = "the root and " + std::string(name);
}

// --- words ---------------------------------------------------------------------------------------

// A user's hive and that of the system's own account, or of a package, hold the same keys.
HiveKind Family(HiveKind kind) {
  switch (kind) {
    case HiveKind::kDefault:
    case HiveKind::kPackageUser:
      return HiveKind::kUser;
    case HiveKind::kPackageClasses:
      return HiveKind::kClasses;
    default:
      return kind;
  }
}

// A user's hive by the account's SID below HKEY_USERS where that is known, else as the current
// user's.
std::string PathOfEvidence(HiveKind kind, const std::string& sid) {
  const std::string root = RootOfKind(kind);
  const bool users = kind == HiveKind::kUser || kind == HiveKind::kClasses;
  return sid.empty() || !users ? root
                               : "HKU\\" + sid + root.substr(std::string_view("HKCU").size());
}

// What one source says of the kind; kinds of one family do not contradict each other.
struct Voice {
  const char* words;
  HiveKind kind;
};

// All that say what the hive is, in the order of their weight, without those that say nothing.
std::vector<Voice> VoicesOf(const RootEvidence& evidence, bool file_too) {
  std::vector<Voice> voices = {{"the root key's name says", evidence.by_root_key},
                               {"the base block says", evidence.by_stored_name},
                               {"the keys say", evidence.by_keys}};
  for (const HiveKind kind : evidence.also) voices.push_back({"some keys say", kind});
  if (file_too) voices.push_back({"the file's name says", evidence.by_file_name});
  std::erase_if(voices, [](const Voice& voice) { return voice.kind == HiveKind::kUnknown; });
  return voices;
}

std::string AccountWords(const RootEvidence& evidence) {
  if (evidence.sid.empty()) return {};
  return evidence.sid + " alone has all access to " + evidence.sid_keys;
}

void AddPart(std::string& words, const std::string& part) {
  if (part.empty()) return;
  if (!words.empty()) words += "; ";
  words += part;
}

// Without one nothing in the hive is reached from the root, and only names of files are left.
bool HasRootCell(const HiveImage& hive) {
  const uint32_t root = hive.root_position;
  return root != 0 && InsideHive(hive, root, kKeyName) && IsAllocated(ReadU32(hive, root)) &&
         ReadU16(hive, root + 4) == kSignatureNk;
}

}  // namespace

std::string_view HiveKindName(HiveKind kind) { return kKinds[static_cast<size_t>(kind)].name; }

bool SaysNothing(std::string_view name) {
  constexpr size_t kGuidLength = 38;  // with its braces
  if (name.empty() || EqualIgnoringCase(name, "ROOT")) return true;
  for (const std::string_view start : {"$$$P", "CMI-CreateHive", "CsiTool-CreateHive"}) {
    if (StartsIgnoringCase(name, start)) return true;
  }
  if (name.size() != kGuidLength || name.front() != '{' || name.back() != '}') return false;
  return name.find_first_not_of("0123456789ABCDEFabcdef-", 1) == kGuidLength - 1;
}

HiveKind KindOfRootPath(std::string_view path) {
  RootSplit split;
  if (!SplitRootPath(path, split)) return HiveKind::kUnknown;
  if (split.short_name == "HKU" || split.short_name == "HKCU") {
    if (EqualIgnoringCase(split.rest, ".DEFAULT")) return HiveKind::kDefault;
    const bool classes = EndsIgnoringCase("\\" + split.rest, kClassesEnd);
    return classes ? HiveKind::kClasses : HiveKind::kUser;
  }
  if (split.short_name != "HKLM") return HiveKind::kUnknown;
  const std::string short_path = "HKLM\\" + split.rest;
  for (const auto& kind : kKinds) {
    const std::string_view root = kind.root;
    if (!root.starts_with("HKLM\\") || !StartsIgnoringCase(short_path, root)) continue;
    if (short_path.size() == root.size() || short_path[root.size()] == '\\') return kind.kind;
  }
  return HiveKind::kUnknown;
}

RootEvidence FindRootEvidence(const HiveImage& hive) {
  RootEvidence evidence;
  if (HasRootCell(hive)) {
    const std::string name = ReadKeyName(hive, hive.root_position);
    evidence.root_key = ShownKeyName(name);
    if (!SaysNothing(name)) evidence.by_root_key = KindOfRootPath(RootPathOfKeyName(name));
    LiveKeys keys(hive);
    LookAtKeys(keys, evidence);
    LookAtAccount(hive, keys, evidence);
  }
  if (hive.header_valid) {
    evidence.stored_name = StoredFileName(hive);
    evidence.by_stored_name = KindOfFileName(evidence.stored_name);
  }
  evidence.by_file_name = KindOfFileName(hive.file_name);
  return evidence;
}

bool ChooseRootPath(HiveImage& hive, bool has_root_key) {
  if (RootPathFromSnapshotName(hive)) return true;
  std::string name;
  if (has_root_key) name = ReadKeyName(hive, hive.root_position);
  if (!SaysNothing(name) && RootPathFromRootKey(hive, hive.root_position)) return true;
  const RootEvidence evidence = FindRootEvidence(hive);
  const std::pair<HiveKind, RootSource> choices[] = {
      {evidence.by_stored_name, RootSource::kStoredName},
      {evidence.by_keys, RootSource::kRootKey},
      {evidence.by_file_name, RootSource::kFileName}};
  for (const auto& [kind, source] : choices) {
    if (kind == HiveKind::kUnknown) continue;
    const bool same = Family(kind) == Family(evidence.by_keys);
    SetRootPath(hive, PathOfEvidence(kind, same ? evidence.sid : std::string()));
    hive.root.source = source;
    return true;
  }
  return has_root_key && RootPathFromRootKey(hive, hive.root_position);
}

HiveKind KindOfHive(const RootEvidence& evidence) {
  for (const HiveKind kind : {evidence.by_root_key, evidence.by_stored_name, evidence.by_keys}) {
    if (kind != HiveKind::kUnknown) return kind;
  }
  return evidence.by_file_name;
}

std::string RootContradiction(const RootEvidence& evidence, bool file_too) {
  const std::vector<Voice> voices = VoicesOf(evidence, file_too);
  const auto differs = [&voices](const Voice& voice) {
    return Family(voice.kind) != Family(voices.front().kind);
  };
  if (!std::ranges::any_of(voices, differs)) return {};
  std::string words;
  for (const Voice& voice : voices) {
    words += words.empty() ? "" : ", ";
    words += std::string(voice.words) + ' ' + std::string(HiveKindName(voice.kind));
  }
  words.front() = static_cast<char>(words.front() - 'a' + 'A');
  return words + '.';
}

std::string RootSourceWords(const HiveImage& hive, const RootEvidence& evidence) {
  const bool by_keys = SaysNothing(evidence.root_key) && evidence.by_keys != HiveKind::kUnknown;
  constexpr std::pair<RootSource, const char*> kWords[] = {
      {RootSource::kStoredName, "the base block"},
      {RootSource::kFileName, "the file's name"},
      {RootSource::kUser, "the user"}};
  for (const auto& [source, words] : kWords) {
    if (hive.root.source == source) return words;
  }
  if (hive.root.source != RootSource::kRootKey) return {};
  return by_keys ? "the keys" : "the root key's name";
}

std::string RootEvidenceWords(const RootEvidence& evidence) {
  const auto part = [](const char* what, HiveKind kind, const std::string& by) {
    if (kind == HiveKind::kUnknown) return std::string();
    return std::string(HiveKindName(kind)) + " by " + what + (by.empty() ? "" : " " + by);
  };
  std::string words;
  AddPart(words, part("the root key's name", evidence.by_root_key, evidence.root_key));
  AddPart(words, part("the base block", evidence.by_stored_name, evidence.stored_name));
  AddPart(words, part("the keys", evidence.by_keys, evidence.keys));
  AddPart(words, part("the file's name", evidence.by_file_name, ""));
  AddPart(words, AccountWords(evidence));
  return words;
}

}  // namespace hivequarry
