#include "live/live_place.h"

#include <algorithm>
#include <vector>

#include "hive/root_path.h"

namespace hivequarry {
namespace {

bool IsFolder(const KeyItem& it) {
  return it.kind == ItemKind::kDisconnectedKeys || it.kind == ItemKind::kDisconnectedValues;
}

}  // namespace

bool FindLivePlace(const HiveImage& hive, LivePlace& place) {
  place = LivePlace();
  // Without the number that tells hives of one place apart.
  place.prefix = hive.root.label.substr(0, hive.root.label_length);
  RootSplit split;
  if (!SplitRootPath(place.prefix, split)) return false;
  place.root = split.handle;
  place.sub_path = WideOfText(split.rest);
  return true;
}

bool HasNoLivePlace(const KeyTree& tree, uint32_t item) {
  for (; item != kNoItem; item = tree.items[item].parent) {
    if (IsFolder(tree.items[item])) return true;
  }
  return false;
}

std::string PathBelowRoot(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  if (item == 0) return {};
  const std::string path = LongItemPath(hive, tree, item);
  return path.substr(std::min(path.size(), ItemName(hive, tree, 0).size() + 1));
}

std::string PathInPlace(const LivePlace& place, std::string_view path) {
  return path.empty() ? place.prefix : std::string(place.prefix).append("\\").append(path);
}

std::u16string WideItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const WholeReading whole;
  return WideOfText(StoredItemName(hive, tree, item));
}

bool IsUsableKeyName(std::u16string_view name) {
  constexpr std::u16string_view kUnusable(u"\\\0", 2);
  return !name.empty() && name.find_first_of(kUnusable) == std::u16string_view::npos;
}

bool LiveSubPath(const HiveImage& hive, const KeyTree& tree, uint32_t item, const LivePlace& place,
                 std::u16string& path) {
  std::vector<std::u16string> names;
  for (; item != 0 && item != kNoItem; item = tree.items[item].parent) {
    names.push_back(WideItemName(hive, tree, item));
    if (!IsUsableKeyName(names.back())) return false;
  }
  path = place.sub_path;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    if (!path.empty() && path.back() != u'\\') path += u'\\';
    path += *name;
  }
  return true;
}

uint32_t RegistryViewOf(bool wow64) {
  if (!CurrentRegistry().has_32bit_view()) return 0;
  return wow64 ? kRegistry32Bit : kRegistry64Bit;
}

bool IsWow64Name(std::u16string_view name) { return CapitalName(name) == u"WOW6432NODE"; }

bool IsWow64SubPath(std::u16string_view path) {
  while (!path.empty()) {
    const size_t end = std::min(path.find(u'\\'), path.size());
    if (IsWow64Name(path.substr(0, end))) return true;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return false;
}

std::u16string CapitalName(std::u16string_view name) {
  return CurrentRegistry().capital_name(name);
}

}  // namespace hivequarry
