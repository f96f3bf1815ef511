// Full paths of items, and the items that paths name.
#include <algorithm>
#include <array>
#include <charconv>

#include "hive/file_place.h"
#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/root_path.h"
#include "host/case.h"
#include "host/number_text.h"
#include "host/text.h"
#include "host/visible_text.h"

namespace hivequarry {
namespace {

constexpr std::string_view kLeftOut = "...@";  // and the position of the key that follows
constexpr size_t kTailLength = 100;            // characters of a shortened path after that

// All listed paths that are longer than kLeastPath may take this many times the file's length, and
// what a small file may take besides.
constexpr uint64_t kPathsPerByte = 2;
constexpr uint64_t kPathsOfSmallFile = 16 * 1024 * 1024;

// --- how long paths get ------------------------------------------------------------------------

// Near enough to count with: every character takes a byte or two of a stored name.
size_t NameLength(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  const bool stored = it.kind == ItemKind::kKey || it.kind == ItemKind::kPathCopy;
  if (!stored || HasMadeName(tree, it)) return ItemName(hive, tree, item).size();
  return std::min<size_t>(ReadU16(hive, it.position + kKeyNameLength),
                          LongestKeyName(ImageBytes(hive), it.position));
}

// Rows of a list that have the path of the key: its own and those of its values.
uint64_t RowsOf(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  if (!HasKeyCell(tree, item)) return 1;
  // A value takes as much at least: a key cannot have more of them than the image has room for.
  constexpr uint32_t kBytesOfValue = 32;
  const uint32_t values = ReadU32(hive, tree.items[item].position + kKeyValueCount);
  return 1 + uint64_t{std::min(values, hive.length / kBytesOfValue)};
}

// The most that paths may be long for all of them to stay within their bounds.
size_t FindPathLimit(const HiveImage& hive, const KeyTree& tree) {
  constexpr std::array<size_t, 7> kLimits = {kLongestPath, 16384, 8192, 4096, 2048, 1024, 512};
  const uint64_t most = kPathsPerByte * hive.length + kPathsOfSmallFile;
  std::array<uint64_t, kLimits.size()> totals{};
  struct Open {
    uint32_t end;   // item after its subtree
    size_t length;  // of its path, bytes
  };
  std::vector<Open> open;
  for (uint32_t item = 0; item < tree.items.size(); ++item) {
    while (!open.empty() && item >= open.back().end) open.pop_back();
    const size_t length =
        NameLength(hive, tree, item) + (open.empty() ? 0 : open.back().length + 1);
    open.push_back({tree.items[item].end, length});
    if (length <= kLeastPath) continue;
    const uint64_t rows = RowsOf(hive, tree, item);
    for (size_t i = 0; i < kLimits.size(); ++i) totals[i] += rows * std::min(length, kLimits[i]);
  }
  for (size_t i = 0; i < kLimits.size(); ++i) {
    if (totals[i] <= most) return kLimits[i];
  }
  return kLeastPath;
}

// --- from an item up ---------------------------------------------------------------------------

using NameOf = std::string (*)(const HiveImage&, const KeyTree&, uint32_t);

std::string Joined(const HiveImage& hive, const KeyTree& tree, std::string path,
                   std::span<const uint32_t> upwards, NameOf name) {
  for (auto at = upwards.rbegin(); at != upwards.rend(); ++at) {
    if (at != upwards.rbegin() || !path.empty()) path += '\\';
    path += name(hive, tree, *at);
  }
  return path;
}

// An item that a shortened path can name by its position: a key below the root and the folders.
bool IsAnchor(const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  const bool key = it.kind == ItemKind::kKey || it.kind == ItemKind::kPathCopy;
  return item != 0 && key && it.position != kNoOffset;
}

bool IsUnderFolder(const KeyTree& tree, uint32_t item) {
  const uint32_t folder = tree.disconnected_keys;
  return folder != kNoItem && item > folder && item < tree.items[folder].end;
}

// The root, or the folder of the disconnected keys: what a shortened path begins with. A key may
// be under both, as a copy.
std::string PathTop(const HiveImage& hive, const KeyTree& tree, uint32_t item, NameOf name) {
  const std::string root = name(hive, tree, 0);
  return IsUnderFolder(tree, item) ? root + '\\' + kDisconnectedKeysTitle : root;
}

// "\...@0x00012340", as it follows that.
std::string AnchorText(const HiveImage& hive, const KeyTree& tree, uint32_t anchor) {
  return "\\" + std::string(kLeftOut) + HexNumber(PlaceOf(hive, tree.items[anchor].position));
}

// What a path shows: the items from its own up to the root, or to the child of `anchor`.
struct ShownPath {
  std::vector<uint32_t> upwards;
  uint32_t anchor = kNoItem;
};

// From the item upwards until there are names enough and an ancestor that has a place in the file
// to name it by. The item's own name is always there.
ShownPath TailOf(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  ShownPath shown;
  size_t length = 0;
  for (uint32_t at = item; at != kNoItem; at = tree.items[at].parent) {
    length += ItemName(hive, tree, at).size() + 1;
    const bool enough = !shown.upwards.empty() && length > kTailLength;
    if (enough && IsAnchor(tree, at)) {
      shown.anchor = at;
      break;
    }
    shown.upwards.push_back(at);
  }
  return shown;
}

// `limit` 0: that of lists, which is looked for only when a path is long enough to need it.
ShownPath ShownPathOf(const HiveImage& hive, const KeyTree& tree, uint32_t item, size_t limit) {
  ShownPath shown;
  size_t length = 0;
  for (uint32_t at = item; at != kNoItem; at = tree.items[at].parent) {
    length += ItemName(hive, tree, at).size() + (shown.upwards.empty() ? 0 : 1);
    if (length > kLeastPath && limit == 0) limit = ListedPathLimit(hive, tree);
    if (length > kLeastPath && length > limit) return TailOf(hive, tree, item);
    shown.upwards.push_back(at);
  }
  return shown;
}

std::string TextOf(const HiveImage& hive, const KeyTree& tree, const ShownPath& shown,
                   NameOf name) {
  std::string path;
  if (shown.anchor != kNoItem) {
    path = PathTop(hive, tree, shown.upwards.front(), name) + AnchorText(hive, tree, shown.anchor);
  }
  return Joined(hive, tree, std::move(path), shown.upwards, name);
}

// --- from a path down --------------------------------------------------------------------------

// The child of `parent` that the first component of `path` names; `path` moves after it. The root's
// text may itself hold backslashes, so the longest child name that fits is taken. Names compare in
// UTF-16: a letter and its capital may differ in their bytes' number.
uint32_t DescendComponent(const HiveImage& hive, const KeyTree& tree, uint32_t parent,
                          std::u16string_view& path) {
  std::string text;
  uint32_t best = kNoItem;
  size_t best_length = 0;
  for (uint32_t child = FirstChild(tree, parent); child != kNoItem;
       child = NextSibling(tree, child)) {
    text.clear();
    AppendItemName(hive, tree, child, text);
    const std::u16string name = WideOfText(text);
    const bool longer = best == kNoItem || name.size() > best_length;
    const bool ends =
        path.size() == name.size() || (path.size() > name.size() && path[name.size()] == '\\');
    if (longer && ends &&
        EqualIgnoringCase(path.substr(0, name.size()), std::u16string_view(name))) {
      best = child;
      best_length = name.size();
    }
  }
  if (best != kNoItem) path.remove_prefix(std::min(path.size(), best_length + 1));
  return best;
}

// True, with `path` moved after it, when the path begins with this root text.
bool SkipRoot(std::string_view root_text, std::u16string_view& path) {
  const std::u16string whole = WideOfText(root_text);
  std::u16string_view root = whole;
  while (!root.empty() && root.back() == '\\') root.remove_suffix(1);
  if (root.empty() || path.size() < root.size()) return false;
  if (!EqualIgnoringCase(path.substr(0, root.size()), root)) return false;
  if (path.size() > root.size() && path[root.size()] != '\\') return false;
  path.remove_prefix(std::min(path.size(), root.size() + 1));
  return true;
}

// The same of a user's hive as its own user sees it: "HKCU\\Software" for "HKU\\S-1-5-21-...".
bool SkipOwnRoot(const HiveImage& hive, std::u16string_view& path) {
  constexpr std::string_view kUser = "HKU\\S-1-";
  const std::string_view label =
      std::string_view(hive.root.label).substr(0, hive.root.label_length);
  if (!StartsIgnoringCase(label, kUser)) return false;
  const std::string rest(label.substr(std::min(label.find('\\', kUser.size()), label.size())));
  return SkipRoot("HKCU" + rest, path) || SkipRoot("HKEY_CURRENT_USER" + rest, path);
}

uint32_t DescendPath(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                     std::u16string_view path) {
  while (!path.empty() && item != kNoItem) item = DescendComponent(hive, tree, item, path);
  return item;
}

// The item of a key among those under the folder of the disconnected keys, or among the others.
uint32_t ItemAt(const KeyTree& tree, uint32_t position, bool under_folder) {
  const uint32_t item = ItemOfPosition(tree, position);
  if (item == kNoItem || IsUnderFolder(tree, item) == under_folder) return item;
  if (!under_folder) return kNoItem;
  const uint32_t folder = tree.disconnected_keys;
  for (uint32_t at = folder + 1; at < tree.items[folder].end; ++at) {
    const KeyItem& it = tree.items[at];
    if (it.kind == ItemKind::kPathCopy && it.position == position) return at;
  }
  return kNoItem;
}

// The item that a shortened path, without its root, names; kNoItem for any other path.
uint32_t FindShortened(const HiveImage& hive, const KeyTree& tree, std::u16string_view path) {
  const bool under_folder = SkipRoot(kDisconnectedKeysTitle, path);
  const size_t end = std::min(path.find(u'\\'), path.size());
  const std::string name = TextOfWide(path.substr(0, end));
  if (!name.starts_with(std::string(kLeftOut) + "0x")) return kNoItem;
  uint32_t position = 0;
  const char* digits = name.data() + kLeftOut.size() + 2;
  const auto read = std::from_chars(digits, name.data() + name.size(), position, 16);
  if (read.ec != std::errc() || read.ptr != name.data() + name.size()) return kNoItem;
  const uint32_t anchor = ItemAt(tree, PositionOfPlace(hive, position), under_folder);
  if (anchor == kNoItem) return kNoItem;
  return DescendPath(hive, tree, anchor, path.substr(std::min(path.size(), end + 1)));
}

}  // namespace

size_t ListedPathLimit(const HiveImage& hive, const KeyTree& tree) {
  size_t limit = tree.path_limit.value.load(std::memory_order_relaxed);
  if (limit != 0) return limit;
  limit = FindPathLimit(hive, tree);
  tree.path_limit.value.store(limit, std::memory_order_relaxed);
  return limit;
}

std::string ItemPath(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  return TextOf(hive, tree, ShownPathOf(hive, tree, item, 0), ItemName);
}

std::string LongItemPath(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  return TextOf(hive, tree, ShownPathOf(hive, tree, item, kLongestPath), ItemName);
}

std::string StoredItemPath(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const ShownPath shown = ShownPathOf(hive, tree, item, 0);
  std::string stored = TextOf(hive, tree, shown, StoredItemName);
  if (stored == TextOf(hive, tree, shown, ItemName)) stored.clear();
  return stored;
}

// --- walks -------------------------------------------------------------------------------------

void PathWalker::Push(uint32_t item) {
  const bool root = levels_.empty();
  bool escaped = !root && levels_.back().escaped;
  if (!root) path_ += '\\';
  const size_t start = path_.size();
  AppendItemName(hive_, tree_, item, path_);
  const std::string_view name = std::string_view(path_).substr(start);
  const bool cut = name.size() >= kLongestShownName && name.ends_with(kNameCut);
  escaped = escaped || cut || name.find(kEscapeStart) != name.npos;
  levels_.push_back({item, path_.size(), escaped});
}

void PathWalker::Enter(uint32_t item) {
  // Levels whose subtree lies after the item are done with.
  while (!levels_.empty() &&
         (item < levels_.back().item || item >= tree_.items[levels_.back().item].end)) {
    levels_.pop_back();
  }
  if (!levels_.empty() && levels_.back().item == tree_.items[item].parent) {  // as in a walk
    path_.resize(levels_.back().length);
    return Push(item);
  }
  std::vector<uint32_t> missing;
  const uint32_t known = levels_.empty() ? kNoItem : levels_.back().item;
  for (uint32_t at = item; at != known; at = tree_.items[at].parent) missing.push_back(at);
  path_.resize(levels_.empty() ? 0 : levels_.back().length);
  for (auto at = missing.rbegin(); at != missing.rend(); ++at) Push(*at);
}

bool PathWalker::IsLong() const {
  return path_.size() > kLeastPath && path_.size() > ListedPathLimit(hive_, tree_);
}

// The level of the key that a shortened path goes on from, as TailOf finds it; 0 for none.
size_t PathWalker::AnchorLevel() const {
  size_t level = levels_.size() - 1;
  while (level > 0) {
    --level;
    const size_t above = level == 0 ? 0 : levels_[level - 1].length;
    if (path_.size() - above > kTailLength && IsAnchor(tree_, levels_[level].item)) break;
  }
  return level;
}

const std::string& PathWalker::PathOf(uint32_t item) {
  Enter(item);
  const size_t anchor = IsLong() ? AnchorLevel() : 0;
  if (anchor == 0) return path_;
  const Level& level = levels_[anchor];
  shortened_ = PathTop(hive_, tree_, item, ItemName) + AnchorText(hive_, tree_, level.item);
  return shortened_.append(path_, level.length);
}

const std::string& PathWalker::StoredPathOf(uint32_t item) {
  Enter(item);
  stored_.clear();
  if (levels_.back().escaped) stored_ = StoredItemPath(hive_, tree_, item);
  return stored_;
}

uint32_t FindItemByPath(const HiveImage& hive, const KeyTree& tree, std::string_view text) {
  if (tree.items.empty()) return kNoItem;
  const std::u16string whole = WideOfText(text);
  std::u16string_view path = whole;
  if (path.starts_with(u'\\')) path.remove_prefix(1);
  while (path.ends_with(u'\\')) path.remove_suffix(1);
  std::u16string_view rest = path;
  if (SkipRoot(tree.root_text, rest) || SkipRoot(hive.root.long_prefix, rest) ||
      SkipOwnRoot(hive, rest)) {
    const uint32_t item = DescendPath(hive, tree, 0, rest);
    if (item != kNoItem) return item;
    const uint32_t shortened = FindShortened(hive, tree, rest);
    if (shortened != kNoItem) return shortened;
  }
  return DescendPath(hive, tree, 0, path);
}

}  // namespace hivequarry
