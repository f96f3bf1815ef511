#include "reports/hive_compare.h"

#include <algorithm>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layers.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "records/cell.h"
#include "records/security_cell.h"
#include "replay/hive_logs.h"
#include "reports/hive_state.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint16_t kComparedFlags = 0x0010;  // of a key: it is a symbolic link

// What one comparison keeps from key to key. Differences in branches that patterns name are counted
// apart, and no rows are made of them.
struct Comparing {
  PairWalk walk;
  HiveDifferences& heeded;
  OutputList& list;
  ComparedKeys* keys = nullptr;  // null where nobody wants them
  PathWalker paths_a = PathWalker(walk.a.hive, walk.a.tree);
  PathWalker paths_b = PathWalker(walk.b.hive, walk.b.tree);
  HiveDifferences unheeded = {};     // of branches that patterns name
  bool ignoring = false;             // such a branch is under way
  std::vector<uint32_t> above = {};  // numbers in `keys`: the last key and those above it
};

HiveDifferences& CountsOf(Comparing& compare) {
  return compare.ignoring ? compare.unheeded : compare.heeded;
}

// --- rows ----------------------------------------------------------------------------------------

struct SideTexts {
  std::string type;
  std::string data;
  std::string offset;
};

// A script's keys and values have no time and no place in a hive.
std::string TimeText(const ComparedSide& side, uint32_t item) {
  return item == kNoItem || side.script ? std::string()
                                        : FormatShownIso(LastWriteOf(side.hive, side.tree, item));
}
std::string OffsetText(const ComparedSide& side, uint32_t position) {
  return side.script ? std::string() : PlaceText(side.hive, position);
}

SideTexts TextsOfValue(const ComparedSide& side, uint32_t position) {
  if (position == kNoOffset) return {"", "lost", ""};
  const ValueRow row = MakeValueRow(side.hive, position, {});
  return {row.type, row.data, OffsetText(side, position)};
}

// Hexadecimal; empty for a value that the side lacks, or whose data can't be read.
std::string HexOfValue(const ComparedSide& side, uint32_t position, DataBudget& budget,
                       SideValue& last) {
  if (position == kNoOffset) return {};
  // Mostly it was read just now, to be compared.
  if (last.value.position != position) ReadSide(side, position, budget, last);
  return last.read() ? BytesText(last.data) : std::string();
}

// Items or values that a side lacks are kNoItem and kNoOffset.
struct Difference {
  std::string what;
  KeyPair pair;
  bool about_value = false;
  ValuePair value = {};
  std::string data_a = {};  // of keys: what differs, in words
  std::string data_b = {};
};

std::string NameOfValue(const Comparing& compare, const ValuePair& value) {
  const bool in_b = value.b != kNoOffset;
  const uint32_t position = in_b ? value.b : value.a;
  if (position == kNoOffset) return {};
  const HiveImage& hive = (in_b ? compare.walk.b : compare.walk.a).hive;
  return ValueDisplayName(ReadValueKey(hive, position, ValueRead::kName, 0, nullptr));
}

// Where the row leads: in the side that is asked for, or in the other where that lacks it.
// kNoOffset for nowhere.
uint32_t DatumOf(const Comparing& compare, const Difference& row) {
  const auto in = [&](const ComparedSide& side, uint32_t item, uint32_t value) {
    if (side.script) return kNoOffset;
    if (row.about_value && value != kNoOffset) return value;
    return item == kNoItem ? kNoOffset : PositionOf(side, item);
  };
  const uint32_t in_a = in(compare.walk.a, row.pair.a, row.value.a);
  if (compare.walk.options.lead_to_a) return in_a;
  const uint32_t in_b = in(compare.walk.b, row.pair.b, row.value.b);
  const bool lacks = row.about_value && row.value.b == kNoOffset && row.value.a != kNoOffset;
  return in_b == kNoOffset || lacks ? in_a : in_b;
}

bool IsRecoveredIn(const ComparedSide& side, uint32_t item) {
  return item != kNoItem && !side.tree.items[item].connected;
}

// The path is side B's where it has the key, as that is the later state.
void AddDifference(Comparing& compare, const Difference& row) {
  if (compare.ignoring) {
    ++compare.heeded.ignored;
    return;
  }
  const auto& [pairing, item_a, item_b, twin, ignored] = row.pair;
  PairWalk& walk = compare.walk;
  const std::string& path =
      item_b != kNoItem ? compare.paths_b.PathOf(item_b) : compare.paths_a.PathOf(item_a);
  SideTexts a{"", row.data_a, ""};
  SideTexts b{"", row.data_b, ""};
  std::string name;
  std::string bytes;
  if (row.about_value && walk.options.bytes) {
    bytes = Concat({HexOfValue(walk.a, row.value.a, walk.budget_a, walk.value_a), "|",
                    HexOfValue(walk.b, row.value.b, walk.budget_b, walk.value_b)});
  }
  if (row.about_value) {
    if (row.value.pairing != Pairing::kOnlyB) a = TextsOfValue(walk.a, row.value.a);
    if (row.value.pairing != Pairing::kOnlyA) b = TextsOfValue(walk.b, row.value.b);
    name = NameOfValue(compare, row.value);
  } else {
    if (item_a != kNoItem) a.offset = OffsetText(walk.a, PositionOf(walk.a, item_a));
    if (item_b != kNoItem) b.offset = OffsetText(walk.b, PositionOf(walk.b, item_b));
  }
  std::string what = row.what;
  if (row.about_value ? row.value.twin : twin) what += ", duplicate name";
  if (IsRecoveredIn(walk.a, item_a) || IsRecoveredIn(walk.b, item_b)) what += ", recovered";
  const std::string time_a = TimeText(walk.a, item_a);
  const std::string time_b = TimeText(walk.b, item_b);
  RowFacts facts;
  facts.bytes = bytes;
  AddListRow(compare.list,
             {what, path, name, a.type, a.data, b.type, b.data, time_a, time_b, a.offset, b.offset},
             DatumOf(compare, row), facts);
}

// --- the keys as one tree ------------------------------------------------------------------------

// Only for an item that comes after `above` in the walk: of those all before its end are below it.
bool IsBelow(const ComparedSide& side, uint32_t item, uint32_t above) {
  return item != kNoItem && above != kNoItem && item < side.tree.items[above].end;
}

// Items come in the order of a walk, so one that is below the last one's key is within its run.
// The reference holds until the next key is added.
ComparedKey& AddKey(Comparing& compare, uint32_t a, uint32_t b) {
  ComparedKeys& keys = *compare.keys;
  std::vector<uint32_t>& above = compare.above;
  const auto holds = [&](const ComparedKey& key) {
    return IsBelow(compare.walk.a, a, key.a) || IsBelow(compare.walk.b, b, key.b);
  };
  while (!above.empty() && !holds(keys[above.back()])) above.pop_back();
  const auto number = static_cast<uint32_t>(keys.size());
  keys.push_back({a, b, above.empty() ? kNoItem : above.back(), number + 1, 0});
  above.push_back(number);
  return keys.back();
}

// From the last key back: a parent comes before its keys, so its end is known once all after it
// were seen.
void CloseKeys(ComparedKeys& keys) {
  for (size_t i = keys.size(); i-- > 1;) {
    ComparedKey& parent = keys[keys[i].parent];
    parent.end = std::max(parent.end, keys[i].end);
  }
}

// --- keys ----------------------------------------------------------------------------------------

// Into the image; empty where the key's offset leads to no security record. Compared by its bytes,
// as offsets of records differ between hives with the same security.
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

// What was compared of two keys, but for their values; KeyDifference bits.
// A script says nothing of these, so nothing differs from one.
uint8_t CompareKeys(Comparing& compare, const KeyPair& pair) {
  const ComparedSide& a = compare.walk.a;
  const ComparedSide& b = compare.walk.b;
  if (a.script || b.script) return 0;
  uint8_t differs = 0;
  HiveDifferences& counts = CountsOf(compare);
  const auto add = [&](uint8_t bit, uint64_t& count, const char* what, std::string data_a,
                       std::string data_b) {
    differs |= bit;
    ++count;
    AddDifference(compare, {what, pair, false, {}, std::move(data_a), std::move(data_b)});
  };
  if (LastWriteOf(a.hive, a.tree, pair.a) != LastWriteOf(b.hive, b.tree, pair.b)) {
    differs |= kDiffersInTime;
    ++counts.times;
    if (compare.walk.options.times) AddDifference(compare, {"key time", pair});
  }
  const std::vector<uint8_t> class_a = ClassOf(a, pair.a);
  if (const std::vector<uint8_t> class_b = ClassOf(b, pair.b); class_a != class_b) {
    add(kDiffersInClass, counts.classes, "key class", BytesText(class_a), BytesText(class_b));
  }
  const ByteView security_a = DescriptorOf(a, pair.a);
  if (const ByteView security_b = DescriptorOf(b, pair.b);
      !std::ranges::equal(security_a, security_b)) {
    add(kDiffersInSecurity, counts.securities, "key security",
        std::to_string(security_a.size()) + " bytes", std::to_string(security_b.size()) + " bytes");
  }
  const uint32_t flags_a = FlagsOf(a, pair.a);
  if (const uint32_t flags_b = FlagsOf(b, pair.b); flags_a != flags_b) {
    add(kDiffersInFlags, counts.flags, "key flags", Concat({"0x", Hex(flags_a)}),
        Concat({"0x", Hex(flags_b)}));
  }
  return differs;
}

// --- values --------------------------------------------------------------------------------------

// A pair's row, where there is one; false for values that are the same.
bool CompareValue(Comparing& compare, const KeyPair& pair, const ValuePair& value) {
  HiveDifferences& counts = CountsOf(compare);
  const bool both = value.pairing == Pairing::kBoth;
  const bool in_a = value.pairing == Pairing::kOnlyA;
  const char* what = in_a ? "value removed" : "value added";
  uint64_t* count = in_a ? &counts.values_removed : &counts.values_added;
  if (both) {
    what = ValueDifference(compare.walk, value.a, value.b);
    if (what == nullptr) return false;
    const bool readable = compare.walk.value_a.read() && compare.walk.value_b.read();
    count = readable ? &counts.values_changed : &counts.unreadable;
  } else if ((in_a ? value.a : value.b) == kNoOffset) {
    what = "unreadable";
    count = &counts.unreadable;
  }
  ++*count;
  AddDifference(compare, {what, pair, true, value});
  return true;
}

// The names of the values that both have, in one side's order, cut where they become long.
std::string NamesInOrder(const ComparedSide& side, const std::vector<uint32_t>& positions) {
  // Bytes of the cell: it says that the order differs, not all of it.
  constexpr size_t kLongest = 1000;
  std::string text;
  for (const uint32_t position : positions) {
    const ValueKey value = ReadValueKey(side.hive, position, ValueRead::kName, 0, nullptr);
    if (!text.empty()) text += ", ";
    if (text.size() > kLongest) return text + "...";
    text += ValueDisplayName(value);
  }
  return text;
}

// Only of values that both have: one added or removed is told of anyway.
bool CompareOrder(Comparing& compare, const KeyPair& pair, std::vector<ValuePair> values) {
  std::erase_if(values, [](const ValuePair& value) {
    return value.pairing != Pairing::kBoth || value.a == kNoOffset || value.b == kNoOffset;
  });
  std::ranges::sort(values, {}, &ValuePair::place_a);
  if (std::ranges::is_sorted(values, {}, &ValuePair::place_b)) return false;
  std::vector<uint32_t> in_a;
  std::vector<uint32_t> in_b;
  in_a.reserve(values.size());
  in_b.reserve(values.size());
  for (const ValuePair& value : values) in_a.push_back(value.a);
  std::ranges::sort(values, {}, &ValuePair::place_b);
  for (const ValuePair& value : values) in_b.push_back(value.b);
  ++CountsOf(compare).orders;
  AddDifference(compare, {"value order",
                          pair,
                          false,
                          {},
                          NamesInOrder(compare.walk.a, in_a),
                          NamesInOrder(compare.walk.b, in_b)});
  return true;
}

// Most keys list the same values byte for byte, which costs less to see than to read them.
uint8_t CompareValues(Comparing& compare, const KeyPair& pair) {
  if (ListTheSameValues(compare.walk, pair.a, pair.b)) return 0;
  const std::vector<ValuePair> values = ValuePairs(compare.walk, pair.a, pair.b);
  bool differs = compare.walk.options.order && CompareOrder(compare, pair, values);
  for (const ValuePair& value : values) differs |= CompareValue(compare, pair, value);
  return differs ? kDiffersInValues : 0;
}

// --- the walk ------------------------------------------------------------------------------------

// A key that one side lacks, with all below it.
// One row for the whole branch, or one for each key with `deep`.
void AddBranch(Comparing& compare, const KeyPair& pair) {
  const bool added = pair.pairing == Pairing::kOnlyB;
  const ComparedSide& side = added ? compare.walk.b : compare.walk.a;
  const uint32_t item = added ? pair.b : pair.a;
  uint64_t keys = 0;
  uint64_t values = 0;
  const auto row = [&](uint32_t at, std::string words) {
    Difference difference{added ? "key added" : "key removed", pair};
    (added ? difference.pair.b : difference.pair.a) = at;
    difference.pair.twin = pair.twin && at == item;
    (added ? difference.data_b : difference.data_a) = std::move(words);
    AddDifference(compare, difference);
  };
  // Nothing pairs below such a key, so this memory is free, whichever side it is.
  std::vector<uint32_t>& positions = compare.walk.positions_a;
  const uint64_t left_out = WalkBranch(compare.walk, side, item, [&](uint32_t at) {
    ++keys;
    positions.clear();
    ReadValuesInWalk(side.hive, PositionOf(side, at), positions);
    values += positions.size();
    if (compare.walk.options.deep) row(at, std::to_string(positions.size()) + " values");
    if (compare.keys == nullptr) return true;
    ComparedKey& key = added ? AddKey(compare, kNoItem, at) : AddKey(compare, at, kNoItem);
    key.differs = added ? kDiffersOnlyInB : kDiffersOnlyInA;
    if (at == item && pair.twin) key.differs |= kDiffersByName;
    return true;
  });
  (added ? CountsOf(compare).keys_added : CountsOf(compare).keys_removed) += keys;
  if (compare.walk.options.deep) {
    compare.heeded.ignored += left_out;
    return;
  }
  row(item, std::to_string(keys) + " keys, " + std::to_string(values) + " values");
}

// The key's own record is made before its values are compared, so that keys come in the order of
// the walk; what differs is put in afterwards.
void CompareOne(Comparing& compare, const KeyPair& pair) {
  compare.ignoring = pair.ignored;
  if (pair.pairing != Pairing::kBoth) return AddBranch(compare, pair);
  const size_t number = compare.keys == nullptr ? 0 : compare.keys->size();
  if (compare.keys != nullptr) AddKey(compare, pair.a, pair.b);
  uint8_t differs = CompareKeys(compare, pair);
  differs |= CompareValues(compare, pair);
  if (compare.keys != nullptr && !pair.ignored) (*compare.keys)[number].differs = differs;
}

}  // namespace

bool AnyDifference(const HiveDifferences& differences) {
  return (differences.heeded_times | differences.keys_added | differences.keys_removed |
          differences.classes | differences.securities | differences.flags | differences.orders |
          differences.values_added | differences.values_removed | differences.values_changed |
          differences.unreadable) != 0;
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
  add(differences.orders, "orders");
  add(differences.unreadable, "unreadable");
  return words;
}

// Why a difference may be the file's state and not the registry's; empty for no doubt.
std::string DoubtOfSide(const HiveImage& hive, const ImageSummary& summary) {
  std::string doubt;
  const auto add = [&doubt](const char* words) {
    if (!doubt.empty()) doubt += ", ";
    doubt += words;
  };
  const bool dirty =
      hive.logs != nullptr && hive.logs->hive.dirty() && hive.logs->state != ReplayState::kReplayed;
  if (dirty) add("dirty, and no logs were applied");
  if (!summary.tree_sound) add("damaged");
  if (hive.unread.count != 0) add("parts of the file could not be read");
  return doubt;
}

std::vector<std::string> ComparisonHead(const DescribedSide& a, const DescribedSide& b) {
  std::vector<std::string> lines;
  const auto add = [&lines](const char* letter, const DescribedSide& side) {
    for (const std::string& line : HiveHeadLines(side.hive, HiveHashes())) {
      lines.push_back(Concat({letter, ": ", line}));
    }
    lines.push_back(Concat({letter, ": from ", side.key}));
    if (!side.doubt.empty()) lines.push_back(Concat({letter, ": ", side.doubt}));
  };
  add("A", a);
  add("B", b);
  return lines;
}

OutputListPtr CompareHives(const ComparedSide& a, const ComparedSide& b,
                           const HiveCompareOptions& options, HiveDifferences& differences,
                           ComparedKeys* keys) {
  OutputListPtr list = MakeOutputList(kListHiveCompare);
  Comparing compare{{a, b, options}, differences, *list, keys};
  WalkPairs(compare.walk, [&compare](const KeyPair& pair) { CompareOne(compare, pair); });
  if (keys != nullptr) CloseKeys(*keys);
  if (options.heed_times) differences.heeded_times = differences.times;
  return list;
}

}  // namespace hivequarry
