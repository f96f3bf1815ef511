#include "words/layer_words.h"

#include <array>

#include "hive/layer_stack.h"
#include "hive/layers.h"
#include "host/counted.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Anything at all by which a key or value differs from those of a plain hive.
bool IsUsed(const LayerCounts& counts) {
  return (counts.tombstone_keys | counts.tombstone_values | counts.superseding_keys |
          counts.other_keys) != 0;
}

// A key that merges counts only where it differs from one of a hive without layers.
void CountKey(const HiveImage& hive, uint32_t position, LayerCounts& counts) {
  switch (LayerOfKey(hive, position)) {
    case KeyLayer::kMerge:
      counts.other_keys += InheritsClass(hive, position);
      return;
    case KeyLayer::kTombstone:
      ++counts.tombstone_keys;
      return;
    default:
      ++counts.superseding_keys;
  }
}

}  // namespace

std::string LayerBitWords(uint8_t bits) {
  constexpr std::array<const char*, 4> kWords = {"merge", "tombstone", "supersede local",
                                                 "supersede tree"};
  std::string words = Concat({"0x", Hex(bits, 2), ": ", kWords[bits & kLayerMask]});
  if ((bits & kInheritClass) != 0) words += ", inherit class";
  return words;
}

std::string KeyStatusText(const HiveImage& hive, const KeyItem& it) {
  constexpr std::array<const char*, 4> kWords = {"", "tombstone", "supersedes", "supersedes tree"};
  std::string text = StatusText(it.marks);
  const bool has_cell = it.position != kNoOffset && (it.marks & kVirtualMarks) == 0;
  const auto layer = has_cell ? LayerOfKey(hive, it.position) : KeyLayer::kMerge;
  if (layer == KeyLayer::kMerge) return text;
  if (!text.empty()) text += ", ";
  return text + kWords[static_cast<size_t>(layer)];
}

std::string ValueTypeText(const HiveImage& hive, const ValueKey& value) {
  return IsTombstone(hive, value) ? kTombstoneType : TypeName(value.type);
}

std::string LayerOfText(const HiveImage& hive, uint32_t position) {
  if (hive.stack == nullptr) return {};
  const std::string& file = LayerHive(hive, position).file_name;
  return std::to_string(LayerAt(hive, position)) + " (" +
         file.substr(file.find_last_of("/\\") + 1) + ')';
}

// Only keys are one with others; a value of a stack is of its own layer.
std::string JoinedLayersText(const HiveImage& hive, uint32_t position) {
  const StackKey* joined = StackKeyAt(hive, position);
  if (joined == nullptr) return std::to_string(LayerAt(hive, position));
  std::string text;
  for (const uint32_t key : joined->keys) {
    if (!text.empty()) text += ", ";
    text += std::to_string(LayerAt(hive, key));
  }
  return text;
}

std::string HiddenText(const HiveImage& hive, uint32_t position) {
  const HiddenNote note = HiddenNoteAt(hive, position);
  const std::string layer = std::to_string(note.layer);
  switch (note.by) {
    case HiddenBy::kTombstone:
      return "hidden by the tombstone of layer " + layer;
    case HiddenBy::kSuperseded:
      return "superseded by the key of layer " + layer;
    case HiddenBy::kOwnValue:
      return "replaced by the value of layer " + layer;
    default:
      return {};
  }
}

std::string LayerCell(const HiveImage& hive, uint32_t position) {
  if (hive.stack == nullptr) return {};
  std::string text = LayerOfText(hive, position);
  const std::string all = JoinedLayersText(hive, position);
  // The first number is the record's own layer, which was said.
  if (all.find(',') != all.npos) text += ", one with " + all.substr(all.find(',') + 2);
  const std::string hidden = HiddenText(hive, position);
  return hidden.empty() ? text : text + ", " + hidden;
}

LayerCounts CountLayers(const HiveImage& hive, const KeyTree& tree) {
  LayerCounts counts;
  if (!HasLayers(hive)) return counts;
  std::vector<uint32_t> values;
  for (uint32_t item = 0; item < tree.items.size(); ++item) {
    if (!HasKeyCell(tree, item)) continue;
    const uint32_t key = tree.items[item].position;
    CountKey(hive, key, counts);
    values.clear();
    ReadValuesOfKey(hive, key, kAllEntries, values);
    for (const uint32_t position : values) {
      if (position == kNoOffset) continue;
      // A tombstone shows in the record alone: no data are read.
      const ValueKey value = ReadValueKey(hive, position, ValueRead::kFields, 0, nullptr);
      counts.tombstone_values += IsTombstone(hive, value);
    }
  }
  return counts;
}

std::string LayersText(const HiveImage& hive, const LayerCounts& counts) {
  if (!HasLayers(hive)) return "no";
  if (!IsUsed(counts)) return "supported, none used";
  return "yes (differencing hive), " + Counted(counts.tombstone_keys, "tombstone key") + ", " +
         Counted(counts.tombstone_values, "tombstone value") + ", " +
         std::to_string(counts.superseding_keys) + " supersede";
}

std::string LayersNotice(const HiveImage& hive, const KeyTree& tree) {
  const LayerCounts counts = CountLayers(hive, tree);
  if (!IsUsed(counts)) return {};
  return "Differencing hive: it holds only what differs from the hive below it (" +
         Counted(counts.tombstone_keys, "tombstone key") + ", " +
         Counted(counts.tombstone_values, "tombstone value") + ", " +
         std::to_string(counts.superseding_keys) + " supersede)";
}

}  // namespace hivequarry
