#include "view/removed_words.h"

#include <algorithm>

#include "host/counted.h"
#include "host/number_text.h"
#include "view/shown_text.h"
#include "view/tree_icons.h"

namespace hivequarry {
namespace {

const RemovedKey* KeyOf(const RemovedState& removed, uint32_t item) {
  const auto found = std::ranges::find(removed.keys, item, &RemovedKey::item);
  return found == removed.keys.end() ? nullptr : &*found;
}

std::string WordsOf(const HiveLogs& logs, const RemovedState& removed, uint32_t item) {
  if (removed.marks[item] != RemovedMark::kRemoved) return "Still there; what is below it is not";
  const RemovedKey* key = KeyOf(removed, item);
  return key == nullptr ? std::string("Removed") : "Removed by " + RemovedByText(logs, key->by);
}

}  // namespace

std::string RemovedFolderText(const RemovedState& removed) {
  return Concat({kRemovedTitle, " (", Counted(removed.keys.size(), "key"), ", ",
                 Counted(removed.values.size(), "value"), ")"});
}

std::u16string RemovedFolderDetail(const RemovedState* removed) {
  std::string text = "Keys and values that the hive's file has, and that its logs removed.\r\n";
  if (removed == nullptr) {
    text += "They are worked out when this folder is opened.\r\n";
  } else {
    text += Counted(removed->keys.size(), "key") + ", " + Counted(removed->values.size(), "value") +
            ", those of removed keys among them. Positions are those in the file.\r\n";
  }
  return ShownText(text);
}

int RemovedIcon(const RemovedState& removed, uint32_t item) {
  if (item == 0) return kIconRemovedFolder;
  return removed.marks[item] == RemovedMark::kRemoved ? kIconRemoved : kIconCopy;
}

std::u16string RemovedItemWords(const HiveLogs& logs, const RemovedState& removed, uint32_t item) {
  return ShownText(WordsOf(logs, removed, item));
}

ItemValues RemovedRows(const RemovedState& removed, uint32_t item,
                       const ValueViewOptions& options) {
  const StateBefore& before = removed.before;
  if (removed.marks[item] == RemovedMark::kRemoved) {
    return ShowItemValues(before.image, before.tree, item, options);
  }
  // Of a key that is still there only what it has lost: its other values are shown where it is.
  ItemValues rows;
  for (const RemovedValue& value : removed.values) {
    if (value.item == item) rows.value_positions.push_back(value.position);
  }
  return rows;
}

std::u16string RemovedItemDetail(const HiveLogs& logs, const RemovedState& removed, uint32_t item) {
  return ShownText(WordsOf(logs, removed, item) + "\r\n\r\n" +
                   KeyDetail(removed.before.image, removed.before.tree, item));
}

std::u16string RemovedValueDetail(const HiveLogs& logs, const RemovedState& removed,
                                  uint32_t position) {
  std::string text;
  const auto found = std::ranges::find(removed.values, position, &RemovedValue::position);
  if (found != removed.values.end()) {
    text = "Removed by " + RemovedByText(logs, found->by) + "\r\n\r\n";
  }
  return ShownText(text + ShownValueDetail(removed.before.image, position).text);
}

}  // namespace hivequarry
