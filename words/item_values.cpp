#include "words/item_values.h"

#include <algorithm>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layer_stack.h"
#include "hive/layers.h"
#include "hive/offset_map.h"
#include "hive/replaying.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/visible_text.h"
#include "recovery/list_recorder.h"
#include "words/key_words.h"
#include "words/layer_words.h"
#include "words/log_origin.h"
#include "words/why_here.h"

namespace hivequarry {
namespace {

// A key's own numbers, hexadecimal, each with a letter after it: values "i", parent "p", class name
// "c", subkeys "n", the key's own offset "o", its value list's "Nl".
ValueRow CellDetailsRow(const HiveImage& hive, uint32_t position) {
  const KeyNode key = ReadKeyNode(hive, position, KeyRead::kFields);
  ValueRow row;
  row.name = Concat({"_", Hex(key.value_count, 6), "i,  ", Hex(PlaceOf(hive, key.parent)), "p,   ",
                     Hex(PlaceOf(hive, key.class_name)), "c,  ", Hex(key.subkey_count), "n"});
  row.type = Concat({Hex(PlaceOf(hive, position), 8), "o"});
  if (key.value_list != kNoOffset) {
    row.type += Concat({", ", Hex(PlaceOf(hive, key.value_list), 8), "Nl"});
  }
  row.icon = static_cast<int>(ValueIcon::kFolder);
  return row;
}

std::vector<uint32_t> OnlyShown(const HiveImage& hive, std::vector<uint32_t> listed) {
  std::erase_if(listed, [&hive](uint32_t position) { return !IsValueAt(hive, position); });
  return listed;
}

// The values of a key's entries, and rows for entries that lead to none; only so many, and one for
// the rest: the entries of a damaged list may be any number, and info rows are made at once.
void AddEntries(const HiveImage& hive, uint32_t key_position, const std::vector<uint32_t>& entries,
                ItemValues& values) {
  constexpr size_t kMostRows = 1000;
  size_t lost = 0;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (IsValueAt(hive, entries[i])) {
      values.value_positions.push_back(entries[i]);
      continue;
    }
    if (++lost > kMostRows) continue;
    const uint32_t entry = ListEntryOf(hive, key_position, i);
    ValueRow row = InfoRow("", kLostValue);
    row.type = kLeadsNowhere;
    row.icon = static_cast<int>(ValueIcon::kBinary) + kErrorIconStep;
    row.position = HexNumber(FilePositionOf(hive, PlaceOfLostValue(hive, entry)));
    values.info_rows.push_back(row);
  }
  if (lost <= kMostRows) return;
  const std::string rest = std::to_string(lost - kMostRows) + " more lost values";
  values.info_rows.push_back(InfoRow("Info", rest.c_str()));
}

bool IsOrdinaryType(uint32_t type) { return (type >= 1 && type <= 4) || type == kRegMultiSz; }

// Numbers in place of name and data: "ovk" the record's place in the file, "ln" and "ld" the
// lengths of name and data in bytes, "od" the place of the data.
void MakeTechnical(const HiveImage& hive, const ValueKey& value, ValueRow& row) {
  row.name = Concat({Hex(PlaceOf(hive, value.position)), "ovk, ", Decimal(value.name_length),
                     "ln, ", Decimal(value.data_length), "ld, ", ShownValueName(value.name)});
  const uint32_t data = PlaceOf(hive, value.data_position);
  row.data = IsOrdinaryType(value.type)
                 ? Concat({Hex(data), "od, (", Decimal(value.type), ")"})
                 : Concat({Hex(data, 8), "o, ", Decimal(value.type), " = unknown dtype "});
  // The data's offset leads nowhere: what is there is no position.
  if (value.data_position >= kNowhere) row.data.replace(0, row.data.find(','), "nowhere");
  if (value.edited) row.type += "  Edited";
  if (value.status != ValueStatus::kRead) {
    row.type += Concat({"  Error ", Decimal(-static_cast<int>(value.status))});
  }
}

// Lines in the order of Add; an empty text is no line.
struct DetailLines {
  const HiveImage& hive;
  std::vector<DetailField> fields = {};

  void Add(const char* label, const std::string& value) {
    if (!value.empty()) fields.push_back({label, value});
  }
  void AddHex(const char* label, uint32_t value) { Add(label, Concat({"0x", Hex(value, 8)})); }
  void AddPosition(const char* label, uint32_t position) {
    Add(label, position == kNoOffset ? "none" : PlaceWords(hive, position));
  }
  void AddCount(const char* label, uint32_t value) { Add(label, std::to_string(value)); }
};

std::string StateText(const KeyNode& key) {
  if (key.state == KeyState::kNotAKey) return "not a key";
  return key.state == KeyState::kAllocated ? "allocated" : "free";
}

// "lh, 12, faults 1, repair code 3"; empty for a key without a list. Of a list of lists the number
// of lists is given.
std::string ListText(const SubkeyListCheck& list) {
  constexpr const char* kNames[] = {"", "lf", "lh", "li", "ri"};
  std::string text = kNames[static_cast<int>(list.kind)];
  if (text.empty()) return text;
  text += ", " + std::to_string(list.kind == ListKind::kRi ? list.ri_count : list.count);
  if (list.faults != 0) text += ", faults " + std::to_string(list.faults);
  if (list.repair_code != 0) text += ", repair code " + std::to_string(list.repair_code);
  return text;
}

// Each only where something is set: fields that older systems left 0.
void AddKeyUses(const HiveImage& hive, const KeyNode& key, DetailLines& lines) {
  const uint8_t access = ReadU8(hive, key.position + kKeyAccessBits);
  const uint8_t user = ReadU8(hive, key.position + kKeyUserFlags);
  const uint8_t debug = ReadU8(hive, key.position + kKeyDebugBits);
  const uint8_t layer =
      HasLayers(hive, key.position) ? ReadU8(hive, key.position + kKeyLayerBits) : uint8_t{0};
  if (access != 0) lines.Add("Access bits", AccessWords(access));
  if (layer != 0) lines.Add("Layer", LayerBitWords(layer));
  if (user != 0) lines.Add("User flags", UserFlagWords(user));
  if (debug != 0) lines.AddHex("Debug bits", debug);
}

// What a key of several layers is made of.
void AddStackFields(const HiveImage& hive, const KeyNode& key, DetailLines& lines) {
  if (hive.stack == nullptr) return;
  lines.Add("From layer", LayerOfText(hive, key.position));
  const StackKey* joined = StackKeyAt(hive, key.position);
  if (joined == nullptr) return;
  if (joined->last_write != key.last_write) {
    lines.Add("Key date in the stack", FormatTimestampChecked(joined->last_write));
  }
  for (const uint32_t other : joined->keys) {
    if (other == key.position) continue;
    lines.Add("One with", PlaceWords(hive, other) + " in layer " + LayerOfText(hive, other));
  }
}

void AddKeyFields(const HiveImage& hive, const KeyNode& key, DetailLines& lines) {
  lines.AddPosition("Position", key.position);
  lines.AddHex("File position", FilePositionOf(hive, key.position));
  lines.AddHex("Cell size", key.size);
  lines.Add("State", StateText(key));
  lines.AddHex("Flags", key.signature_and_flags >> 16);
  lines.Add("Link to", LinkTarget(hive, key.position));
  lines.Add("Key date", FormatTimestampChecked(key.last_write));
  AddStackFields(hive, key, lines);
  AddKeyUses(hive, key, lines);
  lines.AddPosition("Parent", key.parent);
  const KeyNode parent = ReadKeyNode(hive, key.parent, KeyRead::kFields);
  if (parent.state != KeyState::kNotAKey) lines.Add("Parent name", ShownKeyName(parent.name));
  lines.AddCount("Subkeys", key.subkey_count);
  lines.AddPosition("Subkey list", key.subkey_list);
  lines.Add("List kind", ListText(key.list));
  lines.AddCount("Values", key.value_count);
  const uint32_t edits = EditsOfKey(hive, key.position);
  if (edits != 0) lines.AddCount("Values edited in memory", edits);
  lines.AddPosition("Value list", key.value_list);
  lines.AddPosition("Security record", key.security);
  lines.AddPosition("Class name", key.class_name);
  lines.Add("Class", ShownValueName(DataText(kRegSz, ReadClassName(hive, key))));
  lines.AddCount("Name length", key.name_length);
}

std::string NameAt(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  const uint32_t item = ItemOfPosition(tree, position);
  return item == kNoItem ? "no key" : "\"" + ItemName(hive, tree, item) + "\"";
}

// Which bytes support that the key hangs where it does, a line each.
void AddEvidence(const HiveImage& hive, const KeyTree& tree, const KeyItem& it,
                 DetailLines& lines) {
  constexpr const char* kLabel = "Evidence";
  const bool made = (it.marks & kVirtualMarks) != 0;
  if (it.entry != 0) {
    lines.Add(kLabel, "list entry at " + PlaceWords(hive, it.entry) + " names this key");
  }
  if (!made && it.kind != ItemKind::kRoot) {
    const uint32_t parent = ReadOffset(hive, it.position + kKeyParent);
    const bool reused = (it.repairs & kRepairNotItsParent) != 0;
    lines.Add(kLabel, "parent field at " + PlaceWords(hive, it.position + kKeyParent) +
                          " leads to " + PlaceWords(hive, parent) + ", " +
                          NameAt(hive, tree, parent) +
                          (reused ? ", which never had a subkey with so long a name" : ""));
  }
  const uint32_t evidence = NoteOf(tree, it).evidence;
  if (evidence != 0 && evidence != it.entry) {
    const char* what = (it.marks & kMarkParent) != 0 ? "parent field at " : "list entry at ";
    const char* how = made ? " names this place" : " gives the parent";
    lines.Add(kLabel, what + PlaceWords(hive, evidence) + how);
  }
  if ((it.marks & kMarkHashName) != 0) {
    const uint32_t entry = evidence != 0 ? evidence : it.entry;
    // In the list's entry the hint is after the offset.
    lines.Add(kLabel, "name hint at " + PlaceWords(hive, entry + 4));
  }
  const auto values = hive.found.value_lists.find(it.position);
  if (values != hive.found.value_lists.end()) {
    lines.Add(kLabel, "value list at " + PlaceWords(hive, values->second) +
                          ", one bit away from the stored offset");
  }
}

// What is beside the name of a made key: the child that names it, or the list entry.
std::string MadeKeyText(const HiveImage& hive, const KeyTree& tree, const KeyItem& it) {
  const uint32_t item = ItemOfPosition(tree, it.position);
  const std::string name = ItemName(hive, tree, item);
  if ((it.marks & kMarkParent) != 0) {
    // The evidence is that child's parent field.
    const uint32_t child = ItemOfPosition(tree, NoteOf(tree, it).evidence - kKeyParent);
    return child == kNoItem ? name : name + " (" + ItemName(hive, tree, child) + ")";
  }
  const auto note = tree.sibling_notes.find(it.position);
  if (note == tree.sibling_notes.end()) return {};
  return name + " (Lh2:" + ListKindText(note->second.signature, note->second.count) + ":" +
         std::to_string(note->second.row) + ")";
}

// What the tree knows of the key beyond its cell.
void AddTreeFields(const HiveImage& hive, const KeyTree& tree, const KeyItem& it,
                   DetailLines& lines) {
  if ((it.marks & kVirtualMarks) != 0) lines.Add("Made for", MadeKeyText(hive, tree, it));
  lines.Add("Connected", it.connected ? "yes" : "no");
  lines.Add("Status", KeyStatusText(hive, it));
  lines.Add("Info", InfoWords(hive, tree, it));
  lines.AddCount("Marks", it.marks);
  lines.Add("Shared", SharedWords(hive, tree, it.position));
  AddEvidence(hive, tree, it, lines);
}

}  // namespace

ValueRow InfoRow(const char* name, const char* text) {
  ValueRow row;
  row.name = name;
  row.data = text;
  row.icon = static_cast<int>(ValueIcon::kFolder);
  return row;
}

std::string SharedWords(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  const auto shared = tree.shared_bytes.find(position);
  if (shared == tree.shared_bytes.end()) return {};
  return "its bytes or data are also those of the recovered record at " +
         PlaceWords(hive, shared->second);
}

namespace {

// In a stack of hives an offset means something in the hive of its own layer alone.
uint32_t OwnOffsetOf(const HiveImage& hive, uint32_t position) {
  return OffsetOfPosition(LayerHive(hive, position), position - LayerStart(hive, position));
}

}  // namespace

std::string InfoWords(const HiveImage& hive, const KeyTree& tree, const KeyItem& it) {
  const bool under_key = it.parent != kNoItem && IsKeyOrCopy(tree, it.parent);
  const uint32_t parent = under_key ? OwnOffsetOf(hive, tree.items[it.parent].position) : kNoOffset;
  return MarkWords(it.marks, it.repairs, parent);
}

std::vector<uint32_t> ListedValues(const HiveImage& hive, uint32_t key_position) {
  std::vector<uint32_t> listed;
  ReadWholeValueList(hive, key_position, listed);
  return OnlyShown(hive, std::move(listed));
}

std::vector<uint32_t> ListedValuesInWalk(const HiveImage& hive, uint32_t key_position) {
  std::vector<uint32_t> listed;
  ReadValuesInWalk(hive, key_position, listed);
  return OnlyShown(hive, std::move(listed));
}

std::vector<uint32_t> ListedUpToGap(const HiveImage& hive, uint32_t key_position) {
  constexpr uint32_t kLeastRoom = 18;  // bytes of the image that a value needs
  std::vector<uint32_t> entries;
  ReadValuesInWalk(hive, key_position, entries);
  const auto gap = std::find_if(entries.begin(), entries.end(), [&hive](uint32_t position) {
    return position == kNoOffset || !InsideHive(hive, position, kLeastRoom);
  });
  entries.erase(gap, entries.end());
  return entries;
}

uint32_t PlaceOfLostValue(const HiveImage& hive, uint32_t entry) {
  const uint32_t offset = ReadU32(hive, entry);
  const uint32_t position = OffsetPosition(hive, offset, entry);
  // Cells begin at multiples of 8, the first of them after a block's header.
  const bool possible = offset % 8 == 0 && offset >= kBinHeaderSize && position < kNowhere;
  return possible && position >= hive.data_start ? position : entry;
}

// A value whose length alone puts it out of reach is still a value of its key.
bool IsValueAt(const HiveImage& hive, uint32_t position) {
  return position != kNoOffset && HoldsValue(hive, position);
}

std::string ValueListStatus(const HiveImage& hive, uint32_t key_position) {
  if (hive.found.value_lists.contains(key_position)) return "repaired list";
  return NoteOfValueList(hive, key_position).shared ? "shared list" : "";
}

std::string MissingListText(const HiveImage& hive, uint32_t key_position, size_t read) {
  if (read != 0 || !HasValueList(hive, key_position)) return {};
  const ValueListNote note = NoteOfValueList(hive, key_position);
  if (note.in_walks == 0 && note.entries != 0) return "values of a shared list, not shown again";
  const uint32_t count = ReadU32(hive, key_position + kKeyValueCount);
  const std::string text = "lost value list";
  // A count that the hive has no room for is as wrong as the offset.
  if (count > hive.length / 4) return text;
  return text + " (" + std::to_string(count) + (count == 1 ? " value)" : " values)");
}

ItemValues ShowItemValues(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                          const ValueViewOptions& options) {
  ItemValues values;
  const KeyItem& it = tree.items[item];
  if (it.kind == ItemKind::kDisconnectedValues) {
    values.info_rows.push_back(InfoRow("Info", "Values not connected to any key"));
    values.value_positions = tree.disconnected_value_positions;
    return values;
  }
  if (it.kind == ItemKind::kDisconnectedKeys) {
    values.info_rows.push_back(InfoRow("Info", "Keys not connected to the Root cell"));
    return values;
  }
  if (!IsKeyOrCopy(tree, item)) return values;
  if ((it.marks & kVirtualMarks) != 0) {
    values.info_rows.push_back(InfoRow("(No values set)", ""));
    return values;
  }
  // A list may name any place; no cell begins after this one.
  if (it.position > hive.last_valid) {
    values.info_rows.push_back(InfoRow("Info", "beyond file size"));
    return values;
  }
  if (options.cell_details) values.info_rows.push_back(CellDetailsRow(hive, it.position));
  const std::string status = ValueListStatus(hive, it.position);
  if (!status.empty()) values.info_rows.push_back(InfoRow("Info", status.c_str()));
  std::vector<uint32_t> entries;
  ReadWholeValueList(hive, it.position, entries);
  const std::string missing = MissingListText(hive, it.position, entries.size());
  if (!missing.empty()) values.info_rows.push_back(InfoRow("Info", missing.c_str()));
  AddEntries(hive, it.position, entries, values);
  if (!HasValueList(hive, it.position)) values.info_rows.push_back(InfoRow("(No values set)", ""));
  return values;
}

ValueRow MakeValueRow(const HiveImage& hive, uint32_t value_position,
                      const ValueViewOptions& options) {
  std::vector<uint8_t> data;
  const ValueKey value = ReadShownValue(hive, value_position, data);
  return MakeValueRow(hive, value, data, options);
}

ValueRow MakeValueRow(const HiveImage& hive, const ValueKey& value, std::span<const uint8_t> data,
                      const ValueViewOptions& options) {
  ValueRow row;
  SetValueRow(hive, value, data, row);
  row.position = HexNumber(FilePositionOf(hive, value.position));
  if (options.technical) MakeTechnical(hive, value, row);
  return row;
}

void SetValueRow(const HiveImage& hive, const ValueKey& value, std::span<const uint8_t> data,
                 ValueRow& row) {
  row.value = value.position;
  // Nearly all names: copied into the row's own memory, none made for a text on the way.
  if (value.name_length != 0 && IsNameShownWhole(value)) {
    row.name = value.name;
  } else {
    row.name = ValueDisplayName(value);
  }
  row.type = NameOfKnownType(value.type);
  const bool tombstone = IsTombstone(hive, value);
  if (tombstone || row.type.empty()) row.type = ValueTypeText(hive, value);
  // Lists leave such a value out (IsListed); here it is one of its key's.
  if (value.status == ValueStatus::kTooLong) {
    row.data = "ERR_DATALEN";
  } else if (tombstone && value.data_length == 0) {
    row.data.clear();
  } else {
    SetValueDataText(value, data, row.data);
  }
  row.edited = value.edited;
  row.icon = IconOfValue(value) + (value.edited ? kEditedIconStep : 0);
}

std::string EditWords(const HiveImage& hive, uint32_t value_position) {
  if (EditOf(hive, value_position) == nullptr) return {};
  std::vector<uint8_t> data;
  const ValueKey stored =
      ReadStoredValueKey(hive, value_position, ValueRead::kData, kMaxValueData, &data);
  const ValueRow row = MakeValueRow(hive, stored, data, ValueViewOptions());
  std::string words = "Edited in memory; the file has " + row.type + ", " +
                      std::to_string(stored.data_length) + " bytes";
  return row.data.empty() ? words : words + ": " + row.data;
}

namespace {

// By the stored record: an edit in memory is in no log.
std::string FromLogText(const HiveImage& hive, uint32_t value_position) {
  if (!IsReplayed(hive)) return {};
  const ValueKey value =
      ReadStoredValueKey(hive, value_position, ValueRead::kFields, kMaxValueData, nullptr);
  return ValueOriginText(hive, value);
}

}  // namespace

ValueDetailText ShownValueDetail(const HiveImage& hive, uint32_t value_position) {
  // Each is put before all others, so the last of them, the log, comes first.
  ValueDetailText detail = ValueDetail(hive, value_position);
  const std::string words = EditWords(hive, value_position);
  if (!words.empty() && detail.status == ValueStatus::kRead) {
    detail.text.insert(0, words + "\r\n");
  }
  const ValueKey value = ReadValueKey(hive, value_position, ValueRead::kFields, 0, nullptr);
  if (IsTombstone(hive, value)) {
    detail.text.insert(0, "Tombstone: hides the value of this name in the hive below\r\n");
  }
  const std::string from_log = FromLogText(hive, value_position);
  if (!from_log.empty() && detail.status == ValueStatus::kRead) {
    detail.text.insert(0, "From log: " + from_log + "\r\n");
  }
  return detail;
}

std::string LinkTarget(const HiveImage& hive, uint32_t key_position) {
  constexpr uint16_t kSymbolicLink = 0x10;
  constexpr uint32_t kMostLooked = 64;  // a link has this value alone
  if ((ReadU16(hive, key_position + kKeyFlags) & kSymbolicLink) == 0) return {};
  std::vector<uint32_t> values;
  ReadValuesOfKey(hive, key_position, kMostLooked, values);
  std::vector<uint8_t> data;
  for (const uint32_t position : values) {
    if (position == kNoOffset) continue;
    const ValueKey value = ReadShownValue(hive, position, data);
    const bool target = value.type == kRegLink && value.status == ValueStatus::kRead &&
                        EqualIgnoringCase(value.name, "SymbolicLinkValue");
    if (target) return ShownValueName(DataText(kRegSz, data));
  }
  return {};
}

std::string KeyDetail(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  return IsKeyOrCopy(tree, item) ? KeyDetailAt(hive, tree, tree.items[item].position)
                                 : std::string();
}

std::string KeyDetailAt(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  std::string text;
  for (const DetailField& field : KeyFieldsAt(hive, tree, position)) {
    text += field.label;
    text += ": ";
    text += DetailLine(field.text);
    text += "\r\n";
  }
  return text;
}

std::string DetailLine(std::string_view text) {
  std::string line;
  for (const char character : text) {
    if (character == '\r' || character == '\n') {
      line += character == '\r' ? "\\u{D}" : "\\u{A}";
    } else {
      line += character;
    }
  }
  return line;
}

std::vector<DetailField> KeyFieldsAt(const HiveImage& hive, const KeyTree& tree,
                                     uint32_t position) {
  const uint32_t item = ItemOfPosition(tree, position);
  // With the check of its subkey list, for ListText.
  const KeyNode key = ReadKeyNode(hive, position, KeyRead::kDiagnose);
  DetailLines lines{hive};
  if (item == kNoItem && key.state == KeyState::kNotAKey) return lines.fields;
  if (item != kNoItem) lines.Add("Why here", WhyKeyIsHere(hive, tree, item));
  lines.Add("Key", item == kNoItem ? ShownKeyName(key.name) : LongItemPath(hive, tree, item));
  if (CountUnits(key.name) > kLongestShownName) lines.Add("Name", ShownKeyName(key.name));
  const uint16_t marks = item == kNoItem ? uint16_t{0} : tree.items[item].marks;
  // Of a made key there are no fields: its position has no key cell.
  if ((marks & kVirtualMarks) == 0) {
    AddKeyFields(hive, key, lines);
    lines.Add("From log", KeyOriginText(hive, position));
  } else {
    lines.AddPosition("Position", position);
    lines.Add("State", "no key cell here; only relations prove the key");
  }
  if (item != kNoItem) AddTreeFields(hive, tree, tree.items[item], lines);
  return lines.fields;
}

}  // namespace hivequarry
