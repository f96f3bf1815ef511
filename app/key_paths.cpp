#include "app/key_paths.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <vector>

#include "hive/keys.h"
#include "hive/root_path.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/host.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

using Names = std::vector<std::string>;  // of a path, whole
using Place = std::span<const std::string>;

constexpr const char* kMachine = "HKEY_LOCAL_MACHINE";
constexpr const char* kUser = "HKEY_CURRENT_USER";
constexpr const char* kUsers = "HKEY_USERS";
constexpr const char* kClasses = "HKEY_CLASSES_ROOT";
constexpr const char* kConfig = "HKEY_CURRENT_CONFIG";

// Where the system mounts hives, and where one that holds less than a hive file is at home. What is
// below another place comes before it: the first way that leads to a key is taken.
constexpr std::string_view kMounts[] = {
    "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet",
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes",
    "HKEY_CURRENT_USER\\SOFTWARE\\Classes",
    "HKEY_LOCAL_MACHINE\\SOFTWARE",
    "HKEY_LOCAL_MACHINE\\SYSTEM",
    "HKEY_LOCAL_MACHINE\\SAM",
    "HKEY_LOCAL_MACHINE\\SECURITY",
    "HKEY_LOCAL_MACHINE\\Components",
    "HKEY_LOCAL_MACHINE\\BCD00000000",
    kMachine,
    kUser,
};

// --- writing and reading -------------------------------------------------------------------------

// A "%" that stands for itself is none, so most names are written as they are.
bool IsEscape(std::string_view text, size_t at) {
  return text[at] == '%' && at + 2 < text.size() && DigitOf(text[at + 1]) < 16 &&
         DigitOf(text[at + 2]) < 16;
}

void AppendEscape(std::string& text, char c) {
  const auto byte = static_cast<uint8_t>(c);
  text += '%';
  text += kUpperDigits[byte >> 4];
  text += kUpperDigits[byte & 15];
}

// One name of a path that is to be read again: a backslash in it, what cannot be typed, and what
// would itself be read as an escape become escapes. Decoded undoes it to the byte.
std::string Encoded(std::string_view name) {
  std::string text;
  for (size_t at = 0; at < name.size(); ++at) {
    const auto byte = static_cast<uint8_t>(name[at]);
    const bool plain = byte >= 0x20 && byte != 0x7F && byte != '\\' && !IsEscape(name, at);
    plain ? text.push_back(name[at]) : AppendEscape(text, name[at]);
  }
  return text;
}

std::string Decoded(std::string_view text) {
  std::string name;
  for (size_t at = 0; at < text.size(); ++at) {
    const bool escape = IsEscape(text, at);
    name +=
        escape ? static_cast<char>(DigitOf(text[at + 1]) << 4 | DigitOf(text[at + 2])) : text[at];
    at += escape ? 2 : 0;
  }
  return name;
}

// A path at whose start a file has its comments would be one.
std::string Joined(const Names& names) {
  std::string path;
  for (const std::string& name : names) {
    if (!path.empty()) path += '\\';
    path += Encoded(name);
  }
  if (!path.starts_with('#') && !path.starts_with(';')) return path;
  std::string start;
  AppendEscape(start, path[0]);
  return start + path.substr(1);
}

// The names of a path, the root in long form; none for one that no path within the limit can be
// written as.
Names NamesOf(std::string_view path) {
  Names names;
  if (path.size() > kMaxAsciiKeyPath) return names;
  while (!path.empty()) {
    const std::string_view name = path.substr(0, path.find('\\'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    if (!name.empty()) names.push_back(Decoded(name));
  }
  if (names.empty()) return names;
  if (const PredefinedRoot* root = FindPredefinedRoot(names[0])) names[0] = root->long_name;
  return names;
}

// Of the hive's root: its place in a registry, or what the tree shows there.
Names RootNames(const HiveImage& hive) {
  Names names;
  std::string_view rest = hive.root.long_prefix;
  while (!rest.empty()) {
    const std::string_view name = rest.substr(0, rest.find('\\'));
    rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    if (!name.empty()) names.emplace_back(name);
  }
  if (names.empty()) names.push_back(DisplayedRoot(hive));
  return names;
}

// --- comparing -----------------------------------------------------------------------------------

// "ControlSet001" and the like, and the name under which the system shows one of them.
bool IsControlSet(std::string_view name) {
  if (EqualIgnoringCase(name, "CurrentControlSet")) return true;
  constexpr std::string_view kName = "ControlSet";
  return name.size() == kName.size() + 3 && StartsIgnoringCase(name, kName) &&
         name.find_first_not_of("0123456789", kName.size()) == std::string_view::npos;
}

// A name without the "(n)" that tells the labels of two hives apart.
std::string_view WithoutNumber(std::string_view name) {
  const size_t open = name.rfind('(');
  if (!name.ends_with(')') || open == std::string_view::npos || open == 0) return name;
  const std::string_view number = name.substr(open + 1, name.size() - open - 2);
  const bool digits = number.find_first_not_of("0123456789") == std::string_view::npos;
  return digits && !number.empty() ? name.substr(0, open) : name;
}

bool SamePart(std::string_view a, std::string_view b) {
  return EqualIgnoringCase(a, b) || (IsControlSet(a) && IsControlSet(b));
}

// True for a place at or below `top`. The last name of `top` is where a label has its number.
bool IsBelow(Place top, Place place) {
  if (top.empty() || place.size() < top.size()) return false;
  const size_t last = top.size() - 1;
  return std::ranges::equal(top.first(last), place.first(last), SamePart) &&
         (SamePart(top[last], place[last]) || SamePart(top[last], WithoutNumber(place[last])));
}

// --- places: paths with views replaced by what they show -----------------------------------------

bool IsUserName(std::string_view name) {
  return StartsIgnoringCase(name, "S-1-") || EqualIgnoringCase(name, ".DEFAULT");
}

bool HasRoot(const Names& names) {
  return !names.empty() && FindPredefinedRoot(names[0]) != nullptr;
}

bool IsUserBranch(const Names& names) {
  return !names.empty() && (names[0] == kUser || names[0] == kUsers);
}

void ReplaceFirst(Names& names, size_t count, std::initializer_list<const char*> by) {
  names.erase(names.begin(), names.begin() + static_cast<ptrdiff_t>(count));
  names.insert(names.begin(), by.begin(), by.end());
}

// Every user's branch is the current user's; classes are the user's with `user_classes`.
Names PlaceOf(Names names, bool user_classes) {
  constexpr std::string_view kClassesEnd = "_Classes";
  if (names.empty()) return names;
  if (names[0] == kClasses) {
    ReplaceFirst(names, 1, {user_classes ? kUser : kMachine, "SOFTWARE", "Classes"});
  } else if (names[0] == kConfig) {
    ReplaceFirst(names, 1,
                 {kMachine, "SYSTEM", "CurrentControlSet", "Hardware Profiles", "Current"});
  } else if (names[0] == kUsers) {
    if (names.size() == 1 || !IsUserName(names[1])) {
      names[0] = kUser;
    } else if (EndsIgnoringCase(names[1], kClassesEnd)) {
      ReplaceFirst(names, 2, {kUser, "SOFTWARE", "Classes"});
    } else {
      ReplaceFirst(names, 2, {kUser});
    }
  }
  return names;
}

// --- looking into the tree -----------------------------------------------------------------------

using Items = std::vector<uint32_t>;

// The number of the control set in use, from the key beside them; 0 when it does not say.
uint32_t CurrentControlSet(const HiveImage& hive, uint32_t select) {
  constexpr uint32_t kDword = 4;
  // "Select" has four values; a damaged list may name any number.
  uint32_t budget = 64;
  std::vector<uint32_t> positions;
  const KeyNode key = ReadKeyNode(hive, select, KeyRead::kFields);
  ReadValueList(hive, key.value_count, ValueListOf(hive, select), budget, positions);
  for (const uint32_t position : positions) {
    std::vector<uint8_t> data;
    const ValueKey value = ReadValueKey(hive, position, ValueRead::kData, kDword, &data);
    if (value.status == ValueStatus::kRead && EqualIgnoringCase(value.name, "Current")) {
      // The names of sets have three digits: the low two bytes are more than enough.
      return data.size() == kDword ? data[0] + (data[1] << 8U) : 0;
    }
  }
  return 0;
}

// The control sets below an item, the one in use first.
Items ControlSets(const HiveImage& hive, const KeyTree& tree, uint32_t parent) {
  Items sets;
  uint32_t current = 0;
  for (uint32_t at = FirstChild(tree, parent); at != kNoItem; at = NextSibling(tree, at)) {
    const std::string name = ItemName(hive, tree, at);
    if (IsControlSet(name)) sets.push_back(at);
    const bool select = EqualIgnoringCase(name, "Select") && HasKeyCell(tree, at);
    if (select) current = CurrentControlSet(hive, tree.items[at].position);
  }
  std::string number = std::to_string(current);
  number.insert(0, 3 - std::min<size_t>(number.size(), 3), '0');
  std::stable_partition(sets.begin(), sets.end(), [&](uint32_t set) {
    return EqualIgnoringCase(ItemName(hive, tree, set), "ControlSet" + number);
  });
  return sets;
}

// Recovered siblings may share a name, so a name leads to several items; those that spell it alike
// come first.
Items ItemsNamed(const HiveImage& hive, const KeyTree& tree, const Items& parents,
                 const std::string& name) {
  Items same;
  Items similar;
  for (const uint32_t parent : parents) {
    for (uint32_t at = FirstChild(tree, parent); at != kNoItem; at = NextSibling(tree, at)) {
      const std::string other = StoredItemName(hive, tree, at);
      if (EqualIgnoringCase(other, name)) (other == name ? same : similar).push_back(at);
    }
  }
  same.insert(same.end(), similar.begin(), similar.end());
  if (!same.empty() || !IsControlSet(name)) return same;
  for (const uint32_t parent : parents) {
    const Items sets = ControlSets(hive, tree, parent);
    same.insert(same.end(), sets.begin(), sets.end());
  }
  return same;
}

struct Reached {
  uint32_t item = kNoItem;
  size_t depth = 0;  // names gone down
  bool whole = false;
};

// As far down as names lead, all keys of a name being tried at each step: of keys named alike one
// may have the next name and another not. `item` is the first of the last step.
Reached GoDown(const HiveImage& hive, const KeyTree& tree, uint32_t from, Place names) {
  Reached reached = {from, 0, names.empty()};
  Items items = {from};
  for (const std::string& name : names) {
    items = ItemsNamed(hive, tree, items, name);
    if (items.empty()) break;
    reached = {items[0], reached.depth + 1, reached.depth + 1 == names.size()};
  }
  return reached;
}

// Goes down the connected keys and those under "Disconnected Keys", first where the path says.
Reached Reach(const HiveImage& hive, const KeyTree& tree, Place names) {
  const bool disconnected = !names.empty() && names[0] == kDisconnectedKeysTitle;
  if (disconnected) names = names.subspan(1);
  std::array<uint32_t, 2> starts = {0, tree.disconnected_keys};
  if (disconnected) std::swap(starts[0], starts[1]);
  Reached best;
  for (const uint32_t start : starts) {
    if (start == kNoItem || (names.empty() && start != starts[0])) continue;
    const Reached reached = GoDown(hive, tree, start, names);
    if (best.item == kNoItem || reached.depth > best.depth) best = reached;
    if (best.whole) break;
  }
  return best;
}

// One way in which a place may lie in a hive: the names of it that are below the hive's root.
struct Way {
  Names below;
  bool own = false;  // the hive's own place
};

Way WayBelow(Place place, size_t count, bool own) {
  const Place below = place.subspan(count);
  return {Names(below.begin(), below.end()), own};
}

// The ways by other places where hives are mounted, the lowest place first.
void AddMountWays(Place place, Place mount, bool mounted, std::vector<Way>& ways) {
  for (const std::string_view path : kMounts) {
    const Names other = NamesOf(path);
    const bool related = !mounted || IsBelow(mount, other) || IsBelow(other, mount);
    if (!related || other.size() == place.size() || !IsBelow(other, place)) continue;
    if (mounted && other.size() == mount.size()) continue;
    ways.push_back(WayBelow(place, other.size(), false));
  }
}

std::vector<Way> WaysTo(const Names& wanted, const Names& root) {
  std::vector<Way> ways;
  // HKEY_CLASSES_ROOT shows the classes of user and machine as one: which is meant, the other side
  // says.
  const bool user_classes = IsUserBranch(wanted) || IsUserBranch(root);
  const Names place = PlaceOf(wanted, user_classes);
  const Names mount = PlaceOf(root, user_classes);
  if (IsBelow(mount, place)) ways.push_back(WayBelow(place, mount.size(), true));
  if (HasRoot(wanted)) AddMountWays(place, mount, HasRoot(root), ways);
  // The path is from a hive without a place of its own.
  const bool elsewhere = !HasRoot(wanted) && !IsBelow(mount, place);
  if (elsewhere && place.size() > 1) ways.push_back(WayBelow(place, 1, false));
  return ways;
}

}  // namespace

std::string KeyPathOf(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const WholeReading whole;
  Names names;
  size_t length = 0;
  for (uint32_t at = item; at != 0 && at != kNoItem; at = tree.items[at].parent) {
    names.push_back(StoredItemName(hive, tree, at));
    length += names.back().size() + 1;
    if (length > kMaxKeyPath) return {};
  }
  const Names root = RootNames(hive);
  names.insert(names.end(), root.rbegin(), root.rend());
  std::ranges::reverse(names);
  const std::string path = Joined(names);
  return path.size() <= kMaxKeyPath ? path : std::string();
}

std::string CleanKeyPath(std::string_view path) {
  const Names names = NamesOf(path);
  for (const std::string& name : names) {
    if (!IsText(name)) return {};
  }
  const std::string clean = Joined(names);
  return clean.size() <= kMaxKeyPath ? clean : std::string();
}

std::string AsciiKeyPath(std::string_view path) {
  std::string text;
  for (const char c : path) (c & 0x80) == 0 ? text.push_back(c) : AppendEscape(text, c);
  return text;
}

std::string ShownKeyPath(std::string_view path) {
  std::string text;
  for (const std::string& name : NamesOf(path)) {
    if (!text.empty()) text += '\\';
    text += name;
  }
  return text;
}

std::string EncodedName(std::string_view name) { return Encoded(name); }
std::string DecodedName(std::string_view text) { return Decoded(text); }

std::string KeyPathOfShown(std::string_view shown) {
  Names names;
  for (size_t at = 0; at < shown.size();) {
    const size_t end = std::min(shown.find('\\', at), shown.size());
    if (end > at) names.emplace_back(shown.substr(at, end - at));
    at = end + 1;
  }
  return CleanKeyPath(Joined(names));
}

bool SameKeyPath(std::string_view a, std::string_view b) {
  return std::ranges::equal(NamesOf(a), NamesOf(b), [](std::string_view x, std::string_view y) {
    return EqualIgnoringCase(x, y);
  });
}

RootGroup RootGroupOf(std::string_view path) {
  const Names names = NamesOf(path.substr(0, path.find('\\')));
  if (names.empty()) return RootGroup::kOther;
  if (names[0] == kUser) return RootGroup::kUser;
  if (names[0] == kUsers) return RootGroup::kUsers;
  const bool machine = names[0] == kMachine || names[0] == kClasses || names[0] == kConfig;
  return machine ? RootGroup::kMachine : RootGroup::kOther;
}

FoundKey FindKeyPath(const HiveImage& hive, const KeyTree& tree, std::string_view path) {
  const WholeReading whole;
  FoundKey nearest;
  const Names wanted = NamesOf(path);
  if (tree.items.empty() || wanted.empty()) return nearest;
  const Names root = RootNames(hive);
  size_t depth = 0;
  for (const Way& way : WaysTo(wanted, root)) {
    const Reached reached = Reach(hive, tree, way.below);
    if (reached.whole) return {reached.item, true};
    // Elsewhere the same names are other keys: half of such a way proves nothing.
    const bool counts = way.own || !HasRoot(root);
    if (counts && (reached.depth > depth || (way.own && nearest.item == kNoItem))) {
      nearest.item = reached.item;
      depth = reached.depth;
    }
  }
  return nearest;
}

}  // namespace hivequarry
