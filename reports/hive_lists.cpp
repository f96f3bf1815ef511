#include "reports/hive_lists.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "hive/bins.h"
#include "hive/file_place.h"
#include "hive/key_node.h"
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "hive/value_key.h"
#include "hive/value_text.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "recovery/item_values.h"
#include "recovery/raw_record.h"

namespace hivequarry {
namespace {

constexpr uint32_t kStopPollMask = 0xFF;

bool IsValue(const ValueKey& value) {
  return value.status != ValueStatus::kEmpty && value.status != ValueStatus::kNotAValue;
}

// Nearly all names are plain single-byte text, which loses nothing.
bool NameIsLossy(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  if (it.kind != ItemKind::kKey || it.made_name != 0) return false;
  const std::string name = ItemName(hive, tree, item);
  return !IsPlainText(name) && ItemNameUtf8(hive, tree, item) != Utf8FromNarrow(name);
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

  // `key` is the text of its position, empty for none. No row for what is no value.
  void Add(uint32_t position, std::string_view path, std::string_view key,
           std::string_view lossless) {
    const ValueKey value = ReadValueWithin(hive_, position, data_budget_, data_);
    if (!IsValue(value)) return;
    const ValueRow row = MakeValueRow(hive_, value, data_, ValueViewOptions());
    RowFacts facts;
    const std::string name = LosslessName(hive_, value);
    const std::string bytes = options_.raw ? BytesText(data_) : std::string();
    facts.path = lossless;
    facts.name = name;
    facts.bytes = bytes;
    AddListRow(list_, {path, row.name, row.type, row.data, PlaceText(hive_, position), key},
               position, facts, row.icon);
  }

 private:
  const HiveImage& hive_;
  OutputList& list_;
  const ValueListOptions& options_;
  DataBudget data_budget_ = MakeDataBudget(hive_);
  std::vector<uint8_t> data_;
};

// Calls `add` with each "\r\n"-ended line of a text.
template <typename Add>
void ForEachLine(std::string_view text, const Add& add) {
  while (!text.empty()) {
    const size_t end = text.find("\r\n");
    add(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
  }
}

// "label: text" lines as rows.
void AddFieldLines(const std::string& fields, uint32_t position, OutputList& list) {
  ForEachLine(fields, [&](std::string_view line) {
    const size_t colon = std::min(line.find(": "), line.size());
    const std::string text(line.substr(std::min(colon + 2, line.size())));
    AddListRow(list, {std::string(line.substr(0, colon)), text}, position, RowFacts(), 0);
  });
}

// The value's name and type, then its detail view; for data that cannot be read, why.
void AddValueDetail(const HiveImage& hive, const ValueKey& value, OutputList& list) {
  const auto add = [&](const char* field, const std::string& text) {
    AddListRow(list, {field, text}, value.position, RowFacts(), 0);
  };
  add("Value", ValueDisplayName(value));
  add("Type", TypeName(value.type));
  if (value.edited) add("Edited", EditWords(hive, value.position));
  const ValueDetailText detail = ValueDetail(hive, value.position);
  if (detail.status != ValueStatus::kRead) {
    add("Length", std::to_string(value.data_length));
    add("Data position", PlaceText(hive, value.data_position));
    add("Data", MakeValueRow(hive, value.position, ValueViewOptions()).data);
    return;
  }
  bool header = true;
  ForEachLine(detail.text, [&](std::string_view line) {
    add(header ? "Header" : "Data", std::string(line));
    header = false;
  });
}

// "key at 0x00001020, 88 bytes: HKLM\SOFTWARE", with the path of a key that the tree has.
std::string RecordWords(const HiveImage& hive, const KeyTree& tree, const RecordPlace& place) {
  std::string words = RecordKindWord(place.kind);
  words +=
      " at " + PlaceText(hive, place.position) + ", " + std::to_string(place.length) + " bytes";
  const uint32_t item =
      place.kind == RecordKind::kKey ? ItemOfPosition(tree, place.position) : kNoItem;
  return item == kNoItem ? words : words + ": " + ItemPath(hive, tree, item);
}

}  // namespace

OutputListPtr ListImageInfo(const HiveImage& hive, const ImageSummary& summary,
                            const FreedRecords& freed) {
  OutputListPtr list = MakeOutputList(kListInfo);
  const auto number = [](uint32_t value) { return std::to_string(value); };
  AddListRow(*list,
             {hive.file_name,
              number(LengthInFile(hive)),
              number(hive.base_offset),
              number(hive.header_valid),
              number(hive.root_valid),
              number(hive.data_start),
              number(PlaceOf(hive, hive.root_position)),
              DisplayedRoot(hive),
              number(summary.list_style),
              number(summary.keys),
              number(summary.connected_keys),
              number(summary.disconnected_keys),
              number(summary.values),
              number(summary.disconnected_values),
              number(summary.security_records),
              number(summary.bins),
              number(summary.virtual_parents),
              number(summary.virtual_children),
              number(summary.virtual_siblings),
              number(static_cast<uint32_t>(freed.keys.size())),
              number(static_cast<uint32_t>(freed.values.size())),
              UndoneWords(hive)},
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
    const bool has_cell = HasKeyCell(tree, at);
    const uint64_t last_write = has_cell ? ReadU64(hive, it.position + kKeyLastWrite) : 0;
    const bool under_key = it.parent != kNoItem && IsKeyOrCopy(tree, it.parent);
    const std::string lossless = lossy[at] ? ItemPathUtf8(hive, tree, at, nullptr) : "";
    RowFacts facts;
    facts.about_key = has_cell;
    facts.last_write = last_write;
    facts.path = lossless;
    AddListRow(*list,
               {path, PlaceText(hive, it.position),
                under_key ? PlaceText(hive, tree.items[it.parent].position) : std::string(),
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
  const bool whole = item == kNoItem;
  const bool all = whole || options.branch;
  const std::vector<bool> lossy = all ? LossyPaths(hive, tree) : std::vector<bool>();
  const auto count = static_cast<uint32_t>(tree.items.size());
  const uint32_t first = whole ? 0 : item;
  const uint32_t end = whole ? count : all ? tree.items[item].end : item + 1;
  // Value lists shared by many keys are listed at each of them, within what one list each would
  // take at most.
  uint32_t budget = hive.length / 4;
  std::vector<uint32_t> values;
  for (uint32_t at = first; at < end; ++at) {
    if ((at & kStopPollMask) == 0 && StopRequested()) break;
    const bool asked_copy = !all && tree.items[at].kind == ItemKind::kPathCopy;
    if (!HasKeyCell(tree, at) && !asked_copy) continue;
    const uint32_t key = tree.items[at].position;
    values.clear();
    ReadValuesOfKey(hive, key, budget, values);
    if (values.empty()) continue;
    const std::string lossless = !all || lossy[at] ? LosslessPath(hive, tree, at) : "";
    const std::string& path = paths.PathOf(at);
    const std::string place = PlaceText(hive, key);
    for (const uint32_t position : values) {
      if (position != kNoOffset) rows.Add(position, path, place, lossless);
    }
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
    if (IsListed(value.status)) rows.Add(position, {}, {}, {});
  }
  return list;
}

OutputListPtr ListBlocks(const HiveImage& hive) {
  OutputListPtr list = MakeOutputList(kListBins);
  for (const BinRow& bin : ListHiveBins(hive, hive.data_start, UINT32_MAX)) {
    AddListRow(
        *list,
        {BinNumberText(bin), PositionText(bin.place).substr(2), BinSizeText(bin), BinCopyText(bin),
         bin.invalid ? std::string() : PositionText(bin.own_offset).substr(2)},
        bin.position, RowFacts(), bin.invalid ? kInvalidBinColour : 0);
  }
  return list;
}

OutputListPtr ListDetail(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kName, kMaxValueData, nullptr);
  const bool is_value = IsValue(value);
  const std::string fields = is_value ? std::string() : KeyDetailAt(hive, tree, position);
  if (!is_value && fields.empty()) return nullptr;
  OutputListPtr list = MakeOutputList(kListDetail);
  if (is_value) {
    AddValueDetail(hive, value, *list);
  } else {
    AddFieldLines(fields, position, *list);
  }
  return list;
}

OutputListPtr ListRawRecord(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  const RawRecord record = ReadRawRecord(hive, position);
  if (record.fields.empty()) return nullptr;
  OutputListPtr list = MakeOutputList(kListRawRecord);
  SetListSubtitle(*list, RecordWords(hive, tree, record.place));
  for (const RawField& field : record.fields) {
    const bool leads = field.leads_to != kNoOffset;
    AddListRow(
        *list,
        {PlaceText(hive, field.position), std::to_string(field.size), field.name, field.bytes,
         field.meaning, leads ? PlaceText(hive, field.leads_to) : std::string()},
        leads ? field.leads_to : field.position, RowFacts(), 0);
  }
  return list;
}

}  // namespace hivequarry
