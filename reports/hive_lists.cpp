#include "reports/hive_lists.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layer_stack.h"
#include "hive/root_evidence.h"
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "recovery/root_search.h"
#include "reports/check_list.h"
#include "reports/freed_lists.h"
#include "reports/hive_state.h"
#include "words/bin_texts.h"
#include "words/item_values.h"
#include "words/log_origin.h"
#include "words/raw_record.h"
#include "words/value_text.h"
#include "words/why_here.h"

namespace hivequarry {
namespace {

constexpr uint32_t kStopPollMask = 0xFF;

bool IsValue(const ValueKey& value) {
  return value.status != ValueStatus::kEmpty && value.status != ValueStatus::kNotAValue;
}

// What the rows of one key's values have in common; empty for values that no key names.
struct RowOfKey {
  std::string_view path;
  std::string_view place;   // of the key
  std::string_view stored;  // path
  std::string_view status;  // of the value list
};

// Adds value rows of one key after another.
class ValueRows {
 public:
  ValueRows(const HiveImage& hive, OutputList& list, const ValueListOptions& options)
      : hive_(hive), list_(list), options_(options) {}

  // The value at a position, or what a key's list names there. No row for what is no value.
  // True too where the budget left the row out: that is told of by the budget, not as a loss.
  bool Add(uint32_t position, const RowOfKey& key) {
    if (!MayShowValue(hive_, position, budget_)) return true;
    if (CountsRowsAlone(list_) && !options_.raw) return Count(IsValueAt(hive_, position));
    const ValueKey value = options_.raw ? ReadValueWithin(hive_, position, budget_, data_)
                                        : ReadShownValue(hive_, position, data_);
    if (!IsValue(value)) return false;
    SetValueRow(hive_, value, data_, row_);
    RowFacts facts;
    const std::string_view name = StoredNameFact(value);
    const bool bytes_known = options_.raw && value.status != ValueStatus::kReadBefore;
    const std::string bytes = bytes_known ? BytesText(data_) : std::string();
    facts.path = key.stored;
    facts.name = name;
    facts.bytes = bytes;
    facts.of_record = true;
    const std::string from_log = ValueOriginText(hive_, value);
    facts.from_log = from_log;
    AddListRow(list_,
               {key.path, row_.name, row_.type, row_.data, PlaceText(hive_, position), key.place,
                key.status, LayerCell(hive_, position)},
               position, facts, row_.icon);
    return true;
  }

  // All that a key's list names, read in a walk; what leads to no value has a row of its own.
  void AddKey(uint32_t position, const std::vector<uint32_t>& values, const RowOfKey& key) {
    for (size_t i = 0; i < values.size(); ++i) {
      if (values[i] != kNoOffset && Add(values[i], key)) continue;
      const uint32_t entry = ListEntryOf(hive_, position, i);
      AddLoss(PlaceOfLostValue(hive_, entry), kLostValue, kLeadsNowhere, key);
    }
    const std::string missing = MissingListText(hive_, position, values.size());
    if (missing.empty()) return;
    AddLoss(PlaceOfLostValue(hive_, position + kKeyValueList), missing, key.status, key);
  }

 private:
  const HiveImage& hive_;
  OutputList& list_;
  const ValueListOptions& options_;
  // A row of which only that it is there counts. Data that are read are paid for from the budget: a
  // row with them is made whole.
  bool Count(bool there) {
    if (there) AddRow(list_, NewRow());
    return there;
  }

  // A row for an entry that leads to no value; its place is that of the entry.
  void AddLoss(uint32_t place, std::string_view data, std::string_view status,
               const RowOfKey& key) {
    if (!MayShowLoss(budget_)) return;
    RowFacts facts;
    facts.path = key.stored;
    const int icon = static_cast<int>(ValueIcon::kBinary) + kErrorIconStep;
    AddListRow(list_, {key.path, "", "", data, PlaceText(hive_, place), key.place, status}, place,
               facts, icon);
  }

  DataBudget budget_ = MakeDataBudget(hive_);
  std::vector<uint8_t> data_;
  ValueRow row_;
};

// The value's name and type, then its detail view; for data that cannot be read, why.
// The rows lead to the value.
void AddValueDetail(const HiveImage& hive, const KeyTree& tree, const ValueKey& value,
                    OutputList& list) {
  const auto add = [&](const char* field, const std::string& text) {
    AddListRow(list, {field, text}, value.position, RowFacts(), 0);
  };
  add("Value", ValueDisplayName(value));
  if (!IsNameShownWhole(value)) add("Name", ShownValueName(value.name));
  add("Type", ValueTypeText(hive, value));
  const std::string why = WhyValueIsHere(tree, value.position);
  if (!why.empty()) add("Why here", why);
  if (value.edited) add("Edited", EditWords(hive, value.position));
  const std::string shared = SharedWords(hive, tree, value.position);
  if (!shared.empty()) add("Shared", shared);
  std::vector<uint8_t> data;
  const ValueKey read = ReadValueKey(hive, value.position, ValueRead::kData, kMaxValueData, &data);
  const ValueDetailText detail = ValueDetail(read, data);
  if (detail.status != ValueStatus::kRead) {
    add("Length", std::to_string(value.data_length));
    add("Data position", TargetText(hive, value.data_position));
    add("Data", MakeValueRow(hive, value.position, ValueViewOptions()).data);
    return;
  }
  AddDataLines(list, detail.text, value.position);
  AddMeaningLines(list, read.type, data, value.position);
}

// "key at 0x00001020, 88 bytes: HKLM\SOFTWARE", with the path of a key that the tree has.
std::string RecordWords(const HiveImage& hive, const KeyTree& tree, const RecordPlace& place) {
  std::string words = RecordKindWord(place.kind);
  words +=
      " at " + PlaceText(hive, place.position) + ", " + std::to_string(place.length) + " bytes";
  const uint32_t item =
      place.kind == RecordKind::kKey ? ItemOfPosition(tree, place.position) : kNoItem;
  return item == kNoItem ? words : words + ": " + LongItemPath(hive, tree, item);
}

}  // namespace

OutputListPtr ListImageInfo(const HiveImage& hive, const ImageSummary& summary,
                            const FreedRecords& freed, const LayerCounts& layers,
                            InfoOptions options) {
  OutputListPtr list = MakeOutputList(kListInfo);
  const auto number = [](uint32_t value) { return std::to_string(value); };
  const ImageCut cut = CutOf(hive);
  const uint64_t missing = MissingAtEnd(hive);
  const std::string rest = cut.at == 0 ? "" : "--soff=" + number(cut.rest) + ", or --all-roots";
  const HiveStateTexts state = StateTextsOf(hive, options.hashes);
  const RootEvidence root = FindRootEvidence(hive);
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
              std::to_string(hive.unread.count),
              UnreadRangesText(hive.unread),
              missing == 0 ? std::string() : std::to_string(missing),
              number(summary.root_made),
              cut.at == 0 ? std::string() : number(cut.at),
              cut.reason,
              rest,
              UndoneWords(hive),
              state.dirty,
              state.dirty_why,
              state.checksum_valid,
              state.sequence,
              state.last_written,
              state.version,
              state.flags,
              state.stored_name,
              state.reorganised,
              state.replay,
              state.logs,
              options.structure ? StructureVerdict(hive) : std::string(),
              state.sha256,
              state.logs_sha256,
              LayersText(hive, layers),
              number(layers.tombstone_keys),
              number(layers.tombstone_values),
              number(layers.superseding_keys),
              std::string(HiveKindName(KindOfHive(root))),
              RootSourceWords(hive, root),
              RootEvidenceWords(root),
              RootContradiction(root, true)},
             kNoOffset, RowFacts(), 0);
  return list;
}

namespace {

// The row of a key.
void AddKeyRow(const HiveImage& hive, const KeyTree& tree, uint32_t at, PathWalker& paths,
               const KeyListOptions& options, OutputList& list) {
  const KeyItem& it = tree.items[at];
  const bool has_cell = HasKeyCell(tree, at);
  const uint64_t last_write = has_cell ? LastWriteOfKey(hive, it.position) : 0;
  const bool under_key = it.parent != kNoItem && IsKeyOrCopy(tree, it.parent);
  const std::string& path = paths.PathOf(at);
  RowFacts facts;
  facts.about_key = facts.of_record = has_cell;
  facts.last_write = last_write;
  facts.path = paths.StoredPathOf(at);
  const std::string from_log = has_cell ? KeyOriginText(hive, it.position) : std::string();
  facts.from_log = from_log;
  const bool details = options.details && has_cell;
  const std::string bits =
      details ? std::to_string(ReadU8(hive, it.position + kKeyAccessBits)) : std::string();
  const std::string link = details ? LinkTarget(hive, it.position) : std::string();
  const std::string layer = LayerCell(hive, it.position);
  AddListRow(list,
             {path,
              PlaceText(hive, it.position),
              under_key ? PlaceText(hive, tree.items[it.parent].position) : std::string(),
              {FormatTimestampChecked(last_write), DateValue(last_write)},
              KeyStatusText(hive, it),
              {std::to_string(it.marks), it.marks},
              {it.connected ? "1" : "0", it.connected},
              options.details ? bits : layer,
              link,
              layer},
             it.position, facts, 0);
}

// Copies of keys and made folders have no row; made keys have one without a time.
bool IsListedKey(const HiveImage& hive, const KeyTree& tree, uint32_t at,
                 const KeyListOptions& options) {
  const KeyItem& it = tree.items[at];
  if (!IsKeyItem(tree, at) || (options.disconnected && it.connected)) return false;
  if (!options.by_access) return true;
  return HasKeyCell(tree, at) && (ReadU8(hive, it.position + kKeyAccessBits) & 3) == options.access;
}

// In the order of the tree.
void AddKeyRows(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                const KeyListOptions& options, OutputList& list) {
  PathWalker paths(hive, tree);
  for (uint32_t at = item; at < tree.items[item].end; ++at) {
    if ((at & kStopPollMask) == 0 && (StopRequested() || !TakesRows(list))) break;
    if (!IsListedKey(hive, tree, at, options)) continue;
    if (CountsRowsAlone(list)) {
      AddRow(list, NewRow());
    } else {
      AddKeyRow(hive, tree, at, paths, options, list);
    }
  }
}

void AddValueRows(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                  const ValueListOptions& options, OutputList& list) {
  ValueRows rows(hive, list, options);
  PathWalker paths(hive, tree);
  const bool whole = item == kNoItem;
  const bool all = whole || options.branch;
  const auto count = static_cast<uint32_t>(tree.items.size());
  const uint32_t first = whole ? 0 : item;
  const uint32_t end = whole ? count : all ? tree.items[item].end : item + 1;
  std::vector<uint32_t> values;
  for (uint32_t at = first; at < end; ++at) {
    if ((at & kStopPollMask) == 0 && (StopRequested() || !TakesRows(list))) break;
    // A path copy repeats a key that has rows of its own elsewhere: it has some here only when it
    // is the key that was asked for.
    const bool asked_copy = !all && tree.items[at].kind == ItemKind::kPathCopy;
    if (!HasKeyCell(tree, at) && !asked_copy) continue;
    const uint32_t key = tree.items[at].position;
    if (!HasValueList(hive, key)) continue;
    values.clear();
    if (all) {
      ReadValuesInWalk(hive, key, values);
    } else {
      ReadWholeValueList(hive, key, values);
    }
    // Neither paths nor places are made for rows that are only counted.
    if (CountsRowsAlone(list)) {
      rows.AddKey(key, values, {});
      continue;
    }
    const std::string& stored = paths.StoredPathOf(at);
    const std::string place = PlaceText(hive, key);
    const std::string status = ValueListStatus(hive, key);
    rows.AddKey(key, values, {paths.PathOf(at), place, stored, status});
  }
}

OutputListPtr Made(UnmadeList unmade) {
  unmade.make(*unmade.list);
  return std::move(unmade.list);
}

}  // namespace

UnmadeList KeyTreeToList(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                         const KeyListOptions& options) {
  OutputListPtr list = MakeOutputList(kListTree);
  if (options.details) AddColumns(*list, {kAccessTitle, kLinkTitle});
  if (hive.stack != nullptr) AddColumns(*list, {kLayerTitle});
  return {std::move(list), [&hive, &tree, item, options](OutputList& rows) {
            AddKeyRows(hive, tree, item, options, rows);
          }};
}

UnmadeList KeyValuesToList(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                           const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListValues);
  if (hive.stack != nullptr) AddColumns(*list, {kLayerTitle});
  return {std::move(list), [&hive, &tree, item, options](OutputList& rows) {
            AddValueRows(hive, tree, item, options, rows);
          }};
}

OutputListPtr ListKeyTree(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                          const KeyListOptions& options) {
  return Made(KeyTreeToList(hive, tree, item, options));
}

OutputListPtr ListKeyValues(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                            const ValueListOptions& options) {
  return Made(KeyValuesToList(hive, tree, item, options));
}

OutputListPtr ListDisconnectedValues(const HiveImage& hive, const KeyTree& tree,
                                     const ValueListOptions& options) {
  OutputListPtr list = MakeOutputList(kListValues);
  ValueRows rows(hive, *list, options);
  for (const uint32_t position : tree.disconnected_value_positions) {
    if (StopRequested()) break;
    RowOfKey none;
    if (tree.shared_bytes.contains(position)) none.status = "shared bytes";
    rows.Add(position, none);
  }
  return list;
}

OutputListPtr ListBlocks(std::span<const BinRow> bins) {
  OutputListPtr list = MakeOutputList(kListBins);
  for (const BinRow& bin : bins) {
    AddListRow(
        *list,
        {BinNumberText(bin), PositionText(bin.place).substr(2), BinSizeText(bin), BinCopyText(bin),
         bin.invalid ? std::string() : PositionText(bin.own_offset).substr(2)},
        bin.position, RowFacts(), bin.invalid ? kInvalidBinColour : 0);
  }
  return list;
}

OutputListPtr ListDetail(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  if (ItemOfPosition(tree, position) == kNoItem) {
    OutputListPtr freed = ListFreedDetail(hive, tree, position);
    if (freed != nullptr) return freed;
  }
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kName, kMaxValueData, nullptr);
  const bool is_value = IsValue(value);
  std::vector<DetailField> fields;
  if (!is_value) fields = KeyFieldsAt(hive, tree, position);
  if (!is_value && fields.empty()) return nullptr;
  OutputListPtr list = MakeOutputList(kListDetail);
  if (is_value) AddValueDetail(hive, tree, value, *list);
  const std::string from_log = is_value ? ValueOriginText(hive, value) : std::string();
  for (const DetailField& field : fields) {
    AddListRow(*list, {field.label, field.text}, position, RowFacts(), 0);
  }
  if (from_log.empty()) return list;
  AddListRow(*list, {"From log", from_log}, position, RowFacts(), 0);
  return list;
}

// Of a stack the layer's own hive is read, without its tree: offsets in a record lead within that
// layer.
OutputListPtr ListRawRecord(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  if (hive.stack != nullptr) {
    return ListRawRecord(LayerHive(hive, position), KeyTree(),
                         position - LayerStart(hive, position));
  }
  const RawRecord record = ReadRawRecord(hive, position);
  if (record.fields.empty()) return nullptr;
  OutputListPtr list = MakeOutputList(kListRawRecord);
  SetListSubtitle(*list, RecordWords(hive, tree, record.place));
  for (const RawField& field : record.fields) {
    const bool leads = field.leads_to != kNoOffset;
    AddListRow(*list,
               {PlaceText(hive, field.position),
                {std::to_string(field.size), field.size},
                field.name,
                field.bytes,
                field.meaning,
                leads ? PlaceText(hive, field.leads_to) : std::string()},
               leads ? field.leads_to : field.position, RowFacts(), 0);
  }
  return list;
}

}  // namespace hivequarry
