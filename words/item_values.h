// The value pane of a tree item: which rows it has, and their texts.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/values.h"
#include "words/value_text.h"

namespace hivequarry {

// How the value pane shows rows, as the user has it.
struct ValueViewOptions {
  bool technical = false;     // the technical view: positions, lengths and type codes
  bool cell_details = false;  // a first row with the key's own numbers
};

// The icon of an edited value is its type's icon plus this.
inline constexpr int kEditedIconStep = 12;

// Of a recovered record that another one has bytes of; empty for any other.
std::string SharedWords(const HiveImage& hive, const KeyTree& tree, uint32_t position);

// One line of the value pane. Texts as the pane shows them, each in one line; a change of the
// hive's edits makes rows old.
struct ValueRow {
  std::string name;
  std::string type;
  std::string data;
  std::string position;        // file position "0x%08X"
  int icon = 0;                // ValueIcon, plus kErrorIconStep for a marker or kEditedIconStep
  uint32_t value = kNoOffset;  // image position of the value, kNoOffset for an info row
  bool edited = false;         // shows an edit in memory, not what the file has
};

// The rows of an item: leading info rows, then one per value.
struct ItemValues {
  std::vector<ValueRow> info_rows;        // "Info" and "(No values set)" rows, ready made
  std::vector<uint32_t> value_positions;  // listed values, in list order
};

// Positions of the values that a key lists, in list order, as far as there is a value to show; in a
// walk over many keys (hive/values.h), or all of one key.
// kNoOffset is never among them. The walk's form reads what a load allows each key of a list that
// several share, and notes what is left out as a shortfall.
std::vector<uint32_t> ListedValues(const HiveImage& hive, uint32_t key_position);
std::vector<uint32_t> ListedValuesInWalk(const HiveImage& hive, uint32_t key_position);

// What a copy of the key is made from, in a walk over many keys: the positions that its list names,
// readable or not, up to the first that leads to no place for a value.
std::vector<uint32_t> ListedUpToGap(const HiveImage& hive, uint32_t key_position);

// What lists say of a place where a value list leads, and there is no value.
inline constexpr const char* kLostValue = "lost value";
inline constexpr const char* kLeadsNowhere = "entry leads nowhere";
// Where the value of a list's entry should be; the entry's own place when that cannot be.
uint32_t PlaceOfLostValue(const HiveImage& hive, uint32_t entry);
// True when a value can be shown, be it with a marker in place of its data.
bool IsValueAt(const HiveImage& hive, uint32_t position);

// How sure the place of a key's values is: "repaired list", "shared list", or empty.
std::string ValueListStatus(const HiveImage& hive, uint32_t key_position);
// What there is to say of a key whose values, `read` of them, were read in a walk, or all: "lost
// value list (5 values)", "values of a shared list, not shown again". Empty when the list was read.
std::string MissingListText(const HiveImage& hive, uint32_t key_position, size_t read);

// A row among those of values that is about no value: its name and its text.
ValueRow InfoRow(const char* name, const char* text);
// Gathers the rows of `item`; a virtual folder gives its "Info" row. Values that cannot be read at
// all are left out.
// Positions alone: texts are made when a row is shown, so that a key of a million values opens at
// once.
ItemValues ShowItemValues(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                          const ValueViewOptions& options);
// The texts of one value's row; the second form for a value that was read with its data.
ValueRow MakeValueRow(const HiveImage& hive, uint32_t value_position,
                      const ValueViewOptions& options);
ValueRow MakeValueRow(const HiveImage& hive, const ValueKey& value, std::span<const uint8_t> data,
                      const ValueViewOptions& options);
// The same but for the position, in a row that was used before: a walk over many values takes no
// memory for each.
void SetValueRow(const HiveImage& hive, const ValueKey& value, std::span<const uint8_t> data,
                 ValueRow& row);

// "Edited in memory; ..." with the type, length and data that the file has instead. Empty for a
// value that was not edited.
std::string EditWords(const HiveImage& hive, uint32_t value_position);
// The detail view of a value; that of an edited one begins with a line of these words.
ValueDetailText ShownValueDetail(const HiveImage& hive, uint32_t value_position);

// The words of an item's info column, with the offset of the key that it hangs under.
std::string InfoWords(const HiveImage& hive, const KeyTree& tree, const KeyItem& it);

// Where a key leads that is a symbolic link: what its value "SymbolicLinkValue" says, without an
// end. Empty for any other key, and for a link without such a value.
std::string LinkTarget(const HiveImage& hive, uint32_t key_position);

// The detail view of a key: one "label: text" line a field ("\r\n" line ends).
std::string KeyDetail(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// The same for the key cell at a position, whether or not the tree shows it; empty when there is no
// key cell.
std::string KeyDetailAt(const HiveImage& hive, const KeyTree& tree, uint32_t position);
// Its fields one by one, the texts as they are.
struct DetailField {
  const char* label;
  std::string text;  // UTF-8
};
// A field's text as a line of the detail view has it: a line end in a name or a class, which would
// begin a line, is "\u{D}" or "\u{A}".
std::string DetailLine(std::string_view text);
std::vector<DetailField> KeyFieldsAt(const HiveImage& hive, const KeyTree& tree, uint32_t position);

}  // namespace hivequarry
