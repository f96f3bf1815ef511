#include "view/freed_words.h"

#include <algorithm>
#include <vector>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "host/counted.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "records/key_node.h"
#include "reports/freed_rows.h"
#include "view/shown_text.h"
#include "view/value_meaning.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kEntriesShown = 4096;  // of a deleted key's list, which nothing vouches for

// Goes on after "Its record at ...".
const char* WhereWords(FreedPlace place) {
  switch (place) {
    case FreedPlace::kFreeCell:
      return "begins a free cell";
    case FreedPlace::kInFreeCell:
      return "lies inside a free cell";
    case FreedPlace::kBehindRecord:
      return "lies after the end of a record in use";
    default:
      return "lies in bytes in which no cell can be made out";
  }
}

std::string WordsOfRecord(const HiveImage& hive, const char* what, uint32_t position,
                          FreedPlace place) {
  return Concat({"This ", what, " was deleted. Its record at ", PlaceWords(hive, position), " ",
                 WhereWords(place), "."});
}

void AddShift(uint32_t shift, std::string& words) {
  if (shift != 0) words += " Its " + ShiftWords(shift) + ".";
}

// What leads to its parent, or does not.
std::string BondWords(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                      const FreedKey& key) {
  const std::string field = " Its parent field at " + PlaceWords(hive, key.position + kKeyParent);
  if (key.in_circle) return field + " leads back to itself by way of other deleted keys.";
  const std::string parent = FreedPath(hive, tree, freed.records, key.parent);
  switch (key.bond) {
    case FreedBond::kStands:
      return Concat(
          {field, " names ", parent, key.parent_row == kNoItem ? "." : ", which was deleted too."});
    case FreedBond::kNotConfirmed:
      return Concat({field, " names ", parent,
                     ". Not confirmed: nothing is left there, or above it, by which to tell "
                     "whether it had this key."});
    case FreedBond::kUsedAgain:
      return field + " names a key that never had it: that place was used again.";
    default:
      return field + " leads to no key that is left.";
  }
}

std::string WhyOfKey(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                     const FreedKey& key) {
  std::string why = WordsOfRecord(hive, "key", key.position, key.place);
  why += BondWords(hive, tree, freed, key);
  if (key.values != 0) {
    why += Concat({" Of its ", Counted(key.values, "value"), " the list still leads to ",
                   std::to_string(key.values_found), "."});
  }
  AddShift(key.shift, why);
  return why;
}

// Begins with a blank, as it follows a sentence. "Not confirmed" where the list alone says it.
std::string KeyOfValueWords(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                            const FreedValue& value) {
  if (value.bond == FreedBond::kUsedAgain) {
    return Concat({" The list of the key at ", PlaceWords(hive, value.ruled_out),
                   " names this place, but that key never had such a value: the place was used "
                   "again."});
  }
  if (value.key == kNoOffset) return " No list leads to it.";
  const FreedKey* key = FreedKeyAt(freed.records, value.key);
  std::string words = " The list of " + FreedPath(hive, tree, freed.records, value.key);
  words += key != nullptr ? ", which was deleted too, names it." : " names it after its end.";
  const bool path = key == nullptr || key->bond != FreedBond::kNotConfirmed;
  if (!path || value.bond == FreedBond::kNotConfirmed) words += " Not confirmed.";
  return words;
}

std::string WhyOfValue(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                       const FreedValue& value, const FreedContent& content) {
  std::string why = WordsOfRecord(hive, "value", value.position, value.place);
  why += KeyOfValueWords(hive, tree, freed, value);
  if (content.in_use) {
    why += " Its data's place is in use again: they may be another value's.";
  }
  AddShift(value.shift, why);
  return why;
}

// What its offsets lead to is left out where they are those of an earlier state: here they lead to
// somebody else's cells.
void AddFields(const HiveImage& hive, const KeyTree& tree, const FreedKey& key, std::string& text) {
  constexpr std::string_view kLed[] = {"Parent name", "List kind", "Class"};
  const std::vector<DetailField> fields = KeyFieldsAt(hive, tree, key.position);
  for (size_t i = 1; i < fields.size(); ++i) {  // the first is the name
    if (key.shift != 0 && std::ranges::find(kLed, fields[i].label) != std::end(kLed)) continue;
    text += Concat({fields[i].label, ": ", DetailLine(fields[i].text), "\r\n"});
  }
}

std::u16string FolderDetail(const FreedTree& freed) {
  std::string text =
      "Deleted keys of which nothing says where they were, and deleted values that no list leads "
      "to. Others are below the keys that they had as their parents.\r\n";
  text += Concat({"In the hive: ", Counted(freed.records.keys.size(), "freed key"), ", ",
                  Counted(freed.records.values.size(), "freed value"), "\r\n"});
  if (freed.shortfalls != 0) text += "Not all of the free space was searched.\r\n";
  return ShownText(text);
}

}  // namespace

std::string FreedFolderText(const FreedTree& freed) {
  return Concat({kFreedTitle, " (", Counted(freed.loose_keys, "key"), ", ",
                 Counted(FreedValuesOf(freed, kNoOffset).size(), "value"), ")"});
}

std::string FreedItemText(const HiveImage& hive, const FreedTree& freed, uint32_t item) {
  const FreedKey* key = FreedKeyOf(freed, item);
  if (key == nullptr) return FreedFolderText(freed);
  std::string text = FreedKeyName(hive, *key);
  if (key->bond == FreedBond::kNotConfirmed) text += "  (not confirmed)";
  return text;
}

std::u16string FreedItemWords(const FreedTree& freed, uint32_t item) {
  const FreedKey* key = FreedKeyOf(freed, item);
  return key == nullptr ? std::u16string() : ShownText("Deleted: " + FreedPlaceWords(*key));
}

std::string FreedItemPath(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                          uint32_t item) {
  const FreedKey* key = FreedKeyOf(freed, item);
  return key == nullptr ? kFreedTitle : FreedPath(hive, tree, freed.records, key->position);
}

std::u16string FreedItemDetail(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                               uint32_t item) {
  const FreedKey* key = FreedKeyOf(freed, item);
  if (key == nullptr) return FolderDetail(freed);
  std::string text = "Why here: " + WhyOfKey(hive, tree, freed, *key) + "\r\nKey: ";
  text += DetailLine(FreedItemPath(hive, tree, freed, item)) + "\r\n";
  AddFields(hive, tree, *key, text);
  return ShownText(text);
}

std::u16string FreedValueDetail(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                                uint32_t position) {
  const FreedValue* value = FreedValueAt(freed.records, position);
  if (value == nullptr) return ShownText(ShownValueDetail(hive, position).text);
  const FreedContent content = ReadFreedContent(hive, freed.records, *value, FreedData::kAll);
  std::string text = "Why here: " + WhyOfValue(hive, tree, freed, *value, content) + "\r\n";
  const ValueDetailText detail = ValueDetail(content.value, content.data);
  if (detail.status == ValueStatus::kRead) {
    return ShownText(text + detail.text + MeaningDetail(content.value.type, content.data));
  }
  // Without data that can be read the fields are told, and why there are none.
  text += Concat({"Value: ", DetailLine(ValueDisplayName(content.value)),
                  "\r\nType: ", FreedTypeText(hive, content),
                  "\r\nLength: ", std::to_string(content.value.data_length),
                  "\r\nData position: ", TargetText(hive, content.value.data_position),
                  "\r\nData: ", ValueDataText(content.value, {}), "\r\n"});
  return ShownText(text);
}

ItemValues FreedItemRows(const HiveImage& hive, const KeyTree& tree, const FreedTree& freed,
                         uint32_t item) {
  ItemValues rows;
  const FreedKey* key = FreedKeyOf(freed, item);
  // A list whose offsets are those of an earlier state leads to somebody else's cells.
  if (key != nullptr && key->shift == 0) {
    std::vector<uint32_t> listed;
    ReadValuesOfKey(hive, key->position, kEntriesShown, listed);
    std::ranges::copy_if(listed, std::back_inserter(rows.value_positions), [&](uint32_t value) {
      return std::ranges::binary_search(tree.disconnected_value_positions, value);
    });
  }
  AddFreedRows(freed, key == nullptr ? kNoOffset : key->position, rows);
  if (key == nullptr || !rows.value_positions.empty()) return rows;
  const std::string lost = "None of " + Counted(key->values, "value") + " is left";
  rows.info_rows.push_back(key->values == 0 ? InfoRow("(No values set)", "")
                                            : InfoRow("Info", lost.c_str()));
  return rows;
}

void AddFreedRows(const FreedTree& freed, uint32_t key_position, ItemValues& values) {
  for (const FreedTree::Owned& owned : FreedValuesOf(freed, key_position)) {
    values.value_positions.push_back(freed.records.values[owned.row].position);
  }
}

ValueRow FreedRowAt(const HiveImage& hive, const FreedTree& freed, uint32_t position) {
  const FreedValue* value = FreedValueAt(freed.records, position);
  if (value == nullptr) return {};
  return MakeFreedRow(hive, ReadFreedContent(hive, freed.records, *value, FreedData::kShown));
}

}  // namespace hivequarry
