#include "hive/key_tree.h"

#include <algorithm>
#include <cstdio>

#include "hive/key_node.h"
#include "hive/root_path.h"
#include "host/host.h"

namespace hivequarry {
namespace {

// The name of a key without a name length, when the user has given a length to take.
std::string NameByMinimumLength(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  std::string name(std::min<uint32_t>(tree.minimum_name_length, 510), '\0');
  name.resize(ReadBytes(hive, position + kKeyName, reinterpret_cast<uint8_t*>(name.data()),
                        static_cast<uint32_t>(name.size())));
  return name;
}

bool HasGivenName(const HiveImage& hive, const KeyTree& tree, const KeyItem& item) {
  return tree.minimum_name_length != 0 && item.made_name == 0 &&
         ReadU16(hive, item.position + kKeyNameLength) == 0;
}

// The items from the root (first) down to `item`.
std::vector<uint32_t> Lineage(const KeyTree& tree, uint32_t item) {
  std::vector<uint32_t> lineage;
  for (uint32_t at = item; at != kNoItem; at = tree.items[at].parent) lineage.push_back(at);
  std::reverse(lineage.begin(), lineage.end());
  return lineage;
}

// The child of `parent` that the first component of `path` names; `path` moves behind it. A name
// may itself hold backslashes, so the longest child name that fits is taken.
uint32_t TakeComponent(const HiveImage& hive, const KeyTree& tree, uint32_t parent,
                       std::string_view& path) {
  uint32_t best = kNoItem;
  size_t best_length = 0;
  for (uint32_t child = FirstChild(tree, parent); child != kNoItem;
       child = NextSibling(tree, child)) {
    const std::string name = ItemName(hive, tree, child);
    const bool longer = best == kNoItem || name.size() > best_length;
    const bool ends =
        path.size() == name.size() || (path.size() > name.size() && path[name.size()] == '\\');
    if (longer && ends && EqualIgnoringCase(path.substr(0, name.size()), name)) {
      best = child;
      best_length = name.size();
    }
  }
  if (best != kNoItem) path.remove_prefix(std::min(path.size(), best_length + 1));
  return best;
}

// True, with `path` moved behind it, when the path begins with this root text.
bool TakeRoot(std::string_view root, std::string_view& path) {
  while (!root.empty() && root.back() == '\\') root.remove_suffix(1);
  if (root.empty() || path.size() < root.size()) return false;
  if (!EqualIgnoringCase(path.substr(0, root.size()), root)) return false;
  if (path.size() > root.size() && path[root.size()] != '\\') return false;
  path.remove_prefix(std::min(path.size(), root.size() + 1));
  return true;
}

uint32_t DescendPath(const HiveImage& hive, const KeyTree& tree, std::string_view path) {
  uint32_t item = 0;
  while (!path.empty() && item != kNoItem) item = TakeComponent(hive, tree, item, path);
  return item;
}

}  // namespace

bool IsKeyItem(const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  return (it.kind == ItemKind::kKey || it.kind == ItemKind::kRoot) && it.position != kNoOffset &&
         !it.hidden;
}

void HideBranch(KeyTree& tree, uint32_t item) {
  const uint32_t end = tree.items[item].end;
  for (uint32_t at = item; at < end; ++at) tree.items[at].hidden = true;
  tree.any_hidden = true;
}

void UnhideAll(KeyTree& tree) {
  for (KeyItem& item : tree.items) item.hidden = false;
  tree.any_hidden = false;
}

uint32_t ItemOfPosition(const KeyTree& tree, uint32_t position) {
  const uint32_t rank = RankOfPosition(tree.key_positions, position);
  return rank == kNoRank ? kNoItem : tree.item_of_rank[rank];
}

std::string GeneratedName(uint32_t number) {
  char text[32];
  std::snprintf(text, sizeof(text), "%s%02u)", "Unnamed(", number);
  return text;
}

std::string HintName(uint32_t hint) {
  std::string name;
  for (; hint != 0 && name.size() < 4; hint >>= 8) name.push_back(static_cast<char>(hint & 0xFF));
  return name;
}

void AppendItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item, std::string& out) {
  const KeyItem& it = tree.items[item];
  if (it.kind == ItemKind::kRoot) {
    out += tree.root_text;
  } else if (it.kind == ItemKind::kDisconnectedKeys) {
    out += kDisconnectedKeysTitle;
  } else if (it.kind == ItemKind::kDisconnectedValues) {
    out += kDisconnectedValuesTitle;
  } else if ((it.marks & kMarkHashName) != 0) {
    out += HintName(it.made_name);
  } else if (it.made_name != 0) {
    out += GeneratedName(it.made_name);
  } else if (HasGivenName(hive, tree, it)) {
    out += NameByMinimumLength(hive, tree, it.position);
  } else {
    AppendKeyName(hive, it.position, out);
  }
}

std::string ItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  std::string name;
  AppendItemName(hive, tree, item, name);
  return name;
}

std::string ItemNameUtf8(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  const bool key = it.kind == ItemKind::kKey || it.kind == ItemKind::kPathCopy;
  const bool stored = key && it.made_name == 0 && !HasGivenName(hive, tree, it);
  if (stored) return KeyNameUtf8(hive, it.position);
  return Utf8FromNarrow(ItemName(hive, tree, item));
}

std::string ItemPath(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  std::string path;
  for (const uint32_t at : Lineage(tree, item)) {
    if (path.size() >= kPathLimit) break;
    if (!path.empty()) path += '\\';
    path += ItemName(hive, tree, at);
  }
  return path;
}

std::string ItemPathUtf8(const HiveImage& hive, const KeyTree& tree, uint32_t item, bool* lossy) {
  std::string path;
  size_t narrow_length = 0;
  bool lost = false;
  for (const uint32_t at : Lineage(tree, item)) {
    if (narrow_length >= kPathLimit) break;
    if (!path.empty()) path += '\\';
    const std::string narrow = ItemName(hive, tree, at);
    const std::string whole = ItemNameUtf8(hive, tree, at);
    lost = lost || whole != Utf8FromNarrow(narrow);
    path += whole;
    narrow_length += narrow.size() + 1;
  }
  if (lossy != nullptr) *lossy = lost;
  return path;
}

const std::string& PathWalker::PathOf(uint32_t item) {
  // Levels whose subtree lies behind the item are done with.
  while (!levels_.empty() &&
         (item < levels_.back().item || item >= tree_.items[levels_.back().item].end)) {
    levels_.pop_back();
  }
  std::vector<uint32_t> missing;
  const uint32_t known = levels_.empty() ? kNoItem : levels_.back().item;
  for (uint32_t at = item; at != known; at = tree_.items[at].parent) missing.push_back(at);
  path_.resize(levels_.empty() ? 0 : levels_.back().length);
  for (auto at = missing.rbegin(); at != missing.rend(); ++at) {
    if (path_.size() < kPathLimit) {
      if (!levels_.empty()) path_ += '\\';
      AppendItemName(hive_, tree_, *at, path_);
    }
    levels_.push_back({*at, path_.size()});
  }
  return path_;
}

uint32_t FindItemByPath(const HiveImage& hive, const KeyTree& tree, std::string_view path) {
  if (tree.items.empty()) return kNoItem;
  if (path.starts_with('\\')) path.remove_prefix(1);
  while (path.ends_with('\\')) path.remove_suffix(1);
  std::string_view rest = path;
  if (TakeRoot(tree.root_text, rest) || TakeRoot(hive.long_prefix, rest)) {
    const uint32_t item = DescendPath(hive, tree, rest);
    if (item != kNoItem) return item;
  }
  return DescendPath(hive, tree, path);
}

std::string StatusText(uint16_t marks) {
  const bool missing = (marks & kMarkNoName) != 0;
  const bool hinted = (marks & kMarkHashName) != 0;
  if (missing) return hinted ? "missing name hash name" : "missing name";
  if (hinted) return "hash name";
  if ((marks & kMarkParent) != 0) return "recovered parent";
  if ((marks & kMarkChild) != 0) return "recovered child";
  return (marks & kMarkSibling) != 0 ? "recovered sibling" : "";
}

std::string MarkWords(uint16_t marks, uint8_t repairs, uint32_t parent_offset) {
  constexpr struct {
    uint16_t mark;
    const char* word;
  } kWords[] = {{kMarkBadNk, "bad_nk"},           {kMarkBadLength, "bad_len"},
                {kMarkNoName, "virtname"},        {kMarkParent, "virtpar"},
                {kMarkChild, "virtchild"},        {kMarkSibling, "virtsib"},
                {kMarkListParent, "lf_repaired"}, {kMarkSiblingParent, "par_lh2_rep1"}};
  std::string text;
  for (const auto& [mark, word] : kWords) {
    if ((marks & mark) == 0) continue;
    if (!text.empty()) text += ' ';
    text += word;
  }
  char parent[32];
  std::snprintf(parent, sizeof(parent), "par_rep 0x%X", parent_offset);
  const std::pair<uint8_t, const char*> repaired[] = {{kRepairParent, parent},
                                                      {kRepairValueList, "val_rep"},
                                                      {kRepairSubkeyList, "list_rep"},
                                                      {kRepairRoot, "root_rep"},
                                                      {kRepairByParent, "par_field"}};
  for (const auto& [repair, word] : repaired) {
    if ((repairs & repair) == 0) continue;
    if (!text.empty()) text += ' ';
    text += word;
  }
  return text;
}

}  // namespace hivequarry
