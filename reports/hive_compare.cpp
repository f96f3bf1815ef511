#include "reports/hive_compare.h"

#include <algorithm>
#include <vector>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layers.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "host/text.h"
#include "lists/list_rows.h"
#include "records/cell.h"
#include "records/security_cell.h"
#include "reports/registry_script.h"
#include "reports/sorted_pairs.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint16_t kComparedFlags = 0x0010;  // of a key: it is a symbolic link

// A child or value as it is paired: its name in capitals, then where it is.
struct Named {
  std::string capitals;
  uint32_t at = 0;  // number of an item, or position of a value; kNoOffset for one that is lost
};

bool TakesPart(const ComparedSide& side, uint32_t item, const HiveCompareOptions& options) {
  return HasKeyCell(side.tree, item) && (side.tree.items[item].connected || options.recovered);
}

std::vector<Named> ChildrenOf(const ComparedSide& side, uint32_t item,
                              const HiveCompareOptions& options) {
  const WholeReading whole;  // names pair as they are stored, however they are shown
  std::vector<Named> children;
  for (uint32_t at = FirstChild(side.tree, item); at != kNoItem; at = NextSibling(side.tree, at)) {
    if (!TakesPart(side, at, options)) continue;
    children.push_back({CapitalsOfText(StoredItemName(side.hive, side.tree, at)), at});
  }
  std::ranges::sort(children, [&side](const Named& one, const Named& two) {
    const int order = one.capitals.compare(two.capitals);
    return order != 0 ? order < 0
                      : side.tree.items[one.at].position < side.tree.items[two.at].position;
  });
  return children;
}

uint32_t PositionOf(const ComparedSide& side, uint32_t item) {
  return side.tree.items[item].position;
}

// What one side holds of a value.
struct SideValue {
  ValueKey value;
  std::vector<uint8_t> data;
  bool read() const { return value.status == ValueStatus::kRead; }
};

struct Comparing {
  ComparedSide a;
  ComparedSide b;
  const HiveCompareOptions& options;
  HiveDifferences& differences;
  OutputList* list = nullptr;  // of rows; null where none are wanted
  DataBudget budget_a = MakeDataBudget(a.hive);
  DataBudget budget_b = MakeDataBudget(b.hive);
  PathWalker paths_a = PathWalker(a.hive, a.tree);
  PathWalker paths_b = PathWalker(b.hive, b.tree);
  SideValue value_a = {};  // read last
  SideValue value_b = {};
};

std::vector<Named> ValuesOf(const ComparedSide& side, uint32_t item) {
  const WholeReading whole;
  std::vector<uint32_t> positions;
  ReadValuesInWalk(side.hive, PositionOf(side, item), positions);
  std::vector<Named> values;
  for (const uint32_t position : positions) {
    if (position == kNoOffset) {
      values.push_back({std::string(1, '\0') + "?", kNoOffset});
      continue;
    }
    const ValueKey value = ReadValueKey(side.hive, position, ValueRead::kName, 0, nullptr);
    values.push_back({CapitalsOfText(value.name), position});
  }
  std::ranges::stable_sort(values, {}, &Named::capitals);
  return values;
}

void ReadSide(const ComparedSide& side, uint32_t position, DataBudget& budget, SideValue& out) {
  out.data.clear();
  out.value = ValueKey();
  if (position == kNoOffset) return;
  out.value = ReadValueWithin(side.hive, position, budget, out.data);
}

// --- rows ----------------------------------------------------------------------------------------

std::string TimeText(const ComparedSide& side, uint32_t item) {
  return item == kNoItem ? std::string() : FormatIso8601(LastWriteOf(side.hive, side.tree, item));
}

struct SideTexts {
  std::string type;
  std::string data;
  std::string offset;
};

SideTexts TextsOfValue(const ComparedSide& side, uint32_t position) {
  if (position == kNoOffset) return {"", "lost", ""};
  const ValueRow row = MakeValueRow(side.hive, position, {});
  return {row.type, row.data, PlaceText(side.hive, position)};
}

// Items or values that a side lacks are kNoItem and kNoOffset.
struct Difference {
  const char* what = "";
  uint32_t item_a = kNoItem;
  uint32_t item_b = kNoItem;
  bool about_value = false;
  uint32_t value_a = kNoOffset;
  uint32_t value_b = kNoOffset;
  std::string data_a;  // of keys: what differs, in words
  std::string data_b;
};

void AddDifference(Comparing& compare, const Difference& row) {
  if (compare.list == nullptr) return;
  const bool in_b = row.item_b != kNoItem;
  const std::string& path =
      in_b ? compare.paths_b.PathOf(row.item_b) : compare.paths_a.PathOf(row.item_a);
  SideTexts a{"", row.data_a, ""};
  SideTexts b{"", row.data_b, ""};
  std::string name;
  if (row.about_value) {
    if (row.value_a != kNoOffset) a = TextsOfValue(compare.a, row.value_a);
    if (row.value_b != kNoOffset) b = TextsOfValue(compare.b, row.value_b);
    const bool named_in_b = row.value_b != kNoOffset;
    const uint32_t position = named_in_b ? row.value_b : row.value_a;
    if (position != kNoOffset) {
      name = ValueDisplayName(ReadValueKey((named_in_b ? compare.b : compare.a).hive, position,
                                           ValueRead::kName, 0, nullptr));
    }
  } else {
    if (row.item_a != kNoItem) {
      a.offset = PlaceText(compare.a.hive, PositionOf(compare.a, row.item_a));
    }
    if (in_b) b.offset = PlaceText(compare.b.hive, PositionOf(compare.b, row.item_b));
  }
  const uint32_t datum = row.about_value ? (row.value_b != kNoOffset ? row.value_b : row.value_a)
                                         : (in_b ? PositionOf(compare.b, row.item_b)
                                                 : PositionOf(compare.a, row.item_a));
  const bool recovered = (row.item_a != kNoItem && !compare.a.tree.items[row.item_a].connected) ||
                         (in_b && !compare.b.tree.items[row.item_b].connected);
  const std::string what = std::string(row.what) + (recovered ? ", recovered" : "");
  const std::string time_a = TimeText(compare.a, row.item_a);
  const std::string time_b = TimeText(compare.b, row.item_b);
  AddListRow(*compare.list,
             {what, path, name, a.type, a.data, b.type, b.data, time_a, time_b, a.offset, b.offset},
             datum);
}

// --- keys ----------------------------------------------------------------------------------------

ByteView DescriptorOf(const ComparedSide& side, uint32_t item) {
  const ByteView bytes = ImageBytes(side.hive);
  const uint32_t record = ReadOffset(side.hive, PositionOf(side, item) + kKeySecurity);
  if (ReadU16(bytes, record + 4) != kSignatureSk) return {};
  return PartOf(bytes, record + kSecurityDescriptor, ReadU32(bytes, record + kSecurityLength));
}

std::vector<uint8_t> ClassOf(const ComparedSide& side, uint32_t item) {
  const uint32_t position = PositionOf(side, item);
  if (ReadU16(side.hive, position + kKeyClassNameLength) == 0) return {};
  return ReadClassName(side.hive, ReadKeyNode(side.hive, position, KeyRead::kFields));
}

// What of the flags means something for a reader: a link, and the layer.
uint32_t FlagsOf(const ComparedSide& side, uint32_t item) {
  const uint32_t position = PositionOf(side, item);
  const uint32_t link = ReadU16(side.hive, position + kKeyFlags) & kComparedFlags;
  const bool layers = HasLayers(side.hive);
  return link | (layers ? uint32_t{ReadU8(side.hive, position + kKeyLayerBits)} << 16 : 0);
}

void CompareKeys(Comparing& compare, uint32_t item_a, uint32_t item_b) {
  const auto add = [&](const char* what, std::string data_a, std::string data_b) {
    AddDifference(compare, {what, item_a, item_b, false, kNoOffset, kNoOffset, std::move(data_a),
                            std::move(data_b)});
  };
  const uint64_t time_a = LastWriteOf(compare.a.hive, compare.a.tree, item_a);
  if (time_a != LastWriteOf(compare.b.hive, compare.b.tree, item_b)) {
    ++compare.differences.times;
    if (compare.options.times) add("key time", "", "");
  }
  const std::vector<uint8_t> class_a = ClassOf(compare.a, item_a);
  if (const std::vector<uint8_t> class_b = ClassOf(compare.b, item_b); class_a != class_b) {
    ++compare.differences.classes;
    add("key class", BytesText(class_a), BytesText(class_b));
  }
  const ByteView security_a = DescriptorOf(compare.a, item_a);
  if (const ByteView security_b = DescriptorOf(compare.b, item_b);
      !std::ranges::equal(security_a, security_b)) {
    ++compare.differences.securities;
    add("key security", std::to_string(security_a.size()) + " bytes",
        std::to_string(security_b.size()) + " bytes");
  }
  const uint32_t flags_a = FlagsOf(compare.a, item_a);
  if (const uint32_t flags_b = FlagsOf(compare.b, item_b); flags_a != flags_b) {
    ++compare.differences.flags;
    add("key flags", Concat({"0x", Hex(flags_a)}), Concat({"0x", Hex(flags_b)}));
  }
}

// --- values --------------------------------------------------------------------------------------

bool SameData(const Comparing& compare) {
  const SideValue& a = compare.value_a;
  const SideValue& b = compare.value_b;
  if (a.data == b.data) return true;
  if (!compare.options.text || a.value.type != b.value.type) return false;
  const bool text = a.value.type == kRegSz || a.value.type == kRegExpandSz;
  const auto until_zero = [](const std::vector<uint8_t>& data) {
    size_t at = 0;
    while (at + 1 < data.size() && (data[at] | data[at + 1]) != 0) at += 2;
    return ByteView(data).first(std::min(at, data.size()));
  };
  return text && std::ranges::equal(until_zero(a.data), until_zero(b.data));
}

// Null for values that are the same.
const char* ValueDifference(Comparing& compare, uint32_t a, uint32_t b) {
  ReadSide(compare.a, a, compare.budget_a, compare.value_a);
  ReadSide(compare.b, b, compare.budget_b, compare.value_b);
  if (!compare.value_a.read() || !compare.value_b.read()) return "unreadable";
  if (compare.value_a.value.type != compare.value_b.value.type) return "value type";
  return SameData(compare) ? nullptr : "value data";
}

void CompareValues(Comparing& compare, uint32_t item_a, uint32_t item_b) {
  const std::vector<Named> values_a = ValuesOf(compare.a, item_a);
  const std::vector<Named> values_b = ValuesOf(compare.b, item_b);
  VisitPairs(values_a, values_b, &Named::capitals,
             [&](Pairing pairing, const Named& a, const Named& b) {
               Difference row{"", item_a, item_b, true, kNoOffset, kNoOffset, {}, {}};
               HiveDifferences& differences = compare.differences;
               if (pairing != Pairing::kOnlyB) row.value_a = a.at;
               if (pairing != Pairing::kOnlyA) row.value_b = b.at;
               if (pairing == Pairing::kBoth) {
                 const char* what = ValueDifference(compare, a.at, b.at);
                 if (what == nullptr) return;
                 row.what = what;
                 const bool readable = compare.value_a.read() && compare.value_b.read();
                 ++(readable ? differences.values_changed : differences.unreadable);
               } else if ((pairing == Pairing::kOnlyA ? a.at : b.at) == kNoOffset) {
                 row.what = "unreadable";
                 ++differences.unreadable;
               } else if (pairing == Pairing::kOnlyA) {
                 row.what = "value removed";
                 ++differences.values_removed;
               } else {
                 row.what = "value added";
                 ++differences.values_added;
               }
               AddDifference(compare, row);
             });
}

// --- the walk ------------------------------------------------------------------------------------

// A key that one side lacks, with all below it.
void AddBranch(Comparing& compare, const ComparedSide& side, uint32_t item, bool added) {
  uint64_t keys = 0;
  uint64_t values = 0;
  std::vector<uint32_t> positions;
  const char* const what = added ? "key added" : "key removed";
  const auto row = [&](uint32_t at, std::string words) {
    Difference difference{what, kNoItem, kNoItem, false, kNoOffset, kNoOffset, {}, {}};
    (added ? difference.item_b : difference.item_a) = at;
    (added ? difference.data_b : difference.data_a) = std::move(words);
    AddDifference(compare, difference);
  };
  for (uint32_t at = item; at < side.tree.items[item].end && !StopRequested(); ++at) {
    if (!TakesPart(side, at, compare.options)) continue;
    ++keys;
    positions.clear();
    ReadValuesInWalk(side.hive, PositionOf(side, at), positions);
    values += positions.size();
    if (compare.options.deep) row(at, std::to_string(positions.size()) + " values");
  }
  (added ? compare.differences.keys_added : compare.differences.keys_removed) += keys;
  if (compare.options.deep) return;
  row(item, std::to_string(keys) + " keys, " + std::to_string(values) + " values");
}

struct KeyPair {
  Pairing pairing = Pairing::kBoth;
  uint32_t a = kNoItem;
  uint32_t b = kNoItem;
};

std::vector<KeyPair> PairsBelow(const Comparing& compare, uint32_t item_a, uint32_t item_b) {
  std::vector<KeyPair> pairs;
  VisitPairs(ChildrenOf(compare.a, item_a, compare.options),
             ChildrenOf(compare.b, item_b, compare.options), &Named::capitals,
             [&pairs](Pairing pairing, const Named& a, const Named& b) {
               pairs.push_back({pairing, pairing == Pairing::kOnlyB ? kNoItem : a.at,
                                pairing == Pairing::kOnlyA ? kNoItem : b.at});
             });
  return pairs;
}

void CompareOne(Comparing& compare, const KeyPair& pair) {
  if (pair.pairing == Pairing::kOnlyA) return AddBranch(compare, compare.a, pair.a, false);
  if (pair.pairing == Pairing::kOnlyB) return AddBranch(compare, compare.b, pair.b, true);
  CompareKeys(compare, pair.a, pair.b);
  CompareValues(compare, pair.a, pair.b);
}

// Keys before what is below them; nothing recurses, however deep they are.
template <typename Visit>
void WalkPairs(Comparing& compare, const Visit& visit) {
  struct Level {
    std::vector<KeyPair> pairs;
    size_t next = 0;
  };
  std::vector<Level> open;
  open.push_back({{{Pairing::kBoth, compare.a.item, compare.b.item}}});
  while (!open.empty() && !StopRequested()) {
    if (open.back().next == open.back().pairs.size()) {
      open.pop_back();
      continue;
    }
    const KeyPair pair = open.back().pairs[open.back().next++];
    visit(compare, pair);
    if (pair.pairing != Pairing::kBoth) continue;
    std::vector<KeyPair> below = PairsBelow(compare, pair.a, pair.b);
    if (!below.empty()) open.push_back({std::move(below)});
  }
}

// --- scripts -------------------------------------------------------------------------------------

struct Patch {
  const std::string& root;
  const TextSink& sink;
  bool open = true;  // until the sink refuses
};

// With its line ends.
void AddText(Patch& patch, std::string_view text) {
  std::string bytes;
  EncodeScript(ScriptForm::kFive, text, bytes);
  patch.open = patch.open && patch.sink(bytes);
}
void AddLine(Patch& patch, const std::string& line) { AddText(patch, line + "\r\n"); }

// "[ROOT\\A\\B" without its end; empty for a path that a script cannot hold.
std::string ScriptPath(const Patch& patch, const ComparedSide& side, uint32_t item) {
  std::vector<std::string> names;
  size_t length = patch.root.size();
  for (uint32_t at = item; at != side.item; at = side.tree.items[at].parent) {
    names.push_back(StoredItemName(side.hive, side.tree, at));
    length += names.back().size() + 1;
    const bool fits = !names.back().empty() && names.back().find('\\') == std::string::npos &&
                      HoldsScriptName(ScriptForm::kFive, names.back());
    if (!fits || length > kLongestPath) {
      NoteShortfall(Shortfall::kScriptKeys);
      return {};
    }
  }
  std::string path = patch.root;
  for (auto name = names.rbegin(); name != names.rend(); ++name) path += "\\" + *name;
  return path;
}

void AddPatchValue(Patch& patch, const SideValue& value) {
  if (!value.read()) return NoteShortfall(Shortfall::kValueData);
  const std::string& name = value.value.name;
  std::string line;
  const bool fits = HoldsScriptName(ScriptForm::kFive, name) &&
                    FormatScriptBytes(name, value.value.type, value.data, line);
  if (!fits) return NoteShortfall(Shortfall::kScriptNames);
  AddText(patch, line);
}

// The line that deletes a value; empty for a lost one, and for a name that no line can hold.
std::string DeletionOf(const ComparedSide& side, uint32_t position) {
  if (position == kNoOffset) return {};
  const ValueKey value = ReadValueKey(side.hive, position, ValueRead::kName, 0, nullptr);
  std::string line;
  const bool fits =
      HoldsScriptName(ScriptForm::kFive, value.name) && FormatScriptDeletion(value.name, line);
  if (!fits) NoteShortfall(Shortfall::kScriptNames);
  return line;
}

// The key, which A lacks, and those below it.
void PatchNew(Comparing& compare, Patch& patch, uint32_t item) {
  for (uint32_t at = item; at < compare.b.tree.items[item].end && patch.open && !StopRequested();
       ++at) {
    if (!TakesPart(compare.b, at, compare.options)) continue;
    const std::string path = ScriptPath(patch, compare.b, at);
    if (path.empty()) continue;
    AddLine(patch, "[" + path + "]");
    for (const Named& value : ValuesOf(compare.b, at)) {
      ReadSide(compare.b, value.at, compare.budget_b, compare.value_b);
      AddPatchValue(patch, compare.value_b);
    }
    AddLine(patch, "");
  }
}

void PatchValues(Comparing& compare, Patch& patch, const KeyPair& pair) {
  bool begun = false;
  const auto begin = [&] {
    if (begun) return true;
    const std::string path = ScriptPath(patch, compare.b, pair.b);
    if (path.empty()) return false;
    AddLine(patch, "[" + path + "]");
    return begun = true;
  };
  VisitPairs(ValuesOf(compare.a, pair.a), ValuesOf(compare.b, pair.b), &Named::capitals,
             [&](Pairing pairing, const Named& a, const Named& b) {
               if (pairing == Pairing::kOnlyA) {
                 const std::string line = DeletionOf(compare.a, a.at);
                 if (!line.empty() && begin()) AddText(patch, line);
                 return;
               }
               if (pairing == Pairing::kBoth && ValueDifference(compare, a.at, b.at) == nullptr)
                 return;
               ReadSide(compare.b, b.at, compare.budget_b, compare.value_b);
               if (begin()) AddPatchValue(patch, compare.value_b);
             });
  if (begun) AddLine(patch, "");
}

void PatchOne(Comparing& compare, Patch& patch, const KeyPair& pair) {
  if (pair.pairing == Pairing::kOnlyB) return PatchNew(compare, patch, pair.b);
  if (pair.pairing == Pairing::kBoth) return PatchValues(compare, patch, pair);
  const std::string path = ScriptPath(patch, compare.a, pair.a);
  if (path.empty()) return;
  AddLine(patch, "[-" + path + "]");
  AddLine(patch, "");
}

}  // namespace

bool AnyDifference(const HiveDifferences& differences) {
  return (differences.keys_added | differences.keys_removed | differences.classes |
          differences.securities | differences.flags | differences.values_added |
          differences.values_removed | differences.values_changed | differences.unreadable) != 0;
}

std::string DifferenceWords(const HiveDifferences& differences) {
  const auto number = [](uint64_t count) { return std::to_string(count); };
  std::string words = Concat(
      {"keys +", number(differences.keys_added), " -", number(differences.keys_removed), ", times ",
       number(differences.times), ", values +", number(differences.values_added), " -",
       number(differences.values_removed), ", changed ", number(differences.values_changed)});
  const auto add = [&](uint64_t count, const char* what) {
    if (count != 0) words += Concat({", ", what, " ", number(count)});
  };
  add(differences.classes, "classes");
  add(differences.securities, "security");
  add(differences.flags, "flags");
  add(differences.unreadable, "unreadable");
  return words;
}

OutputListPtr CompareHives(const ComparedSide& a, const ComparedSide& b,
                           const HiveCompareOptions& options, HiveDifferences& differences) {
  OutputListPtr list = MakeOutputList(kListHiveCompare);
  Comparing compare{a, b, options, differences, list.get()};
  WalkPairs(compare, CompareOne);
  return list;
}

bool WritePatch(const ComparedSide& a, const ComparedSide& b, const HiveCompareOptions& options,
                const std::string& root, const TextSink& sink) {
  const WholeReading whole;
  HiveDifferences ignored;
  Comparing compare{a, b, options, ignored};
  Patch patch{root, sink};
  patch.open = sink(ScriptMark(ScriptForm::kFive));
  AddText(patch, ScriptHead(ScriptForm::kFive));
  WalkPairs(compare,
            [&patch](Comparing& with, const KeyPair& pair) { PatchOne(with, patch, pair); });
  return patch.open && !StopRequested();
}

}  // namespace hivequarry
