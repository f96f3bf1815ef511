#include "words/why_here.h"

#include <algorithm>
#include <string_view>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "host/number_text.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

// With a blank between each two.
class Sentences {
 public:
  void Add(std::string_view sentence) {
    if (!text_.empty()) text_ += ' ';
    text_ += sentence;
  }
  std::string text_;
};

// "...\Mail", or the root's own text.
std::string NameInWords(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const std::string name = ItemName(hive, tree, item);
  return item == 0 ? name : "...\\" + name;
}

std::string ParentField(const HiveImage& hive, const KeyItem& it) {
  return "Its parent field at " + PlaceWords(hive, it.position + kKeyParent);
}

constexpr const char* kUnlinked =
    ", whose list of subkeys is whole and does not name it: it was unlinked there.";

// Of a key at the first level of the folder of disconnected keys, which no list names.
std::string LooseWords(const HiveImage& hive, const KeyTree& tree, const KeyItem& it) {
  if ((it.repairs & kRepairNotItsParent) != 0) {
    return " names a key that never had it: that place was used again.";
  }
  // What was unlinked from the root hangs in the folder itself.
  const uint32_t named = ItemOfPosition(tree, ReadOffset(hive, it.position + kKeyParent));
  return named == 0 ? " names the root" + std::string(kUnlinked) : " leads to no key that is left.";
}

// Of a key that has a cell and that no list leads to from the root.
void AddWayUp(const HiveImage& hive, const KeyTree& tree, const KeyItem& it, Sentences& why) {
  const KeyItem& above = tree.items[it.parent];
  if (above.kind == ItemKind::kDisconnectedKeys) {
    if (it.entry != 0) {
      why.Add("The list entry at " + PlaceWords(hive, it.entry) +
              " names this key, but nothing tells whose list that is.");
      return;
    }
    why.Add("No list names this key. " + ParentField(hive, it) + LooseWords(hive, tree, it));
    return;
  }
  const std::string name = NameInWords(hive, tree, it.parent);
  if (it.entry != 0) {
    why.Add("The list entry at " + PlaceWords(hive, it.entry) + " names this key below " + name +
            ", which no list leads to from the root.");
    return;
  }
  const std::string names = "No list names this key. " + ParentField(hive, it) + " names " + name;
  if (above.kind == ItemKind::kPathCopy) {
    why.Add(names + kUnlinked);
  } else if (above.connected) {
    why.Add(names + ", whose list of subkeys is lost or incomplete.");
  } else {
    why.Add(names + ", which no list leads to from the root.");
  }
}

// Of a key without a cell: what proves it.
// By its marks: as a parent, as a child of a list, or as a sibling.
void AddMaking(const HiveImage& hive, const KeyTree& tree, const KeyItem& it, Sentences& why) {
  const std::string_view proof =
      (it.marks & kMarkParent) != 0  ? "Keys name this place in their parent fields"
      : (it.marks & kMarkChild) != 0 ? "The list of the key above names this place"
                                     : "A list whose key is lost names this place";
  const uint32_t evidence = NoteOf(tree, it).evidence;
  const uint32_t at = evidence != 0 ? evidence : it.entry;
  const std::string first = at == 0 ? std::string() : " (at " + PlaceWords(hive, at) + ")";
  why.Add(Concat({proof, first, "; no key is there any more."}));
}

void AddName(const KeyTree& tree, const KeyItem& it, Sentences& why) {
  if ((it.marks & kMarkHashName) != 0) {
    why.Add("Of its name only the four characters are left that its list entry has.");
  } else if ((it.marks & kMarkNoName) != 0 || HasMadeName(tree, it)) {
    why.Add("Its name is lost; the one shown was made.");
  }
}

void AddRepairs(const HiveImage& hive, const KeyTree& tree, const KeyItem& it, Sentences& why) {
  const uint32_t evidence = NoteOf(tree, it).evidence;
  const std::string where =
      evidence == 0 ? std::string() : ", by what is at " + PlaceWords(hive, evidence);
  if ((it.repairs & kRepairParent) != 0) {
    why.Add("Its parent field is implausible; the parent was set right" + where + ".");
  }
  if ((it.marks & kMarkListParent) != 0) why.Add("Its parent is that of the list that holds it.");
  if ((it.marks & kMarkSiblingParent) != 0) {
    why.Add("Its parent is the one that the other keys of its list record.");
  }
  if ((it.repairs & kRepairSubkeyList) != 0) {
    why.Add("Its list of subkeys was found again: the stored offset leads to none.");
  }
  if ((it.repairs & kRepairValueList) != 0) {
    why.Add("Its value list was found again: the stored offset leads to none.");
  }
  if ((it.repairs & kRepairRoot) != 0) {
    why.Add("Its parent field leads outside the data and was set aside.");
  }
  if ((it.marks & kMarkBadNk) != 0) {
    why.Add("Its signature is damaged: that it is a key is a guess from what surrounds it.");
  }
  if ((it.marks & kMarkShared) != 0) {
    why.Add("Its bytes are also those of another recovered record: one of both is wrong.");
  }
}

}  // namespace

std::string WhyKeyIsHere(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  if (!IsKeyItem(tree, item) || tree.items[item].position == kNoOffset) return {};
  const KeyItem& it = tree.items[item];
  Sentences why;
  const bool made = (it.marks & kVirtualMarks) != 0;
  if (made) AddMaking(hive, tree, it, why);
  if (!made && !it.connected && it.parent != kNoItem) AddWayUp(hive, tree, it, why);
  // Connected, yet only by a list that was searched for: its place rests on that.
  const bool by_found_list = it.connected && it.parent != kNoItem &&
                             (tree.items[it.parent].repairs & kRepairSubkeyList) != 0;
  if (by_found_list) why.Add("The list that names it was found again.");
  AddName(tree, it, why);
  AddRepairs(hive, tree, it, why);
  return why.text_;
}

std::string WhyValueIsHere(const KeyTree& tree, uint32_t position) {
  if (std::ranges::binary_search(tree.disconnected_value_positions, position)) {
    return "No value list that can be read names this value. Whose it is, nothing tells.";
  }
  return {};
}

}  // namespace hivequarry
