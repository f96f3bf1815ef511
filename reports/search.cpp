#include "reports/search.h"

#include <cstring>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "records/cell.h"
#include "reports/search_sieve.h"
#include "words/item_values.h"
#include "words/layer_words.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Reading a key and its values takes about as long as passing over this many bytes of the image.
constexpr uint32_t kBytesPerKey = 2048;
// Path, value's name, data, type and key offset.
constexpr int kPlainColumns = 5;

// A key cell whose stored name may be taken for what it says.
bool IsPlausibleKey(const HiveImage& hive, uint32_t position) {
  const auto size = static_cast<int32_t>(ReadU32(hive, position));
  const bool sized = size % 8 == 0 && size >= -512 && size <= 4096;
  constexpr uint8_t kFlags[] = {0x00, 0x20, 0x2C, 0xA0, 0xAC};
  return sized && ReadU16(hive, position + 4) == kSignatureNk &&
         ReadU8(hive, position + kKeyFlags + 1) == 0 &&
         std::memchr(kFlags, ReadU8(hive, position + kKeyFlags), sizeof(kFlags)) != nullptr;
}

class BranchSearch {
 public:
  BranchSearch(const HiveImage& hive, const KeyTree& tree, const SearchPattern& pattern,
               const SearchSieve& sieve, OutputList& list)
      : hive_(hive),
        tree_(tree),
        pattern_(pattern),
        sieve_(sieve),
        list_(list),
        paths_(hive, tree) {
    const SearchSettings& asked = pattern.settings;
    key_names_ = asked.key_names && !asked.dword;
    value_names_ = asked.value_names && !asked.dword;
    // With nothing in the image that could match, values need not be listed.
    values_ = (value_names_ || asked.value_data) && (!sieve.usable || sieve.any);
    details_ = ColumnCount(list) >= kPlainColumns + 2;  // one more is for the place
  }

  bool Run(uint32_t item) {
    bool whole = true;
    const uint32_t end = tree_.items[item].end;
    for (uint32_t at = item; at < end && !StopRequested();) {
      const bool deep = LevelOf(at) >= kMaxSearchDepth;
      whole = whole && (!deep || tree_.items[at].hidden);
      if (deep || tree_.items[at].hidden) {
        at = tree_.items[at].end;
        continue;
      }
      if (IsKeyItem(tree_, at)) VisitKey(at);
      if (at == tree_.disconnected_values && values_) {
        last_write_ = 0;
        VisitValues(at, tree_.disconnected_value_positions);
      }
      ++at;
    }
    return whole;
  }

 private:
  // Counts the starting item as 1. Items come in display order.
  size_t LevelOf(uint32_t item) {
    while (!open_.empty() && item >= open_.back()) open_.pop_back();
    if (open_.size() + 1 >= kMaxSearchDepth) return kMaxSearchDepth;
    open_.push_back(tree_.items[item].end);
    return open_.size();
  }

  // Dates are read only when they are asked for. Values of a key are visited though its name did
  // not match.
  void VisitKey(uint32_t item) {
    if (++keys_ % kKeysPerStatus == 0) ShowWalk(paths_.PathOf(item), keys_, RowCount(list_));
    last_write_ = limits_.timed() ? LastWriteOf(hive_, tree_, item) : 0;
    if (key_names_ && MayBeHit(limits_, last_write_) && MayMatchName(sieve_, hive_, tree_, item) &&
        KeyMatches(item))
      AddKeyRow(item);
    if (!values_ || !HasKeyCell(tree_, item)) return;
    const uint32_t key = tree_.items[item].position;
    positions_.clear();
    ReadValuesInWalk(hive_, key, positions_);
    VisitValues(item, positions_);
  }

  // The values of a key, or those that no key lists, which are the folder's.
  void VisitValues(uint32_t item, std::span<const uint32_t> positions) {
    for (const uint32_t position : positions) {
      if (StopRequested()) return;
      if (position != kNoOffset) VisitValue(item, position);
    }
  }

  // By the name as text, and in hexadecimal searches by its bytes as stored.
  bool KeyMatches(uint32_t item) {
    const std::string name = StoredItemName(hive_, tree_, item);
    if (name.empty()) return false;
    if (MatchName(pattern_, name)) return true;
    const uint32_t position = tree_.items[item].position;
    return pattern_.settings.hex_mode && HasKeyCell(tree_, item) &&
           IsPlausibleKey(hive_, position) &&
           FindExactly(pattern_, ReadRawKeyName(hive_, position));
  }

  // Cheap tests first: the sieve and the limits see the record alone, the pattern all of the data.
  void VisitValue(uint32_t item, uint32_t position) {
    if (!MayShowValue(hive_, position, data_budget_)) return;
    if (sieve_.usable) {
      const ValueKey fields =
          ReadValueKey(hive_, position, ValueRead::kFields, kMaxValueData, nullptr);
      if (!MayMatchValue(sieve_, fields)) return;
    }
    if (limited_ && !IsWithin(position)) return;
    const ValueKey value = ReadValueWithin(hive_, position, data_budget_, data_);
    if (value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue) return;
    if (ValueMatches(value)) AddValueRow(item, value);
  }

  bool IsWithin(uint32_t position) const {
    const ValueKey fields =
        ReadValueKey(hive_, position, ValueRead::kFields, kMaxValueData, nullptr);
    return MayBeHit(limits_, last_write_, fields.data_length);
  }

  // `data_` are those of the value, read just before.
  bool ValueMatches(const ValueKey& value) const {
    if (pattern_.everything) return true;
    if (value_names_ && !value.name.empty() && ValueNameMatches(value)) return true;
    return pattern_.settings.value_data && value.status == ValueStatus::kRead &&
           MatchData(pattern_, value.type, data_);
  }

  bool ValueNameMatches(const ValueKey& value) const {
    if (MatchName(pattern_, value.name)) return true;
    return pattern_.settings.hex_mode && FindExactly(pattern_, ReadRawValueName(hive_, value));
  }

  void AddKeyRow(uint32_t item) {
    const uint32_t position = tree_.items[item].position;
    RowFacts facts;
    facts.about_key = facts.of_record = HasKeyCell(tree_, item);
    facts.last_write = LastWriteOf(hive_, tree_, item);
    AddHit(item, position, {paths_.PathOf(item), "", "", "", PlaceText(hive_, position)}, facts, 0);
  }

  // `details`: the key's place ("rk"), lengths of name ("ln") and data ("ld") as stored.
  void AddValueRow(uint32_t item, const ValueKey& value) {
    const bool of_key = IsKeyItem(tree_, item);
    const uint32_t key = tree_.items[item].position;
    const ValueRow row = MakeValueRow(hive_, value, data_, ValueViewOptions());
    const std::string details =
        Concat({Hex(of_key ? PlaceOf(hive_, key) : 0), "rk, ", Decimal(value.name_length), "ln, ",
                Decimal(static_cast<int>(value.data_length)), "ld"});
    RowFacts facts;
    const std::string_view stored = StoredNameFact(value);
    facts.name = stored;
    facts.of_record = true;
    AddHit(item, value.position,
           {paths_.PathOf(item), row.name, row.data, row.type, of_key ? PlaceText(hive_, key) : ""},
           facts, row.icon, details);
  }

  void AddHit(uint32_t item, uint32_t position, std::vector<std::string> texts, RowFacts facts,
              int icon, std::string_view details = {}) {
    if (details_) {
      texts.push_back(PositionText(FilePositionOf(hive_, position)));
      texts.emplace_back(details);
    }
    if (hive_.stack != nullptr) texts.push_back(LayerCell(hive_, position));
    const std::vector<Cell> cells(texts.begin(), texts.end());
    facts.path = paths_.StoredPathOf(item);
    AddListRow(list_, cells, position, facts, icon);
  }

  const HiveImage& hive_;
  const KeyTree& tree_;
  const SearchPattern& pattern_;
  const SearchSieve& sieve_;
  const SearchLimits& limits_ = pattern_.settings.limits;
  const bool limited_ = limits_.sized() || limits_.timed();
  uint64_t last_write_ = 0;  // of the key whose values are visited; 0: nobody asks, or none
  OutputList& list_;
  PathWalker paths_;
  DataBudget data_budget_ = MakeDataBudget(hive_);
  bool key_names_ = false, value_names_ = false, values_ = false, details_ = false;
  uint32_t keys_ = 0;
  std::vector<uint32_t> open_;  // ends of the items that the present one is in
  std::vector<uint32_t> positions_;
  std::vector<uint8_t> data_;
};

}  // namespace

OutputListPtr MakeSearchList(bool details) {
  OutputListPtr list = MakeOutputList(kListSearch);
  if (details) AddColumns(*list, {kFileOffsetTitle, kDetailsTitle});
  return list;
}

bool SearchBranchBy(SearchWay way, const HiveImage& hive, const KeyTree& tree, uint32_t item,
                    const SearchPattern& pattern, OutputList& list) {
  // A sieve passes over the whole image, a branch of few keys is read faster without.
  const bool large = (tree.items[item].end - item) >= hive.length / kBytesPerKey;
  const bool sieved = way == SearchWay::kSieved || (way == SearchWay::kBest && large);
  const SearchSieve sieve = sieved ? SieveImage(hive, pattern) : SearchSieve();
  const bool whole = BranchSearch(hive, tree, pattern, sieve, list).Run(item);
  ShowStatus("");
  return whole;
}

bool SearchBranch(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                  const SearchPattern& pattern, OutputList& list) {
  return SearchBranchBy(SearchWay::kBest, hive, tree, item, pattern, list);
}

}  // namespace hivequarry
