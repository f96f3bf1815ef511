#include "hive/root_path.h"

#include <algorithm>
#include <cstdio>

#include "hive/hive_table.h"
#include "hive/keys.h"
#include "hive/root_evidence.h"
#include "host/host.h"
#include "host/visible_text.h"

namespace hivequarry {
namespace {

constexpr PredefinedRoot kRoots[] = {
    {"HKEY_CLASSES_ROOT", "HKCR", 0x80000000},     {"HKEY_CURRENT_USER", "HKCU", 0x80000001},
    {"HKEY_LOCAL_MACHINE", "HKLM", 0x80000002},    {"HKEY_USERS", "HKU", 0x80000003},
    {"HKEY_PERFORMANCE_DATA", "HKPD", 0x80000004}, {"HKEY_CURRENT_CONFIG", "HKCC", 0x80000005},
    {"HKEY_DYN_DATA", "HKDD", 0x80000006},
};

// Short labels by root kind; kind 9 is not used.
constexpr const char* kKindLabels[] = {nullptr,
                                       "HKU",
                                       "HKCU",
                                       "HKLM\\SYSTEM",
                                       "HKCR",
                                       "HKLM\\SOFTWARE",
                                       "HKLM\\SAM",
                                       "HKLM\\SECURITY",
                                       "HKLM",
                                       nullptr,
                                       "HKLM\\Components",
                                       "HKLM\\BCD00000000"};
constexpr int kSamKind = 6;

// Root keys whose name tells what the hive is.
constexpr struct {
  const char* name;
  const char* label;
} kKnownRootKeys[] = {{"SOFTWARE", "HKLM\\SOFTWARE"},        {"SYSTEM", "HKLM\\SYSTEM"},
                      {"SECURITY", "HKLM\\SECURITY"},        {"SAM", "HKLM\\SAM"},
                      {"NewStoreRoot", "HKLM\\BCD00000000"}, {"BCD00000000", "HKLM\\BCD00000000"},
                      {"COMPONENTS", "HKLM\\Components"},    {"DRIVERS", "HKLM\\DRIVERS"},
                      {".DEFAULT", "HKU\\.DEFAULT"}};

constexpr WholeRoot kWholeRoots[] = {{"_HKLM.SNP", "HKLM"},
                                     {"_HKCU.SNP", "HKCU"},
                                     {"_HKU.SNP", "HKU"},
                                     {"_HKLM_SOFTWARE.SNP", "HKLM\\SOFTWARE"},
                                     {"_HKLM_SYSTEM.SNP", "HKLM\\SYSTEM"},
                                     {"_HKLM_COMPONENTS.SNP", "HKLM\\COMPONENTS"},
                                     {"_HKLM_BCD.SNP", "HKLM\\BCD00000000"}};

constexpr size_t kMaxRootKeyName = 519;
constexpr int kMaxLabelNumber = 999;
constexpr std::string_view kWow64 = "Wow6432Node";

std::string_view LastPart(std::string_view path) {
  return path.substr(path.find_last_of("\\/") + 1);
}

bool HoldsOnly(std::string_view text, std::string_view characters) {
  return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

// The text form of a SID: "S-1-" and numbers.
bool IsSidText(std::string_view text) {
  constexpr std::string_view kStart = "S-1-";
  return StartsIgnoringCase(text, kStart) && HoldsOnly(text.substr(kStart.size()), "0123456789-");
}

// After "HKU\".
bool IsUsersHive(std::string_view rest) {
  constexpr std::string_view kEnds[] = {"_Classes", "\\SOFTWARE\\Classes"};
  if (EqualIgnoringCase(rest, ".DEFAULT")) return true;
  for (const std::string_view end : kEnds) {
    const size_t start = rest.size() - std::min(rest.size(), end.size());
    if (EqualIgnoringCase(rest.substr(start), end)) return IsSidText(rest.substr(0, start));
  }
  return IsSidText(rest);
}

// After "HKLM\".
bool IsMachinesHive(std::string_view rest) {
  constexpr std::string_view kControlSet = "SYSTEM\\ControlSet";
  constexpr std::string_view kNames[] = {"SOFTWARE", "SYSTEM",     "SAM",         "SECURITY",
                                         "HARDWARE", "COMPONENTS", "BCD00000000", "DRIVERS",
                                         "ELAM",     "Schema"};
  if (StartsIgnoringCase(rest, kControlSet)) {
    return HoldsOnly(rest.substr(kControlSet.size()), "0123456789");
  }
  return std::ranges::any_of(kNames,
                             [&](std::string_view name) { return EqualIgnoringCase(rest, name); });
}

// Replaces a path's first component; empty when it names no predefined root.
// The rest of the path stays as it is, also in its case.
std::string WithRootForm(std::string_view path, const char* PredefinedRoot::*form) {
  const size_t end = std::min(path.find('\\'), path.size());
  const PredefinedRoot* root = FindPredefinedRoot(path.substr(0, end));
  if (root == nullptr) return {};
  return std::string(root->*form).append(path.substr(end));
}

// In either form, without regard to case.
bool SameRoot(std::string_view a, std::string_view b) {
  if (EqualIgnoringCase(a, b)) return true;
  const std::string short_a = ShortRootPath(a);
  return !short_a.empty() && EqualIgnoringCase(short_a, ShortRootPath(b));
}

// 0 when it is none of the kinds' paths.
int RootKindOf(std::string_view label) {
  for (int kind = 1; kind <= kLastRootKind; ++kind) {
    const char* known = RootKindLabel(kind);
    if (known != nullptr && EqualIgnoringCase(known, label)) return kind;
  }
  return 0;
}

// Stores label and prefix. The prefix names the place in a registry and so goes without the number
// that tells two open hives apart.
void StoreRootPath(HiveImage& hive, std::string label) {
  const std::string long_form = LongRootPath(label);
  hive.root.long_prefix = (long_form.empty() ? label : long_form) + '\\';
  const uint32_t plain_length = MakeRootLabelUnique(label, hive.slot);
  hive.root.label_length = plain_length != 0 ? plain_length : static_cast<uint32_t>(label.size());
  hive.root.label = std::move(label);
}

}  // namespace

std::string RootPathOfKeyName(std::string_view name) {
  constexpr std::string_view kClasses = "_classes";
  for (const auto& known : kKnownRootKeys) {
    if (EqualIgnoringCase(name, known.name)) return known.label;
  }
  if (StartsIgnoringCase(name, "ControlSet")) return std::string("HKLM\\SYSTEM\\").append(name);
  if (name.size() > kClasses.size()) {
    const std::string_view user = name.substr(0, name.size() - kClasses.size());
    if (EndsIgnoringCase(name, kClasses)) {
      return std::string("HKU\\").append(user).append("\\SOFTWARE\\Classes");
    }
  }
  if (IsSidText(name)) return std::string("HKU\\").append(name);
  return std::string(name);
}

std::string StoredFileName(const HiveImage& hive) {
  if (!hive.header_valid) return {};
  return ShownValueName(TextOfWide(ReadBaseBlock(ImageBytes(hive)).file_name));
}

const PredefinedRoot* FindPredefinedRoot(std::string_view name) {
  for (const PredefinedRoot& root : kRoots) {
    if (EqualIgnoringCase(name, root.long_name) || EqualIgnoringCase(name, root.short_name)) {
      return &root;
    }
  }
  return nullptr;
}

const char* RootKindLabel(int kind) {
  static_assert(std::size(kKindLabels) == kLastRootKind + 1);
  return kind < 0 || kind > kLastRootKind ? nullptr : kKindLabels[kind];
}

bool SetRootKind(int kind, HiveImage& hive) {
  if (RootKindLabel(kind) == nullptr) return false;
  StoreRootPath(hive, kKindLabels[kind]);
  hive.root.source = RootSource::kUser;
  hive.root.kind = kind;
  hive.root.sam = kind == kSamKind;
  return true;
}

void SetRootPath(HiveImage& hive, std::string_view path) {
  while (!path.empty() && path.back() == '\\') path.remove_suffix(1);
  const std::string short_form = ShortRootPath(path);
  const std::string label = short_form.empty() ? std::string(path) : short_form;
  StoreRootPath(hive, label);
  hive.root.source = RootSource::kUser;
  hive.root.kind = RootKindOf(label);
  hive.root.sam = hive.root.kind == kSamKind;
}

bool RootPathFromRootKey(HiveImage& hive, uint32_t root_position) {
  std::string name;
  ReadKeyParentAndName(hive, root_position, name);
  name.resize(FirstUnits(name.substr(0, name.find('\0')), kMaxRootKeyName).size());
  const bool empty = name.empty() || StartsIgnoringCase(name, "$$$P") ||
                     StartsIgnoringCase(name, "CMI-CreateHive");
  if (empty) return false;
  const std::string label = RootPathOfKeyName(name);
  StoreRootPath(hive, label);
  hive.root.source = RootSource::kRootKey;
  return true;
}

bool IsHivePlace(std::string_view path) {
  RootSplit split;
  if (!SplitRootPath(path, split)) return false;
  if (split.short_name == "HKU") return IsUsersHive(split.rest);
  return split.short_name == "HKLM" && IsMachinesHive(split.rest);
}

std::string RootDoubt(const HiveImage& hive) {
  const auto is_blank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
  // Whoever imports a script may pass over blanks at the path's start.
  std::string path = hive.root.label.substr(0, hive.root.label_length);
  path.erase(path.begin(), std::ranges::find_if_not(path, is_blank));
  RootSplit split;
  if (hive.root.source == RootSource::kUser || !SplitRootPath(path, split)) return {};
  path = split.long_name + (split.rest.empty() ? "" : "\\" + split.rest);
  std::ranges::replace_if(path, is_blank, ' ');  // it goes to terminals as well
  if (split.short_name == "HKCU") {
    return "The hive is some user's, and " + path + " is the profile of whoever writes to it.";
  }
  if (hive.root.source == RootSource::kFileName) {
    return "The name of the file alone says that the hive belongs to " + path + '.';
  }
  if (const std::string both = RootContradiction(FindRootEvidence(hive), false); !both.empty()) {
    return both;
  }
  if (IsHivePlace(path)) return {};
  return "The root key's name leads to " + path + ", where no hive belongs.";
}

bool RootPathFromStoredName(HiveImage& hive) {
  if (!hive.header_valid) return false;
  const std::string stored = StoredFileName(hive);
  const std::string_view name = LastPart(stored);
  const auto is_control = [](char c) { return static_cast<uint8_t>(c) < 0x20; };
  if (name.empty() || std::ranges::any_of(name, is_control)) return false;
  StoreRootPath(hive, std::string(name));
  hive.root.source = RootSource::kStoredName;
  return true;
}

std::span<const WholeRoot> WholeRoots() { return kWholeRoots; }

bool RootPathFromSnapshotName(HiveImage& hive) {
  for (const WholeRoot& root : kWholeRoots) {
    if (!EqualIgnoringCase(LastPart(hive.file_name), root.file_name)) continue;
    SetRootPath(hive, root.path);
    hive.root.source = RootSource::kFileName;
    return true;
  }
  return false;
}

void SetDefaultRoot(const std::string& file_name) {
  const bool machine = file_name.find_first_of("yY") != std::string::npos;
  const PredefinedRoot* root = FindPredefinedRoot(machine ? "HKLM" : "HKU");
  HiveTable& table = TheHiveTable();
  table.default_long_root = root->long_name;
  table.default_short_root = root->short_name;
  table.default_root_handle = root->handle;
}

uint32_t MakeRootLabelUnique(std::string& label, int slot) {
  if (FindHiveByRoot(label, slot) < 0) return 0;
  for (int number = 1; number <= kMaxLabelNumber; ++number) {
    std::string numbered = label + '(' + std::to_string(number) + ')';
    if (FindHiveByRoot(numbered, slot) >= 0) continue;
    const auto plain_length = static_cast<uint32_t>(label.size());
    label = std::move(numbered);
    return plain_length;
  }
  return 0;
}

int FindHiveByRoot(std::string_view label) { return FindHiveByRoot(label, -1); }

int FindHiveByRoot(std::string_view label, int except_slot) {
  const HiveTable& table = TheHiveTable();
  if (label.empty()) return -1;
  for (int slot = 0; slot < kSlotCount; ++slot) {
    const HiveImage& hive = table.slots[static_cast<size_t>(slot)];
    if (slot == except_slot || hive.state != SlotState::kTaken) continue;
    if (SameRoot(label, hive.root.label)) return slot;
  }
  return -1;
}

bool SplitRootPath(std::string_view path, RootSplit& split) {
  const size_t end = std::min(path.find('\\'), path.size());
  const PredefinedRoot* root = FindPredefinedRoot(path.substr(0, end));
  split = {};
  if (root == nullptr) {
    split.long_name = path;
    return false;
  }
  split.long_name = root->long_name;
  split.rest = path.substr(std::min(end + 1, path.size()));
  split.short_name = root->short_name;
  split.handle = root->handle;
  return true;
}

std::string ShortRootPath(std::string_view path) {
  return WithRootForm(path, &PredefinedRoot::short_name);
}

std::string LongRootPath(std::string_view path) {
  return WithRootForm(path, &PredefinedRoot::long_name);
}

bool IsWow64Path(std::string_view path) {
  // At the start of a path the name's last letter is not compared.
  if (StartsIgnoringCase(path, kWow64.substr(0, kWow64.size() - 1))) return true;
  for (size_t at = path.find('\\'); at != std::string_view::npos; at = path.find('\\', at + 1)) {
    const std::string_view rest = path.substr(at + 1);
    if (!StartsIgnoringCase(rest, kWow64)) continue;
    if (rest.size() == kWow64.size() || rest[kWow64.size()] == '\\') return true;
  }
  return false;
}

std::string DisplayedRoot(const HiveImage& hive) {
  return hive.root.label.empty() ? "ROOT" : hive.root.label;
}

}  // namespace hivequarry
