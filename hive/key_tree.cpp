#include "hive/key_tree.h"

#include <algorithm>

#include "hive/keys.h"
#include "hive/root_path.h"
#include "host/number_text.h"
#include "host/text.h"
#include "host/visible_text.h"

namespace hivequarry {
namespace {

// The name of a key without a name length, when the user has given a length to take.
std::string NameByMinimumLength(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  return KeyNameText(ImageBytes(hive), position, std::min(tree.minimum_name_length, kMaxRawName),
                     false);
}

bool HasGivenName(const HiveImage& hive, const KeyTree& tree, const KeyItem& item) {
  return tree.minimum_name_length != 0 && !HasMadeName(tree, item) &&
         ReadU16(hive, item.position + kKeyNameLength) == 0;
}

// Nearly every name is shown as it is stored. Of one that no registry takes the beginning is shown,
// and that there is more: only damage has such names, and rows would repeat them.
void ShowKeyName(std::string& out, size_t start) {
  const std::string_view name = std::string_view(out).substr(start);
  const bool whole = name.size() <= kLongestShownName || CountUnits(name) <= kLongestShownName;
  if (whole && IsShownAsIs(name)) return;
  std::string shown =
      ShownKeyName(whole ? name : FirstUnits(name, kLongestShownName - kNameCut.size()));
  if (!whole) shown += kNameCut;
  out.replace(start, out.npos, shown);
}

// One status for the name, and for a made key: what is said of the name goes before how it was
// made.
std::string NameStatus(uint16_t marks) {
  const bool missing = (marks & kMarkNoName) != 0;
  const bool hinted = (marks & kMarkHashName) != 0;
  if (missing) return hinted ? "missing name hash name" : "missing name";
  if (hinted) return "hash name";
  if ((marks & kMarkParent) != 0) return "recovered parent";
  if ((marks & kMarkChild) != 0) return "recovered child";
  return (marks & kMarkSibling) != 0 ? "recovered sibling" : "";
}

}  // namespace

bool IsKeyItem(const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  return (it.kind == ItemKind::kKey || it.kind == ItemKind::kRoot) && it.position != kNoOffset &&
         !it.hidden;
}

uint32_t AddFolder(KeyTree& tree, ItemKind kind, uint32_t identifier) {
  const auto item = static_cast<uint32_t>(tree.items.size());
  KeyItem& folder = tree.items.emplace_back();
  folder.kind = kind;
  folder.position = identifier;
  folder.parent = 0;
  return item;
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

std::string GeneratedName(uint32_t number) { return Concat({"Unnamed(", Decimal(number, 2), ")"}); }

std::string HintName(uint32_t hint) {
  std::string name;
  for (; hint != 0 && name.size() < 4; hint >>= 8) name.push_back(static_cast<char>(hint & 0xFF));
  return ShownKeyName(TextOfCodePage(name));
}

void AppendItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item, std::string& out) {
  const KeyItem& it = tree.items[item];
  const uint32_t made_name = NoteOf(tree, it).made_name;
  if (it.kind == ItemKind::kRoot) {
    out += tree.root_text;
  } else if (it.kind == ItemKind::kDisconnectedKeys) {
    out += kDisconnectedKeysTitle;
  } else if (it.kind == ItemKind::kDisconnectedValues) {
    out += kDisconnectedValuesTitle;
  } else if ((it.marks & kMarkHashName) != 0) {
    // Made keys have no record with a name: of some an lf entry's hint has four characters, the
    // others are numbered.
    out += HintName(made_name);
  } else if (made_name != 0) {
    out += GeneratedName(made_name);
  } else {
    const size_t start = out.size();
    if (HasGivenName(hive, tree, it)) {
      out += NameByMinimumLength(hive, tree, it.position);
    } else {
      AppendKeyName(hive, it.position, out);
    }
    ShowKeyName(out, start);
  }
}

std::string ItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  std::string name;
  AppendItemName(hive, tree, item, name);
  return name;
}

void AppendStoredItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                          std::string& out) {
  const KeyItem& it = tree.items[item];
  const bool key = it.kind == ItemKind::kKey || it.kind == ItemKind::kPathCopy;
  if (!key || HasMadeName(tree, it)) {
    AppendItemName(hive, tree, item, out);
  } else if (HasGivenName(hive, tree, it)) {
    out += NameByMinimumLength(hive, tree, it.position);
  } else {
    AppendKeyName(hive, it.position, out);
  }
}

std::string StoredItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  std::string name;
  AppendStoredItemName(hive, tree, item, name);
  return name;
}

bool IsRecovered(const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  const bool key = it.kind == ItemKind::kKey || it.kind == ItemKind::kRoot;
  return key && (!it.connected || (it.marks & kVirtualMarks) != 0);
}

std::string StatusText(uint16_t marks) {
  std::string text = NameStatus(marks);
  const auto add = [&](uint16_t mark, const char* words) {
    if ((marks & mark) == 0) return;
    if (!text.empty()) text += ", ";
    text += words;
  };
  add(kMarkByParent, "by parent field");
  add(kMarkShared, "shared bytes");
  return text;
}

std::string MarkWords(uint16_t marks, uint8_t repairs, uint32_t parent_offset) {
  constexpr struct {
    uint16_t mark;
    const char* word;
  } kWords[] = {{kMarkBadNk, "bad_nk"},           {kMarkBadLength, "bad_len"},
                {kMarkNoName, "virtname"},        {kMarkParent, "virtpar"},
                {kMarkChild, "virtchild"},        {kMarkSibling, "virtsib"},
                {kMarkListParent, "lf_repaired"}, {kMarkSiblingParent, "par_lh2_rep1"},
                {kMarkShared, "shared"}};
  std::string text;
  for (const auto& [mark, word] : kWords) {
    if ((marks & mark) == 0) continue;
    if (!text.empty()) text += ' ';
    text += word;
  }
  const std::string parent = Concat({"par_rep 0x", Hex(parent_offset)});
  const std::pair<uint8_t, std::string_view> repaired[] = {{kRepairParent, parent},
                                                           {kRepairValueList, "val_rep"},
                                                           {kRepairSubkeyList, "list_rep"},
                                                           {kRepairRoot, "root_rep"},
                                                           {kRepairNotItsParent, "par_reused"}};
  for (const auto& [repair, word] : repaired) {
    if ((repairs & repair) == 0) continue;
    if (!text.empty()) text += ' ';
    text += word;
  }
  if ((marks & kMarkByParent) != 0) text += text.empty() ? "par_field" : " par_field";
  return text;
}

}  // namespace hivequarry
