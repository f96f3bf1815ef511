#include "reports/key_pairs.h"

#include <algorithm>
#include <string_view>

#include "hive/keys.h"
#include "host/case.h"
#include "host/text.h"
#include "records/cell.h"
#include "records/key_flags.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

// By capitals; keys of one name by their place, so that the pairs are the same each time.
std::vector<PairedName> ChildrenOf(const ComparedSide& side, uint32_t item,
                                   const HiveCompareOptions& options) {
  std::vector<PairedName> children;
  for (uint32_t at = FirstChild(side.tree, item); at != kNoItem; at = NextSibling(side.tree, at)) {
    if (TakesPart(side, at, options)) children.push_back({CapitalsOfItem(side, at), at, 0});
  }
  std::ranges::sort(children, [&side](const PairedName& one, const PairedName& two) {
    const int order = one.capitals.compare(two.capitals);
    return order != 0 ? order < 0
                      : side.tree.items[one.at].position < side.tree.items[two.at].position;
  });
  return children;
}

// --- what is the same on both sides --------------------------------------------------------------

// The name of a key where it is stored as plain ASCII and nothing is made or guessed of it; else
// empty.
ByteView PlainName(const ComparedSide& side, uint32_t item) {
  const KeyItem& it = side.tree.items[item];
  const bool given = it.marks != 0 || HasMadeName(side.tree, it) || it.kind != ItemKind::kKey;
  if (given || IsWideKeyName(ReadU8(side.hive, it.position + kKeyFlags))) return {};
  const uint32_t length = ReadU16(side.hive, it.position + kKeyNameLength);
  const ByteView name = PartOf(ImageBytes(side.hive), it.position + kKeyName, length);
  const bool ascii = std::ranges::all_of(name, [](uint8_t byte) { return byte < 0x80; });
  return ascii && name.size() == length ? name : ByteView();
}

bool IsBefore(ByteView name, ByteView other) {
  const auto capital = [](uint8_t byte) { return PlainCapital(static_cast<char>(byte)); };
  return std::ranges::lexicographical_compare(name, other, {}, capital, capital);
}

uint32_t NextTaking(const ComparedSide& side, uint32_t at, const HiveCompareOptions& options) {
  while (at != kNoItem && !TakesPart(side, at, options)) at = NextSibling(side.tree, at);
  return at;
}

// In nearly every key the children of both sides have the same names in the same order, which is
// that of their capitals: then they pair as they come. False, and nothing paired, for all others.
bool PairAsTheyCome(const PairWalk& walk, uint32_t item_a, uint32_t item_b,
                    std::vector<KeyPair>& pairs) {
  ByteView before;
  uint32_t a = NextTaking(walk.a, FirstChild(walk.a.tree, item_a), walk.options);
  uint32_t b = NextTaking(walk.b, FirstChild(walk.b.tree, item_b), walk.options);
  while (a != kNoItem && b != kNoItem) {
    const ByteView name = PlainName(walk.a, a);
    // Strictly ascending: names that come twice are told apart the long way.
    const bool plain = !name.empty() && std::ranges::equal(name, PlainName(walk.b, b)) &&
                       (before.empty() || IsBefore(before, name));
    if (!plain) break;
    pairs.push_back({Pairing::kBoth, a, b});
    before = name;
    a = NextTaking(walk.a, NextSibling(walk.a.tree, a), walk.options);
    b = NextTaking(walk.b, NextSibling(walk.b.tree, b), walk.options);
  }
  if (a == kNoItem && b == kNoItem) return true;
  pairs.clear();
  return false;
}

// What two values are compared by as they lie in their images, which costs no copy and nothing of a
// budget, however many values share their data.
struct PlainValue {
  ValueKey fields;
  ByteView name;
  ByteView data;
};
// Views into the image, for the many values that need no more; false for what is damaged or in
// segments, which is read the long way.
bool ReadPlainValue(const HiveImage& hive, uint32_t position, PlainValue& out) {
  if (position == kNoOffset) return false;
  out.fields = ReadStoredValueKey(hive, position, ValueRead::kFields, kShownData, nullptr);
  const ValueKey& fields = out.fields;
  const bool cheap = fields.status == ValueStatus::kRead && !fields.big_data &&
                     kValueName + uint32_t{fields.name_length} <= fields.cell_length;
  if (!cheap) return false;
  const ByteView image = ImageBytes(hive);
  out.name = PartOf(image, position + kValueName, fields.name_length);
  out.data = PartOf(image, fields.data_position, fields.data_length);
  return out.name.size() == fields.name_length && out.data.size() == fields.data_length;
}

// False also for what must be read the long way to tell.
bool IsSameValue(const PairWalk& walk, uint32_t position_a, uint32_t position_b) {
  PlainValue a;
  PlainValue b;
  return ReadPlainValue(walk.a.hive, position_a, a) && ReadPlainValue(walk.b.hive, position_b, b) &&
         a.fields.type == b.fields.type && a.fields.flags == b.fields.flags &&
         std::ranges::equal(a.name, b.name) && std::ranges::equal(a.data, b.data);
}

// --- data ----------------------------------------------------------------------------------------

// With `text`, strings are compared up to their first zero: what is after it no reader sees.
bool SameData(const PairWalk& walk) {
  const SideValue& a = walk.value_a;
  const SideValue& b = walk.value_b;
  if (a.data == b.data) return true;
  if (!walk.options.text || a.value.type != b.value.type) return false;
  const bool text = a.value.type == kRegSz || a.value.type == kRegExpandSz;
  const auto until_zero = [](const std::vector<uint8_t>& data) {
    size_t at = 0;
    while (at + 1 < data.size() && (data[at] | data[at + 1]) != 0) at += 2;
    return ByteView(data).first(std::min(at, data.size()));
  };
  return text && std::ranges::equal(until_zero(a.data), until_zero(b.data));
}

}  // namespace

bool TakesPart(const ComparedSide& side, uint32_t item, const HiveCompareOptions& options) {
  return HasKeyCell(side.tree, item) && (side.tree.items[item].connected || options.recovered);
}

std::string CapitalsOfItem(const ComparedSide& side, uint32_t item) {
  const WholeReading whole;  // names pair as they are stored, however they are shown
  return CapitalsOfText(StoredItemName(side.hive, side.tree, item));
}

std::vector<KeyPair> PairsBelow(const PairWalk& walk, uint32_t item_a, uint32_t item_b) {
  std::vector<KeyPair> pairs;
  if (PairAsTheyCome(walk, item_a, item_b, pairs)) return pairs;
  std::string before;
  VisitPairs(ChildrenOf(walk.a, item_a, walk.options), ChildrenOf(walk.b, item_b, walk.options),
             &PairedName::capitals, [&](Pairing pairing, const PairedName& a, const PairedName& b) {
               const bool twin = !pairs.empty() && before == a.capitals;
               if (!twin) before = a.capitals;
               pairs.push_back({pairing, pairing == Pairing::kOnlyB ? kNoItem : a.at,
                                pairing == Pairing::kOnlyA ? kNoItem : b.at, twin, false});
             });
  return pairs;
}

std::vector<ValuePair> ValuePairs(const PairWalk& walk, uint32_t item_a, uint32_t item_b) {
  std::vector<ValuePair> pairs;
  std::string before;
  VisitPairs(PairedValues(walk.a, item_a), PairedValues(walk.b, item_b), &PairedName::capitals,
             [&](Pairing pairing, const PairedName& a, const PairedName& b) {
               const bool twin = !pairs.empty() && before == a.capitals;
               if (!twin) before = a.capitals;
               pairs.push_back({pairing, pairing == Pairing::kOnlyB ? kNoOffset : a.at,
                                pairing == Pairing::kOnlyA ? kNoOffset : b.at, a.place, b.place,
                                twin && a.at != kNoOffset && b.at != kNoOffset});
             });
  return pairs;
}

std::vector<PairedName> PairedValues(const ComparedSide& side, uint32_t item) {
  if (item == kNoItem) return {};
  const WholeReading whole;
  std::vector<uint32_t> positions;
  ReadValuesInWalk(side.hive, PositionOf(side, item), positions);
  std::vector<PairedName> values;
  for (const uint32_t position : positions) {
    const auto place = static_cast<uint32_t>(values.size());
    // Lost values pair with lost ones, by a name that begins with a zero, as hardly any other does.
    if (position == kNoOffset) {
      values.push_back({std::string(1, '\0') + "?", kNoOffset, place});
      continue;
    }
    const ValueKey value = ReadValueKey(side.hive, position, ValueRead::kName, 0, nullptr);
    values.push_back({CapitalsOfText(value.name), position, place});
  }
  std::ranges::stable_sort(values, {}, &PairedName::capitals);
  return values;
}

bool ListTheSameValues(PairWalk& walk, uint32_t item_a, uint32_t item_b) {
  // Hives below and edits make other values of the same bytes.
  const bool plain = walk.a.hive.stack == nullptr && walk.b.hive.stack == nullptr &&
                     !walk.a.hive.edits.any && !walk.b.hive.edits.any;
  if (!plain) return false;
  walk.positions_a.clear();
  walk.positions_b.clear();
  ReadValuesInWalk(walk.a.hive, PositionOf(walk.a, item_a), walk.positions_a);
  ReadValuesInWalk(walk.b.hive, PositionOf(walk.b, item_b), walk.positions_b);
  const auto same = [&walk](uint32_t a, uint32_t b) { return IsSameValue(walk, a, b); };
  return std::ranges::equal(walk.positions_a, walk.positions_b, same);
}

void ReadSide(const ComparedSide& side, uint32_t position, DataBudget& budget, SideValue& out) {
  out.data.clear();
  out.value = ValueKey();
  if (position == kNoOffset) return;
  out.value = ReadValueWithin(side.hive, position, budget, out.data);
}

const char* ValueDifference(PairWalk& walk, uint32_t position_a, uint32_t position_b) {
  ReadSide(walk.a, position_a, walk.budget_a, walk.value_a);
  ReadSide(walk.b, position_b, walk.budget_b, walk.value_b);
  if (!walk.value_a.read() || !walk.value_b.read()) return "unreadable";
  if (walk.value_a.value.type != walk.value_b.value.type) return "value type";
  return SameData(walk) ? nullptr : "value data";
}

std::vector<ComparedValue> ValuesSideBySide(PairWalk& walk, uint32_t item_a, uint32_t item_b,
                                            bool& too_many, size_t most) {
  const auto count = [](const ComparedSide& side, uint32_t item, std::vector<uint32_t>& positions) {
    positions.clear();
    if (item != kNoItem) ReadValuesInWalk(side.hive, PositionOf(side, item), positions);
    return positions.size();
  };
  const size_t longest =
      std::max(count(walk.a, item_a, walk.positions_a), count(walk.b, item_b, walk.positions_b));
  too_many = longest > most;
  if (too_many) return {};
  std::vector<ComparedValue> values;
  for (const ValuePair& pair : ValuePairs(walk, item_a, item_b)) {
    const char* what = nullptr;
    if (pair.pairing == Pairing::kBoth) {
      what = ValueDifference(walk, pair.a, pair.b);
    } else {
      what = pair.pairing == Pairing::kOnlyA ? "only in A" : "only in B";
    }
    values.push_back({what, pair});
  }
  return values;
}

void EnterPair(PairWalk& walk, const IgnoreState& above, KeyPair& pair) {
  walk.state = above;
  const bool in_b = pair.pairing == Pairing::kOnlyB;
  const std::string name = CapitalsOfItem(in_b ? walk.b : walk.a, in_b ? pair.b : pair.a);
  pair.ignored |= EnterIgnoring(walk.options.ignored, name, walk.state);
}

}  // namespace hivequarry
