#include "reports/hive_lists.h"

#include <array>
#include <cstdio>
#include <string_view>
#include <vector>

#include "hive/bins.h"
#include "hive/key_node.h"
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "hive/value_key.h"
#include "hive/value_text.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "recovery/item_values.h"

namespace hivequarry {
namespace {

constexpr uint32_t kStopPollMask = 0xFF;

std::string HexText(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", value);
  return text;
}

void AddTexts(OutputList& list, const std::vector<std::string>& texts, uint32_t datum,
              const RowFacts& facts, int icon) {
  std::vector<std::string_view> views(texts.begin(), texts.end());
  NewRow row;
  row.texts = views;
  row.icon = icon;
  row.has_datum = datum != kNoOffset;
  row.datum = row.has_datum ? datum : 0;
  row.facts = facts;
  AddRow(list, row);
}

// The lossless path of an item, empty when its code-page text has lost nothing.
std::string LosslessPath(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  bool lossy = false;
  std::string path = ItemPathUtf8(hive, tree, item, &lossy);
  return lossy ? path : std::string();
}

// True when the names from the root to the item may have lost something; computed once per item
// from its parent's answer, since nearly all names are plain.
bool NameIsLossy(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  if (it.kind != ItemKind::kKey || it.generated != 0) return false;
  return ItemNameUtf8(hive, tree, item) != Utf8FromNarrow(ItemName(hive, tree, item));
}

std::vector<bool> LossyPaths(const HiveImage& hive, const KeyTree& tree) {
  std::vector<bool> lossy(tree.items.size());
  for (uint32_t item = 0; item < tree.items.size(); ++item) {
    const uint32_t parent = tree.items[item].parent;
    lossy[item] = (parent != kNoItem && lossy[parent]) || NameIsLossy(hive, tree, item);
  }
  return lossy;
}

// Adds value rows of one key after another.
class ValueRows {
 public:
  ValueRows(const HiveImage& hive, OutputList& list, const ValueListOptions& options)
      : hive_(hive), list_(list), options_(options) {}

  // `key` is its position, kNoOffset for none.
  void Add(uint32_t position, const std::string& path, uint32_t key, const std::string& lossless) {
    const ValueRow row = MakeValueRow(hive_, position, ValueViewOptions());
    const ValueKey value = ReadValueKey(hive_, position, ValueRead::kName, kMaxValueData, nullptr);
    RowFacts facts;
    std::string name = ValueNameUtf8(hive_, value);
    if (name == Utf8FromNarrow(value.name)) name.clear();
    const std::string bytes = options_.raw ? DataBytes(position) : std::string();
    facts.path = lossless;
    facts.name = name;
    facts.bytes = bytes;
    AddTexts(list_,
             {path, row.name, row.type, row.data, HexText(position),
              key == kNoOffset ? std::string() : HexText(key)},
             position, facts, row.icon);
  }

 private:
  std::string DataBytes(uint32_t position) {
    constexpr char kDigits[] = "0123456789abcdef";
    ReadValueKey(hive_, position, ValueRead::kData, kMaxValueData, &data_);
    std::string text(data_.size() * 2, '0');
    for (size_t i = 0; i < data_.size(); ++i) {
      text[2 * i] = kDigits[data_[i] >> 4];
      text[2 * i + 1] = kDigits[data_[i] & 15];
    }
    return text;
  }

  const HiveImage& hive_;
  OutputList& list_;
  const ValueListOptions& options_;
  std::vector<uint8_t> data_;
};

}  // namespace

OutputListPtr ListImageInfo(const HiveImage& hive, const ImageSummary& summary) {
  OutputListPtr list = MakeOutputList(kListInfo);
  const auto number = [](uint32_t value) { return std::to_string(value); };
  AddTexts(*list,
           {hive.file_name, number(hive.length), number(hive.base_offset),
            number(hive.header_valid), number(hive.root_valid), number(hive.data_start),
            number(hive.root_position), DisplayedRoot(hive), number(summary.list_style),
            number(summary.keys), number(summary.connected_keys), number(summary.disconnected_keys),
            number(summary.values), number(summary.disconnected_values),
            number(summary.security_records), number(summary.bins), number(summary.virtual_parents),
            number(summary.virtual_children), number(summary.virtual_siblings)},
           kNoOffset, RowFacts(), 0);
  return list;
}

OutputListPtr ListKeyTree(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  OutputListPtr list = MakeOutputList(kListTree);
  const std::vector<bool> lossy = LossyPaths(hive, tree);
  PathWalker paths(hive, tree);
  for (uint32_t at = item; at < tree.items[item].end; ++at) {
    if ((at & kStopPollMask) == 0 && StopRequested()) break;
    const KeyItem& it = tree.items[at];
    const std::string& path = paths.PathOf(at);
    if (!IsKeyItem(tree, at)) continue;
    const uint64_t last_write = ReadU32(hive, it.position + kKeyLastWrite) |
                                uint64_t{ReadU32(hive, it.position + kKeyLastWrite + 4)} << 32;
    const bool under_key = it.parent != kNoItem && IsKeyItem(tree, it.parent);
    const std::string lossless = lossy[at] ? ItemPathUtf8(hive, tree, at, nullptr) : "";
    RowFacts facts;
    facts.about_key = true;
    facts.last_write = last_write;
    facts.path = lossless;
    AddTexts(*list,
             {path, HexText(it.position),
              under_key ? HexText(tree.items[it.parent].position) : std::string(),
              FormatTimestampChecked(last_write), StatusText(it.marks), std::to_string(it.marks),
              it.connected ? "1" : "0"},
             it.position, facts, 0);
  }
  return list;
}

OutputListPtr ListKeyValues(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                            const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListValues);
  ValueRows rows(hive, *list, options);
  PathWalker paths(hive, tree);
  const bool all = item == kNoItem;
  const std::vector<bool> lossy = all ? LossyPaths(hive, tree) : std::vector<bool>();
  const auto count = static_cast<uint32_t>(tree.items.size());
  // Value lists shared by many keys are listed at each of them, within what one list each would
  // take at most.
  uint32_t budget = hive.length / 4;
  for (uint32_t at = all ? 0 : item; at < (all ? count : item + 1); ++at) {
    if ((at & kStopPollMask) == 0 && StopRequested()) break;
    if (!IsKeyItem(tree, at)) continue;
    const uint32_t key = tree.items[at].position;
    const std::vector<uint32_t> values = ListedValues(hive, key, budget);
    if (values.empty()) continue;
    const std::string lossless = !all || lossy[at] ? LosslessPath(hive, tree, at) : "";
    const std::string& path = paths.PathOf(at);
    for (const uint32_t position : values) rows.Add(position, path, key, lossless);
  }
  return list;
}

OutputListPtr ListDisconnectedValues(const HiveImage& hive, const KeyTree& tree,
                                     const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListValues);
  ValueRows rows(hive, *list, options);
  for (const uint32_t position : tree.disconnected_value_positions) {
    if (StopRequested()) break;
    const ValueKey value = ReadValueKey(hive, position, ValueRead::kName, kMaxValueData, nullptr);
    if (IsListed(value.status)) rows.Add(position, std::string(), kNoOffset, std::string());
  }
  return list;
}

OutputListPtr ListBlocks(const HiveImage& hive) {
  OutputListPtr list = MakeOutputList(kListBins);
  for (const BinRow& bin : ListHiveBins(hive, hive.data_start, UINT32_MAX)) {
    AddTexts(*list,
             {BinNumberText(bin), HexText(bin.position).substr(2), BinSizeText(bin),
              BinCopyText(bin), bin.invalid ? std::string() : HexText(bin.own_offset).substr(2)},
             bin.position, RowFacts(), bin.invalid ? kInvalidBinColour : 0);
  }
  return list;
}

OutputListPtr ListDetail(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  const ValueDetailText value = ValueDetail(hive, position);
  const bool is_value = value.status == ValueStatus::kRead;
  const std::string text = is_value ? value.text : KeyDetailAt(hive, tree, position);
  if (text.empty()) return nullptr;
  OutputListPtr list = MakeOutputList(kListDetail);
  std::string_view rest = text;
  bool first = true;
  while (!rest.empty()) {
    const size_t end = rest.find("\r\n");
    const std::string line(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 2);
    const size_t colon = is_value ? std::string::npos : line.find(": ");
    const std::string field = is_value ? (first ? "Header" : "Data") : line.substr(0, colon);
    const std::string value_text = colon == std::string::npos ? line : line.substr(colon + 2);
    AddTexts(*list, {field, value_text}, position, RowFacts(), 0);
    first = false;
  }
  return list;
}

}  // namespace hivequarry
